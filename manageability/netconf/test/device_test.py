"""The mapping in front of a device elsewhere that is not quite, or not at all, as it should be."""

import os
import re
import shlex
import signal
import unittest

from foreign import CAPABILITY, ForeignTest, error, hello, reply
from piped import Piped, errors, eventually
from protocol_test import LOCK, NOTHING, UNLOCK, PipedTest, gain, paths
from tool import BST2, NC, YMAP, edit, get_config, rpc

NATIVE = "http://velm.example/ns/yang/Velm-NALTO-"
MODULES = tuple(f"{NATIVE}{name}?module=Velm-NALTO-{name}"
                for name in ("controller-ots-cfg", "ifmgr-cfg", "controller-ots-oper", "pmengine-oper"))
RUNNING, ROLLBACK, CANDIDATE, VALIDATE = (CAPABILITY + word for word in (
    "writable-running:1.0", "rollback-on-error:1.0", "candidate:1.0", "validate:1.1"))
OK = reply("<ok/>")
LEAF = ("/openconfig-optical-amplifier:optical-amplifier/amplifiers/amplifier[name='0/0-AMP-BST2']/config/")


def children_of(process):
    with open(f"/proc/{process}/task/{process}/children", encoding="ascii") as children:
        return [int(child) for child in children.read().split()]


def entry(leaves, name="Ots0/0/0/2", more=""):
    return (f'<interface-configuration><active>act</active><interface-name>{name}</interface-name>{more}'
            f'<ots xmlns="{NATIVE}controller-ots-cfg">{leaves}</ots></interface-configuration>')


def data(*entries):
    return reply(f'<data><interface-configurations xmlns="{NATIVE}ifmgr-cfg">{"".join(entries)}'
                 "</interface-configurations></data>")


def native_gain(value):
    change = (f'<interface-configurations xmlns="{NATIVE}ifmgr-cfg">'
              f'{entry(f"<ots-egress-amplifier-gain>{value}</ots-egress-amplifier-gain>")}</interface-configurations>')
    return edit(change)


def egress(**leaves):
    return "".join(f"<ots-egress-{name.replace('_', '-')}>{value}</ots-egress-{name.replace('_', '-')}>"
                   for name, value in leaves.items())


class ForeignDevice(ForeignTest):
    AT = ("--device", "ssh://host")

    def get(self, *replies):
        return self.run_against([hello(*MODULES), *replies], "get", BST2, "--config")

    def test_answers(self):
        """What is asked for and sound comes out; the rest is left out, with a warning where it is broken."""
        full = egress(amplifier_gain="184", amplifier_tilt="-5", osri="false")
        lines = ["name " + BST2, "target-gain 18.40 dB", "target-gain-tilt -0.50 dB", "enabled true"]
        for what, answer, left, *warnings in (
                ("as it was asked", data(entry(full)), lines),
                ("more than that", data(entry(full + "<ots-raman-osri>x</ots-raman-osri>", more="<shutdown>y</shutdown>"),
                                        entry(full, "Ots0/0/0/0"), "<interface-configuration/>"), lines),
                ("white space", data(entry(full.replace("184", "\n 184 "))), lines),
                ("nothing", reply("<data/>"), []),
                ("another module's", reply('<data><x xmlns="urn:x"/></data>'), []),
                ("a value of another type", data(entry(full.replace("184", "loud"))), lines[:1] + lines[2:],
                 "Velm-NALTO-controller-ots-cfg:ots/ots-egress-amplifier-gain of the device's answer: "),
                ("a value out of range", data(entry(full.replace("184", "999"))), lines[:1] + lines[2:], "999"),
                ("no value", data(entry(full.replace("184", ""))), lines[:1] + lines[2:], "ots-egress-amplifier-gain"),
                ("a leaf twice", data(entry(full + egress(osri="true"))), lines, "osri of the device's answer: it stands twice"),
                ("a leaf that holds nodes", data(entry(full.replace(">184<", "><x/><"))), lines[:1] + lines[2:],
                 "it is a leaf and holds nodes"),
                ("a container that holds text", data(entry("off" + full)), lines[:1], "ots of the device's answer: it holds text"),
                ("a key twice", data(entry(full).replace("<active>", "<active>act</active><active>")), [],
                 "the entry needs its key active once")):
            with self.subTest(what):
                status, out, err, heard = self.get(answer)
                self.assertEqual((status, [line.replace(BST2 + " config/", "") for line in out.splitlines()]), (0, left), err)
                self.assertEqual(len(err.splitlines()), len(warnings), err)
                for warning in warnings:
                    self.assertIn(warning, err)
                self.assertEqual(heard.count("<get-config>"), 1)

    def test_a_read_asks_for_what_is_wanted(self):
        _, _, _, heard = self.get(data())
        request = re.search("<get-config>.*</get-config>", heard)[0]
        self.assertEqual(re.findall(r"<([a-z-]+)[^>]*/>", request),
                         ["running", *("ots-egress-" + leaf for leaf in
                                       ("amplifier-gain", "amplifier-tilt", "amplifier-gain-range", "osri"))])
        self.assertEqual(set(re.findall(r"<([a-z-]+)[ >][^<]*</", request)), {"active", "interface-name"})
        _, _, _, heard = self.run_against([hello(*MODULES), reply("<data/>")], "get", BST2)
        self.assertEqual((heard.count("<get>"), heard.count("<get-config>")), (1, 0))

    def edit(self, capabilities, replies, *arguments):
        capabilities = (*MODULES, *capabilities)
        status, out, err, heard = self.run_against([hello(*capabilities), *replies], "set", BST2, *arguments)
        self.assertEqual(out, "")
        words = re.findall(r"<rpc [^>]*><([a-z-]+)|<(candidate|running)/>|<test-option>(.*?)<|<error-option>(.*?)<", heard)
        return status, err, " ".join("".join(word) for word in words)

    def test_roads_of_an_edit(self):
        two = ["target-gain=9", "enabled=true"]
        for capabilities, arguments, status, road in (
                ((CANDIDATE, VALIDATE, RUNNING, ROLLBACK), two, 0,
                 "lock candidate lock running edit-config candidate rollback-on-error validate candidate commit "
                 "unlock running unlock candidate close-session"),
                ((CANDIDATE,), two, 0, "lock candidate edit-config candidate commit unlock candidate close-session"),
                ((RUNNING, ROLLBACK), two, 0, "edit-config running rollback-on-error close-session"),
                ((RUNNING,), two, 1, "close-session"),
                ((RUNNING,), two[:1], 0, "edit-config running close-session"),
                ((), two[:1], 1, "close-session"),
                ((CANDIDATE, VALIDATE), [*two, "--test-only"], 0,
                 "lock candidate edit-config candidate validate candidate discard-changes unlock candidate close-session"),
                ((RUNNING, VALIDATE), [*two, "--test-only"], 0, "edit-config running test-only close-session"),
                ((CANDIDATE, RUNNING), [*two, "--test-only"], 1, "close-session")):
            with self.subTest(capabilities, arguments=arguments):
                found, err, heard = self.edit(capabilities, [OK] * 9, *arguments)
                self.assertEqual((found, heard), (status, road), err)
                self.assertIn("operation-not-supported: the device" if status else "", err)

    def test_what_cannot_be_taken_back_ends_with_the_session(self):
        no = reply(error("operation-failed", "not now"))
        for replies, road in (
                ([OK, no, no, OK], "lock candidate edit-config candidate discard-changes close-session"),
                ([OK, no, OK, no], "lock candidate edit-config candidate discard-changes unlock candidate close-session")):
            with self.subTest(road):
                status, err, heard = self.edit((CANDIDATE,), replies, "target-gain=9")
                self.assertEqual((status, heard), (1, road))
                self.assertRegex(err, "not now; (discard-changes|unlock) at the device failed: not now")

    def test_running_is_locked_with_the_candidate(self):
        held = reply(error("lock-denied", "held", more="<error-info><session-id>77</session-id></error-info>"))
        both = (CANDIDATE, RUNNING)
        road = "lock candidate lock running"
        for replies, status, first in (([OK, held, OK, *[OK] * 9], 0, road + " lock running edit-config"),
                                       ([held, OK, OK, OK, *[OK] * 9], 0, road + " unlock running " + road + " edit-config"),
                                       ([held, held, OK, OK, *[OK] * 9], 0, road + " " + road + " edit-config"),
                                       ([OK, *[held] * 200], 1, road + " lock running")):
            with self.subTest(first):
                found, err, heard = self.edit(both, replies, "target-gain=9")
                self.assertEqual(found, status, err)
                self.assertTrue(heard.startswith(first), heard)
        self.assertIn("in-use: held", err)
        self.assertNotIn("edit-config", heard)

    def test_errors_come_home(self):
        native = "/a1:interface-configurations/a1:interface-configuration[a1:active='act'][a1:interface-name='Ots0/0/0/2']"
        ots = native + "/controller-ots-cfg:ots/controller-ots-cfg:"
        module = "/Velm-NALTO-ifmgr-cfg:interface-configurations/interface-configuration[active='act']"
        path = "<error-path>%s</error-path>"
        for more, tag, told in (
                (path % (ots + "ots-egress-amplifier-gain"), "invalid-value", f" at {LEAF}target-gain"),
                (path % (ots.replace("a1:", "Velm-NALTO-ifmgr-cfg:") + "ots-egress-osri"), "too-big", f" at {LEAF}enabled"),
                (path % (ots + "ots-raman-osri"), "operation-failed",
                 f" at {module}[interface-name='Ots0/0/0/2']/Velm-NALTO-controller-ots-cfg:ots/ots-raman-osri"),
                (path % native.replace("0/2", "0/7"), "access-denied", f" at {module}[interface-name='Ots0/0/0/7']"),
                (path % "/x:y/x:z[1]", "operation-failed", " at /x:y/x:z[1]"), (path % "broken [", "operation-failed", None),
                ("", "resource-denied", ""),
                ("<error-info><bad-element>ots-egress-osri</bad-element></error-info>", "bad-element", f" at {LEAF}enabled"),
                ("<error-info><bad-element>interface-name</bad-element></error-info>", "bad-element", None), ("<error-info><session-id>77</session-id></error-info>", "in-use", "")):
            with self.subTest(more):
                refusal = reply(error(tag, "the device's words", more=more))
                status, err, _ = self.edit((RUNNING, ROLLBACK), [refusal], "target-gain=9", "enabled=true")
                self.assertEqual(status, 1)
                expected = f"ymap: error: {tag}{told}: the device's words\n"
                self.assertTrue(err == expected if told is not None else err.endswith(": the device's words\n"), err)
        status, _, err, _ = self.get(reply(error("access-denied", "not you")))
        self.assertEqual((status, err), (1, "ymap: error: access-denied: not you\n"))

    def test_a_failed_edit_leaves_no_candidate(self):
        refusal = reply(error("operation-failed", "no"))
        steps = ["lock candidate", "edit-config candidate", "validate candidate", "commit"]
        for at in range(1, 4):
            _, _, heard = self.edit((CANDIDATE, VALIDATE), [OK] * at + [refusal] + [OK] * 3, "target-gain=9")
            self.assertEqual(heard, " ".join(steps[:at + 1] + ["discard-changes unlock candidate close-session"]))
        status, err, heard = self.edit((CANDIDATE,), [reply(error("lock-denied", "no"))] + [OK] * 3, "target-gain=9")
        self.assertEqual((status, heard), (1, "lock candidate close-session"), err)
        status, err, _ = self.edit((CANDIDATE,), [OK] * 3 + [refusal], "target-gain=9")
        self.assertEqual((status, err), (0, "ymap: warning: unlock at the device failed: no\n"))

    def test_cut_at_every_message(self):
        """The edit is made or not, and the user is told which, as far as anybody here can know."""
        for capabilities, fates, steps in (
                ((CANDIDATE, VALIDATE), ["not made"] * 3 + ["not known"], ["lock", "edit-config", "validate", "commit"]),
                ((RUNNING, ROLLBACK), ["not known"], ["edit-config"])):
            for at, fate in enumerate(fates):
                for end in ("", OK[:40], "endless:" + "x" * 65536, "<nothing>]]>]]>"):
                    with self.subTest(fate, at=at, end=end[:40]):
                        replies = [OK] * at + [end or "gone"]
                        status, err, heard = self.edit(capabilities, replies, "--timeout", "5", "target-gain=9")
                        self.assertEqual(status, 2)
                        self.assertEqual([word for word in heard.split() if word in steps], steps[:at + 1])  # and once
                        self.assertRegex(err, f"^ymap: error: server host port 830 gives no proper answer: .*{fate}")
        self.assertEqual(self.get(data()[:60])[0], 2)

    def test_no_device(self):
        for server, message in (
                ([hello(*MODULES[:2])], "is no device of this kind: its <hello> lacks the modules "
                                        "Velm-NALTO-controller-ots-oper, Velm-NALTO-pmengine-oper"),
                ([hello(*MODULES[1:])], "lacks the module Velm-NALTO-controller-ots-cfg\n"),
                (["nothing]]>]]>"], "does not speak NETCONF"), ([hello(*MODULES) + "gone"], "gives no proper answer|the connection has ended"),
                ([hello(*MODULES), "no xml]]>]]>"], "gives no proper answer: not well-formed XML"),
                ([hello(*MODULES), reply("<ok/>")], "answers a read without data")):
            with self.subTest(message):
                status, out, err, _ = self.run_against(server, "get", BST2, "--config")
                self.assertEqual((status, out), (2, ""))
                self.assertRegex(err, message)
        for destination, reason in (("ssh://", "empty"), ("ssh://host:0", "no port"), ("ssh://-x", "dash")):
            self.AT = ("--device", destination)
            status, _, err, _ = self.run_against([hello()], "get")
            self.assertEqual((status, reason in err), (2, True), err)


class OwnDevice(PipedTest):
    """A server of the native models, which something happens to."""

    def session(self, *options, command=""):
        server = f"{command} exec " + shlex.join([YMAP, "netconf", "--native", *options, "--device", self.folder])
        session = Piped("ssh://device", "1.1", ("--timeout", "1"), env={**os.environ, "YMAP_SSH": shlex.join(["sh", "-c", server])})
        self.addCleanup(session.end)
        return session

    def device_of(self, session):
        """The process of the native server, which stands behind the shell of YMAP_SSH."""
        process = session.process.pid
        while below := children_of(process):
            process = below[0]
        return process

    def gain(self, session):
        return [path.split("=")[1] for path in paths(session.ask(get_config(gain("")))) if "target-gain=" in path]

    def end(self, process):
        os.kill(process, signal.SIGKILL)
        self.assertTrue(eventually(lambda: not os.path.exists(f"/proc/{process}")))

    def test_killed_between_requests(self):
        for options in ((), ("--candidate",)):
            session = self.session(*options)
            self.assertEqual(self.gain(session), ["18.4"])
            for value in ("15.0", "18.4"):
                self.end(self.device_of(session))
                self.ok(session, edit(gain(value)))
                self.end(self.device_of(session))
                self.assertEqual(self.gain(session), [value])

    def test_the_lock_is_not_lost_in_silence(self):
        session = self.session()
        self.ok(session, LOCK)
        self.end(self.device_of(session))
        status, said = session.end(close=False)
        self.assertEqual(status, 2)
        self.assertIn("the device has ended its session, and with it the lock on running", said)

    def test_stopped(self):
        session = self.session()
        self.ok(session, LOCK)
        os.kill(self.device_of(session), signal.SIGSTOP)
        self.addCleanup(os.kill, self.device_of(session), signal.SIGKILL)
        for request in (get_config(), NOTHING, edit(gain("9")), UNLOCK):
            session.send(request)
        self.assertIn("does not answer within 1 seconds", errors(session.receive())["message"])
        self.assertIn("<data", session.receive())  # which asks nothing of the device
        self.assertRegex(errors(session.receive())["message"], "the lock on running")
        self.assertRegex(errors(session.receive())["message"], "the lock on running")

    def test_a_session_that_fails_frees_what_it_held(self):
        for options in ((), ("--candidate",)):
            with self.subTest(options):
                session, other = self.session(*options), self.session(*options)
                self.ok(session, LOCK)
                device = self.device_of(session)
                os.kill(device, signal.SIGSTOP)
                session.send(get_config())
                self.assertIn("does not answer", errors(session.receive())["message"])
                session.process.wait(20)
                self.end(device)  # which ssh's end would reach in its place
                status, said = session.end(close=False)
                self.assertEqual(status, 2)
                self.assertIn("with it the lock on running", said)
                self.ok(other, LOCK)
                self.ok(other, UNLOCK)

    def test_others_edits_stay(self):
        session, native = self.session(), Piped(self.folder, "1.1", ("--native", "--candidate"))
        self.addCleanup(native.end)
        begun = native_gain(100).replace("running", "candidate")
        self.ok(native, begun)
        self.ok(session, edit(gain("9")))
        commit = rpc("<commit/>")
        self.refused(native, commit, type="application", tag="operation-failed", message="discard the changes")
        self.ok(native, rpc("<discard-changes/>"))
        self.assertEqual(self.gain(session), ["9.0"])
        self.ok(native, begun)
        self.ok(native, commit)
        self.assertEqual(self.gain(session), ["10.0"])

    def test_full(self):
        for options in ((), ("--candidate",)):
            with self.subTest(options):
                self.ok(self.session(), edit(gain("18.4")))
                session = self.session(*options, command="ulimit -f 1;")
                self.refused(session, edit(gain("9")), type="application", tag="resource-denied")
                self.assertEqual(self.gain(session), ["18.4"])

    def test_held_by_another(self):
        holder, other = self.session("--candidate"), self.session("--candidate")
        native = Piped(self.folder, "1.1", ("--native", "--candidate"))
        self.addCleanup(native.end)
        self.ok(native, LOCK)
        held = {"type": "protocol", "message": f"session {native.id}"}
        self.refused(other, edit(gain("9")), tag="in-use", **held)
        self.refused(other, LOCK, tag="lock-denied", **{"session-id": native.id}, **held)
        self.ok(native, UNLOCK)
        self.ok(native, LOCK.replace("running", "candidate"))
        self.refused(other, edit(gain("9")), tag="lock-denied", **{"session-id": native.id}, **held)
        self.ok(native, UNLOCK.replace("running", "candidate"))
        self.ok(other, edit(gain("9")))
        self.ok(other, rpc(f"<kill-session><session-id>{native.id}</session-id></kill-session>"))
        self.assertEqual([child.tag for child in holder.ask(LOCK)], [NC + "ok"])


if __name__ == "__main__":
    unittest.main()
