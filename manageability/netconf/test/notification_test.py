"""Word of what others do: subscriptions, replay, filters, and subscribers who do not read."""

import os
import pwd
import time
import unittest
import xml.etree.ElementTree as ElementTree

from candidate_test import CandidateTest, candidate, confirmed, gain
from native_test import edit as native_edit
from native_test import set_gain
from piped import Piped
from protocol_test import LOCK, UNLOCK, kill, paths
from tool import BST0, BST2, config, get, rpc

NOTIFICATION = "urn:ietf:params:xml:ns:netconf:notification:1.0"
EVENTS = "urn:ietf:params:xml:ns:yang:ietf-netconf-notifications"
STREAMS = "urn:ietf:params:xml:ns:netmod:notification"
AT = "/oc-opt-amp:optical-amplifier/oc-opt-amp:amplifiers/oc-opt-amp:amplifier[oc-opt-amp:name='%s']/oc-opt-amp:"
EPOCH = "<startTime>1970-01-01T00:00:00Z</startTime>"


def subscribe(inner=""):
    return rpc(f'<create-subscription xmlns="{NOTIFICATION}">{inner}</create-subscription>')


def event_filter(inner):
    return f'<filter type="subtree">{inner}</filter>'


def set_gain_natively(value):
    return native_edit(set_gain(value))


def moment(seconds=0.0):
    """A time, that far from now."""
    whole = time.time() + seconds
    return time.strftime("%Y-%m-%dT%H:%M:%S", time.gmtime(whole)) + f"{whole % 1:.6f}"[1:] + "Z"


class NotificationTest(CandidateTest):
    def subscriber(self, inner=""):
        session = self.session()
        self.reply(session, subscribe(inner))
        return session

    def next(self, session):
        """The next event: its name without "netconf-", and its leaves."""
        root = ElementTree.fromstring(session.receive())
        self.assertEqual([child.tag for child in root][:1], [f"{{{NOTIFICATION}}}eventTime"])
        event = root[1]
        ns, name = event.tag[1:].split("}")
        self.assertEqual(ns, STREAMS if name.endswith("Complete") else EVENTS)
        return name.removeprefix("netconf-"), [each.replace("changed-by/", "") for each in paths(event)]

    def until(self, session, name):
        """Events until the one of that name."""
        found = []
        while not found or found[-1] != name:
            found.append(self.next(session)[0])
        return found


class Events(NotificationTest):
    def test_whoever_changes_something(self):
        session, other, native = self.subscriber(), self.session(), self.session("--native")
        self.assertEqual([self.next(session)[0] for _ in range(2)], ["session-start"] * 2)
        user = pwd.getpwuid(os.geteuid()).pw_name

        def change(leaf, operation, name=BST2):
            return [f"edit/target={AT % name}config/oc-opt-amp:{leaf}", f"edit/operation={operation}"]

        for act, number, expected in (
                (lambda: self.reply(other, gain("15")), other.id, change("target-gain", "merge")),
                (lambda: self.reply(session, gain("16")), session.id, change("target-gain", "merge")),
                (lambda: self.ok("unset", BST0, "gain-range"), 0, change("gain-range", "delete", BST0)),
                (lambda: self.ok("set", BST0, "gain-range=MID_GAIN_RANGE", "target-gain=9"), 0,
                 change("gain-range", "create", BST0) + change("target-gain", "merge", BST0)),
                (lambda: self.reply(native, set_gain_natively("150")), native.id,
                 ["edit/target=/a1:interface-configurations", "edit/operation=merge"])):
            began = time.monotonic()
            act()
            name, leaves = self.next(session)
            self.assertLess(time.monotonic() - began, 1)
            self.assertEqual((name, sorted(leaves)), ("config-change", sorted(
                [f"username={user}", f"session-id={number}", "datastore=running"] + expected)))

    def test_what_is_no_change_is_no_event(self):
        session, other = self.subscriber(), self.session()
        self.reply(other, gain("99"), "invalid-value")
        self.reply(other, gain("18.4"))
        self.reply(other, LOCK)
        self.reply(other, UNLOCK)
        self.reply(other, candidate(gain("15")))
        self.reply(other, gain("15"))
        other.end()
        self.assertEqual(self.until(session, "session-end"), ["session-start", "config-change", "session-end"])

    def test_commits_and_their_way_back(self):
        session, other = self.subscriber(), self.session()
        self.reply(other, candidate(gain("15")))
        self.reply(other, confirmed("600"))
        self.reply(other, confirmed("1"))
        self.assertEqual(self.until(session, "confirmed-commit"), ["session-start", "config-change", "confirmed-commit"])
        name, leaves = self.next(session)
        self.assertEqual((name, leaves[1:]), ("confirmed-commit", [f"session-id={other.id}", "confirm-event=extend", "timeout=1"]))
        name, leaves = self.next(session)
        self.assertEqual((name, leaves[:2]), ("config-change", ["server=", "datastore=running"]))
        self.assertEqual(self.next(session), ("confirmed-commit", ["confirm-event=timeout"]))
        self.ok("set", BST2, "target-gain=9", "--confirm", "9")
        self.ok("confirm", "--cancel")
        self.ok("set", BST2, "target-gain=9", "--confirm", "9")
        self.ok("confirm")
        told = [self.next(session) for _ in range(7)]
        self.assertEqual([leaves[2] for name, leaves in told if name == "confirmed-commit"],
                         [f"confirm-event={event}" for event in ("start", "cancel", "start", "complete")])

    def test_how_sessions_end(self):
        session = self.subscriber()
        killer = self.session()
        self.next(session)
        bad = Piped(self.folder, None)
        self.addCleanup(bad.end)
        for other, end, expected in (
                (self.session(), lambda other: other.ask(rpc("<close-session/>")), ["termination-reason=closed"]),
                (self.session(), lambda other: other.end(), ["termination-reason=dropped"]),
                (self.session(), lambda other: self.reply(killer, kill(other.id)),
                 [f"killed-by={killer.id}", "termination-reason=killed"]),
                (self.session(), lambda other: other.process.terminate(), ["termination-reason=killed"]),
                (bad, lambda other: other.write(b"<hallo/>]]>]]>"), ["termination-reason=bad-hello"])):
            end(other)
            while (told := self.next(session))[0] != "session-end":
                pass
            self.assertEqual(told[1][1:], [f"session-id={other.id}"] + expected)


class Subscriptions(NotificationTest):
    def test_what_is_refused(self):
        session = self.session()
        for inner, tag, said in (
                ("<stream>SNMP</stream>", "invalid-value", "NETCONF is the one"),
                ("<stream/>", "invalid-value", "NETCONF is the one"),
                (f"<stopTime>{moment(9)}</stopTime>", "missing-element", "startTime begins"),
                (f"<startTime>{moment(99)}</startTime>", "bad-element", "future"),
                (f"<startTime>{moment(-9)}</startTime><stopTime>{moment(-10)}</stopTime>", "bad-element", "before startTime"),
                *((f"<startTime>{wrong}</startTime>", "invalid-value", "no time") for wrong in
                  ("", "now", "2026-02-30T00:00:00Z", "2026-01-01T00:00:00", "2026-01-01T24:00:00Z", "2026-1-01T00:00:00Z",
                   "2026-01-01T00:00:00.Z", "2026-01-01T00:00:00+1:00", "2026-01-01T00:00:00Zulu")),
                ("<filter type='xpath' select='/a'/>", "operation-not-supported", "subtree"),
                ("<from/>", "unknown-element", "none of stream, filter, startTime, stopTime")):
            with self.subTest(inner):
                self.reply(session, subscribe(inner), tag, said)
        self.reply(session, subscribe("<stream> NETCONF </stream>"))
        self.reply(session, subscribe(), "operation-failed", "already")

    def test_replay(self):
        other = self.session()
        self.reply(other, gain("15"))
        between, ahead = moment(), moment(7200)
        self.reply(other, gain("16"))
        time.sleep(0.01)
        session = self.subscriber(EPOCH)
        self.assertEqual(self.until(session, "replayComplete"),
                         ["session-start", "config-change", "config-change", "session-start", "replayComplete"])
        # A time in another zone is the same time.
        later = self.subscriber(f"<startTime>{ahead[:-1]}+02:00</startTime>")
        self.assertEqual(self.until(later, "replayComplete"),
                         ["config-change", "session-start", "session-start", "replayComplete"])
        self.ok("set", BST2, "target-gain=17")
        self.assertEqual(self.until(session, "config-change"), ["session-start", "config-change"])
        self.assertEqual(self.next(later)[0], "config-change")
        past = self.subscriber(EPOCH + f"<stopTime>{between}</stopTime>")
        self.assertEqual(self.until(past, "notificationComplete"),
                         ["session-start", "config-change", "replayComplete", "notificationComplete"])
        # Another may follow, and what was asked for meanwhile is answered.
        self.reply(past, subscribe())
        self.ok("set", BST2, "target-gain=18")
        self.assertEqual(self.next(past)[0], "config-change")

    def test_until_its_end(self):
        session = self.subscriber(f"<startTime>{moment()}</startTime><stopTime>{moment(0.7)}</stopTime>")
        began = time.monotonic()
        self.ok("set", BST2, "target-gain=15")
        self.assertEqual(self.until(session, "notificationComplete"), ["session-start", "replayComplete", "config-change", "notificationComplete"])
        self.assertLess(abs(time.monotonic() - began - 0.7), 0.5)

    def test_over_files_that_are_moved_away(self):
        line = ('2026-11-23T08:00:00.%06dZ [ymap@0 user="u" front="netconf" session="7" operation="edit-config" '
                'target="running" result="done"][change path="/openconfig-optical-amplifier:optical-amplifier" after="%s"]\n')
        os.mkdir(f"{self.folder}/sessions")
        for number, name in enumerate(("record.1", "record")):
            with open(f"{self.folder}/{name}", "w", encoding="utf-8") as file:
                file.write("".join(line % (number * 10 + at, "x" * 400) for at in range(10)) + "cut [ymap@")
        session = self.subscriber(EPOCH)
        self.assertEqual(self.until(session, "replayComplete"), ["config-change"] * 20 + ["session-start", "replayComplete"])
        for amount in (8400, 8400):
            with open(f"{self.folder}/record", "a", encoding="utf-8") as file:
                file.write("".join(line % (at, "y" * 400) for at in range(amount)))
        self.ok("set", BST2, "target-gain=15")
        self.ok("set", BST2, "target-gain=16")
        self.assertTrue(os.path.exists(f"{self.folder}/record.2"))
        self.assertEqual([self.next(session)[0] for _ in range(16802)], ["config-change"] * 16802)

    def test_of_very_many_changes_the_top_is_told(self):
        change = '[change path="/openconfig-optical-amplifier:optical-amplifier/amplifiers/amplifier[name=\'%d\']/config/enabled" after="true"]'
        line = ('2026-11-23T08:00:00.000000Z [ymap@0 user="u" front="netconf" session="7" operation="edit-config" '
                'target="running" result="done"]')
        self.ok("get")
        with open(f"{self.folder}/record", "w", encoding="utf-8") as file:
            file.write(line + "".join(change % at for at in range(10_000)) + "\n")
        for inner in ("", event_filter(f'<netconf-config-change xmlns="{EVENTS}"/>')):
            name, leaves = self.next(self.subscriber(inner + EPOCH))
            self.assertEqual((name, leaves[3:]), ("config-change", ["edit/target=/oc-opt-amp:optical-amplifier",
                                                                    "edit/operation=merge"]))

    def test_filters(self):
        other = self.session()
        self.ok("unset", BST2, "gain-range")
        self.reply(other, gain("15"))
        changes = f'<netconf-config-change xmlns="{EVENTS}">%s</netconf-config-change>'
        start = f'<netconf-session-start xmlns="{EVENTS}"/>'
        for inner, expected in ((changes % "", 2), (changes.replace(EVENTS, "") % "", 2), (changes % "<edit/>", 2),
                                (changes % "<changed-by><session-id> 0 </session-id></changed-by>", 1),
                                (changes % "<edit><operation>delete</operation></edit>", 1),
                                (changes % "<edit><operation>create</operation></edit>", 0),
                                (changes % "<changed-by><server/></changed-by>", 0),
                                (start + changes % "<edit><operation>delete</operation></edit>", 2),
                                (changes.replace(EVENTS, "urn:x") % "", 0), ("", 0)):
            with self.subTest(inner):
                now = moment()
                session = self.subscriber(event_filter(inner) + EPOCH + f"<stopTime>{now}</stopTime>")
                told = self.until(session, "notificationComplete")
                session.end()
                self.assertEqual(len([name for name in told if name == "config-change"]) +
                                 (told[0] == "session-start"), expected, told)


class Subscribers(NotificationTest):
    def test_streams(self):
        session = self.session()
        leaves = paths(session.ask(get(f'<netconf xmlns="{STREAMS}"/>'))[0])
        self.assertEqual([leaf.split("=")[0].split("/")[-1] for leaf in leaves],
                         ["name", "description", "replaySupport", "replayLogCreationTime"])
        self.assertIn("netconf/streams/stream/name=NETCONF", leaves)

    def test_who_does_not_read_is_dropped(self):
        line = ('2026-11-23T08:00:00.000000Z [ymap@0 user="u" front="netconf" session="7" operation="session-start" '
                'result="done"]\n')
        self.ok("get")
        with open(f"{self.folder}/record", "w", encoding="utf-8") as file:
            file.write(line * 2000)
        session, other = self.session(), self.session()
        session.send(subscribe(EPOCH))
        began = time.monotonic()
        self.reply(other, gain("15"))
        self.assertLess(time.monotonic() - began, 1)
        status, said = session.end(close=False)
        self.assertEqual((status, "does not read" in said), (2, True), said)
        self.assertGreater(time.monotonic() - began, 4)

    def test_requests_go_on(self):
        session, other = self.subscriber(), self.session()
        for value in range(10, 30):
            self.reply(other, gain(value))
        self.reply(other, candidate(gain("9")))
        answered = 0
        session.send(get(config(BST2, "<target-gain/>")))
        events = []
        while len(events) < 21 or not answered:
            text = session.receive()
            answered += "<rpc-reply" in text
            events += ["<notification" in text] if "<rpc-reply" not in text else []
        self.assertEqual(answered, 1)


if __name__ == "__main__":
    unittest.main()
