"""Who may do what at the server and at the command line, what is recorded of it, and where that goes."""

import functools
import json
import os
import pwd
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
import xml.etree.ElementTree as ElementTree

from candidate_test import COMMIT, candidate
from piped import Piped, errors, eventually
from protocol_test import LOCK, UNLOCK, paths
from tool import BST0, BST2, NC, OPENCONFIG, PRE0, YMAP, DeviceTest, config, edit, entries, get, get_config, rpc

ACCESS = "urn:ietf:params:xml:ns:yang:ietf-netconf-acm"
YANG = "urn:ietf:params:xml:ns:yang:1"
# Unix groups that the tests put in the place of the system's.
GROUPS = {"ymap-admin": 42420, "ymap-operator": 42421, "testers": 42422}
USER, OTHER = "games", "mail"  # that every Debian has
OWNER = "nobody"


def nacm(inner, attributes=""):
    return f'<nacm xmlns="{ACCESS}" xmlns:o="{OPENCONFIG}" xmlns:y="{YANG}" {attributes}>{inner}</nacm>'


def rule(name, action="deny", path=None, accesses="*", more=""):
    where = f"<path>{path}</path>" if path else ""
    return (f"<rule><name>{name}</name>{more}{where}<access-operations>{accesses}</access-operations>"
            f"<action>{action}</action></rule>")


def rule_list(name, *rules, groups=("*",), attributes=""):
    of = "".join(f"<group>{group}</group>" for group in groups)
    return f"<rule-list {attributes}><name>{name}</name>{of}{''.join(rules)}</rule-list>"


def leaf(name, amplifier=None):
    key = f"[o:name='{amplifier}']" if amplifier else ""
    return f"/o:optical-amplifier/o:amplifiers/o:amplifier{key}/o:config/o:{name}"


ENABLED = get_config(config(BST0, "<enabled/>"))
RULES = get_config(nacm(""))


@functools.cache
def program():
    """The installed tool, where other users reach it."""
    prefix = os.path.dirname(os.path.dirname(YMAP))
    probe = subprocess.run(["setpriv", "--reuid", USER, "--clear-groups", YMAP, "--version"], capture_output=True, check=False)
    if probe.returncode == 0:
        return YMAP
    copy = tempfile.mkdtemp()
    unittest.addModuleCleanup(shutil.rmtree, copy)
    os.chmod(copy, 0o755)
    shutil.copytree(prefix, copy + "/installed")
    return copy + "/installed/bin/ymap"


@functools.cache
def groups_file():
    handle, name = tempfile.mkstemp()
    unittest.addModuleCleanup(os.unlink, name)
    with open("/etc/group", encoding="utf-8") as system, open(handle, "w", encoding="utf-8") as file:
        file.write(system.read() + "".join(f"{group}:x:{number}:\n" for group, number in GROUPS.items()))
    os.chmod(name, 0o644)
    return name


def command_of(user, groups=()):
    """What runs a program as `user`, in these of GROUPS too."""
    entry_of = pwd.getpwnam(user)
    numbers = [f"--groups={','.join(str(GROUPS[group]) for group in groups)}"] if groups else ["--clear-groups"]
    return ["unshare", "--mount", "sh", "-c", 'mount --bind "$0" /etc/group && exec "$@"', groups_file(),
            "setpriv", f"--reuid={user}", f"--regid={entry_of.pw_gid}", *numbers]


def can_be_others():
    return os.geteuid() == 0 and subprocess.run([*command_of(USER), "true"], capture_output=True, check=False).returncode == 0


class SessionTest(DeviceTest):
    def session(self):
        session = Piped(self.folder)
        self.addCleanup(session.end)
        return session

    def reply(self, session, message, tag=None):
        """It is no error, or one of that tag."""
        session.send(message)
        text = session.receive()
        self.assertEqual(errors(text).get("tag"), tag, text)
        return text


class UsersTest(SessionTest):
    """A device of OWNER's that all may write to; what they may do there the rules say."""

    def setUp(self):
        super().setUp()
        if not can_be_others():
            self.skipTest("only root can be several users, where it may mount")
        self.ok("get")
        os.chmod(self.folder, 0o777)
        for name in [".", *os.listdir(self.folder)]:
            path = os.path.join(self.folder, name)
            shutil.chown(path, OWNER)
            os.chmod(path, os.stat(path).st_mode | (0o777 if os.path.isdir(path) else 0o666))

    def tool_as(self, user, *arguments, groups=(), text=None):
        done = subprocess.run([*command_of(user, groups), program(), "--device", self.folder, *arguments], cwd="/",
                              input=text, capture_output=True, text=True, timeout=60, check=False)
        return done.returncode, done.stdout, done.stderr

    def session_as(self, user, *groups, options=()):
        session = Piped(self.folder, "1.1", options, command=[*command_of(user, groups), program()], cwd="/")
        self.addCleanup(session.end)
        return session

    def configure(self, inner):
        self.ok("rpc", text=edit(nacm(inner)))

    def enabled(self, session, message=ENABLED):
        return [each for each in paths(ElementTree.fromstring(self.reply(session, message)).find(NC + "data"))
                if "enabled" in each]


class OutOfTheBox(UsersTest):
    def test_who_may_do_what(self):
        gains = iter(range(10, 30))
        kill = rpc("<kill-session><session-id>4000000000</session-id></kill-session>")
        denied, nothing = "access-denied", "invalid-value"
        for user, groups, change_ends, rules_end, kill_ends, sees_rules in (
                (OWNER, (), None, None, nothing, True), ("root", (), None, None, nothing, True),
                (USER, ("ymap-admin",), None, None, nothing, True), (USER, ("ymap-operator",), None, denied, denied, False),
                (USER, ("ymap-operator", "testers"), None, denied, denied, False),
                (USER, ("testers",), denied, denied, denied, False), (USER, (), denied, denied, denied, False)):
            with self.subTest(user, groups=groups):
                session = self.session_as(user, *groups)
                self.reply(session, edit(config(BST0, f"<target-gain>{next(gains)}</target-gain>")), change_ends)
                for _ in range(2):  # the rule is there the second time, which is not for everybody to know
                    self.reply(session, edit(nacm(rule_list("x"))), rules_end)
                self.reply(session, kill, kill_ends)
                self.assertEqual("rule-list" in self.reply(session, RULES), sees_rules)
                self.assertIn("target-gain", self.reply(session, get_config()))
                self.assertIn("netconf-state", self.reply(session, rpc("<get/>")))
                for message in (LOCK, UNLOCK):
                    self.reply(session, message)
                self.assertEqual(session.end()[0], 0)

    def test_command_line(self):
        before = self.stored()
        status, out, err = self.tool_as(USER, "set", PRE0, "target-gain=12")
        self.assertEqual((status, out), (1, ""))
        self.assertEqual(err, f"ymap: error: access-denied at /openconfig-optical-amplifier:optical-amplifier/amplifiers/amplifier"
                              f"[name='{PRE0}']/config/target-gain: user {USER} may not update this\n")
        self.assertEqual(self.stored(), before)
        self.assertEqual(self.tool_as(USER, "get", "--config")[:2], (0, self.ok("get", "--config")))
        self.assertEqual(self.tool_as(USER, "set", PRE0, "target-gain=12", groups=["ymap-operator"])[0], 0)
        # What changes nothing needs no right.
        self.assertEqual(self.tool_as(USER, "set", PRE0, "target-gain=12")[0], 0)

    def test_counters(self):
        session = self.session_as(USER)
        self.reply(session, rpc("<kill-session><session-id>4000000000</session-id></kill-session>"), "access-denied")
        for _ in range(2):
            self.reply(session, edit(config(BST0, "<target-gain>21</target-gain>")), "access-denied")
        counted = self.ok("rpc", text=get(nacm("<denied-operations/><denied-data-writes/><denied-notifications/>")))
        self.assertEqual(re.findall(r"<(denied-[a-z-]+)>(\d+)<", counted),
                         [("denied-operations", "1"), ("denied-data-writes", "2"), ("denied-notifications", "0")])

    def test_they_are_shown(self):
        text = self.ok("access")
        self.assertIn(f"root, and {OWNER} who owns {self.folder}, may do all", text)
        for row in ("administrators  ymap-admin     everything  everything  +\\*  +permit",
                    "operators       ymap-operator  amplifiers  module openconfig-optical-amplifier  +\\*  +permit"):
            self.assertRegex(text, row)
        gain = f"/optical-amplifier/amplifiers/amplifier[name='{PRE0}']/config/target-gain"
        status, out, _ = self.tool_as(USER, "access", "--as", USER, gain)
        self.assertEqual(status, 0)
        self.assertRegex(out, "read +permit +no rule: read-default is permit\n.*\n +update +deny +no rule: write-default is deny")
        self.assertEqual(self.tool_as(USER, "access")[0], 1)
        self.assertEqual(self.tool_as(USER, "access", "--as", OTHER, gain)[0], 1)
        for name, said in (("kill-session", "exec +deny +no rule, and only one can permit this"),
                           ("create-subscription", "exec +permit +no rule: exec-default"),
                           ("netconf-session-end", "receive +permit +no rule: read-default")):
            self.assertRegex(self.ok("access", "--as", USER, name), said)


class Rules(UsersTest):
    def test_what_may_not_be_read_is_left_out(self):
        session, all_there = self.session_as(USER), 3
        self.assertEqual(len(self.enabled(session, get_config())), all_there)
        # The next request obeys.
        self.configure(rule_list("secret", rule("one", path=leaf("enabled", BST0), accesses="read")))
        self.assertEqual(self.enabled(session), [])
        left = self.enabled(session, get_config())
        self.assertEqual(len(left), all_there - 1)
        self.assertEqual([each for each in left if BST0 in each], [])
        self.assertIn("target-gain", self.reply(session, get_config(config(BST0, ""))))
        self.configure(rule_list("secret", rule("one", path=leaf("name")[:-len("/o:config/o:name")], accesses="read"),
                                 attributes='y:insert="first" nc:operation="replace"'))
        self.assertEqual(paths(ElementTree.fromstring(self.reply(session, get_config())).find(NC + "data")), [])
        self.configure('<rule-list nc:operation="delete"><name>secret</name></rule-list>')
        self.assertEqual(len(self.enabled(session, get_config())), all_there)

    def test_nobody_learns_by_matching(self):
        self.configure(rule_list("secret", rule("one", path=leaf("enabled", BST0), accesses="read")))
        session = self.session_as(USER)
        match = get_config(entries("<amplifier><config><enabled>%s</enabled></config></amplifier>"))
        for value, stored in (("true", "true"), ("true", "false"), ("false", "true"), ("false", "false")):
            with self.subTest(value, stored=stored):
                self.ok("set", BST0, "enabled=" + stored)
                found = re.findall("<name>([^<]*)</name>", self.reply(session, match % value))
                self.assertEqual(set(found), {PRE0, BST2} if value == "true" else set())

    def test_nobody_learns_by_trying(self):
        self.configure(rule_list("secret", rule("one", path=leaf("enabled", BST0), accesses="read")))
        session = self.session_as(USER)
        for value in ("true", "false"):
            said = errors(self.reply(session, edit(config(BST0, f"<enabled>{value}</enabled>")), "access-denied"))
            self.assertEqual(said["path"].count("enabled"), 0, said)

    def test_edits_by_operation(self):
        self.configure(rule_list("some", rule("gain", "permit", leaf("target-gain", BST0), "update delete"),
                                 rule("tilt", "permit", leaf("target-gain-tilt", BST0), "create"), groups=["testers"]))
        session = self.session_as(USER, "testers")
        for inner, tag in (("<target-gain>21</target-gain>", None), ("<target-gain>21</target-gain><enabled>true</enabled>", None),
                           ("<target-gain>20</target-gain><enabled>false</enabled>", "access-denied"),
                           ("<target-gain-tilt>0.5</target-gain-tilt>", "access-denied"),
                           ('<target-gain-tilt nc:operation="delete"/>', "access-denied"),
                           ('<target-gain nc:operation="delete"/>', None), ("<target-gain>22</target-gain>", "access-denied")):
            with self.subTest(inner):
                before = self.stored()
                self.reply(session, edit(config(BST0, inner)), tag)
                if tag:
                    self.assertEqual(self.stored(), before)
        self.ok("unset", BST0, "target-gain-tilt")
        self.reply(session, edit(config(BST0, "<target-gain-tilt>0.5</target-gain-tilt>")))
        self.reply(session, edit(config(PRE0, "<target-gain>21</target-gain>")), "access-denied")

    def test_locked_out(self):
        self.configure(rule_list("nobody", rule("nothing"), attributes='y:insert="first"'))
        session = self.session_as(USER, "ymap-admin")
        for message in (get_config(), LOCK, edit(config(BST0, "<target-gain>21</target-gain>")), rpc("<get/>")):
            self.reply(session, message, "access-denied")
        self.assertEqual(self.tool_as(USER, "get")[0], 1)
        self.reply(session, rpc("<close-session/>"))
        # The recovery session is always there.
        recovery = self.session_as(OWNER)
        self.reply(recovery, edit(nacm('<rule-list nc:operation="remove"><name>nobody</name></rule-list>')))
        self.reply(self.session_as(USER, "ymap-admin"), edit(config(BST0, "<target-gain>21</target-gain>")))

    def test_switched_off(self):
        self.configure("<enable-nacm>false</enable-nacm>")
        session = self.session_as(USER)
        self.reply(session, edit(config(BST0, "<target-gain>21</target-gain>")))
        self.assertIn("rule-list", self.reply(session, RULES))
        self.assertIn("switched off", self.ok("access"))

    def test_the_server_s_own_data(self):
        root, mine = self.session_as("root"), self.session_as(USER)
        session = f"/m:netconf-state/m:sessions/m:session[m:session-id='{root.id}']"
        self.configure(rule_list("state", rule("others", path=session, accesses="read"),
                                 rule("capabilities", path="/m:netconf-state/m:capabilities"))
                       .replace("<path>", '<path xmlns:m="urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring">'))
        seen = self.reply(mine, rpc("<get/>"))
        self.assertEqual(re.findall("<username>([^<]*)<", seen), [USER])
        self.assertNotIn("<capability>", seen)
        self.assertIn("yang-library", seen)
        self.assertEqual(re.findall("<username>([^<]*)<", self.reply(root, rpc("<get/>"))), ["root", USER])

    def test_native_models(self):
        session = self.session_as(USER, options=["--native"])
        self.assertIn("interface-configuration", self.reply(session, rpc("<get/>")))
        change = ('<interface-configurations xmlns="http://velm.example/ns/yang/Velm-NALTO-ifmgr-cfg"><interface-configuration>'
                  "<active>act</active><interface-name>Loopback0</interface-name><description>x</description>"
                  "</interface-configuration></interface-configurations>")
        self.reply(session, edit(change), "access-denied")
        self.configure(rule_list("native", rule("module", more="<module-name>Velm-NALTO-ifmgr-cfg</module-name>")))
        self.assertNotIn("interface-configuration", self.reply(session, rpc("<get/>")))
        owner, session = (self.session_as(user, options=["--native", "--candidate"]) for user in (OWNER, USER))
        self.reply(owner, edit(change))
        self.reply(owner, candidate(edit(change.replace(">x<", ">y<"))))
        before = self.stored()
        self.reply(session, COMMIT, "access-denied")
        self.assertEqual(self.stored(), before)
        self.reply(owner, COMMIT)
        self.assertNotEqual(self.stored(), before)


class CandidateOfSeveral(UsersTest):
    def test_a_commit_is_judged_by_what_it_changes(self):
        self.configure(rule_list("some", rule("gain", "permit", leaf("target-gain", BST0)), groups=["testers"]))
        owner, session = self.session_as(OWNER), self.session_as(USER, "testers")
        before = self.stored()
        self.reply(session, candidate(edit(config(PRE0, "<target-gain>21</target-gain>"))), "access-denied")
        self.reply(session, candidate(edit(config(BST0, "<target-gain>21</target-gain>"))))
        self.reply(owner, candidate(edit(config(PRE0, "<target-gain>21</target-gain>"))))
        self.assertIn(PRE0, self.reply(session, COMMIT, "access-denied"))
        self.assertEqual(self.stored(), before)
        self.reply(owner, candidate(edit(config(PRE0, "<target-gain>17.2</target-gain>"))))
        self.reply(session, COMMIT)
        self.assertEqual(self.settings(BST0)[BST0, "config/target-gain"], "21.00 dB")
        self.reply(session, edit(config(BST0, "<target-gain>9</target-gain>")))

    def test_rules_in_it_are_in_force_when_they_are_committed(self):
        owner, session = self.session_as(OWNER), self.session_as(USER, "ymap-operator")
        secret = edit(nacm(rule_list("secret", rule("one", path=leaf("enabled", BST0), accesses="read"),
                                     attributes='y:insert="first"')))
        self.reply(session, candidate(secret), "access-denied")
        self.reply(owner, candidate(secret))
        self.assertNotEqual(self.enabled(session, candidate(ENABLED)), [])
        self.assertIn("secret", self.reply(owner, candidate(RULES)))
        self.assertNotIn("secret", self.reply(owner, RULES))
        self.reply(owner, COMMIT)
        self.assertEqual(self.enabled(session, candidate(ENABLED)), [])
        self.assertEqual(self.enabled(session), [])

    def test_they_are_not_changed_while_a_commit_waits(self):
        """Else whoever made that commit would have his rights back with it."""
        self.ok("set", BST0, "target-gain=21", "--confirm", "600")
        session = self.session_as(OWNER)
        self.reply(session, edit(nacm(rule_list("x"))), "in-use")
        self.reply(session, candidate(edit(nacm(rule_list("x")))))
        self.reply(session, edit(config(BST0, "<target-gain>22</target-gain>")))
        self.ok("confirm")
        self.reply(session, edit(nacm(rule_list("x"))))

    def test_they_go_back_with_the_rest(self):
        owner, session = self.session_as(OWNER), self.session_as(USER, "ymap-admin")
        self.reply(owner, candidate(edit(nacm(rule_list("nobody", rule("nothing"), attributes='y:insert="first"')))))
        self.reply(owner, rpc("<commit><confirmed/></commit>"))
        self.reply(session, ENABLED, "access-denied")
        owner.end()
        self.assertTrue(eventually(lambda: "nobody" not in self.ok("rpc", text=RULES)))
        self.reply(session, ENABLED)

    def test_without_anybody_to_take_it_back_it_is_not_made(self):
        before = self.stored()
        done = subprocess.run([*command_of(USER, ["ymap-operator"]), "bash", "-c", 'ulimit -u 1 && exec "$0" "$@"', program(), "--device",
                               self.folder, "set", BST0, "target-gain=21", "--confirm", "9"], capture_output=True, text=True,
                              timeout=60, check=False, cwd="/", env={**os.environ, "ASAN_OPTIONS": "detect_leaks=0"})
        self.assertEqual(done.stderr, "ymap: error: resource-denied: no process can be started to take it back, so it is not made\n")
        self.assertEqual((done.returncode, self.stored() == before, os.path.exists(f"{self.folder}/unconfirmed")), (1, True, False))

    def test_who_may_not_write_leaves_the_way_back_to_others(self):
        self.ok("set", BST0, "target-gain=21", "--confirm", "600")
        subprocess.run(["pkill", "-KILL", "-f", f"{self.folder} watch-commit"], check=True)
        note = os.path.join(self.folder, "unconfirmed")
        with open(note, encoding="utf-8") as file:
            text = file.read()
        with open(note, "w", encoding="utf-8") as file:
            file.write(re.sub("(?m)^boot .*", "boot another", text))
        for each in (note, self.folder):
            os.chmod(each, 0o755)
        status, out, err = self.tool_as(USER, "get", BST0, "--config")
        self.assertEqual((status, err), (0, ""))
        self.assertIn("target-gain 21.00", out)
        self.assertEqual(self.settings(BST0)[BST0, "config/target-gain"], "20.50 dB")


class EventsOfSeveral(UsersTest):
    def test_each_is_told_what_he_may_know(self):
        self.configure(rule_list("some", rule("secret", path=leaf("enabled"), accesses="read"),
                                 rule("ends", more="<module-name>ietf-netconf-notifications</module-name>"
                                      "<notification-name>netconf-session-end</notification-name>")))
        session, other = self.session_as(USER), self.session_as(OWNER)
        self.reply(session, rpc('<create-subscription xmlns="urn:ietf:params:xml:ns:netconf:notification:1.0"/>'))
        self.reply(other, edit(config(BST0, "<enabled>false</enabled>")))
        self.reply(other, edit(config(BST0, "<enabled>true</enabled><target-gain>21</target-gain>")))
        other.end()
        told = session.receive()
        self.assertEqual((told.count("<edit>"), told.count(f"<username>{OWNER}<")), (1, 1))
        self.assertIn("target-gain", told)
        self.ok("set", BST0, "target-gain=20")
        self.assertIn("<session-id>0<", session.receive())
        counted = self.ok("rpc", text=get(nacm("<denied-notifications/>")))
        self.assertIn("<denied-notifications>1<", counted)
        # To ask for them is an operation.
        self.configure(rule_list("none", rule("no", more="<rpc-name>create-subscription</rpc-name>")))
        self.reply(self.session_as(OTHER), rpc('<create-subscription xmlns="urn:ietf:params:xml:ns:netconf:notification:1.0"/>'),
                   "access-denied")


class RulesAsConfiguration(SessionTest):
    """Of the one user that there is."""

    def lists(self, session):
        return re.findall("<rule-list><name>([^<]*)</name>", self.reply(session, RULES))

    def test_order_is_the_user_s(self):
        session = self.session()
        place = {"last": None, "first": 'y:insert="first"', "second": """y:insert="after" y:key="[n:name='first']" """,
                 "zeroth": """y:insert="before" y:key="[n:name='first']" """}
        for name, attributes in place.items():
            self.reply(session, edit(nacm(rule_list(name, attributes=attributes or ""), f'xmlns:n="{ACCESS}"')))
        box = ["administrators", "operators"]
        self.assertEqual(self.lists(session), ["zeroth", "first", "second", *box, "last"])
        self.reply(session, edit(nacm(rule_list("zeroth", rule("r"), attributes='nc:operation="replace"'))))
        self.reply(session, edit(nacm('<rule-list y:insert="last"><name>first</name></rule-list>')))
        self.assertEqual(self.lists(session), ["zeroth", "second", *box, "last", "first"])
        for attributes, tag in (("""y:insert="after" y:key="[name='none']" """, "bad-attribute"), ('y:insert="nowhere"', "bad-attribute"),
                                ('y:insert="before"', "bad-attribute"), ('y:key="x"', "bad-attribute"), ('y:other="x"', "unknown-attribute")):
            with self.subTest(attributes):
                self.reply(session, edit(nacm(rule_list("new", attributes=attributes))), tag)

    def test_whole_or_not_at_all(self):
        session, gain = self.session(), config(PRE0, "<target-gain>%s</target-gain>")
        before = self.stored()
        for data, tag in ((gain % "99" + nacm(rule_list("x")), "invalid-value"),
                          (gain % "20" + nacm(rule_list("x", rule("r", "maybe"))), "invalid-value"),
                          (gain % "20" + nacm("<rule-list><name>x</name><rule><name>r</name></rule></rule-list>"), "operation-failed"),
                          (nacm(rule_list("x", rule("r", path="/o:optical-amplifier/o:nothing"))), "invalid-value"),
                          (nacm(rule_list("x", rule("r", path="/q:a"))), "invalid-value"),
                          (nacm("<denied-operations>0</denied-operations>"), "operation-not-supported"),
                          (nacm("<groups><group><name>*</name></group></groups>"), "invalid-value"),
                          (nacm("<other/>"), "unknown-element")):
            with self.subTest(data):
                self.reply(session, edit(data), tag)
                self.assertEqual(self.stored(), before)
        self.reply(session, edit(gain % "20" + nacm(rule_list("x", groups=["a", "b"]))))
        self.assertEqual(self.settings(PRE0)[PRE0, "config/target-gain"], "20.00 dB")
        self.assertEqual(self.lists(session), ["administrators", "operators", "x"])
        self.reply(session, edit(nacm('<rule-list><name>x</name><group nc:operation="delete">a</group></rule-list>')))
        self.assertIn("<name>x</name><group>b</group></rule-list>", self.reply(session, RULES))
        # An amplifier is edited, and the rules stay; without them those out of the box are there again.
        self.ok("set", PRE0, "target-gain=19")
        self.assertEqual(self.lists(session), ["administrators", "operators", "x"])
        self.reply(session, edit(nacm("", 'nc:operation="delete"')))
        self.assertEqual(self.lists(session), ["administrators", "operators"])
        self.assertNotIn(b"nacm", self.stored())

    def test_paths_and_filters(self):
        session = self.session()
        self.reply(session, edit(nacm(rule_list("x", rule("r", path=leaf("enabled", PRE0))))))
        path = re.search(r"<path ([^>]*)>([^<]*)<", self.reply(session, RULES))
        self.assertEqual(path[1], f'xmlns:oc-opt-amp="{OPENCONFIG}"')
        self.assertEqual(path[2], leaf("enabled", PRE0).replace("o:", "oc-opt-amp:"))
        for chosen, found in ((nacm("<rule-list><name>x</name><rule/></rule-list>"), 1), (nacm("<rule-list><name>y</name></rule-list>"), 0),
                              (nacm(f"<rule-list><rule><path>{leaf('enabled', PRE0)}</path></rule></rule-list>"), 1),
                              (nacm(f"<rule-list><rule><path>{leaf('enabled', BST0)}</path></rule></rule-list>"), 0),
                              ('<nacm xmlns=""><rule-list><rule><path/></rule></rule-list></nacm>', 1),
                              (config(PRE0, ""), 0)):
            with self.subTest(chosen):
                self.assertEqual(self.reply(session, get_config(chosen)).count("<path"), found)


class Records(SessionTest):
    def log(self, *arguments):
        return [json.loads(line) for line in self.ok("log", "-f", "json", *arguments).splitlines()]

    def test_what_is_recorded(self):
        session = self.session()
        for message in (LOCK, edit(config(PRE0, "<target-gain>20.57</target-gain>")), get_config(), rpc("<get/>"),
                        edit(config(PRE0, "<target-gain>99</target-gain>")), UNLOCK,
                        rpc("<kill-session><session-id>4000000000</session-id></kill-session>")):
            session.ask(message)
        session.end()
        self.ok("unset", PRE0, "target-gain")
        done = self.log()
        self.assertEqual([(each["operation"], each["result"]) for each in done],
                         [("session-start", "done"), ("lock", "done"), ("edit-config", "done"), ("edit-config", "invalid-value"),
                          ("unlock", "done"), ("kill-session", "invalid-value"), ("session-end", "done"), ("edit-config", "done")])
        self.assertEqual({(each["user"], each["front"], each.get("session")) for each in done},
                         {("root" if os.geteuid() == 0 else pwd.getpwuid(os.geteuid())[0], *way)
                          for way in (("netconf", int(session.id)), ("command line", None))})
        changes = [[(change.get("before"), change.get("after")) for change in each["changes"]] for each in done if each["changes"]]
        self.assertEqual(changes, [[("17.20", "20.50")], [("20.50", "99.00")], [("20.50", None)]])
        self.assertIn("NALTO support range", done[3]["message"])

    def test_selection(self):
        for name in (PRE0, BST0):
            self.ok("set", name, "target-gain=20")
        self.assertEqual(len(self.log(PRE0)), 1)
        self.assertEqual(len(self.log(PRE0, BST0)), 2)
        for arguments, count in ((["--since", "1h"], 2), (["--until", "1h"], 0), (["--since", "2036-01-01T00:00"], 0),
                                 (["--until", "2036-01-01"], 2), (["--user", "somebody"], 0)):
            self.assertEqual(len(self.log(*arguments)), count, arguments)
        self.assertIn(f"command line) edit-config running: done\n  {PRE0} config/target-gain 17.20 -> 20.00\n", self.ok("log"))
        for time_word in ("soon", "1", "1w", "-1h", "2026-13-01", ""):
            self.assertEqual(self.run_tool("log", "--since", time_word)[0], 2, time_word)

    def test_reads_on_request(self):
        self.ok("get")
        self.assertEqual(self.log(), [])
        self.ok("--log-reads", "get", "--config")
        self.assertEqual([each["operation"] for each in self.log()], ["get-config"])

    def test_nobody_forges_a_line(self):
        name = 'x\n2026-01-01T00:00:00.000000Z [ymap@0 user="root" operation="edit-config" result="done"]\u202e'
        self.run_tool("set", name, "target-gain=20")
        with open(os.path.join(self.folder, "record"), encoding="utf-8") as file:
            text = file.read()
        self.assertEqual(text.count("\n"), 1)
        self.assertNotIn("\u202e", text)
        self.assertEqual([line[:2] for line in self.ok("log").splitlines()], ["20", "  ", "  "])
        self.assertEqual(len(self.log()), 1)

    def test_what_cannot_be_recorded(self):
        self.ok("get")
        os.mkdir(os.path.join(self.folder, "record"))
        self.ok("set", PRE0, "target-gain=20")
        before = self.stored()
        status, _, err = self.run_tool("--log-required", "set", PRE0, "target-gain=21")
        self.assertEqual(status, 1)
        self.assertIn("operation-failed: this cannot be recorded", err)
        self.assertEqual(self.stored(), before)
        os.rmdir(os.path.join(self.folder, "record"))
        self.ok("--log-required", "set", PRE0, "target-gain=21")
        self.assertEqual([each["result"] for each in self.log()], ["begun", "done"])

    def test_follow(self):
        with subprocess.Popen([YMAP, "--device", self.folder, "log", "--follow", "-f", "json"], stdout=subprocess.PIPE, text=True) as reader:
            for gain in range(18, 21):
                self.ok("set", PRE0, f"target-gain={gain}")
                self.assertEqual(json.loads(reader.stdout.readline())["changes"][0]["after"], f"{gain}.00")
            reader.terminate()

    def test_killed_writers_leave_whole_lines(self):
        self.ok("get")
        for pause in range(12):
            with subprocess.Popen([YMAP, "--device", self.folder, "set", PRE0, f"target-gain={18 + pause % 2}"]) as writer:
                time.sleep(pause * 0.002)
                writer.kill()
        self.ok("set", PRE0, "target-gain=30")
        lines = self.log()
        self.assertEqual(lines[-1]["changes"][0]["after"], "30.00")
        with open(os.path.join(self.folder, "record"), encoding="utf-8") as file:
            self.assertEqual(len(file.read().splitlines()), len(lines))

    def test_journal(self):
        """In the place of journald's socket there is one of the test's."""
        listener = ("import os, socket, subprocess, sys\n"
                    "os.makedirs('/run/systemd/journal', exist_ok=True)\n"
                    "subprocess.run(['mount', '-t', 'tmpfs', 'none', '/run/systemd/journal'], check=True)\n"
                    "log = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)\n"
                    "log.bind('/run/systemd/journal/socket')\n"
                    "subprocess.run(sys.argv[1:], check=True)\n"
                    "sys.stdout.buffer.write(log.recv(1 << 16))\n")
        environment = {name: value for name, value in os.environ.items() if name != "YMAP_JOURNAL"}
        done = subprocess.run(["unshare", "--mount", sys.executable, "-c", listener, YMAP, "--device", self.folder, "set", PRE0,
                               "target-gain=20"], capture_output=True, env=environment, check=False)
        if b"unshare" in done.stderr or b"mount" in done.stderr:
            self.skipTest("no journal can be put in the place of the system's")
        fields = dict(line.split("=", 1) for line in done.stdout.decode().splitlines() if "=" in line)
        self.assertEqual({name: fields.get(name) for name in ("PRIORITY", "SYSLOG_IDENTIFIER", "YMAP_OPERATION", "YMAP_RESULT")},
                         {"PRIORITY": "5", "SYSLOG_IDENTIFIER": "ymap", "YMAP_OPERATION": "edit-config", "YMAP_RESULT": "done"})
        self.assertIn(PRE0, fields["YMAP_PATH"])
        self.assertIn("17.20 -> 20.00: done", fields["MESSAGE"])
