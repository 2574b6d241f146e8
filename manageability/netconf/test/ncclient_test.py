"""A session's life as ncclient sees it."""

import os
import signal
import subprocess
import tempfile
import threading
import unittest
import xml.etree.ElementTree as ElementTree
from collections import namedtuple

from ncclient.operations.rpc import RPCError
from ncclient.xml_ import to_ele

from piped import eventually
from protocol_test import DATASTORE_CAPABILITIES
from served import ServedTest
from tool import AMPLIFIERS, BST0, BST2, CHAIN, NC, NETCONF, OC, OPENCONFIG, PRE0, config, entries, entry, top

ACCESS = "urn:ietf:params:xml:ns:yang:ietf-netconf-acm"
STREAMS = "urn:ietf:params:xml:ns:netmod:notification"
MONITORING = "urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"
LIBRARY = "urn:ietf:params:xml:ns:yang:ietf-yang-library"
CAPABILITY = "urn:ietf:params:netconf:capability:"

# What the server tells of itself is the same whatever device is behind it.
of_the_server_alone = unittest.skipIf(CHAIN, "the device has no part in it")

Refusal = namedtuple("Refusal", "tag type path message")


def edited(data):
    return f'<config xmlns="{NETCONF}" xmlns:nc="{NETCONF}">{data}</config>'


def operation(word):
    return f'nc:operation="{word}"'


def leaves(reply):
    """{(amplifier, container, leaf): value} of a read, identities without their prefix."""
    found = {}
    for amplifier in ElementTree.fromstring(reply.data_xml).iter(OC + "amplifier"):
        name = amplifier.findtext(OC + "name")
        for container in amplifier:
            for leaf in container:
                found[name, container.tag.replace(OC, ""), leaf.tag.replace(OC, "")] = (leaf.text or "").split(":")[-1]
    return found


class ClientTest(ServedTest):
    def edit(self, session, data, **parameters):
        return session.edit_config(target="running", config=edited(data), **parameters)

    def refused(self, call, *arguments, **parameters):
        with self.assertRaises(RPCError) as caught:
            call(*arguments, **parameters)
        error = caught.exception
        self.assertEqual(error.severity, "error")
        self.info = error.info or ""
        return Refusal(error.tag, error.type, error.path, error.message)

    def settings(self, session, *amplifiers):
        filters = ("subtree", entries(*map(entry, amplifiers))) if amplifiers else None
        read = leaves(session.get_config(source="running", filter=filters))
        return {(name, leaf): value for (name, _, leaf), value in read.items() if leaf != "name"}


class Reading(ClientTest):
    @of_the_server_alone
    def test_hello(self):
        session = self.connect()
        capabilities = list(session.server_capabilities)
        for word in ("base:1.0", "base:1.1"):
            self.assertIn("urn:ietf:params:netconf:" + word, capabilities)
        plain = {word[len(CAPABILITY):].split("?")[0] for word in capabilities if word.startswith(CAPABILITY)}
        self.assertEqual(plain, {"writable-running:1.0", "rollback-on-error:1.0", "validate:1.1", "with-defaults:1.0",
                                 *DATASTORE_CAPABILITIES,
                                 "yang-library:1.1"})
        self.assertTrue(any(word.startswith(OPENCONFIG + "?module=openconfig-optical-amplifier&") for word in capabilities),
                        capabilities)
        self.assertNotEqual(self.connect().session_id, session.session_id)

    def test_get_config(self):
        session = self.connect()
        everything = self.settings(session)
        self.assertEqual({name for name, _ in everything}, set(AMPLIFIERS))
        self.assertEqual(everything[BST2, "target-gain"], "18.4")
        wanted = entry(BST2, "<config><target-gain/></config>")
        self.assertEqual(leaves(session.get_config("running", filter=("subtree", entries(wanted)))),
                         {(BST2, "config", "target-gain"): "18.4"})
        # The client prefixes its own elements, so that these are of no namespace, and match in any.
        bare = f"<optical-amplifier><amplifiers>{entry(BST2)}</amplifiers></optical-amplifier>"
        self.assertEqual(leaves(session.get_config("running", filter=("subtree", bare))).keys(),
                         {(BST2, "config", leaf) for name, leaf in everything if name == BST2} | {(BST2, "config", "name")})
        others = {key: value for key, value in everything.items() if key[0] != BST2}
        self.assertEqual(self.settings(session, PRE0, BST0), others)

    def test_get(self):
        session = self.connect()
        read = leaves(session.get(filter=("subtree", entries(entry(PRE0)))))
        self.assertEqual(read[PRE0, "config", "target-gain"], read[PRE0, "state", "target-gain"])
        self.assertIn((PRE0, "state", "actual-gain"), read)
        whole = ElementTree.fromstring(session.get().data_xml)
        self.assertEqual({child.tag.split("}")[0][1:] for child in whole}, {OPENCONFIG, ACCESS, MONITORING, LIBRARY, *([] if CHAIN else [STREAMS])})
        listed = {name.text for name in whole.iter(f"{{{LIBRARY}}}name")}
        self.assertLessEqual({"openconfig-optical-amplifier", "ietf-netconf", "ietf-netconf-monitoring"}, listed)

    def test_with_defaults(self):
        session = self.connect()
        read = session.get_config("running", with_defaults="explicit")
        self.assertEqual(leaves(read), leaves(session.get_config("running")))

    @of_the_server_alone
    def test_every_schema_can_be_loaded(self):
        session = self.connect()
        schemas = ElementTree.fromstring(session.get(filter=("subtree", f'<netconf-state xmlns="{MONITORING}"><schemas/>'
                                                                        '</netconf-state>')).data_xml)
        with tempfile.TemporaryDirectory() as folder:
            for schema in schemas.iter(f"{{{MONITORING}}}schema"):
                name, version, form = (schema.findtext(f"{{{MONITORING}}}{leaf}")
                                       for leaf in ("identifier", "version", "format"))
                self.assertEqual(form.split(":")[-1], "yang")
                with open(f"{folder}/{name}@{version}.yang", "w", encoding="utf-8") as file:
                    file.write(session.get_schema(name, version, "yang").data)
            files = sorted(os.listdir(folder))
            self.assertIn("openconfig-optical-amplifier@2019-12-06.yang", files)
            # Beside what the server gave only libyang's own modules are found, so every other import must be among it.
            done = subprocess.run(["yanglint", "-D", "-p", folder, *files], cwd=folder, capture_output=True, text=True)
            # RFC 6470's own condition on a node that is no sibling.
            said = [line for line in done.stderr.splitlines() if '"../confirm-event"' not in line]
            self.assertEqual((done.returncode, said), (0, []), files)


@unittest.skipIf(CHAIN, "a device elsewhere has no candidate to share, and nobody here knows what happens at it")
class Together(ClientTest):
    def test_the_candidate_and_commits_to_confirm(self):
        session, other = self.connect(), self.connect()
        gain = lambda: leaves(other.get_config("running"))[BST2, "config", "target-gain"]
        edited = to_ele(f'<config xmlns="{NETCONF}">{config(BST2, "<target-gain>15</target-gain>")}</config>')
        with session.locked("candidate"):
            session.edit_config(target="candidate", config=edited)
            session.validate("candidate")
            session.commit(confirmed=True, timeout="1", persist="p")
        self.assertEqual(gain(), "15.0")
        self.assertTrue(eventually(lambda: gain() == "18.4"))
        session.edit_config(target="candidate", config=edited)
        session.discard_changes()
        session.commit()
        self.assertEqual(gain(), "18.4")
        session.edit_config(target="candidate", config=edited)
        session.commit(confirmed=True, timeout="600", persist="p")
        with self.assertRaisesRegex(RPCError, "persist-id"):
            other.commit()
        other.cancel_commit(persist_id="p")
        self.assertEqual(gain(), "18.4")
        session.edit_config(target="candidate", config=edited)
        session.commit(confirmed=True, timeout="600")
        session.commit()
        session.close_session()
        self.assertEqual(gain(), "15.0")

    def test_events(self):
        session, other = self.connect(), self.connect()
        session.create_subscription()
        other.edit_config(target="running", config=to_ele(
            f'<config xmlns="{NETCONF}">{config(BST2, "<target-gain>15</target-gain>")}</config>'))
        told = session.take_notification(timeout=1)
        self.assertIn(f"<session-id>{other.session_id}</session-id>", told.notification_xml)
        self.assertIn("target-gain", told.notification_xml)
        self.assertEqual(leaves(session.get_config("running"))[BST2, "config", "target-gain"], "15.0")
        other.close_session()
        self.assertIn("<termination-reason>closed<", session.take_notification(timeout=1).notification_xml)


class Editing(ClientTest):
    def test_merge_replace_delete(self):
        session = self.connect()
        rows = (
            (config(BST2, "<target-gain>15.57</target-gain>"), {}, {"target-gain": "15.5"}),
            (config(BST2, f'<target-gain-tilt {operation("delete")}/>'), {}, {"target-gain-tilt": None}),
            (config(BST2, "<target-gain>20</target-gain><enabled>false</enabled>", operation("replace")), {},
             {"target-gain": "20.0", "enabled": "false", "gain-range": None}),
            (config(BST2, f'<gain-range {operation("create")}>HIGH_GAIN_RANGE</gain-range><target-gain>9</target-gain>'),
             {"default_operation": "none"}, {"gain-range": "HIGH_GAIN_RANGE"}),
            (config(BST2, f'<gain-range {operation("remove")}/><target-gain-tilt {operation("remove")}/>'), {},
             {"gain-range": None}),
            (config(BST2, "<target-gain-tilt>1.0</target-gain-tilt>"),
             {"test_option": "test-then-set", "error_option": "rollback-on-error"}, {"target-gain-tilt": "1.0"}),
        )
        expected = {leaf: value for (_, leaf), value in self.settings(session, BST2).items()}
        others = self.settings(session, PRE0, BST0)
        for data, parameters, changes in rows:
            with self.subTest(data):
                self.assertTrue(self.edit(session, data, **parameters).ok)
                expected = {leaf: value for leaf, value in {**expected, **changes}.items() if value is not None}
                self.assertEqual(self.settings(session, BST2), {(BST2, leaf): value for leaf, value in expected.items()})
        self.assertEqual(self.settings(session, PRE0, BST0), others)

    def test_refused(self):
        session = self.connect()
        before = self.settings(session)
        for data, tag, tail, message in (
                (config(PRE0, "<target-gain>38.01</target-gain>"), "invalid-value", "config/target-gain",
                 "support range from 80 to 380"),
                (config(PRE0, "<target-gain>much</target-gain>"), "invalid-value", "config/target-gain", "much"),
                (config(PRE0, "<no-such-leaf>1</no-such-leaf>"), "unknown-element", "config/no-such-leaf", "no-such-leaf"),
                (config(BST2, f'<target-gain {operation("create")}>9</target-gain>'), "data-exists", "", "exist"),
                (top(f"<amplifiers>{entry(PRE0, '<config><target-gain>9</target-gain></config>')}"
                     f"{entry(BST2, '<config><target-gain>90</target-gain></config>')}</amplifiers>"),
                 "invalid-value", "config/target-gain", "support range")):
            with self.subTest(data):
                refusal = self.refused(self.edit, session, data)
                self.assertEqual((refusal.tag, refusal.type), (tag, "application"))
                self.assertIn(message, refusal.message)
                steps = "".join(step.split(":")[-1] + "/" for step in (refusal.path or "").replace("0/0", "").split("/"))
                self.assertTrue(steps.rstrip("/").endswith(tail), refusal.path)
                self.assertEqual(self.settings(session), before)

    def test_nothing_is_stored_by_a_test(self):
        session = self.connect()
        before = self.settings(session)
        good, bad = (config(BST2, f"<target-gain>{value}</target-gain>") for value in ("15.5", "38.01"))
        self.assertTrue(self.edit(session, good, test_option="test-only").ok)
        self.assertEqual(self.refused(self.edit, session, bad, test_option="test-only").tag, "invalid-value")
        self.assertTrue(session.validate(source="running").ok)
        self.assertTrue(session.validate(source=to_ele(edited(good))).ok)
        self.assertEqual(self.refused(session.validate, source=to_ele(edited(bad))).tag, "invalid-value")
        self.assertEqual(self.settings(session), before)


class Sharing(ClientTest):
    GAIN = config(BST2, "<target-gain>12.3</target-gain>")

    def test_lock(self):
        holder, other = self.connect(), self.connect()
        holder.lock("running")
        refusal = self.refused(other.lock, "running")
        self.assertEqual((refusal.tag, refusal.type), ("lock-denied", "protocol"))
        self.assertIn(f"session-id>{holder.session_id}<", self.info)
        self.assertEqual(self.refused(self.edit, other, self.GAIN).tag, "in-use")
        self.assertEqual(self.refused(other.unlock, "running").tag, "operation-failed")
        done = self.tool("--device", self.folder, "set", BST2, "target-gain=9")
        self.assertEqual((done.returncode, "in-use" in done.stderr), (1, True), done.stderr)
        self.assertTrue(self.settings(other))
        self.assertTrue(self.edit(holder, self.GAIN).ok)
        holder.unlock("running")
        other.lock("running")
        self.assertEqual(self.refused(self.edit, holder, self.GAIN).tag, "in-use")
        other.close_session()
        self.assertTrue(self.edit(holder, self.GAIN).ok)

    def test_lock_of_a_killed_process(self):
        holder, other = self.connect(), self.connect()
        known = set(self.session_processes())
        third = self.connect()
        (process,) = set(self.session_processes()) - known
        third.lock("running")
        self.assertEqual(self.refused(other.lock, "running").tag, "lock-denied")
        os.kill(process, signal.SIGKILL)
        eventually(lambda: process not in self.session_processes())
        self.assertTrue(other.lock("running").ok)
        self.assertTrue(self.settings(holder))

    def test_kill_session(self):
        holder, other = self.connect(), self.connect()
        holder.lock("running")
        other.kill_session(holder.session_id)
        self.assertTrue(other.lock("running").ok)
        self.assertTrue(eventually(lambda: not holder.connected))
        for number in (holder.session_id, other.session_id):
            self.assertEqual(self.refused(other.kill_session, number).tag, "invalid-value")

    @of_the_server_alone
    def test_many_sessions(self):
        known = set()
        for number in range(50):
            with self.connect() as session:
                self.assertNotIn(session.session_id, known)
                known.add(session.session_id)
                self.assertTrue(self.edit(session, config(BST2, f"<target-gain>{10 + number / 10}</target-gain>")).ok)
        self.assertEqual(self.setting(BST2, "target-gain"), "14.90")
        self.assertEqual(eventually(lambda: not self.session_processes()), True)

    def test_ten_at_a_time(self):
        """Each session has a leaf of its own; the two amplifiers PRE0 and BST0 share a controller."""
        words = {"target-gain": ("11.5", "12.1", "13.2"), "target-gain-tilt": ("1.5", "-2.1", "3.2"),
                 "enabled": ("false", "true", "false"), "gain-range": ("HIGH_GAIN_RANGE", "MID_GAIN_RANGE", "HIGH_GAIN_RANGE")}
        owned = [(name, leaf) for name in (PRE0, BST0) for leaf in words] + [(BST2, "target-gain"), (BST2, "enabled")]
        wrong = []

        def work(session, name, leaf):
            try:
                for value in words[leaf]:
                    self.edit(session, config(name, f"<{leaf}>{value}</{leaf}>"))
                    read = self.settings(session, name).get((name, leaf))
                    if read != value:
                        wrong.append((name, leaf, value, read))
            except Exception as error:  # of a thread, which nobody else would see
                wrong.append((name, leaf, repr(error)))

        threads = [threading.Thread(target=work, args=(self.connect(), *leaf)) for leaf in owned]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(wrong, [])
        for name, leaf in owned:
            self.assertIn(self.setting(name, leaf), (words[leaf][-1], words[leaf][-1] + "0"), (name, leaf))


@unittest.skipIf(CHAIN, "there is no mapping in between")
class Native(ClientTest):
    """The device's own models, with a candidate datastore."""

    OPTIONS = ("--native", "--candidate")
    IFMGR, OTS = (f"http://velm.example/ns/yang/Velm-NALTO-{name}" for name in ("ifmgr-cfg", "controller-ots-cfg"))

    def gain(self, value, more=""):
        return (f'<interface-configurations xmlns="{self.IFMGR}"><interface-configuration><active>act</active><interface-name>'
                f'Ots0/0/0/2</interface-name><ots xmlns="{self.OTS}"><ots-egress-amplifier-gain {more}>{value}'
                "</ots-egress-amplifier-gain></ots></interface-configuration></interface-configurations>")

    def gains(self, session):
        """Of running and candidate."""
        return [ElementTree.fromstring(session.get_config(datastore, filter=("subtree", self.gain(""))).data_xml)
                .findtext(f".//{{{self.OTS}}}ots-egress-amplifier-gain") for datastore in ("running", "candidate")]

    def test_candidate(self):
        session, other = self.connect(), self.connect()
        self.assertEqual(self.gains(session), ["184", "184"])
        with session.locked("candidate"):
            self.assertEqual(self.refused(other.lock, "candidate").tag, "lock-denied")
            session.edit_config(target="candidate", config=edited(self.gain("150")))
            self.assertEqual(self.gains(session), ["184", "150"])
            session.discard_changes()
            self.assertEqual(self.gains(session), ["184", "184"])
            session.edit_config(target="candidate", config=edited(self.gain("160")))
            self.assertTrue(session.validate("candidate").ok)
            session.commit()
        self.assertEqual(self.gains(other), ["160", "160"])
        refusal = self.refused(self.edit, session, self.gain("999"))
        self.assertEqual((refusal.tag, refusal.path.split(":")[-1]), ("invalid-value", "ots-egress-amplifier-gain"))
        self.assertTrue(self.edit(session, self.gain("", operation("remove"))).ok)
        self.assertEqual(self.gains(other), [None, None])

    def test_live_values_and_modules(self):
        session = self.connect()
        whole = ElementTree.fromstring(session.get().data_xml)
        names = {child.tag.split("}")[1] for child in whole}
        self.assertLess({"interface-configurations", "ots-oper", "performance-management-history", "yang-library"}, names)
        for name in ("ifmgr-cfg", "controller-ots-oper"):
            self.assertIn(f"module Velm-NALTO-{name} {{", session.get_schema("Velm-NALTO-" + name).data)


if __name__ == "__main__":
    unittest.main()
