"""The server of the device's own models: what it answers, takes and refuses, with a candidate datastore and without."""

import os
import re
import subprocess
import unittest
import xml.etree.ElementTree as ElementTree

from piped import Piped
from protocol_test import IETF, LOCK, NOTHING, UNLOCK, PipedTest, get_schema, paths, state
from tool import NC, YMAP, edit, get, get_config, rpc

MODULES = {name: "http://velm.example/ns/yang/Velm-NALTO-" + name
           for name in ("ifmgr-cfg", "controller-ots-cfg", "controller-ots-oper", "pmengine-oper")}
BOTH = '[a1:active=\'act\'][a1:interface-name=\'%s\']'
LIST = "/a1:interface-configurations/a1:interface-configuration"
COMMIT, DISCARD = rpc("<commit/>"), rpc("<discard-changes/>")


def interfaces(inner, attributes=""):
    return f'<interface-configurations xmlns="{MODULES["ifmgr-cfg"]}" {attributes}>{inner}</interface-configurations>'


def port(inner, name="Ots0/0/0/2", attributes="", active="act"):
    return (f"<interface-configuration {attributes}><active>{active}</active><interface-name>{name}</interface-name>"
            f"{inner}</interface-configuration>")


def ots(leaves, attributes=""):
    return f'<ots xmlns="{MODULES["controller-ots-cfg"]}" {attributes}>{leaves}</ots>'


def gain(value, operation=None):
    word = f' nc:operation="{operation}"' if operation else ""
    return f"<ots-egress-amplifier-gain{word}>{value}</ots-egress-amplifier-gain>"


def set_gain(value, operation=None):
    return interfaces(port(ots(gain(value, operation))))


def candidate(message):
    return message.replace("running/>", "candidate/>")


class NativeTest(PipedTest):
    def session(self, *options, **settings):
        session = Piped(self.folder, "1.1", ("--native", *options), **settings)
        self.addCleanup(session.end)
        return session

    def read(self, session, message):
        return paths(session.ask(message).find(NC + "data"))

    def gain(self, session, message=get_config(set_gain(""))):
        return [path.split("=")[1] for path in self.read(session, message) if "gain=" in path]


class Reading(NativeTest):
    def test_hello(self):
        for options in ((), ("--candidate",)):
            session = self.session(*options)
            capabilities = [each.text for each in session.greeting.iter(NC + "capability")]
            for name, ns in MODULES.items():
                self.assertIn(f"{ns}?module=Velm-NALTO-{name}&revision=2026-11-22", capabilities)
            self.assertEqual(bool(options), "urn:ietf:params:netconf:capability:candidate:1.0" in capabilities)
            self.assertEqual(self.read(session, get(state("<capabilities/>"))),
                             ["netconf-state/capabilities/capability=" + each for each in capabilities])
            self.assertFalse([each for each in capabilities if "openconfig" in each])

    def test_all_data_is_valid(self):
        session = self.session("--candidate")
        models = os.path.join(os.path.dirname(os.path.dirname(YMAP)), "share/ymap/models")
        modules = [f"{IETF}/ietf-netconf{each}.yang" for each in
                   ("@2011-06-01", "-monitoring@2010-10-04", "-with-defaults@2011-06-01")]
        modules += [f"{models}/Velm-NALTO-{name}.yang" for name in MODULES]
        session.send(rpc("<get/>"))
        answer = os.path.join(self.folder, "answer.xml")
        with open(answer, "w", encoding="utf-8") as file:
            file.write(session.receive().split("<data>")[1].split("</data>")[0])
        checked = subprocess.run(["yanglint", "-y", "-t", "data", "-p", IETF, "-p", models, *modules, answer],
                                 capture_output=True, check=False)
        self.assertEqual((checked.returncode, checked.stderr), (0, b""))
        for name in MODULES:
            text = session.ask(get_schema(f"<identifier>Velm-NALTO-{name}</identifier>"))[0].text
            self.assertTrue(text.startswith(f"module Velm-NALTO-{name} {{"))

    def test_filters(self):
        session = self.session("--candidate")
        entry = "interface-configurations/interface-configuration/"
        keys = [entry + "active=act", entry + "interface-name=Ots0/0/0/2"]
        leaf = [*keys, entry + "ots/ots-egress-amplifier-gain=184"]
        live = f'<ots-oper xmlns="{MODULES["controller-ots-oper"]}"><ots-ports><ots-port>%s</ots-port></ots-ports></ots-oper>'
        oper = ["ots-oper/ots-ports/ots-port/" + each for each in ("name=Ots0/0/0/2", "ots-info/egress-ampli-gain=184")]
        asked = live % "<name>Ots0/0/0/2</name><ots-info><egress-ampli-gain/></ots-info>"
        bare = re.sub(' xmlns="http[^"]*"', "", set_gain(" "))
        for filtered, expected in (
                (set_gain(""), leaf), (set_gain(" 184 "), None), (set_gain("+0184"), None), (set_gain("185"), keys),
                (set_gain("much"), keys), (interfaces(port("")), None), (asked, oper), ("", []),
                (bare, []), (bare.replace("configurations", 'configurations xmlns=""', 1), leaf),
                (re.sub(' xmlns="http[^"]*"', ' xmlns=""', asked), oper), ('<x xmlns="urn:x"/>', []),
                (interfaces("<nothing/>"), []), (interfaces(port("<interface-name/>")), keys)):
            with self.subTest(filtered):
                found = self.read(session, get(filtered))
                if expected is None:
                    self.assertLess(set(leaf), set(found))  # a match selects all beside it
                else:
                    self.assertEqual(found, expected)
                configuration = [] if "ots-oper" in filtered else found
                for message in (get_config(filtered), candidate(get_config(filtered))):
                    self.assertEqual(self.read(session, message), configuration)
        everything = {child.tag.split("}")[1] for child in session.ask(rpc("<get/>"))[0]}
        self.assertLess({"interface-configurations", "ots-oper", "performance-management-history", "netconf-state"}, everything)
        self.assertEqual([child.tag.split("}")[1] for child in session.ask(get_config())[0]],
                         ["global-interface-configuration", "interface-configurations"])


class Editing(NativeTest):
    def test_operations(self):
        session = self.session()
        container = "<default-operation>%s</default-operation>"
        new = port("<description>new</description>", "New0", "%s")
        for message, tag in (
                (edit(set_gain("150")), None), (edit(set_gain("150", "create")), "data-exists"),
                (edit(set_gain("", "delete")), None), (edit(set_gain("", "delete")), "data-missing"),
                (edit(set_gain("", "remove")), None), (edit(set_gain("160", "create")), None),
                (edit(set_gain("170", "replace")), None), (edit(set_gain("180"), container % "none"), None),
                (edit(interfaces(new % 'nc:operation="create"')), None),
                (edit(interfaces(new % 'nc:operation="create"')), "data-exists"),
                (edit(interfaces(new.replace(">new<", ">none<") % ""), container % "none"), None),
                (edit(interfaces(new % 'nc:operation="delete"')), None),
                (edit(interfaces(new % ""), container % "none"), "data-missing"),
                (edit(interfaces(new % 'nc:operation="replace"')), None),
                (edit(interfaces(port("", "New0", 'nc:operation="remove"') * 2)), None),
                (edit(set_gain("190"), "<test-option>test-only</test-option>"), None),
                (edit(set_gain("999"), "<test-option>test-only</test-option>"), "invalid-value"),
                (rpc("<validate><source><running/></source></validate>"), None),
                (rpc(f"<validate><source><config>{set_gain('99')}</config></source></validate>"), None),
                (rpc(f"<validate><source><config>{set_gain('x')}</config></source></validate>"), "invalid-value")):
            with self.subTest(message):
                reply = session.ask(message)
                self.assertEqual(reply.findtext(f".//{NC}error-tag"), tag)
                self.assertEqual(reply.find(NC + "ok") is None, tag is not None)
        self.assertEqual(self.gain(session), ["170"])
        self.ok(session, edit(set_gain("90"), container % "replace"))
        self.assertEqual([path.split("/", 2)[-1] for path in self.read(session, get_config())],
                         ["active=act", "interface-name=Ots0/0/0/2", "ots/ots-egress-amplifier-gain=90"])
        self.ok(session, edit("", container % "replace"))
        self.assertEqual(self.read(session, get_config()), [])

    def test_refused_with_every_field(self):
        session = self.session()
        before = self.read(session, get_config())
        at = LIST + BOTH % "Ots0/0/0/2"
        leaf = at + "/controller-ots-cfg:ots/controller-ots-cfg:ots-egress-amplifier-gain"
        bad = {"type": "application", "tag": "bad-element"}
        low, high = (f"<ots-egress-amplifier-gain-degrade-{end}-threshold>%s</ots-egress-amplifier-gain-degrade-{end}-threshold>"
                     for end in ("low", "high"))
        for data, expected in (
                (set_gain("381"), {"type": "application", "tag": "invalid-value", "path": leaf, "message": "380|381"}),
                (set_gain("high"), {"type": "application", "tag": "invalid-value", "path": leaf}),
                (interfaces(port(ots("<gain>1</gain>"))),
                 {"type": "application", "tag": "unknown-element", "bad-element": "gain", "path": at +
                  "/controller-ots-cfg:ots/controller-ots-cfg:gain"}),
                (interfaces('<x xmlns="urn:x"/>'), {"type": "application", "tag": "unknown-namespace", "bad-element": "x",
                                                    "bad-namespace": "urn:x", "path": "/a1:interface-configurations/a1:x"}),
                (interfaces("<interface-configuration><active>act</active></interface-configuration>"),
                 {"type": "application", "tag": "missing-element", "path": LIST, "bad-element": "interface-configuration",
                  "message": "key 'interface-name'"}),
                (interfaces(port("<description>a</description><description>b</description>")),
                 {**bad, "path": LIST + "/a1:description", "bad-element": "description", "message": "twice"}),
                (interfaces(port("<mtus>big</mtus>")), {**bad, "path": at + "/a1:mtus", "bad-element": "mtus"}),
                (interfaces(port("<mtus>a<mtu/></mtus>")), {**bad, "path": LIST + "/a1:mtus", "bad-element": "mtus"}),
                (set_gain("<x/>"), {**bad, "path": leaf, "bad-element": "ots-egress-amplifier-gain"}),
                (interfaces("", 'nc:operation="set"'),
                 {"type": "application", "tag": "bad-attribute", "path": "/a1:interface-configurations",
                  "bad-attribute": "operation", "bad-element": "interface-configurations", "message": "none of merge"}),
                (interfaces("", 'operation="merge"'),
                 {"type": "application", "tag": "unknown-attribute", "path": "/a1:interface-configurations",
                  "bad-attribute": "operation", "bad-element": "interface-configurations", "message": "needs a prefix"}),
                (f'<ots-oper xmlns="{MODULES["controller-ots-oper"]}"/>',
                 {"type": "application", "tag": "operation-not-supported", "path": "/controller-ots-oper:ots-oper",
                  "message": "only be read"}),
                (interfaces(port(ots(low % 200 + high % 100))),
                 {"type": "application", "tag": "operation-failed", "message": "must not be below the low one", "path": at +
                  "/controller-ots-cfg:ots/controller-ots-cfg:ots-egress-amplifier-gain-degrade-high-threshold"})):
            with self.subTest(data):
                self.refused(session, edit(data), **expected)
        for word in ("commit", "discard-changes"):
            self.refused(session, rpc(f"<{word}/>"), type="protocol", tag="operation-not-supported", path="/nc:rpc",
                         message=f"{word} .*supported are get, ")
        self.refused(session, candidate(LOCK), type="protocol", tag="operation-not-supported",
                     path="/nc:rpc/nc:lock/nc:target", message="running is the only one")
        self.assertEqual(self.read(session, get_config()), before)

    def test_candidate(self):
        session, other = self.session("--candidate"), self.session("--candidate")
        low, high = (f"<ots-egress-amplifier-gain-degrade-{end}-threshold>%s</ots-egress-amplifier-gain-degrade-{end}-threshold>"
                     for end in ("low", "high"))
        self.ok(session, candidate(edit(set_gain("150"))))
        self.assertEqual((self.gain(session), self.gain(session, candidate(get_config(set_gain(""))))), (["184"], ["150"]))
        self.assertEqual(self.gain(other, candidate(get_config(set_gain("")))), ["150"])
        self.refused(session, candidate(LOCK), type="protocol", tag="lock-denied", message="neither committed nor")
        self.ok(session, DISCARD)
        self.assertEqual(self.gain(session, candidate(get_config(set_gain("")))), ["184"])
        # Whether edits go together is for the commit to say, what each says for itself at once.
        self.refused(session, candidate(edit(set_gain("999"))), type="application", tag="invalid-value", path=LIST +
                     BOTH % "Ots0/0/0/2" + "/controller-ots-cfg:ots/controller-ots-cfg:ots-egress-amplifier-gain")
        self.ok(session, candidate(edit(interfaces(port(ots(low % 200))))))
        self.ok(session, candidate(edit(interfaces(port(ots(high % 100))))))
        for message in (rpc("<validate><source><candidate/></source></validate>"), COMMIT):
            self.assertEqual(session.ask(message).findtext(f".//{NC}error-tag"), "operation-failed")
        self.ok(session, candidate(edit(interfaces(port(ots(high % 300 + gain("160")))))))
        self.ok(session, rpc("<validate><source><candidate/></source></validate>"))
        self.ok(session, COMMIT)
        self.ok(session, COMMIT)
        self.assertEqual((self.gain(session), self.gain(other)), (["160"], ["160"]))

    def test_candidate_of_another(self):
        session, other = self.session("--candidate"), self.session("--candidate")
        self.ok(session, candidate(LOCK))
        held = {"type": "protocol", "message": f"session {session.id}"}
        self.refused(other, candidate(LOCK), tag="lock-denied", **{"session-id": session.id}, **held)
        for message in (candidate(edit(set_gain("150"))), COMMIT, DISCARD):
            self.refused(other, message, tag="in-use", **held)
        locks = "netconf-state/datastores/datastore/locks/global-lock/locked-by-session=" + session.id
        self.assertEqual(self.read(other, get(state("<datastores/>"))).count(locks), 1)
        self.ok(other, LOCK)
        self.ok(session, candidate(edit(set_gain("150"))))
        self.refused(session, COMMIT, type="protocol", tag="in-use", message=f"session {other.id}")
        self.ok(other, UNLOCK)
        self.ok(session, COMMIT)
        self.ok(session, rpc("<close-session/>"))
        self.ok(other, candidate(LOCK))
        self.assertEqual(self.gain(other), ["150"])
        self.assertEqual([child.tag for child in other.ask(NOTHING)], [NC + "data"])

    def test_usage(self):
        for arguments, message in ((["--native", "--device", "ssh://host"], "emulated device"),
                                   (["--candidate"], "--candidate is of --native")):
            done = subprocess.run([YMAP, "netconf", *arguments], capture_output=True, text=True, stdin=subprocess.DEVNULL)
            self.assertEqual((done.returncode, done.stdout), (2, ""))
            self.assertIn(message, done.stderr)


if __name__ == "__main__":
    unittest.main()
