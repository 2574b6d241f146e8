"""Scripts of yangcli, which loads the server's modules by get-schema and builds its requests from them."""

import os
import re
import shutil
import subprocess
import unittest
from concurrent.futures import ThreadPoolExecutor

from served import ServedTest
from tool import BST0, BST2, PRE0


def reads_nothing():
    """Whether it is linked to libxml2 2.14 or later, with which version 2.14 ends every session at the server's hello."""
    program = shutil.which("yangcli") or "yangcli"
    return "libxml2.so.16" in subprocess.run(["ldd", program], capture_output=True, text=True, check=True).stdout


def path(name, leaf=""):
    return f"/optical-amplifier/amplifiers/amplifier[name='{name}']/" + leaf


@unittest.skipIf(reads_nothing(), "this yangcli reads no hello, whatever its shape")
class YangcliTest(ServedTest):
    def run_script(self, *commands):
        """What yangcli prints after its greeting. It ends at the first command that fails."""
        file = os.path.join(self.home, f"script-{abs(hash(commands))}")
        with open(file, "w", encoding="utf-8") as script:
            script.write("".join(command + "\n" for command in commands))
        key = os.path.join(self.state, "client_key")
        done = subprocess.run(["yangcli", "--server=127.0.0.1", f"--ncport={self.port}", f"--user={self.user()}",
                               "--password=none", f"--private-key={key}", f"--public-key={key}.pub", "--batch-mode",
                               f"--run-script={file}", "--autoaliases=false", "--autouservars=false",
                               "--autohistory=false"],
                              stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60)
        greeting, _, answers = done.stdout.partition("Checking Server Modules...")
        self.assertIn("NETCONF session established", greeting, done.stdout + done.stderr + self.log())
        return answers

    def user(self):
        """As the server's greeting names it, which a person would copy."""
        return re.search(r"--user=(\S+)", self.printed).group(1)


class Yangcli(YangcliTest):
    def settings(self, name):
        text = self.run_script(f"sget-config source=running {path(name, 'config')}")
        return dict(re.findall(r"^ +([a-z-]+) (\S+)$", text.partition("config {")[2], re.MULTILINE))

    def test_reading(self):
        text = self.run_script("get-config source=running", "get-config source=running with-defaults=explicit", "get",
                               f"sget {path(BST2, 'state/actual-gain')}")
        everything, explicit, state, gain = (part for part in text.split("RPC Data Reply")[1:])
        for name in (PRE0, BST0, BST2):
            for answer in (everything, explicit, state):
                self.assertIn(f"amplifier {name} {{", answer)
        self.assertIn("target-gain 18.40", everything)
        self.assertEqual(everything.split("{", 1)[1], explicit.split("{", 1)[1])
        for container in ("netconf-state {", "yang-library {", "interval 30000000000"):
            self.assertIn(container, state)
        self.assertIn("avg", gain)
        self.assertNotIn(PRE0, gain)

    def test_editing(self):
        text = self.run_script(
            "lock target=running", f"merge target={path(BST2, 'config/target-gain')} value=15.57",
            f"replace target={path(BST2, 'config/target-gain-tilt')} value=1.5",
            f"delete target={path(BST2, 'config/gain-range')}", "commit", "unlock target=running", "validate source=running",
            f"create target={path(BST2, 'config/gain-range')} value=oc-opt-amp:HIGH_GAIN_RANGE", "commit")
        self.assertEqual((text.count("RPC OK Reply"), "Error" in text), (9, False), text)
        self.assertEqual(self.settings(BST2), {"name": BST2, "target-gain": "15.50", "target-gain-tilt": "1.50",
                                               "gain-range": "oc-opt-amp:HIGH_GAIN_RANGE", "enabled": "true"})

    def test_refused(self):
        before = self.settings(PRE0)
        gain, enabled = path(PRE0, "config/target-gain"), path(PRE0, "config/enabled")
        for command, *parts in (
                (f"merge target={gain} value=38.01", "invalid-value", "config/oc-opt-amp:target-gain",
                 "NALTO support range from 80 to 380"),
                (f"create target={enabled} value=false", "data-exists", "config/oc-opt-amp:enabled", "exist"),
                (f"merge target={path('0/0-AMP-NONE', 'config/enabled')} value=false", "invalid-value", "0/0-AMP-NONE", ""),
                ("unlock target=running", "operation-failed", "", "lock"),
                ("kill-session session-id=4000", "invalid-value", "session-id", "4000"),
                ("get-schema identifier=nowhere version=2020-01-01 format=yang", "invalid-value", "", "nowhere")):
            with self.subTest(command):
                text = self.run_script(command)
                error = dict(re.findall(r"^ +error-(\w+) (.*)$", text, re.MULTILINE))
                for key, part in zip(("tag", "path", "message"), parts):
                    self.assertIn(part, error.get(key, ""), text)
        self.assertEqual(self.settings(PRE0), before)

    def test_lock_of_another(self):
        holder = self.connect()
        holder.lock("running")
        text = self.run_script("lock target=running")
        self.assertIn("error-tag lock-denied", text)
        self.assertIn(f"session-id {holder.session_id}", text)
        self.assertIn("error-tag in-use", self.run_script(f"merge target={path(BST2, 'config/enabled')} value=false", "commit"))
        self.assertNotIn("Error", self.run_script("get-config source=running"))

    def test_every_schema(self):
        listing = self.run_script("sget /netconf-state/schemas")
        schemas = re.findall(r"identifier (\S+)\s+version (\S+)", listing)
        self.assertIn(("openconfig-optical-amplifier", "2019-12-06"), schemas)
        text = self.run_script(*(f"get-schema identifier={name} version={version} format=yang" for name, version in schemas))
        self.assertEqual(re.findall(r"^  data '(?:sub)?module (\S+)", text, re.MULTILINE), [name for name, _ in schemas])

    def test_ten_at_a_time(self):
        def work(number):
            name, gain = (PRE0, BST0)[number % 2], 10 + number
            text = self.run_script(f"merge target={path(name, 'config/target-gain')} value={gain}", "commit",
                                   f"sget-config source=running {path(name, 'config/target-gain')}")
            return "RPC OK Reply" in text, re.search(r"target-gain (\S+)", text).group(1) in self.values[name]

        self.values = {PRE0: [f"{10 + number}.00" for number in range(0, 10, 2)],
                       BST0: [f"{10 + number}.00" for number in range(1, 10, 2)]}
        with ThreadPoolExecutor(10) as pool:
            self.assertEqual(list(pool.map(work, range(10))), [(True, True)] * 10)


class Native(YangcliTest):
    """The device's own models, with a candidate datastore."""

    OPTIONS = ("--native", "--candidate")

    def test_candidate(self):
        entry = "/interface-configurations/interface-configuration[active='act'][interface-name='Ots0/0/0/2']/ots"
        gain = entry + "/ots-egress-amplifier-gain"
        text = self.run_script(f"sget-config source=running {entry}", "lock target=candidate",
                               f"merge target={gain} value=150", "commit", "unlock target=candidate",
                               f"sget-config source=running {gain}")
        self.assertIn("ots-egress-amplifier-gain 184", text.split("RPC OK Reply")[0])
        self.assertIn("ots-egress-amplifier-gain 150", text.rpartition("RPC OK Reply")[2])
        self.assertIn("error-tag data-exists", self.run_script(f"create target={gain} value=200"))
        self.assertIn("ingress-ampli-gain 172", self.run_script("sget /ots-oper"))


if __name__ == "__main__":
    unittest.main()
