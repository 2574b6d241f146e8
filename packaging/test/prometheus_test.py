"""What a monitoring system makes of the tool's numbers: rules, dashboard, and a scrape by Prometheus itself."""

import json
import os
import pathlib
import re
import shutil
import socket
import subprocess
import tempfile
import time
import unittest
import urllib.parse
import urllib.request

PREFIX = pathlib.Path(os.environ["INSTALLED"])
SHARED = PREFIX / "share/ymap"
EXPORTER = shutil.which("prometheus-node-exporter")


class Case(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        (self.folder / "device").mkdir()
        self.metrics = subprocess.run([PREFIX / "bin/ymap", "--device", self.folder / "device", "get", "-f", "prometheus"],
                                      capture_output=True, text=True, check=True).stdout


class Rules(Case):
    @unittest.skipUnless(shutil.which("promtool"), "there is no promtool")
    def test_alerts(self):
        shutil.copy(SHARED / "alerts.yml", self.folder)
        shutil.copy("alerts_test.yml", self.folder)
        for words in (["check", "rules", "alerts.yml"], ["test", "rules", "alerts_test.yml"]):
            done = subprocess.run(["promtool", *words], cwd=self.folder, capture_output=True, text=True, timeout=60)
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_all_names_are_the_tool_s(self):
        known = set(re.findall(r"(?m)^# TYPE (\S+)", self.metrics))
        dashboard = json.loads((SHARED / "dashboard.json").read_text())
        expressions = [target["expr"] for panel in dashboard["panels"] for target in panel["targets"]]
        self.assertEqual(set(re.findall(r"ymap_\w+", " ".join(expressions))), known)
        rules = (SHARED / "alerts.yml").read_text()
        self.assertLessEqual(set(re.findall(r"ymap_\w+", rules)), known)
        statistics = set(re.findall(r'statistic="(\w+)"', self.metrics))
        self.assertLessEqual(set(re.findall(r'statistic="(\w+)"', " ".join(expressions) + rules)), statistics)


@unittest.skipUnless(EXPORTER and shutil.which("prometheus"), "there is no Prometheus or no node_exporter")
class Scrape(Case):
    def free_port(self):
        with socket.create_server(("127.0.0.1", 0)) as one:
            return one.getsockname()[1]

    def start(self, *words):
        process = subprocess.Popen(words, cwd=self.folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)

    def query(self, port, expression):
        """The values by label; empty while there are none."""
        url = f"http://127.0.0.1:{port}/api/v1/query?" + urllib.parse.urlencode({"query": expression})
        try:
            with urllib.request.urlopen(url, timeout=5) as answer:
                return {json.dumps(one["metric"]): one["value"][1] for one in json.load(answer)["data"]["result"]}
        except OSError:
            return {}

    def test_through_the_textfile_collector(self):
        (self.folder / "text").mkdir()
        (self.folder / "text/ymap.prom").write_text(self.metrics)
        exporter, server = self.free_port(), self.free_port()
        (self.folder / "prometheus.yml").write_text(
            "scrape_configs: [{job_name: node, scrape_interval: 1s, "
            f"static_configs: [{{targets: ['127.0.0.1:{exporter}']}}]}}]\nrule_files: [{SHARED}/alerts.yml]\n")
        self.start(EXPORTER, "--collector.disable-defaults", "--collector.textfile",
                   f"--collector.textfile.directory={self.folder}/text", f"--web.listen-address=127.0.0.1:{exporter}")
        self.start("prometheus", f"--config.file={self.folder}/prometheus.yml", f"--storage.tsdb.path={self.folder}/data",
                   f"--web.listen-address=127.0.0.1:{server}")
        deadline = time.monotonic() + 30
        while not (found := self.query(server, "ymap_amplifier_target_gain_db")) and time.monotonic() < deadline:
            time.sleep(0.2)
        told = dict(re.findall(r'(?m)^ymap_amplifier_target_gain_db\{amplifier="(\S+)"\} (\S+)$', self.metrics))
        self.assertEqual({json.loads(labels)["amplifier"]: float(value) for labels, value in found.items()},
                         {name: float(value) for name, value in told.items()})
        self.assertEqual(set(self.query(server, "node_textfile_scrape_error").values()), {"0"})
        [age] = self.query(server, 'time() - node_textfile_mtime_seconds{file=~".*ymap\\\\.prom"}').values()
        self.assertLess(float(age), 60)
        dashboard = json.loads((SHARED / "dashboard.json").read_text())
        for panel in dashboard["panels"]:
            for target in panel["targets"]:
                self.assertEqual(len(self.query(server, target["expr"].replace("$amplifier", ".*"))), 3, target["expr"])


if __name__ == "__main__":
    unittest.main()
