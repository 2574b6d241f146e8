"""Settings go in, through the plug-in, to the device, and come out again."""

import json
import os
import unittest

from tool import (AMPLIFIERS, BST0, BST2, CHAIN, PRE0, DeviceTest, config, edit, entries, entry, get_config, rpc, top)


class SetAndGet(DeviceTest):
    def test_a_setting_reaches_its_own_amplifier_only(self):
        side = {PRE0: ("Ots0/0/0/0", "ingress"), BST0: ("Ots0/0/0/0", "egress"), BST2: ("Ots0/0/0/2", "egress")}
        for amplifier, (port, direction) in side.items():
            with self.subTest(amplifier):
                expected = self.settings()
                expected[amplifier, "config/target-gain"] = "15.50 dB"
                self.ok("set", amplifier, "target-gain=15.57")
                self.assertEqual(self.settings(), expected)
                with open(os.path.join(self.folder, "running.json"), encoding="utf-8") as file:
                    stored = json.load(file)["Velm-NALTO-ifmgr-cfg:interface-configurations"]
                ots = next(item["Velm-NALTO-controller-ots-cfg:ots"] for item in stored["interface-configuration"]
                           if item["interface-name"] == port)
                self.assertEqual(ots[f"ots-{direction}-amplifier-gain"], 155)

    def test_each_leaf_is_set_and_unset(self):
        for leaf, value, shown, other in (
                ("target-gain", "8", "8.00 dB", "30"),
                ("target-gain-tilt", "-1.5", "-1.50 dB", "2"),
                ("gain-range", "HIGH_GAIN_RANGE", "HIGH_GAIN_RANGE", "MID_GAIN_RANGE"),
                ("gain-range", "openconfig-optical-amplifier:MID_GAIN_RANGE", "MID_GAIN_RANGE", "HIGH_GAIN_RANGE"),
                ("enabled", "false", "false", "true")):
            with self.subTest(leaf=leaf, value=value):
                self.ok("set", BST0, f"{leaf}={other}")
                self.ok("set", BST0, f"{leaf}={value}")
                self.assertEqual(self.settings(BST0)[BST0, "config/" + leaf], shown)
                self.ok("unset", BST0, leaf)
                self.assertNotIn((BST0, "config/" + leaf), self.settings(BST0))
                self.ok("unset", BST0, leaf)

    def test_all_leaves_of_one_call_are_one_transaction(self):
        before = self.settings()
        status, _, _ = self.run_tool("set", BST2, "target-gain=20", "enabled=false", "target-gain-tilt=5.1")
        self.assertEqual((status, self.settings()), (1, before))

    def test_every_tenth_of_a_decibel_comes_back(self):
        gains = [tenth / 10 for tenth in range(80, 381)]
        tilts = [tenth / 10 for tenth in range(-50, 51)]
        for at in range(0, len(gains), 60 if CHAIN or "YMAP_SPARSE" in os.environ else 3):
            chosen = {name: (gains[min(at + shift, len(gains) - 1)], tilts[(at + shift) % len(tilts)])
                      for shift, name in enumerate(AMPLIFIERS)}
            self.ok("rpc", text=edit(entries(*(entry(
                name, f"<config><target-gain>{gain}</target-gain><target-gain-tilt>{tilt}</target-gain-tilt></config>")
                for name, (gain, tilt) in chosen.items()))))
            settings = self.settings()
            for name, (gain, tilt) in chosen.items():
                self.assertEqual(settings[name, "config/target-gain"], f"{gain:.2f} dB")
                self.assertEqual(settings[name, "config/target-gain-tilt"], f"{tilt:.2f} dB")


class Operations(DeviceTest):
    """An operation acts on its side of the controller; the other side and the other amplifiers stay."""

    def test_operations(self):
        gain = "<target-gain{}>15.5</target-gain>"
        only_enabled = ["enabled"]
        everything = ["target-gain", "target-gain-tilt", "gain-range", "enabled"]
        no_gain = everything[1:]
        for title, message, left in (
                ("replace of config", edit(config(PRE0, "<enabled>false</enabled>", 'nc:operation="replace"')),
                 only_enabled),
                ("delete of config", edit(config(PRE0, "", 'nc:operation="delete"')), []),
                ("remove of config", edit(config(PRE0, "", 'nc:operation="remove"')), []),
                ("delete of a leaf", edit(config(PRE0, '<target-gain nc:operation="delete"/>')), no_gain),
                ("remove of a leaf", edit(config(PRE0, '<target-gain nc:operation="remove"/>')), no_gain),
                ("merge", edit(config(PRE0, gain.format(' nc:operation="merge"'))), everything),
                ("comments and instructions count for nothing",
                 edit(config(PRE0, '<!-- dB --><target-gain><!-- > --><?x ?>1<!-- . -->5.5</target-gain>')), everything),
                ("delete of the entry",
                 edit(entries(f'<amplifier nc:operation="delete"><name>{PRE0}</name></amplifier>')), []),
                ("none, with an operation below", edit(
                    config(PRE0, '<target-gain nc:operation="remove"/><enabled>false</enabled>'),
                    "<default-operation>none</default-operation>"), no_gain)):
            with self.subTest(title):
                self.ok("set", PRE0, "target-gain=20", "target-gain-tilt=1", "gain-range=MID_GAIN_RANGE",
                        "enabled=true")
                others = self.settings(BST0, BST2)
                self.assertIn("<ok/>", self.ok("rpc", text=message))
                leaves = [leaf.removeprefix("config/") for _, leaf in self.settings(PRE0)]
                self.assertEqual([leaf for leaf in leaves if leaf != "name"], left)
                self.assertEqual(self.settings(BST0, BST2), others)

    def test_default_operation(self):
        gain = "<target-gain>15.5</target-gain>"
        for word, attributes, others_stay, stored in (
                ("merge", "", True, "15.50 dB"), ("none", "", True, "20.00 dB"), ("replace", "", False, "15.50 dB"),
                ("none", 'nc:operation="merge"', True, "15.50 dB")):  # which is for all below
            with self.subTest(word + attributes):
                self.ok("set", PRE0, "target-gain=20", "enabled=true")
                self.ok("set", BST2, "target-gain=25")
                self.ok("rpc", text=edit(config(PRE0, gain, attributes), f"<default-operation>{word}</default-operation>"))
                settings = self.settings()
                self.assertEqual(settings[PRE0, "config/target-gain"], stored)
                self.assertEqual((BST2, "config/target-gain") in settings, others_stay)
                self.assertEqual((PRE0, "config/enabled") in settings, others_stay)

    def test_what_is_only_tried_is_not_stored(self):
        data = config(PRE0, '<target-gain>15.5</target-gain><enabled nc:operation="remove"/>')
        before = self.settings()
        for message in (edit(data, "<test-option>test-only</test-option>"),
                        rpc("<validate><source><running/></source></validate>"),
                        rpc(f"<validate><source><config>{config(PRE0, '')}</config></source></validate>"),
                        rpc("<validate><source><config/></source></validate>")):
            with self.subTest(message):
                self.assertIn("<ok/>", self.ok("rpc", text=message))
                self.assertEqual(self.settings(), before)
        self.ok("rpc", text=edit(data, "<test-option>test-then-set</test-option>"))
        self.assertNotEqual(self.settings(), before)

    def test_replace_of_everything_by_nothing(self):
        self.ok("rpc", text=edit("", "<default-operation>replace</default-operation>"))
        self.assertEqual({leaf for _, leaf in self.settings()} - {"config/name"}, set())

    def test_create_and_delete_mind_what_is_there(self):
        for leaf, there, tag in (('<target-gain nc:operation="create">9</target-gain>', True, "data-exists"),
                                 ('<target-gain nc:operation="create">9</target-gain>', False, None),
                                 ('<target-gain nc:operation="delete"/>', False, "data-missing"),
                                 ('<target-gain nc:operation="remove"/>', False, None)):
            with self.subTest(leaf=leaf, there=there):
                self.ok(*(["set", BST2, "target-gain=20"] if there else ["unset", BST2, "target-gain"]))
                status, out, _ = self.run_tool("rpc", text=edit(config(BST2, leaf)))
                self.assertEqual(status, 0 if tag is None else 1)
                self.assertIn("<ok/>" if tag is None else f"<error-tag>{tag}</error-tag>", out)

    def test_an_amplifier_that_is_not_there_can_be_removed_only(self):
        before = self.settings()
        for operation, tag in (("remove", None), ("delete", "data-missing"), ("merge", "invalid-value")):
            with self.subTest(operation):
                named = f'<amplifier nc:operation="{operation}"><name>0/0-AMP-XYZ</name></amplifier>'
                status, out, _ = self.run_tool("rpc", text=edit(entries(named)))
                self.assertEqual(status, 0 if tag is None else 1)
                self.assertIn("<ok/>" if tag is None else f"<error-tag>{tag}</error-tag>", out)
                self.assertEqual(self.settings(), before)

    def test_an_edit_of_two_amplifiers_is_one_transaction(self):
        before = self.settings()
        for second in ("<target-gain>99</target-gain>", '<enabled nc:operation="create">true</enabled>'):
            status, _, _ = self.run_tool("rpc", text=edit(entries(
                entry(PRE0, "<config><target-gain>12</target-gain></config>"),
                entry(BST2, f"<config>{second}</config>"))))
            self.assertEqual((status, self.settings()), (1, before))


class Translate(DeviceTest):
    def test_native_requests(self):
        for message, leaves in (
                (edit(config(BST2, "<target-gain>15.57</target-gain>")), ["ots-egress-amplifier-gain=155"]),
                (edit(config(PRE0, "<enabled>false</enabled>")), ["ots-ingress-osri=true"]),
                (edit(config(BST0, '<target-gain nc:operation="delete"/>')),
                 ["ots-egress-amplifier-gain= delete"]),
                (get_config(config(BST2, "<target-gain/>")), ["ots-egress-amplifier-gain="]),
                (get_config(top("")), [f"ots-{side}-{leaf}=" for side in ("ingress", "egress", "egress")
                                       for leaf in ("amplifier-gain", "amplifier-tilt", "amplifier-gain-range",
                                                    "osri")])):
            with self.subTest(message):
                self.assertEqual(self.native_leaves(message), leaves)
        self.assertEqual(os.listdir(self.folder), [])


if __name__ == "__main__":
    unittest.main()
