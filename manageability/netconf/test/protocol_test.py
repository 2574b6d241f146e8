"""The protocol, message by message: what is answered, what is refused and how, and how sessions end."""

import os
import signal
import subprocess
import tempfile
import time
import unittest
import xml.etree.ElementTree as ElementTree

from piped import END, Piped, errors, eventually, hello, undeclared
from tool import BST0, BST2, CHAIN, NC, NETCONF, OPENCONFIG, PRE0, config, edit, get, get_config, rpc, top

MONITORING = "urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"
LIBRARY = "urn:ietf:params:xml:ns:yang:ietf-yang-library"
DEFAULTS = "urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults"
RUNNING = "<target><running/></target>"
LOCK, UNLOCK = rpc(f"<lock>{RUNNING}</lock>"), rpc(f"<unlock>{RUNNING}</unlock>")
NOTHING = get("")
# A device elsewhere has no candidate to share.
DATASTORES = ("running",) if CHAIN else ("running", "candidate")
DATASTORE_CAPABILITIES = () if CHAIN else ("candidate:1.0", "confirmed-commit:1.1", "notification:1.0", "interleave:1.0")
DATASTORE_FEATURES = "" if CHAIN else "candidate,confirmed-commit,"
IETF = "/usr/share/yuma/modules/ietf"


def state(inner):
    return f'<netconf-state xmlns="{MONITORING}">{inner}</netconf-state>'


def gain(value, amplifier=BST2):
    return config(amplifier, f"<target-gain>{value}</target-gain>")


def get_schema(inner):
    return rpc(f'<get-schema xmlns="{MONITORING}">{inner}</get-schema>')


def kill(session):
    return rpc(f"<kill-session><session-id>{session}</session-id></kill-session>")


def paths(data):
    """Leaves below an element, "a/b=value", without namespaces."""
    found = []
    for child in data:
        name = child.tag.split("}")[1]
        found += [f"{name}/{path}" for path in paths(child)] if len(child) else [f"{name}={child.text or ''}"]
    return found


class PipedTest(unittest.TestCase):
    """Every test has a new device with factory data."""

    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def session(self, *arguments, **settings):
        session = Piped(self.folder, *arguments, **settings)
        self.addCleanup(session.end)
        return session

    def ok(self, session, message):
        self.assertEqual([child.tag for child in session.ask(message)], [NC + "ok"], message)

    def selected(self, session, filtered):
        return paths(session.ask(get(filtered)).find(NC + "data"))

    def refused(self, session, request, **expected):
        session.send(request)
        reply = session.receive()
        found = errors(reply)
        self.assertRegex(found.pop("message"), expected.pop("message", "."))
        self.assertEqual(found, expected, request)
        self.assertEqual(undeclared(reply), set(), reply)


class AnswerTest(PipedTest):
    def test_both_framings(self):
        for version in ("1.0", "1.1"):
            session = self.session(version)
            whole = session.ask(get_config())
            self.assertIn("target-gain=18.4", "".join(paths(whole)))
            for value in ("15.5", "18.4"):
                self.ok(session, edit(gain(value)))
                self.assertIn("target-gain=" + value, "".join(paths(session.ask(get_config()))))
            session.send(NOTHING + "\n")
            session.send(UNLOCK)  # already on its way while the first is answered
            self.assertIn("<data/>", session.receive())
            self.assertIn("operation-failed", session.receive())
            self.ok(session, rpc("<close-session/>"))
            self.assertEqual(session.end(close=False), (0, ""))

    def test_hello(self):
        first, second = self.session(), self.session()
        self.assertLess(int(first.id), int(second.id))
        capabilities = [each.text for each in first.greeting.iter(NC + "capability")]
        protocol = [each.split(":capability:")[1] for each in capabilities if ":capability:" in each]
        self.assertEqual([each for each in protocol if "yang-library" not in each],
                         ["writable-running:1.0", "rollback-on-error:1.0", "validate:1.1",
                          "with-defaults:1.0?basic-mode=explicit", *DATASTORE_CAPABILITIES])
        modules = [f"{OPENCONFIG}?module=openconfig-optical-amplifier&revision=2019-12-06",
                   f"{NETCONF}?module=ietf-netconf&revision=2011-06-01&features=writable-running,"
                   f"{DATASTORE_FEATURES}rollback-on-error,validate"]
        self.assertEqual([each for each in modules if each not in capabilities], [])
        content = self.selected(first, f'<yang-library xmlns="{LIBRARY}"><content-id/></yang-library>')[0]
        self.assertIn(f"yang-library:1.1?revision=2019-01-04&{content.split('/')[1]}", protocol)
        self.assertEqual(self.selected(first, state("<capabilities/>")),
                         ["netconf-state/capabilities/capability=" + each for each in capabilities])

    def test_envelope(self):
        session = self.session()
        session.send(f'<n:rpc xmlns:n="{NETCONF}" xmlns:u="urn:u" u:a="&lt;&quot;" b="2&#10;&#9;&#13;" message-id=" 1&amp;">'
                     "<!-- c --><n:get><n:filter/></n:get><?p?></n:rpc>")
        reply = ElementTree.fromstring(session.receive())
        self.assertEqual(reply.attrib, {"{urn:u}a": '<"', "b": "2\n\t\r", "message-id": " 1&"})
        self.assertEqual([child.tag for child in reply], [NC + "data"])

    def test_all_data_is_valid(self):
        session = self.session()
        session.send(rpc("<get/>"))
        data = session.receive().split("<data>")[1].split("</data>")[0]
        self.assertEqual([child.tag.split("}")[1] for child in ElementTree.fromstring(f"<data>{data}</data>")],
                         ["optical-amplifier", "nacm", "netconf-state", *([] if CHAIN else ["netconf"]), "yang-library",
                          "modules-state"])
        answer = os.path.join(self.folder, "answer.xml")
        with open(answer, "w", encoding="utf-8") as file:
            file.write(data)
        models = os.path.join(os.path.dirname(os.path.dirname(os.environ["YMAP"])), "share/ymap/models")
        modules = [f"{IETF}/ietf-netconf{each}.yang" for each in
                   ("@2011-06-01", "-monitoring@2010-10-04", "-with-defaults@2011-06-01", "-acm@2018-02-14")]
        modules += [f"{models}/{each}.yang" for each in ("openconfig-optical-amplifier@2019-12-06",
                                                         *(() if CHAIN else ("notifications", "nc-notifications")))]
        checked = subprocess.run(["yanglint", "-y", "-t", "data", "-p", IETF, *modules, answer], capture_output=True,
                                 check=False)
        self.assertEqual((checked.returncode, checked.stderr), (0, b""))

    def test_filters(self):
        session = self.session()
        entry = "netconf-state/schemas/schema/"
        one = [entry + "identifier=ietf-netconf", entry + "version=2011-06-01", entry + "format=yang"]
        schema = "<schemas><schema><identifier>ietf-netconf</identifier>%s</schema></schemas>"
        for filtered, expected in [
                ("", []),
                ('<system xmlns="urn:ietf:params:xml:ns:yang:ietf-system"/>', []),
                (state("<sessions><session><session-id/></session></sessions>"),
                 [f"netconf-state/sessions/session/session-id={session.id}"]),
                (state("<sessions><session><session-id>x</session-id></session></sessions>"), []),
                (state(schema % "<format>yang</format><version/>"), one),
                (state(schema % f'<format xmlns:m="{MONITORING}">m:yang</format><version/>'), one),
                (state(schema % "<format>yin</format>"), []),
                (state(schema % "<nothing/>"), one),
                (f'<netconf-state xmlns="">{schema % "<location> NETCONF </location>"}</netconf-state>',
                 one + [entry + "namespace=" + NETCONF, entry + "location=NETCONF"]),
                (state("<statistics><in-bad-rpcs/></statistics>") + state("<datastores/>") +
                 config(BST2, "<target-gain/>") +
                 f'<modules-state xmlns="{LIBRARY}"><module><name>ietf-netconf</name><revision/></module></modules-state>',
                 [f"optical-amplifier/amplifiers/amplifier/{leaf}" for leaf in
                  ("name=" + BST2, "config/target-gain=18.4")] +
                 ["netconf-state/datastores/datastore/name=" + name for name in DATASTORES] +
                 ["netconf-state/statistics/in-bad-rpcs=0"] +
                 [f"modules-state/module/{leaf}" for leaf in ("name=ietf-netconf", "revision=2011-06-01")])]:
            with self.subTest(filtered):
                # Identities of the leaf's own module have a prefix or none, as the version of libyang has it.
                self.assertEqual([each.replace("=ncm:", "=") for each in self.selected(session, filtered)], expected)

    def test_every_schema_listed_is_there(self):
        session = self.session("1.0")
        listed = session.ask(get(state("<schemas/>"))).iter(f"{{{MONITORING}}}schema")
        names = []
        for schema in listed:
            name, version = (schema.findtext(f"{{{MONITORING}}}{leaf}") for leaf in ("identifier", "version"))
            names.append(name)
            text = session.ask(get_schema(f"<identifier>{name}</identifier><version>{version}</version>"))[0].text
            self.assertRegex(text, rf'^module {name} {{\n(?s:.*)\n  revision "?{version}"? {{')
        self.assertIn("openconfig-optical-amplifier", names)
        library = self.selected(session, f'<modules-state xmlns="{LIBRARY}"><module><name/></module></modules-state>')
        self.assertEqual(sorted(each.split("name=")[1] for each in library if "name=" in each), sorted(names))

    def test_counters(self):
        session = self.session()
        session.ask(rpc("<copy-config/>"))
        session.ask(edit(gain("99")))
        session.ask("<rpc")
        counted = ["in-rpcs=1", "in-bad-rpcs=2", "out-rpc-errors=3", "out-notifications=0"]
        self.assertEqual([path.split("/")[-1] for path in self.selected(session, state("<statistics/>"))[-4:]], counted)


class RefusalTest(PipedTest):
    def test_refused_with_every_field(self):
        session = self.session()
        at = "/nc:rpc/nc:"
        leaf = (f"/oc-opt-amp:optical-amplifier/oc-opt-amp:amplifiers/oc-opt-amp:amplifier[oc-opt-amp:name='{BST2}']"
                "/oc-opt-amp:config/oc-opt-amp:target-gain")
        unsupported = {"type": "protocol", "tag": "operation-not-supported"}
        unknown = {**unsupported, "path": "/nc:rpc", "message": "supported are get, get-config, .*get-schema"}
        wrong = {"type": "protocol", "tag": "invalid-value"}
        for message, expected in [
                (edit(gain("99")), {"type": "application", "tag": "invalid-value", "path": leaf,
                                    "message": "^Invalid argument:NALTO support range from 80 to 380$"}),
                *((rpc(word), unknown) for word in
                  (*(CHAIN and ("<commit/>", "<discard-changes/>", "<cancel-commit/>") or ()), "<copy-config/>",
                   "<delete-config/>", f'<create-subscription xmlns="{NETCONF}"/>',
                   '<get xmlns="urn:x"/>', '<action xmlns="urn:ietf:params:xml:ns:yang:1"/>')),
                (rpc('<get><filter type="xpath" select="/a:b"/></get>'),
                 {**unsupported, "path": at + "get/nc:filter", "message": "subtree"}),
                *((rpc(f"<{word}><{end}><{'candidate' if CHAIN else 'startup'}/></{end}></{word}>"),
                   {**unsupported, "path": f"{at}{word}/nc:{end}",
                    "message": "running is the only one" if CHAIN else "running and candidate are the two"})
                  for word, end in (("get-config", "source"), ("lock", "target"), ("validate", "source"))),
                (rpc("<lock/>"), {"type": "protocol", "tag": "missing-element", "path": at + "lock",
                                  "bad-element": "target"}),
                (rpc("<close-session><now/></close-session>"),
                 {"type": "protocol", "tag": "unknown-element", "path": at + "close-session", "bad-element": "now"}),
                (rpc('<get a="b"/>'), {"type": "protocol", "tag": "unknown-attribute", "path": at + "get",
                                       "bad-attribute": "a", "bad-element": "get"}),
                *((rpc(f"<unlock>{text}</unlock>"),
                   {"type": "protocol", "tag": "bad-element", "path": at + "unlock", "bad-element": "unlock"})
                  for text in ("x", "x" + RUNNING)),
                (rpc(f"<unlock>{RUNNING}x</unlock>"),
                 {"type": "protocol", "tag": "bad-element", "bad-element": "unlock", "message": "text beside elements"}),
                (rpc(f'<get><with-defaults xmlns="{DEFAULTS}">trim</with-defaults></get>'),
                 {**wrong, "path": at + "get/ncwd:with-defaults", "message": "explicit"}),
                (UNLOCK, {"type": "protocol", "tag": "operation-failed", "message": "does not hold"}),
                (kill("0"), {**wrong, "path": at + "kill-session/nc:session-id", "message": "positive"}),
                (kill("4294967295"), {**wrong, "path": at + "kill-session/nc:session-id", "message": "no session"}),
                (kill(session.id), {**wrong, "path": at + "kill-session/nc:session-id", "message": "close-session"}),
                (get_schema(""), {"type": "protocol", "tag": "missing-element", "path": "/nc:rpc/ncm:get-schema",
                                  "bad-element": "identifier"}),
                *((get_schema("<identifier>yang</identifier>" + more),
                   {"type": "application", "tag": "invalid-value", "message": said}) for more, said in
                  (("<version>2001-01-01</version>", "2001-01-01"), ("<format>yin</format>", "yang only"))),
                (get_schema("<identifier>Velm-NALTO-ifmgr-cfg</identifier>"),
                 {"type": "application", "tag": "invalid-value", "message": "no module"})]:
            with self.subTest(message):
                self.refused(session, message, **expected)
        self.ok(session, edit(gain("15")))

    def test_messages_that_are_none(self):
        session = self.session()
        rpc_tag = f'<rpc message-id="8" xmlns="{NETCONF}">'
        malformed, big = ({"type": "rpc", "tag": tag} for tag in ("malformed-message", "too-big"))
        for message, expected, identified in [
                (rpc_tag + "<get></rpc>", {**malformed, "message": "well-formed"}, "8"),
                ("text", {**malformed, "message": "well-formed"}, None),
                (rpc_tag + "<get/><get/></rpc>", {"type": "rpc", "tag": "bad-element", "path": "/nc:rpc",
                                                  "message": "exactly one", "bad-element": "get"}, "8"),
                (rpc_tag + "<lock><target><running/>x</target></lock></rpc>",
                 {"type": "protocol", "tag": "bad-element", "bad-element": "target"}, "8"),
                (rpc_tag + "<get xmlns:q=''/></rpc>", {**malformed, "message": "undeclare prefix"}, "8"),
                ('<rpc message-id="8"><get/></rpc>', {"type": "protocol", "tag": "unknown-namespace",
                                                      "bad-element": "rpc"}, "8"),
                (rpc_tag + '<edit-config><target><running/></target><config xmlns=""><a/><a/></config></edit-config></rpc>',
                 {"type": "protocol", "tag": "unknown-namespace", "path": "/nc:rpc/nc:edit-config",
                  "bad-element": "config"}, "8"),
                (f'<rpc xmlns="{NETCONF}"><get/></rpc>',
                 {"type": "rpc", "tag": "missing-attribute", "path": "/nc:rpc", "bad-attribute": "message-id",
                  "bad-element": "rpc"}, None),
                (hello("1.1"), {"type": "rpc", "tag": "unknown-element", "bad-element": "hello"}, None),
                ('<!DOCTYPE a [<!ENTITY b "c">]>' + rpc_tag + "</rpc>", {**malformed, "message": "document type"}, "8"),
                (rpc_tag + "<a>" * 1_000_000, {**malformed, "message": "deeper than 100"}, "8"),
                (rpc_tag + "<a/>" * 30_000 + "</rpc>", {**big, "message": "20000 elements"}, "8"),
                (rpc_tag + " " * (17 << 20) + "</rpc>", {**big, "message": "16 MiB"}, "8")]:
            session.send(message)
            reply = session.receive()
            found = errors(reply)
            self.assertRegex(found.pop("message"), expected.pop("message", "."))
            self.assertEqual((found, ElementTree.fromstring(reply).get("message-id")), (expected, identified))
        self.assertEqual([child.tag for child in session.ask(NOTHING)], [NC + "data"])


class SessionsTest(PipedTest):
    def test_each_is_told_with_what_is_valid_of_it(self):
        """An address or a name of a host; whatever else stands in the environment is none."""
        hosts = ("192.0.2.7", "2001:db8::7", "host.example", "no host", "a/b", "")
        for host in hosts:
            self.session(env={**os.environ, "SSH_CONNECTION": f"{host} 1 2 3" if " " not in host else host + "!"})
        asked = self.session(env={**os.environ, "SSH_CONNECTION": ""})
        for told in (get(f'<netconf-state xmlns="{MONITORING}"><sessions/></netconf-state>'), rpc("<get/>")):
            sessions = asked.ask(told).findall(f".//{{{MONITORING}}}session")
            self.assertEqual([int(one.findtext(f"{{{MONITORING}}}session-id")) for one in sessions], list(range(1, 8)))
            self.assertEqual([one.findtext(f"{{{MONITORING}}}source-host") for one in sessions],
                             ["192.0.2.7", "2001:db8::7", "host.example", "no", None, None, None])
            self.assertEqual([one.find(f"{{{MONITORING}}}in-rpcs") is not None for one in sessions], [False] * 6 + [True])


class EndTest(PipedTest):
    def test_bad_hello(self):
        for sent, reason in [
                (f'<hello xmlns="{NETCONF}"/>', "neither base:1.0 nor base:1.1"),
                (hello("2.0"), "neither"),
                ("<hello><capabilities/></hello>", "of namespace"),
                (NOTHING, "must be a <hello>"),
                (hello("1.1").replace("</hello>", "<session-id>4</session-id></hello>"), "<session-id>"),
                (hello("1.1").replace("<capabilities>", '<capabilities xmlns="urn:x">'), "holds a <capabilities>"),
                ("<a" * 100, "not in order"),
                (" " * (17 << 20), "too big")]:
            session = self.session(None)
            session.write(sent.encode() + END)
            status, said = session.end(close=False)
            self.assertEqual(status, 2)
            self.assertRegex(said, f"^ymap: error: .*{reason}.*\n$")

    def test_broken_stream(self):
        unlocked = self.session()
        half = edit(gain("12")).encode()
        for version, sent, reason in [
                ("1.1", b"\n#%d\n%s" % (len(half), half[:-1]), "middle of a message"),
                ("1.1", b"\n#%d\n%s" % (len(half), half), "middle of a message"),
                ("1.1", b"\n#%d\n%s\n#x" % (len(half), half), "bad chunk header"),
                ("1.0", half, "middle of a message"),
                ("1.0", b"", "")]:
            session = self.session(version)
            self.ok(session, LOCK)
            session.write(sent)
            status, said = session.end()
            self.assertEqual(status, 2 if reason else 0)
            self.assertRegex(said, f"^ymap: error: .*{reason}" if reason else "^$")
            self.ok(unlocked, LOCK)
            self.ok(unlocked, UNLOCK)
        self.assertIn("target-gain=18.4", "".join(paths(unlocked.ask(get_config()))))

    def test_client_that_does_not_read(self):
        other = self.session()
        for end in (lambda one: one.process.stdout.close(), lambda one: one.process.terminate()):
            session = self.session()
            self.ok(session, LOCK)
            os.set_blocking(session.process.stdin.fileno(), False)
            request = rpc("<get/>").encode()
            for _ in range(100):
                try:
                    session.write(b"\n#%d\n%s\n##\n" % (len(request), request))
                except BlockingIOError:
                    break
            time.sleep(0.2)  # until its answers fill the pipe
            end(session)
            self.assertEqual(session.process.wait(10), 2)
            self.ok(other, LOCK)
            self.ok(other, UNLOCK)

    def test_lock_of_two_sessions(self):
        holder, other = self.session(), self.session()
        denied = {"type": "protocol", "tag": "lock-denied", "session-id": holder.id, "message": f"{holder.id}.* holds"}
        self.ok(holder, LOCK)
        for session in (holder, other):
            self.refused(session, LOCK, **dict(denied))
        self.refused(other, edit(gain("12")), type="protocol", tag="in-use", message=f"session {holder.id}")
        self.refused(other, UNLOCK, type="protocol", tag="operation-failed")
        self.ok(holder, edit(gain("13")))
        lock = "netconf-state/datastores/datastore/locks/global-lock/locked-by-session=" + holder.id
        self.assertIn(lock, self.selected(other, state("<datastores/>")))
        self.ok(holder, UNLOCK)
        self.ok(other, edit(gain("14")))

    def test_lock_ends_with_its_holder(self):
        other = self.session()
        for end, at_once in [(lambda one: self.ok(other, kill(one.id)), True),
                             (lambda one: self.ok(one, rpc("<close-session/>")), True),
                             (lambda one: one.process.kill(), False),
                             (lambda one: one.process.send_signal(signal.SIGHUP), False),
                             (lambda one: one.process.stdin.close(), False)]:
            holder = self.session()
            self.ok(holder, LOCK)
            end(holder)
            if not at_once:
                holder.process.wait(10)
            if CHAIN and not at_once:  # the device hears of it when it reads
                self.assertTrue(eventually(lambda: other.ask(LOCK)[0].tag == NC + "ok"))
            else:
                self.ok(other, LOCK)
            self.ok(other, UNLOCK)
            self.assertEqual(self.selected(other, state("<sessions><session><session-id/></session></sessions>")),
                             [f"netconf-state/sessions/session/session-id={other.id}"])

    def test_no_change_is_lost(self):
        """BST0 and PRE0 are of one controller."""
        sessions = [(self.session(), BST0), (self.session(), PRE0)]
        for value in range(15, 25):
            for session, amplifier in sessions:
                session.send(edit(gain(value, amplifier)))
            for session, _ in sessions:
                self.assertIn("<ok/>", session.receive())
            gains = [path for path in paths(sessions[0][0].ask(get_config())) if "target-gain=" in path]
            self.assertEqual([path.split("=")[1] for path in gains], [f"{value}.0", f"{value}.0", "18.4"])

    def test_broken_folder(self):
        session = self.session()
        session.ask(get_config())
        with open(os.path.join(self.folder, "running.json"), "w", encoding="ascii") as file:
            file.write("{broken")
        self.refused(session, get_config(), type="application", tag="operation-failed", message="running.json")
        self.assertEqual([child.tag for child in session.ask(NOTHING)], [NC + "data"])

    def test_trace(self):
        session = self.session("1.1", ["--light-trace"])
        session.ask(get_config(top("")))
        self.assertRegex(session.end()[1], "amplifier")


if __name__ == "__main__":
    unittest.main()
