"""The candidate that sessions share, and commits that are taken back unless they are confirmed."""

import os
import re
import signal
import subprocess
import time
import unittest
import xml.etree.ElementTree as ElementTree

from piped import Piped, errors, eventually
from protocol_test import LOCK, UNLOCK, kill, paths
from tool import BST0, BST2, NC, PRE0, YMAP, DeviceTest, config, edit, get_config, rpc

COMMIT, DISCARD = rpc("<commit/>"), rpc("<discard-changes/>")
VALIDATE = rpc("<validate><source><candidate/></source></validate>")


def candidate(message):
    return message.replace("running/>", "candidate/>")


def gain(value, amplifier=BST2):
    return edit(config(amplifier, f"<target-gain>{value}</target-gain>"))


def commit(parameters="", operation="commit"):
    return rpc(f"<{operation}>{parameters}</{operation}>")


def confirmed(seconds, more=""):
    return commit(f"<confirmed/><confirm-timeout>{seconds}</confirm-timeout>{more}")


def persist(name, word="persist"):
    return f"<{word}>{name}</{word}>"


class CandidateTest(DeviceTest):
    """Of one amplifier's gain, which is 18.4 from the factory."""

    def session(self, *options):
        session = Piped(self.folder, "1.1", options)
        self.addCleanup(session.end)
        return session

    def reply(self, session, message, tag=None, said=".*"):
        """It is no error, or one of that tag with these words."""
        session.send(message)
        text = session.receive()
        found = errors(text)
        self.assertEqual(found.get("tag"), tag, text)
        self.assertRegex(found.get("message", ""), said)
        return text

    def gain(self, session, of=lambda message: message, amplifier=BST2):
        data = session.ask(of(get_config(config(amplifier, "<target-gain/>"))))
        return paths(data)[-1].rpartition("=")[2]

    def now(self, amplifier=BST2):
        """What runs, as the command line has it."""
        return self.settings(amplifier)[amplifier, "config/target-gain"].split()[0]

    def watchers(self):
        found = subprocess.run(["pgrep", "-f", f"{self.folder} watch-commit"], capture_output=True, text=True, check=False)
        return [int(number) for number in found.stdout.split()]

    def kill_watchers(self):
        for watcher in self.watchers():
            os.kill(watcher, signal.SIGKILL)
        self.assertTrue(eventually(lambda: not self.watchers()))

    def recorded(self):
        with open(f"{self.folder}/record", encoding="utf-8") as file:
            return re.findall(r'operation="(\S+?)".*?(?: confirm="(.*?)")? result="(\S+?)"', file.read())


class Candidate(CandidateTest):
    def test_it_is_one_for_all_sessions(self):
        one, other = self.session(), self.session()
        native = self.session("--native", "--candidate")
        self.reply(one, candidate(gain("15")))
        self.reply(other, candidate(gain("16", PRE0)))
        for session in (one, other):
            self.assertEqual((self.gain(session), self.gain(session, candidate)), ("18.4", "15.0"))
        self.assertIn("egress-amplifier-gain>150<", ElementTree.tostring(native.ask(candidate(get_config()))).decode())
        self.reply(other, VALIDATE)
        self.reply(other, COMMIT)
        self.assertEqual((self.gain(one), self.now(PRE0)), ("15.0", "16.00"))
        self.reply(one, candidate(gain("17")))
        self.reply(other, DISCARD)
        self.assertEqual(self.gain(one, candidate), "15.0")
        self.reply(one, COMMIT)
        self.assertEqual(self.now(), "15.00")

    def test_what_it_refuses(self):
        session = self.session()
        before = self.stored()
        for message, tag, said in (
                (candidate(gain("99")), "invalid-value", "80 to 380"),
                (candidate(edit(config(BST2, "<target-gain xmlns:nc='urn:ietf:params:xml:ns:netconf:base:1.0' "
                                             "nc:operation='create'>9</target-gain>"))), "data-exists", "exists"),
                (candidate(gain("9", "0/0-AMP-NONE")), "invalid-value", ".*"),
                (commit("<now/>"), "unknown-element", "none of confirmed, confirm-timeout, persist, persist-id"),
                (commit("<persist>a</persist>"), "missing-element", "confirmed is missing"),
                (commit("<confirm-timeout>9</confirm-timeout>"), "missing-element", "confirmed is missing"),
                *((confirmed(wrong), "invalid-value", "1 to 4294967295") for wrong in ("0", "-1", "x", "4294967296", "")),
                (commit("<confirmed>yes</confirmed>"), "bad-element", "holds nothing"),
                (commit(persist("a", "persist-id")), "invalid-value", "no commit"),
                (commit("", "cancel-commit"), "operation-failed", "no commit"),
                (commit("<confirmed/>", "cancel-commit"), "unknown-element", "none of persist-id"),
                (commit("<a/>", "discard-changes"), "unknown-element", "no parameters")):
            with self.subTest(message):
                self.reply(session, message, tag, said)
        self.reply(session, COMMIT)
        self.assertEqual(self.stored(), before)

    def test_a_test_changes_nothing(self):
        session = self.session()
        self.reply(session, candidate(gain("15")).replace("<config>", "<test-option>test-only</test-option><config>", 1))
        self.assertEqual(os.path.exists(f"{self.folder}/candidate"), False)
        self.reply(session, candidate(gain("15")))
        self.reply(session, VALIDATE)
        self.assertEqual(self.gain(session), "18.4")

    def test_locked_it_is_one_sessions(self):
        for end in (lambda holder: self.reply(holder, candidate(UNLOCK)), lambda holder: holder.end(),
                    lambda holder: holder.process.kill()):
            holder, other = self.session(), self.session()
            self.reply(holder, candidate(LOCK))
            self.reply(holder, candidate(gain("15")))
            for message in (candidate(gain("16")), COMMIT, DISCARD):
                self.reply(other, message, "in-use", f"candidate .* session {holder.id}")
            self.assertIn(f"<session-id>{holder.id}</session-id>", self.reply(other, candidate(LOCK), "lock-denied"))
            self.reply(other, gain("17"))
            end(holder)
            # Its edits went with its lock, and nobody's lock stands in the way.
            self.assertEqual(eventually(lambda: self.gain(other, candidate) == "17.0" or None), True)
            self.reply(other, candidate(LOCK))
            self.reply(other, candidate(UNLOCK))
            self.assertEqual(self.now(), "17.00")

    def test_edited_it_is_not_locked(self):
        session, other = self.session(), self.session()
        self.reply(session, candidate(gain("15")))
        for each in (session, other):
            self.reply(each, candidate(LOCK), "lock-denied", "neither committed nor discarded")
        self.reply(other, DISCARD)
        for _ in range(2):  # nor is there anything of the first time
            self.reply(session, candidate(LOCK))
            self.assertEqual(self.gain(session, candidate), "18.4")
            self.reply(session, candidate(gain("15")))
            self.reply(session, candidate(UNLOCK))

    def test_no_commit_beside_a_lock_or_a_change_of_running(self):
        session, other = self.session(), self.session()
        self.reply(session, candidate(gain("15")))
        self.reply(other, LOCK)
        self.reply(session, COMMIT, "in-use", "running")
        self.reply(other, gain("16"))
        self.reply(other, UNLOCK)
        self.reply(session, COMMIT, "operation-failed", "discard the changes")
        self.assertEqual((self.now(), self.gain(session, candidate)), ("16.00", "15.0"))
        self.reply(session, DISCARD)
        self.reply(session, candidate(gain("15")))
        self.reply(session, COMMIT)
        self.assertEqual(self.now(), "15.00")


class ConfirmedCommit(CandidateTest):
    def begin(self, *parameters, session=None):
        session = session or self.session()
        self.reply(session, candidate(gain("15")))
        self.reply(session, confirmed(*parameters))
        self.assertEqual(self.gain(session), "15.0")
        return session

    def test_confirmed_it_stays(self):
        session = self.begin("1")
        self.assertTrue(eventually(lambda: len(self.watchers()) == 1))
        self.reply(session, COMMIT)
        session.end()
        self.assertTrue(eventually(lambda: not self.watchers()))
        self.assertEqual((self.now(), self.recorded()[1:3]), ("15.00", [("edit-config", "", "done"), ("commit", "start 1", "done")]))
        self.assertIn(("commit", "complete", "done"), self.recorded())

    def test_without_it_is_taken_back(self):
        session = self.begin("1")
        self.assertTrue(eventually(lambda: ("rollback", "timeout", "done") in self.recorded()))
        self.assertEqual(self.gain(session), "18.4")
        # In time, and by the other process, as nobody asked anything.
        self.assertTrue(eventually(lambda: not self.watchers()))
        self.reply(session, COMMIT)
        self.assertEqual((self.now(), os.path.exists(f"{self.folder}/unconfirmed")), ("18.40", False))

    def test_it_goes_with_its_session(self):
        for ended, end in enumerate((
                    lambda session: session.ask(rpc("<close-session/>")), lambda session: session.end(),
                    lambda session: self.reply(self.session(), kill(session.id)),
                    lambda session: session.process.send_signal(signal.SIGTERM), lambda session: session.process.kill())):
            session = self.begin("600")
            end(session)
            self.assertTrue(eventually(lambda: self.recorded().count(("rollback", "cancel", "done")) == ended + 1))
            self.assertEqual(self.now(), "18.40")
            self.assertTrue(eventually(lambda: not self.watchers()))

    def test_somebody_is_always_there(self):
        """Whoever asks anything while a commit waits sees to it that somebody watches."""
        self.begin("2", persist("a"))
        self.kill_watchers()
        # The system takes a moment until nobody holds what a killed process held.
        self.assertTrue(eventually(lambda: self.now() == "15.00" and self.watchers()))
        self.assertTrue(eventually(lambda: ("rollback", "timeout", "done") in self.recorded()))
        self.assertTrue(eventually(lambda: not self.watchers()))

    def test_it_is_taken_back_before_the_client_hears_of_the_end(self):
        session = self.begin("600")
        self.kill_watchers()
        self.reply(session, rpc("<close-session/>"))
        self.assertIn(("rollback", "cancel", "done"), self.recorded())

    def test_who_notices_first_takes_it_back(self):
        session = self.begin("600")
        self.kill_watchers()
        session.process.kill()
        session.process.wait()
        self.assertEqual(self.now(), "18.40")

    def test_after_a_restart_of_the_machine_it_is_taken_back(self):
        self.begin("600", persist("a")).end()
        self.kill_watchers()
        self.assertEqual(self.now(), "15.00")
        note = f"{self.folder}/unconfirmed"
        with open(note, encoding="utf-8") as file:
            text = file.read()
        with open(note, "w", encoding="utf-8") as file:
            file.write(re.sub("(?m)^boot .*", "boot another", text))
        self.assertEqual(self.now(), "18.40")
        self.assertIn("started again", self.ok("log"))

    def test_with_a_name_it_is_anyones(self):
        session = self.begin("600", persist(" a&lt;\n"))
        session.end()
        other = self.session()
        self.reply(other, COMMIT, "in-use", "persist-id")
        self.reply(other, LOCK, "lock-denied", "waits to be confirmed")
        for wrong in (commit(persist("b", "persist-id")), commit(persist("b", "persist-id"), "cancel-commit")):
            self.reply(other, wrong, "invalid-value", "another persist-id")
        self.reply(other, commit(persist(" a&lt;\n", "persist-id")))
        self.assertEqual(self.now(), "15.00")
        self.reply(other, LOCK)

    def test_without_a_name_it_is_its_sessions(self):
        session, other = self.begin("600"), self.session()
        self.reply(other, COMMIT, "in-use", f"session {session.id}")
        self.reply(other, commit(persist("a", "persist-id")), "invalid-value", "another persist-id")
        self.reply(other, commit("", "cancel-commit"), "in-use")
        self.assertIn(f"<session-id>{session.id}</session-id>", self.reply(other, LOCK, "lock-denied"))
        self.reply(session, LOCK)
        self.assertEqual(self.run_tool("confirm")[0], 1)
        self.assertEqual(self.run_tool("set", BST2, "target-gain=9", "--confirm", "9")[0], 1)
        self.reply(session, COMMIT)
        self.assertEqual(self.now(), "15.00")

    def test_gone_on_with_it_goes_back_to_the_first(self):
        session = self.begin("1")
        self.reply(session, candidate(gain("16")))
        self.reply(session, confirmed("600", persist("a")))
        self.reply(session, candidate(gain("17", PRE0)))
        self.reply(session, confirmed("600", persist("a", "persist-id")))
        time.sleep(1.2)
        self.assertEqual((self.now(), self.now(PRE0), bool(self.watchers())), ("16.00", "17.00", True))
        other = self.session()
        self.reply(other, commit(persist("a", "persist-id"), "cancel-commit"))
        self.assertEqual((self.now(), self.now(PRE0)), ("18.40", "17.20"))
        self.assertEqual([event for _, event, _ in self.recorded() if event],
                         ["start 1", "extend 600", "extend 600", "cancel"])

    def test_what_others_edit_meanwhile_goes_too(self):
        self.begin("600", persist("a"))
        status, _, err = self.run_tool("set", PRE0, "target-gain=20")
        self.assertEqual(status, 0)
        self.assertRegex(err, "waits to be confirmed.* 600 seconds, this edit is taken back too")
        self.ok("confirm", "--cancel")
        self.assertEqual(self.now(PRE0), "17.20")

    def test_by_the_command_line(self):
        said = "In force now; what was before is back in 600 seconds unless you run: ymap confirm\n"
        self.assertEqual(self.ok("set", BST2, "target-gain=15", "--confirm", "600"), said)
        self.assertRegex(self.ok("unset", BST2, "target-gain-tilt", "--confirm", "600"), said + "With it goes the change of ")
        self.ok("confirm", "--cancel")
        self.assertEqual((self.now(), (BST2, "config/target-gain-tilt") in self.settings()), ("18.40", True))
        self.ok("set", BST2, "target-gain=15", "--confirm", "1")
        self.assertTrue(eventually(lambda: self.now() == "18.40"))
        self.ok("set", BST2, "target-gain=15", "--confirm", "1")
        self.ok("confirm")
        time.sleep(1.1)
        self.assertEqual((self.now(), self.run_tool("confirm")[0::2]),
                         ("15.00", (1, "ymap: error: operation-failed: no commit waits to be confirmed\n")))
        for arguments, said in ((["--confirm", "0"], "--confirm"), (["--confirm", "9", "--test-only"], "--test-only")):
            status, _, err = self.run_tool("set", BST2, "target-gain=15", *arguments)
            self.assertEqual((status, said in err), (2, True), err)

    def test_by_the_command_line_elsewhere(self):
        def run(*arguments):
            environment = dict(os.environ, YMAP_SSH=f"sh -c 'exec {YMAP} netconf --device {self.folder}'")
            done = subprocess.run([YMAP, "--connect", "host", *arguments], env=environment, capture_output=True, text=True, check=False)
            return done.returncode, done.stdout + done.stderr

        edited = ("set", BST2, "target-gain=15", "--confirm", "600")
        for end, expected in (("--cancel", "18.40"), (None, "15.00")):
            self.assertEqual(run(*edited)[0], 0)
            self.assertEqual(run(*edited)[0], 0)
            self.assertEqual(self.now(), "15.00")
            self.assertEqual(run("confirm", *([end] if end else []))[0], 0)
            self.assertEqual(self.now(), expected)
        self.assertRegex(run("confirm")[1], "no commit that waits")
        self.assertRegex(run("set", BST2, "target-gain=99", "--confirm", "9")[1], "80 to 380")
        other = self.session()
        self.reply(other, candidate(LOCK))
        self.assertRegex(run(*edited)[1], "lock-denied")

    def test_a_full_disk_does_not_hinder_the_way_back(self):
        script = """mount -t tmpfs -o size=200k none "$1" || exit 77
        ymap() { "$0" --device "$@"; }
        "$0" --device "$1" set 0/0-AMP-BST2 target-gain=15 --confirm 600 || exit 1
        cat /dev/zero > "$1/record.full" 2>/dev/null
        "$0" --device "$1" set 0/0-AMP-BST2 target-gain=16 && exit 2
        "$0" --device "$1" confirm --cancel || exit 3
        "$0" --device "$1" get 0/0-AMP-BST2 --config"""
        done = subprocess.run(["unshare", "--mount", "sh", "-c", script, YMAP, self.folder], capture_output=True, text=True,
                              check=False)
        if done.returncode == 77 or "unshare" in done.stderr:
            self.skipTest("only root can make a disk that is full, where it may mount")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("target-gain 18.40", done.stdout)


if __name__ == "__main__":
    unittest.main()
