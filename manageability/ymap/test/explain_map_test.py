"""What the tool tells about the mapping: the walk of a request, and the table of leaves."""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest

from tool import AMPLIFIERS, BST2, PRE0, YMAP, DeviceTest, config, edit, entries, entry, get, get_config, rpc


class Explain(DeviceTest):
    def told(self, message, *expected):
        """The lines, after a check that those expected stand among them in that order, whatever their indent."""
        lines = [" ".join(line.split()) for line in self.ok("explain", text=message).splitlines()]
        at = -1
        for line in expected:
            self.assertIn(line, lines[at + 1:])
            at = lines.index(line, at + 1)
        return lines

    def test_read(self):
        self.ok("set", BST2, "enabled=true")
        golden = pathlib.Path(__file__).parent / "golden" / "explain_read.txt"
        self.assertEqual(self.ok("explain", text=get_config(config(BST2, "<enabled/>"))), golden.read_text())

    def test_unmapped_leaf_of_a_read(self):
        self.told(get_config(config(PRE0, "<enabled/><min-gain/>")), "The plug-in turns the request down",
                  f"for /optical-amplifier/amplifiers/amplifier[name='{PRE0}']/config/min-gain "
                  "(generic leaf handler: no mapping)", "enabled leaf handler config_enabled, cfg_enabled_to_low",
                  f"amplifier[name='{PRE0}']/config/enabled = true")

    def test_whole_read(self):
        lines = self.told(
            get(entries(entry(PRE0))),
            "no mapping (generic leaf handler): type, min-gain, max-gain, amp-mode, target-output-power, "
            "max-output-power, fiber-type-profile", "handler adds nothing: name, ingress-port, egress-port",
            "The device is asked for 20 leaves in 5 list entries", "The device answers 5 list entries, 26 leaves",
            f"selects /optical-amplifier/amplifiers/amplifier[name='{PRE0}']",
            "adds state/actual-gain/interval = 30000000000")
        leaves = next(line for line in lines if line.startswith("Answer: "))
        self.assertEqual(int(leaves.split()[1]), len(lines) - 1 - lines.index(leaves))
        self.assertFalse([line for line in lines if "0x" in line or "ymap_o" in line])

    def test_edit_is_not_stored(self):
        before = self.settings(BST2)
        lines = self.told(edit(config(BST2, "<target-gain>15.57</target-gain>", 'nc:operation="replace"')),
                          "config, operation replace container handler amplifier_config",
                          "adds /interface-configurations/.../ots/ots-egress-osri, operation remove "
                          "(Velm-NALTO-controller-ots-cfg)", "second pass, with the children of the request",
                          "target-gain = 15.57 leaf handler config_targetgain, cfg_target_gain_to_low",
                          "The native edit (not sent)", "ots-egress-amplifier-gain = 155")
        self.assertEqual(lines[-1], "Translated: 6 native leaves; nothing was stored")
        self.assertEqual(self.settings(BST2), before)

    def test_refusals(self):
        for message, walked, last in (
                (edit(config(PRE0, "<enabled>true</enabled><target-gain>50</target-gain>")), "target-gain = 50.00",
                 "config/target-gain: Invalid argument:NALTO support range from 80 to 380"),
                (edit(config(PRE0, "<min-gain>5</min-gain>")), "generic leaf handler", "operation-not-supported at"),
                (get(entries(entry("0/0-AMP-XYZ"))), "name = 0/0-AMP-XYZ", "Invalid key input"),
                (edit(entries("<amplifier><config/></amplifier>")), "List key node error.", "missing-element")):
            with self.subTest(last):
                status, out, err = self.run_tool("explain", text=message)
                self.assertEqual((status, err), (1, ""))
                self.assertIn(walked, out)
                self.assertTrue(out.splitlines()[-1].startswith("Refused: "), out)
                self.assertIn(last, out.splitlines()[-1])
        for arguments, text, status in ((["-"], "<rpc", 1), (["-"], rpc("<lock/>"), 1), (["no/such/file"], "", 2)):
            done = self.run_tool("explain", *arguments, text=text)
            self.assertEqual((done[0], done[1]), (status, ""))
            self.assertTrue(done[2].startswith("ymap: error: "))


class Map(DeviceTest):
    def setUp(self):
        super().setUp()
        self.mapping = json.loads(self.ok("map", "-f", "json"))
        self.rows = {(row["openconfig"], row["native"][0]["module"][len("Velm-NALTO-"):]): row
                     for row in self.mapping["mapped"]}

    def test_rows(self):
        fixed = {"kind": "constant", "openconfig": "30000000000"}
        tenths = {"kind": "factor", "factor": 10}
        words = {"kind": "words", "pairs": [{"openconfig": "true", "native": "false"},
                                            {"openconfig": "false", "native": "true"}]}
        for leaf, module, directions, ends, conversion in (
                ("config/target-gain", "controller-ots-cfg", ["read", "write"], "amplifier-gain", {**tenths, "cut": True}),
                ("config/enabled", "controller-ots-cfg", ["read", "write"], "osri", words),
                ("state/target-gain", "controller-ots-cfg", ["fill"], "amplifier-gain", tenths),
                ("state/actual-gain/instant", "controller-ots-oper", ["read"], "ampli-gain", tenths),
                ("state/actual-gain/avg", "pmengine-oper", ["read"], "agn/average", {"kind": "copy"}),
                ("state/actual-gain-tilt/interval", "pmengine-oper", ["read"], "atl/valid", fixed)):
            with self.subTest(leaf):
                row = self.rows[leaf, module]
                self.assertEqual((row["directions"], row["conversion"]), (directions, conversion))
                sides = {name: native["path"] for native in row["native"] for name in native["amplifiers"]}
                self.assertEqual(set(sides), set(AMPLIFIERS))
                self.assertTrue(all(path.endswith(ends) for path in sides.values()), sides)
                self.assertEqual(len(set(sides.values())), 2)
        self.assertEqual(self.rows["config/gain-range", "controller-ots-cfg"]["without-native-value"],
                         ["LOW_GAIN_RANGE", "FIXED_GAIN_RANGE"])
        keys = {row["native"][0]["path"].rsplit("/", 1)[1] for row in self.mapping["mapped"] if "key" in row["directions"]}
        self.assertEqual(keys, {"interface-name", "name"})

    def test_ranges_are_those_of_edits(self):
        ranges = {leaf: row["range"] for (leaf, _), row in self.rows.items() if "range" in row}
        self.assertEqual(set(ranges), {"config/target-gain", "config/target-gain-tilt"})
        for leaf, (lowest, highest) in ranges.items():
            for value, status in ((lowest, 0), (highest, 0), (lowest - 0.01, 1), (highest + 0.01, 1)):
                self.assertEqual(self.run_tool("set", PRE0, f"{leaf[7:]}={value:.2f}")[0], status, (leaf, value))

    def test_unmapped(self):
        unmapped = {leaf["openconfig"]: leaf for leaf in self.mapping["unmapped"]}
        mapped = {row["openconfig"] for row in self.mapping["mapped"]}
        self.assertEqual(len(unmapped), len(self.mapping["unmapped"]))
        self.assertEqual(len(unmapped) + len(mapped), 123)  # leaves of the model
        minimum = unmapped["/optical-amplifier/amplifiers/amplifier/config/min-gain"]
        self.assertEqual((minimum["handler"], bool(minimum["edit"])), ("generic leaf handler", True))

    def test_text_without_a_device(self):
        with tempfile.TemporaryDirectory() as home:
            text = subprocess.run([YMAP, "map"], stdout=subprocess.PIPE, text=True, check=True, timeout=10,
                                  env={**os.environ, "HOME": home, "XDG_STATE_HOME": home}).stdout
            self.assertEqual(os.listdir(home), [])
        for leaf, module in self.rows:
            self.assertIn(leaf, text)
            self.assertIn(module, text)
        row = next(line for line in text.splitlines() if line.startswith("  config/target-gain "))
        self.assertEqual(row.split(), ["config/target-gain", "ots-ingress-amplifier-gain", "ots-egress-amplifier-gain", "read,",
                                       "write", *"dB x 10 cut to an integer, 8.00 to 38.00 dB".split()])


if __name__ == "__main__":
    unittest.main()
