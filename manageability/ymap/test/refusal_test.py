"""Refused requests: exit status 1, tag, path and message, and nothing stored."""

import unittest
import xml.etree.ElementTree as ElementTree

from tool import (BST0, BST2, NC, NETCONF, OPENCONFIG, PRE0, DeviceTest, config, edit, entries, entry, get_config,
                  rpc, top)

TOP = "/openconfig-optical-amplifier:optical-amplifier"
LIST = TOP + "/amplifiers/amplifier"
XYZ = "0/0-AMP-XYZ"
WITH_DEFAULTS = "urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults"


def at(name, rest=""):
    return f"{LIST}[name='{name}']{rest}"


class CommandLine(DeviceTest):
    def test_refused_settings(self):
        range_of_gain = "Invalid argument:NALTO support range from 80 to 380"
        for name, assignment, tag, message in (
                (BST2, "target-gain=7.99", "invalid-value", range_of_gain),
                (BST2, "target-gain=38.01", "invalid-value", range_of_gain),
                (BST2, "target-gain=-1", "invalid-value", "range"),
                (BST2, "target-gain=abc", "invalid-value", '"abc"'),
                (BST2, "target-gain=nan", "invalid-value", "Expected a decimal number with up to 2 fraction digits"),
                (BST2, "target-gain=15.555", "invalid-value", "fraction digits"),
                (BST2, "target-gain=", "invalid-value", "Expected a decimal number"),
                (PRE0, "enabled=", "invalid-value", "Expected one of true, false"),
                (PRE0, "gain-range=EDFA", "invalid-value", "MID_GAIN_RANGE, HIGH_GAIN_RANGE"),
                (PRE0, "enabled=yes", "invalid-value", "Expected one of true, false"),
                (PRE0, "min-gain=1", "operation-not-supported", ""),
                (PRE0, "colour=red", "unknown-element", "no element colour"),
                (PRE0, f"name={BST0}", "invalid-value", BST0)):
            with self.subTest(assignment):
                before = self.stored()
                status, out, err = self.run_tool("set", name, "target-gain-tilt=1", assignment)
                self.assertEqual((status, out), (1, ""))
                path = at(name, "/config/" + assignment.split("=")[0])
                self.assertTrue(err.startswith(f"ymap: error: {tag} at {path}: "), err)
                self.assertIn(message, err)
                self.assertEqual(self.stored(), before)

    def test_unknown_amplifier(self):
        before = self.stored()
        for arguments in (("set", XYZ, "target-gain=20"), ("set", "0/0-AMP-PRE2", "target-gain=20"),
                          ("unset", XYZ, "target-gain"), ("get", XYZ),
                          ("get", XYZ, "--config"), ("get", PRE0, XYZ, "--state")):
            with self.subTest(arguments):
                status, out, err = self.run_tool(*arguments)
                self.assertEqual((status, out), (1, ""))
                self.assertRegex(err, r"^ymap: error: invalid-value at .*\[name='.*'\]/name: .*0/0-AMP-PRE0")
        self.assertEqual(self.run_tool("get", "")[0], 1)
        status, _, err = self.run_tool("set", PRE0, "target-gain-tilt=5.1")
        self.assertEqual(status, 1)
        self.assertIn("target-gain-tilt: Invalid argument:NALTO support range from -50 to 50", err)
        self.assertEqual(self.stored(), before)


class Messages(DeviceTest):
    def assert_refused(self, message, tag, path=None, **info):
        before = self.stored()
        status, out, err = self.run_tool("rpc", text=message)
        self.assertEqual((status, err), (1, ""), out)
        error = ElementTree.fromstring(out).find(NC + "rpc-error")
        found = {child.tag.replace(NC, ""): child for child in error}
        self.assertEqual(found["error-tag"].text, tag)
        self.assertEqual(found["error-severity"].text, "error")
        self.assertIn(found["error-type"].text, ("rpc", "protocol", "application"))
        self.assertTrue(found["error-message"].text)
        self.assertEqual(found["error-path"].text if "error-path" in found else None, path)
        details = {child.tag.replace(NC, ""): child.text for child in found.get("error-info", ())}
        self.assertEqual(details, {word.replace("_", "-"): value for word, value in info.items()})
        self.assertEqual(self.stored(), before)
        return out

    def test_refused_edits(self):
        gain = "<config><target-gain>20</target-gain></config>"
        prefixed = "/".join(["", "oc-opt-amp:optical-amplifier", "oc-opt-amp:amplifiers", "oc-opt-amp:amplifier"])
        of_bst2 = prefixed + f"[oc-opt-amp:name='{BST2}']"
        of_config = of_bst2 + "/oc-opt-amp:config"
        delete = f'<name nc:operation="delete">{BST2}</name>'
        name = "bad_element"
        for message, tag, path, info in (
                (entries(entry("", gain, key="")), "missing-element", prefixed + "/oc-opt-amp:name", {name: "name"}),
                (entries(entry("", gain, key=f"<name>{BST2}</name><name>{BST0}</name>")), "bad-element",
                 of_bst2 + "/oc-opt-amp:name", {name: "name"}),
                (entries(entry("", gain)), "bad-element", prefixed + "/oc-opt-amp:name", {name: "name"}),
                (entries(entry(" \n ", gain)), "bad-element", prefixed + "/oc-opt-amp:name", {name: "name"}),
                (entries(entry("", gain, key=delete)), "bad-attribute", of_bst2,
                 {"bad_attribute": "operation", name: "name"}),
                (entries(entry(BST2, "<state><enabled>true</enabled></state>")), "operation-not-supported",
                 of_bst2 + "/oc-opt-amp:state", {name: "state"}),
                (config(BST2, "<min-gain>1</min-gain>"), "operation-not-supported", of_config + "/oc-opt-amp:min-gain",
                 {name: "min-gain"}),
                (config(BST2, '<gain xmlns="urn:x">1</gain>'), "unknown-namespace", of_config,
                 {name: "gain", "bad_namespace": "urn:x"}),
                ('<system xmlns="urn:x"/>', "unknown-namespace", "/nc:rpc/nc:edit-config/nc:config",
                 {name: "system", "bad_namespace": "urn:x"}),
                (config(BST2, "<gain>1</gain>"), "unknown-element", of_config + "/oc-opt-amp:gain", {name: "gain"}),
                (config(BST2, "<target-gain><x/></target-gain>"), "unknown-element",
                 of_config + "/oc-opt-amp:target-gain/oc-opt-amp:x", {name: "x"}),
                (top("20"), "bad-element", "/oc-opt-amp:optical-amplifier", {name: "optical-amplifier"}),
                (top("<!-- -->2<![CDATA[0]]><amplifiers/>"), "bad-element", "/oc-opt-amp:optical-amplifier",
                 {name: "optical-amplifier"}),
                (config(BST2, "<target-gain>20</target-gain><target-gain>21</target-gain>"), "bad-element",
                 of_config + "/oc-opt-amp:target-gain", {name: "target-gain"}),
                (entries(entry(PRE0, gain), entry(BST2, gain), entry(BST2, gain)), "bad-element", of_bst2,
                 {name: "amplifier"}),
                (config(BST2, "<gain-range>x:MID_GAIN_RANGE</gain-range>"), "invalid-value",
                 of_config + "/oc-opt-amp:gain-range", {}),
                (config(BST2, '<target-gain nc:operation="set">20</target-gain>'), "bad-attribute",
                 of_config + "/oc-opt-amp:target-gain", {"bad_attribute": "operation", name: "target-gain"}),
                (config(BST2, '<target-gain operation="delete"/>'), "unknown-attribute",
                 of_config + "/oc-opt-amp:target-gain", {"bad_attribute": "operation", name: "target-gain"})):
            with self.subTest(message):
                self.assert_refused(edit(message), tag, path, **info)
        out = self.assert_refused(edit(entries(entry(BST2, "<x/>"))), "unknown-element",
                                  of_bst2 + "/oc-opt-amp:x", bad_element="x")
        self.assertIn(f'<error-path xmlns:oc-opt-amp="{OPENCONFIG}">', out)

    def test_refused_operations(self):
        running = "<target><running/></target>"
        operation = "/nc:rpc/nc:edit-config"
        for inner, tag, path, info in (
                ("<edit-config><config/></edit-config>", "missing-element", operation, {"bad_element": "target"}),
                (f"<edit-config>{running}</edit-config>", "missing-element", operation, {"bad_element": "config"}),
                ("<edit-config><target><candidate/></target><config/></edit-config>", "operation-not-supported",
                 operation + "/nc:target", {}),
                ("<edit-config><target/><config/></edit-config>", "missing-element", operation + "/nc:target",
                 {"bad_element": "running"}),
                (f"<edit-config>{running}{running}<config/></edit-config>", "bad-element", operation + "/nc:target",
                 {"bad_element": "target"}),
                (f"<edit-config>{running}<default-operation>delete</default-operation><config/></edit-config>",
                 "invalid-value", operation + "/nc:default-operation", {}),
                (f"<edit-config>{running}<test-option>try</test-option><config/></edit-config>",
                 "invalid-value", operation + "/nc:test-option", {}),
                (f"<edit-config>{running}<url>file:///x</url></edit-config>", "operation-not-supported",
                 operation + "/nc:url", {}),
                (f'<edit-config>{running}<config nc:operation="delete" xmlns:nc="{NETCONF}"/></edit-config>',
                 "unknown-attribute", operation + "/nc:config", {"bad_attribute": "operation", "bad_element": "config"}),
                ("<get-config/>", "missing-element", "/nc:rpc/nc:get-config", {"bad_element": "source"}),
                ('<get><filter type="xpath" select="/"/></get>', "operation-not-supported",
                 "/nc:rpc/nc:get/nc:filter", {}),
                ("<get><depth>2</depth></get>", "unknown-element", "/nc:rpc/nc:get", {"bad_element": "depth"}),
                (f'<get><with-defaults xmlns="{WITH_DEFAULTS}">report-all</with-defaults></get>', "invalid-value",
                 "/nc:rpc/nc:get/ncwd:with-defaults", {}),
                ("<get><with-defaults>explicit</with-defaults></get>", "unknown-namespace", "/nc:rpc/nc:get",
                 {"bad_element": "with-defaults", "bad_namespace": NETCONF}),
                ("<validate/>", "missing-element", "/nc:rpc/nc:validate", {"bad_element": "source"}),
                ("<validate><source><candidate/></source></validate>", "operation-not-supported",
                 "/nc:rpc/nc:validate/nc:source", {}),
                ("<validate><source><config>x</config></source></validate>", "bad-element",
                 "/nc:rpc/nc:validate/nc:source/nc:config", {"bad_element": "config"}),
                ("<get/><get/>", "bad-element", "/nc:rpc", {"bad_element": "get"}),
                ("<lock/>", "operation-not-supported", "/nc:rpc", {})):
            with self.subTest(inner):
                self.assert_refused(rpc(inner), tag, path, **info)

    def test_a_message_needs_its_id(self):
        for message in (rpc("<get/>").replace('message-id="7"', ""), rpc("<get/>").replace("message-id", "nc:message-id")):
            self.assert_refused(message, "missing-attribute", "/nc:rpc", bad_attribute="message-id", bad_element="rpc")

    def test_what_is_only_tried_is_refused_alike(self):
        path = f"/oc-opt-amp:optical-amplifier/oc-opt-amp:amplifiers/oc-opt-amp:amplifier[oc-opt-amp:name='{BST2}']"
        gain = path + "/oc-opt-amp:config/oc-opt-amp:target-gain"
        loud = config(BST2, "<target-gain>38.01</target-gain>")
        create = config(BST2, '<target-gain nc:operation="create">20</target-gain>')
        test_only = "<test-option>test-only</test-option>"
        for message, tag, info in (
                (edit(loud, test_only), "invalid-value", {}),
                (edit(create, test_only), "data-exists", {"bad_element": "target-gain"}),
                (rpc(f"<validate><source><config>{loud}</config></source></validate>"), "invalid-value", {})):
            with self.subTest(message):
                self.assert_refused(message, tag, gain, **info)

    def test_by_default_operation_none_data_must_be_there(self):
        self.ok("unset", BST2, "target-gain")
        path = f"/oc-opt-amp:optical-amplifier/oc-opt-amp:amplifiers/oc-opt-amp:amplifier[oc-opt-amp:name='{{}}']"
        leaf = path.format(BST2) + "/oc-opt-amp:config/oc-opt-amp:"
        remove = '<enabled nc:operation="remove"/>'
        for data, tag, where, info in (
                (config(BST2, "<target-gain>20</target-gain>" + remove), "data-missing", leaf + "target-gain", {}),
                (config(BST2, "<target-gain>20</target-gain>"), "data-missing", leaf + "target-gain", {}),
                (config(BST2, "<target-gain-tilt>5.1</target-gain-tilt>" + remove), "invalid-value",
                 leaf + "target-gain-tilt", {}),
                (config(BST2, "<min-gain>1</min-gain>"), "operation-not-supported", leaf + "min-gain",
                 {"bad_element": "min-gain"}),
                (config(XYZ, ""), "invalid-value", path.format(XYZ) + "/oc-opt-amp:name", {})):
            with self.subTest(data):
                self.assert_refused(edit(data, "<default-operation>none</default-operation>"), tag, where, **info)

    def test_filters_are_checked_too(self):
        self.assert_refused(get_config(config(XYZ, "")), "invalid-value",
                            "/oc-opt-amp:optical-amplifier/oc-opt-amp:amplifiers"
                            f"/oc-opt-amp:amplifier[oc-opt-amp:name='{XYZ}']/oc-opt-amp:name")
        self.assert_refused(get_config(top("<gain/>")), "unknown-element",
                            "/oc-opt-amp:optical-amplifier/oc-opt-amp:gain", bad_element="gain")

    def test_texts_that_are_no_message(self):
        whole = rpc("<get/>")
        for title, text, tag in (
                ("empty", "", "malformed-message"),
                ("blank", " \n", "malformed-message"),
                ("no XML", "target-gain=20", "malformed-message"),
                ("unfinished", whole[:-6], "malformed-message"),
                ("mismatch", whole.replace("</rpc>", "</get>"), "malformed-message"),
                ("two roots", whole + whole, "malformed-message"),
                ("prefix without namespace", "<a:rpc/>", "malformed-message"),
                ("blank in front of a name", whole.replace("<get/>", '< x xmlns=""><y/><y/></x>'),
                 "malformed-message"),
                ("blank in an end tag", whole.replace("</rpc>", "</ rpc>"), "malformed-message"),
                ("no blank between attributes", whole.replace(' xmlns="', 'xmlns="'), "malformed-message"),
                ("end of CDATA alone", whole.replace("<get/>", "]]><get/>"), "malformed-message"),
                ("attribute twice", whole.replace("<rpc ", '<rpc message-id="8" '), "malformed-message"),
                ("entity", f'<!DOCTYPE rpc [<!ENTITY a "aaaa">]>{whole}', "malformed-message"),
                ("unknown entity", whole.replace("<get/>", "&a;"), "malformed-message"),
                ("unknown entity in front of an element", whole.replace("<get/>", "&a;<get/>"), "malformed-message"),
                ("text in front of an unfinished element", whole.replace("<get/>", "a<get>"), "malformed-message"),
                ("no UTF-8", b"\xff\xfe" + whole.encode(), "malformed-message"),
                ("control character", whole.replace("<get/>", "\x1b[2J"), "malformed-message"),
                ("NUL", whole + "\0", "malformed-message"),
                ("too deep", whole.replace("<get/>", "<a>" * 100 + "</a>" * 100), "malformed-message"),
                ("64 MB of nested elements", b'<a xmlns="urn:x">' * (64 * 1024 * 1024 // 17), "too-big"),
                ("many elements", whole.replace("<get/>", "<a/><b/>" * 20000), "too-big"),
                ("many attributes", whole.replace("<rpc ", '<rpc a="' + "x" * 70000 + '" '), "too-big"),
                ("many attributes, unfinished", "<rpc " + "a='1' " * 20000, "too-big")):
            with self.subTest(title):
                self.assert_refused(text, tag)
        self.assert_refused(f'<hello xmlns="{NETCONF}"/>', "unknown-element", bad_element="hello")

    def test_depth_counts_elements_only(self):
        inner = "<get><!-- " + "<a>" * 200 + ' --><filter type="subtree"><![CDATA[]]></filter></get>'
        self.assertIn("<data/>", self.ok("rpc", text=rpc(inner)))

    def test_a_message_without_blanks_is_read_once_only(self):
        """It took minutes when each tag's blanks were sought up to the message's end."""
        names = '<x xmlns="urn:x"/>' + "<y/>" * 19000 + "<z>" + "z" * 4_000_000 + "</z>"
        self.assertIn("<data/>", self.ok("rpc", text=rpc(f'<get><filter type="subtree">{names}</filter></get>')))


if __name__ == "__main__":
    unittest.main()
