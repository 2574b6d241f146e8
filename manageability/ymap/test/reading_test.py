"""Reads: which amplifiers, which leaves, and what the values have to do with each other."""

import json
import re
import shutil
import subprocess
import time
import unittest
import xml.etree.ElementTree as ElementTree

from tool import (AMPLIFIERS, BST0, BST2, OC, OPENCONFIG, PRE0, DeviceTest, config, entries, entry, get,
                  get_config, rpc, top)


class Filters(DeviceTest):
    def test_what_is_selected(self):
        self.ok("set", PRE0, "target-gain=11", "enabled=true")
        self.ok("set", BST0, "target-gain=12", "enabled=true")
        self.ok("set", BST2, "target-gain=13", "enabled=false")
        names = [f"name={name}" for name in AMPLIFIERS]
        gains = [line for name, gain in zip(names, ("11.0", "12.0", "13.0"))
                 for line in (name, f"config/target-gain={gain}")]
        of_bst2 = [names[2], "config/target-gain=13.0"]
        leaf = "<config><target-gain/></config>"
        for title, data, expected in (
                ("one leaf of one", entries(entry(BST2, leaf)), of_bst2),
                ("one leaf of two", entries(entry(PRE0, leaf), entry(BST2, leaf)), gains[:2] + of_bst2),
                ("one leaf of all", entries(entry("", leaf, key="")), gains),
                ("one leaf of all, key selected", entries(entry("", leaf, key="<name/>")), gains),
                ("keys", entries(entry("", key="<name/>")), names),
                ("two trees", entries(entry(BST2, leaf)) + entries(entry(PRE0, leaf)), gains[:2] + of_bst2),
                ("no namespace is any namespace", entries(entry(BST2, leaf)).replace(OPENCONFIG, ""), of_bst2),
                ("by value", config(BST2, "<target-gain> 13 </target-gain><enabled/>"),
                 of_bst2 + ["config/enabled=false"]),
                ("by another value", config(BST2, "<target-gain>14</target-gain><enabled/>"), names[2:]),
                ("by a value of the wrong type", config(BST2, "<target-gain>abc</target-gain><enabled/>"), []),
                ("unmapped leaf among others", config(BST2, "<min-gain/><target-gain/>"), of_bst2),
                ("unmapped leaf", config(BST2, "<min-gain/>"), names[2:]),
                ("empty filter", "", []),
                ("other half of the model", top("<supervisory-channels/>"), [])):
            with self.subTest(title):
                self.assertEqual(self.data(get_config(data)), expected)

    def test_all_of_it(self):
        everything = self.data(get_config())
        for data in (top(""), top("<amplifiers/>"), entries("<amplifier/>")):
            self.assertEqual(self.data(get_config(data)), everything)
        explicit = '<with-defaults xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults">explicit</with-defaults>'
        self.assertEqual(self.data(get_config().replace("</get-config>", explicit + "</get-config>")), everything)
        self.assertEqual([line for line in everything if line.startswith("name=")],
                         [f"name={name}" for name in AMPLIFIERS])

    def test_attributes_of_the_rpc_come_back(self):
        message = rpc("<get><filter/></get>").replace(
            'message-id="7"', 'message-id="a&lt;b" user="x" e:note="&quot;y&quot;" xmlns:e="urn:e"')
        reply = ElementTree.fromstring(self.ok("rpc", text=message))
        self.assertEqual(reply.attrib, {"message-id": "a<b", "user": "x", "{urn:e}note": '"y"'})


class Metrics(DeviceTest):
    def samples(self, *arguments):
        """{(name, label values): value} of a text whose every line is in order, and the types and units."""
        *lines, end = self.ok("get", "-f", "prometheus", *arguments).splitlines()
        self.assertEqual(end, "# EOF")
        found, told, family = {}, {}, None
        for line in lines:
            if line.startswith("# "):
                word, family, text = re.fullmatch(r"# (HELP|TYPE|UNIT) (\w+) (.+)", line).groups()
                told.setdefault(family, {})[word] = text
                continue
            name, labels, value = re.fullmatch(r"(\w+)\{(.*)\} (\S+)", line).groups()
            self.assertEqual(name, family)
            key = name, *(text for _, text in re.findall(r'(\w+)="((?:[^"\\]|\\.)*)"', labels))
            self.assertNotIn(key, found)
            found[key] = float(value)
        for name, words in told.items():
            self.assertEqual((words["TYPE"], words.get("UNIT")), ("gauge", "db" if name.endswith("_db") else None))
            self.assertTrue(any(key[0] == name for key in found), name)
        return found

    def test_what_is_told(self):
        self.ok("set", PRE0, "target-gain=11.5", "enabled=false")
        self.ok("unset", BST0, "target-gain-tilt", "gain-range")
        found = self.samples()
        for key, value in ((("ymap_amplifier_target_gain_db", PRE0), 11.5), (("ymap_amplifier_enabled", PRE0), 0),
                           (("ymap_amplifier_enabled", BST2), 1), (("ymap_amplifier_target_gain_tilt_db", BST2), -0.5),
                           (("ymap_amplifier_target_gain_tilt_db", BST0), None),
                           (("ymap_amplifier_gain_tilt_db", BST0, "avg"), None),
                           (("ymap_amplifier_info", PRE0, "MID_GAIN_RANGE", "2019-12-06"), 1),
                           (("ymap_amplifier_info", BST0, "2019-12-06"), 1)):
            self.assertEqual(found.get(key), value, key)
        low, high = (found["ymap_amplifier_gain_db", PRE0, word] for word in ("min", "max"))
        for word in ("instant", "avg"):
            self.assertTrue(low - 1 <= found["ymap_amplifier_gain_db", PRE0, word] <= high + 1)
        json_gain = json.loads(self.ok("get", PRE0, "--config", "-f", "json").replace("openconfig-optical-amplifier:", ""))
        self.assertEqual(float(json_gain["optical-amplifier"]["amplifiers"]["amplifier"][0]["config"]["target-gain"]), 11.5)

    def test_of_what_was_asked_for(self):
        self.assertEqual({key[1] for key in self.samples(BST2)}, {BST2})
        self.assertEqual({key[0] for key in self.samples("--config")},
                         {f"ymap_amplifier_{name}" for name in ("target_gain_db", "target_gain_tilt_db", "enabled", "info")})

    @unittest.skipUnless(shutil.which("promtool"), "there is no promtool")
    def test_promtool_takes_it(self):
        done = subprocess.run(["promtool", "check", "metrics"], input=self.ok("get", "-f", "prometheus"), text=True,
                              capture_output=True, check=False)
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))


class OperatingValues(DeviceTest):
    def test_configuration_state_and_statistics_belong_together(self):
        second = 10 ** 9
        bucket = 30 * second
        for _ in range(3):
            begin = time.time_ns()
            lines = self.ok("get", "-f", "json")
            if begin // bucket == time.time_ns() // bucket:
                break
        for amplifier in json.loads(lines)[
                "openconfig-optical-amplifier:optical-amplifier"]["amplifiers"]["amplifier"]:
            settings, state = amplifier["config"], amplifier["state"]
            for leaf in ("name", "target-gain", "target-gain-tilt", "gain-range", "enabled"):
                self.assertEqual(state[leaf], settings[leaf])
            for container, leaf in (("actual-gain", "target-gain"), ("actual-gain-tilt", "target-gain-tilt")):
                statistic = state[container]
                self.assertEqual(statistic["instant"], settings[leaf])
                self.assertLessEqual(float(statistic["min"]), float(statistic["avg"]))
                self.assertLessEqual(float(statistic["avg"]), float(statistic["max"]))
                self.assertEqual(int(statistic["interval"]), bucket)
                for when in ("min-time", "max-time"):
                    self.assertEqual(int(statistic[when]) // bucket, begin // bucket - 1)

    def test_a_setting_shows_in_the_state(self):
        self.ok("set", BST0, "enabled=false", "target-gain=33.3")
        lines = self.lines(BST0, "--state")
        self.assertEqual(lines[BST0, "state/enabled"], "false")
        self.assertEqual(lines[BST0, "state/target-gain"], "33.30 dB")
        time_of_day = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d{3})?Z"
        value = r"33\.\d\d dB"
        self.assertRegex(lines[BST0, "state/actual-gain"],
                         f"^instant 33\\.30 dB avg {value} min {value} max {value} interval 30 s "
                         f"min-time {time_of_day} max-time {time_of_day}$")

    def test_selection(self):
        sections = {("--config",): {"config"}, ("--state",): {"state"}, (): {"config", "state"}}
        for options, expected in sections.items():
            for names in ((), (PRE0,), (PRE0, BST2)):
                with self.subTest(options=options, names=names):
                    lines = self.lines(*names, *options)
                    self.assertEqual({leaf.split("/")[0] for _, leaf in lines}, expected)
                    self.assertEqual({name for name, _ in lines}, set(names or AMPLIFIERS))
        whole = self.lines()
        for name in AMPLIFIERS:
            alone = self.lines(name)
            self.assertEqual([key for key in whole if key[0] == name], list(alone))

    def test_one_statistic(self):
        instant = "<state><actual-gain><instant/></actual-gain></state>"
        gain = self.settings(BST2)[BST2, "config/target-gain"].split(" ")[0].rstrip("0")
        self.assertEqual(self.data(get(entries(entry(BST2, instant)))),
                         [f"name={BST2}", f"state/actual-gain/instant={gain}"])


class Formats(DeviceTest):
    def test_xml_and_json_hold_the_same(self):
        xml = ElementTree.fromstring(self.ok("get", BST2, "--config", "-f", "xml"))
        entry_of = json.loads(self.ok("get", BST2, "--config", "-f", "json"))[
            "openconfig-optical-amplifier:optical-amplifier"]["amplifiers"]["amplifier"][0]
        values = {node.tag.replace(OC, ""): node.text for node in xml.find(f".//{OC}config")}
        settings = {leaf: str(value).lower() if value in (True, False) else value
                    for leaf, value in entry_of["config"].items()}
        # In JSON the name of its own module may be left out, and some versions of libyang do.
        self.assertRegex(values["gain-range"], "^oc-opt-amp:")
        self.assertRegex(settings["gain-range"], "^(openconfig-optical-amplifier:)?M")
        for held in (values, settings):
            held["gain-range"] = held["gain-range"].split(":")[-1]
        self.assertEqual(values, settings)

    def test_traces(self):
        for option, line in (("--trace", r"^TRC: YFW: ctx=0x\w+,Start"),
                             ("--light-trace", r"^#\d+: TRC: ymap_\w+:\d+ ctx=0x\w+,Start")):
            with self.subTest(option):
                status, out, err = self.run_tool("get", BST2, "--config", option)
                self.assertEqual((status, out), (0, self.ok("get", BST2, "--config")))
                self.assertTrue(re.search(line, err, re.MULTILINE), err[:300])


if __name__ == "__main__":
    unittest.main()
