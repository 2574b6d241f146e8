"""The tool as a client: of the project's own server, and of servers that are unlike it."""

import os
import re
import subprocess
import unittest

from foreign import CAPABILITY, ForeignTest, error, hello, reply
from served import SERVE, YMAP, ServedTest
from tool import BST0, BST2, NETCONF, OPENCONFIG, PRE0, DeviceTest, config, entries, entry

EVERYTHING = (CAPABILITY + "writable-running:1.0", CAPABILITY + "rollback-on-error:1.0",
              OPENCONFIG + "?module=openconfig-optical-amplifier&amp;revision=2019-12-06")


TWINS = '<twin xmlns=""/><twin xmlns=""/>'
STATE = ('<netconf-state xmlns="urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"><statistics><in-rpcs>7</in-rpcs>'
         '</statistics></netconf-state>')
NOTIFICATION = ('<notification xmlns="urn:ietf:params:xml:ns:netconf:notification:1.0"><eventTime>2026-01-01T00:00:00Z'
                '</eventTime>' + TWINS + '</notification>]]>]]>')


class OwnServer(ServedTest):
    GAIN = "<target-gain>18.4</target-gain>"

    def at(self):
        return "--connect", f"ymap:{self.port}"

    def environment(self):
        return {**os.environ, "YMAP_SSH": self.ssh_command()}

    def remote(self, *arguments):
        done = self.tool(*self.at(), *arguments, env=self.environment())
        return done.returncode, done.stdout, done.stderr

    def local(self, *arguments):
        done = self.tool("--device", self.folder, *arguments)
        return done.returncode, done.stdout, done.stderr

    def test_same_as_a_folder(self):
        for arguments in (["set", BST2, "target-gain=15.57", "enabled=false"], ["unset", BST2, "gain-range"],
                          ["set", PRE0, "gain-range=HIGH_GAIN_RANGE"]):
            self.assertEqual(self.remote(*arguments), (0, "", ""))
        self.assertEqual([self.setting(BST2, leaf) for leaf in ("target-gain", "enabled", "gain-range")],
                         ["15.50", "false", None])
        for arguments in (["get", "--config"], ["get", BST2, PRE0, "--config"], ["get", "--config", "-f", "xml"],
                          ["get", BST0, "--config", "-f", "json"], ["get", "0/0-AMP-NONE"], ["set", PRE0, "target-gain=38.01"],
                          ["set", PRE0, "target-gain=much"], ["set", PRE0, "no-leaf=1"], ["unset", BST2, "gain-range"],
                          ["set", "a'b", "enabled=true"], ["get", ""]):
            with self.subTest(arguments):
                self.assertEqual(self.remote(*arguments), self.local(*arguments))
        for arguments in (["get", BST2], ["get", "--state"], ["get", BST2, "--state"]):  # their values ripple between two calls
            names = [[line.split()[:2] for line in run(*arguments)[1].splitlines()] for run in (self.remote, self.local)]
            self.assertEqual(*names)
            self.assertIn([BST2, "state/actual-gain"], names[0])

    def test_printed_lines_run_as_they_are(self):
        for part, expected in (("# ssh", "<session-id>"), ("# the tool itself", "config/target-gain 18.40 dB"),
                               ("# ncclient", self.GAIN)):
            with self.subTest(part):
                lines = self.printed.split(part, 1)[1].split("\n\n")[0].split("\n", 1)[1]
                done = subprocess.run(["bash", "-c", lines], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                                      timeout=60)
                self.assertIn(expected, done.stdout, done.stderr)

    def test_what_cannot_be_served(self):
        for arguments, message in (([YMAP, str(self.port)], f"port {self.port} is taken"), ([YMAP, "0"], "no port"),
                                   ([YMAP, "70000"], "no port"), ([YMAP, "8300", "/nonexistent"], "does not exist"),
                                   (["/nonexistent"], "no program")):
            with self.subTest(arguments):
                done = subprocess.run([SERVE, *arguments], capture_output=True, text=True, timeout=60,
                                      env={**os.environ, "XDG_STATE_HOME": os.path.join(self.home, "other")})
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertIn(message, done.stderr)

    def test_watch_is_one_session(self):
        process = subprocess.Popen([YMAP, *self.at(), "get", BST2, "--config", "--watch", "0.1"],
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, env=self.environment())
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.assertIn(BST2, process.stdout.readline())
        self.assertEqual(self.remote("set", BST2, "target-gain=12.3"), (0, "", ""))
        self.assertTrue(any("12.30 dB" in process.stdout.readline() for _ in range(100)))
        self.assertEqual(self.log().count("Accepted publickey"), 2)


@unittest.skipIf("YMAP_SPARSE" in os.environ, "netconf.device has the same with fewer processes")
class OwnDevice(OwnServer):
    """The same in front of a server of the device's own models."""

    OPTIONS = ("--native", "--candidate")
    GAIN = "<ots-egress-amplifier-gain>184</ots-egress-amplifier-gain>"

    def at(self):
        return "--device", f"ssh://ymap:{self.port}"

    test_what_cannot_be_served = None


class ForeignServer(ForeignTest):
    def test_data(self):
        for what, data, lines, *warnings in (
                ("prefix of its own, identity with one", f'<x:optical-amplifier xmlns:x="{OPENCONFIG}"><x:amplifiers>'
                 "<x:amplifier><x:name>a</x:name><x:config><x:name>a</x:name>"
                 "<x:gain-range>x:LOW_GAIN_RANGE</x:gain-range></x:config>"
                 "</x:amplifier></x:amplifiers></x:optical-amplifier>",
                 ["a config/name a", "a config/gain-range LOW_GAIN_RANGE"]),
                ("what the model lacks", config("a", "<name>a</name><target-gain>loud</target-gain><colour>red</colour>"
                                                "<enabled> true </enabled><power xmlns='urn:else'>1</power>"),
                 ["a config/name a", "a config/enabled true"], "target-gain: ", "colour: the model has no such element",
                 'power: the model has no element of namespace "urn:else"'),
                ("elements without a namespace", TWINS + config("a", "<name>a</name>" + TWINS), ["a config/name a"],
                 *['twin: the model has no element of namespace ""'] * 4),
                ("elements that the client's protocol modules know", config("a", "<name>a</name>" + STATE), ["a config/name a"],
                 'netconf-state: the model has no element of namespace "urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"'),
                ("an entry without key", entries(entry("", "<config><enabled>true</enabled></config>", "")), [], "no key"),
                ("nothing", "", [])):
            with self.subTest(what):
                server = [hello(*EVERYTHING), reply(f"<data>{data}</data>")]
                status, out, err, heard = self.run_against(server, "get", "--config")
                self.assertEqual((status, out.splitlines(), len(err.splitlines())), (0, lines, len(warnings)), err)
                for warning in warnings:
                    self.assertIn(warning, err)
                self.assertRegex(heard, r"(?s)<get-config.*<running/>.*<filter[^>]*subtree.*<(\w+:)?optical-amplifier")

    def test_edits(self):
        status, out, err, heard = self.run_against([hello(*EVERYTHING), reply("<ok/>")], "unset", "a", "target-gain")
        self.assertEqual((status, out, err), (0, "", ""))
        self.assertRegex(heard, r'(?s)rollback-on-error.*operation="remove".*<close-session')
        prefixed = f'<q:rpc-reply message-id="ID" xmlns:q="{NETCONF}"><q:ok/></q:rpc-reply>]]>]]>'
        done = self.run_against([hello(*EVERYTHING), NOTIFICATION * 2 + prefixed], "set", "a", "target-gain=9")
        self.assertEqual(done[:3], (0, "", ""))
        status, _, err, heard = self.run_against([hello(*EVERYTHING[1:]), reply("<ok/>")], "set", "a", "target-gain=9")
        self.assertEqual((status, "edit-config" in heard), (1, False))
        self.assertIn("operation-not-supported: the server does not let clients edit", err)
        status, _, err, heard = self.run_against([hello(EVERYTHING[0]), reply("<ok/>")], "set", "a", "target-gain=9")
        self.assertEqual((status, "rollback" in heard), (0, False))
        self.assertRegex(err, "^ymap: warning: .* does not announce the module openconfig-optical-amplifier\n$")
        half = [hello(EVERYTHING[0], EVERYTHING[2]), reply(error("invalid-value", "no"))]
        status, _, err, _ = self.run_against(half, "set", "a", "target-gain=9")
        self.assertEqual((status, "does not promise to undo" in err), (1, True), err)

    def test_refusals(self):
        path = ('<error-path xmlns:q="{0}">/{1}:optical-amplifier/{1}:amplifiers/{1}:amplifier[{1}:name=\'x/{1}:y\']'
                '</error-path>')
        full = "/openconfig-optical-amplifier:optical-amplifier/amplifiers/amplifier[name='x/oc-opt-amp:y']"
        for errors, expected in (
                (error("invalid-value", "too loud", more=path.format(OPENCONFIG, "oc-opt-amp")),
                 f"ymap: error: invalid-value at {full}: too loud\n"),
                (error("in-use", "busy", more="<error-path>/else:top</error-path>"),
                 "ymap: error: in-use at /else:top: busy\n"),
                (error("in-use", "busy") + error("bad-element", "wrong"), "ymap: error: in-use: busy; bad-element: wrong\n"),
                (error("in-use", "busy", more=f"<error-info>{TWINS}{STATE}</error-info>"), "ymap: error: in-use: busy\n"),
                (error("in-use", "one\x7ftwo"), "ymap: error: in-use: one\\x7ftwo\n"),
                (re.sub("<error-message>.*</error-message>", "", error("too-big", "")),
                 "ymap: error: too-big: the server gives no reason\n")):
            with self.subTest(errors):
                status, out, err, _ = self.run_against([hello(*EVERYTHING), reply(errors)], "set", "a", "target-gain=9")
                self.assertEqual((status, out, err), (1, "", expected))
        warning = error("operation-failed", "slow", "warning")
        for arguments, result in ((["set", "a", "target-gain=9"], ""), (["set", "a", "target-gain=9"], "<ok/>"),
                                  (["get"], "<data/>")):
            with self.subTest(result):
                status, _, err, _ = self.run_against([hello(*EVERYTHING), reply(warning + result)], *arguments)
                self.assertEqual((status, err), (0, "ymap: warning: operation-failed: slow\n"))

    def test_no_conversation(self):
        other = reply("<ok/>").replace("ID", "ID1")
        chunked = hello("urn:ietf:params:netconf:base:1.1", *EVERYTHING)
        deep = "<deep>" * 100000 + "</deep>" * 100000
        for what, server, message in (
                ("no hello", [""], "does not answer within 0.5 seconds; --timeout SECONDS"),
                ("no NETCONF", ["SSH-2.0\r\n]]>]]>"], "does not speak NETCONF"),
                ("another message", [reply("<ok/>")], "does not speak NETCONF: its first message is a <rpc-reply>; it must"),
                ("no session id", [hello().replace("<session-id>9</session-id>", "")],
                 "does not speak NETCONF: its <hello> has no session-id"),
                ("odd session id", [hello().replace(">9<", ">4294967296<")],
                 'does not speak NETCONF: its <hello> has the session-id "4294967296"'),
                ("no version in common", [hello().replace("base:1.0<", "base:7.0<")],
                 "does not speak NETCONF: its <hello> offers neither"),
                ("gone after its hello", [hello(*EVERYTHING) + "gone"], ""),
                ("no answer", [hello(*EVERYTHING), ""], "does not answer within 0.5 seconds"),
                ("half an answer", [hello(*EVERYTHING), reply("<ok/>")[:30]], "gives no proper answer"),
                ("broken answer", [hello(*EVERYTHING), "<rpc-reply>]]>]]>"], "gives no proper answer"),
                ("answer to something else", [hello(*EVERYTHING), other], 'gives no proper answer: its <rpc-reply> is for "1'),
                *(("answer made " + shape, [hello(*EVERYTHING), shape], "gives no proper answer: its <rpc-reply> " + reason)
                  for shape, reason in ((reply("<ok/>").replace("message-id", "id"), "has no message-id"),
                                        (reply(""), "is empty"), (reply("fine"), "holds text"),
                                        (reply("<ok/><ok/>"), "holds <ok> after <ok>"),
                                        (reply("<data/>" + error("in-use", "busy")), "holds <rpc-error> after <data>"),
                                        (reply("<ok xmlns='urn:x'/>"), 'holds a <ok> of namespace "urn:x"'),
                                        (reply("<done/>"), "holds a <done> of"))),
                ("answer that drips", [hello(*EVERYTHING), "slow:" + reply("<ok/>")], "does not answer within 0.5 seconds"),
                ("hello that drips", ["slow:" + hello(*EVERYTHING)], "does not answer within 0.5 seconds"),
                ("answer without end", [hello(*EVERYTHING), "endless:" + "x" * 65536],
                 "gives no proper answer: the message is larger than 16 MiB"),
                ("hello without end", ["endless:" + "x" * 65536], "does not speak NETCONF: the message is larger than 16 MiB"),
                ("notifications only", [hello(*EVERYTHING), "endless:" + NOTIFICATION], "does not answer within 0.5 seconds"),
                ("bad chunk", [chunked, "\n#0\n"], "gives no proper answer: bad chunk header"),
                ("more chunk than bytes", [chunked, "\n#9\n<ok/>"], "gives no proper answer: the connection ended"),
                ("deep answer", [hello(*EVERYTHING), reply(deep)], "gives no proper answer: elements are nested deeper than"),
                ("deep hello", [hello(*EVERYTHING).replace("</hello>", deep + "</hello>")], "does not speak NETCONF: elements"),
                ("request for an answer", [hello(*EVERYTHING), other.replace("rpc-reply", "rpc")],
                 "gives no proper answer: it is a <rpc> of")):
            with self.subTest(what):
                patience = "0.5" if "0.5" in message else "20"
                status, out, err, _ = self.run_against(server, "--timeout", patience, "set", "a", "target-gain=9")
                self.assertEqual((status, out), (2, ""))
                self.assertIn("ymap: error: server host port 830 " + message, err)


class Usage(DeviceTest):
    def connect(self, destination, *arguments, ssh='printf "%s " >&2'):
        done = subprocess.run([YMAP, "--connect", destination, *arguments], capture_output=True, text=True, timeout=60,
                              env={**os.environ, "YMAP_SSH": ssh})
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        return done.stderr

    def test_destinations(self):
        for destination, words in (("host", "-p 830 host"), ("me@host:22", "-p 22 me@host"),
                                   ("[2001:db8::7]", "-p 830 2001:db8::7"),
                                   ("me@[::1]:65535", "-p 65535 me@::1"), ("a@b@host", "-p 830 a@b@host")):
            with self.subTest(destination):
                err = self.connect(destination, "get")
                _, port, host = words.split()
                self.assertIn(f"-s {words} netconf ymap: error: server {host} port {port} gives no", err)
        for destination, reason in ((":830", "empty"), ("@host", "empty"), ("host:", "no port"), ("host:0", "no port"),
                                    ("host:65536", "no port"), ("host:ssh", "no port"), ("::1", "brackets"),
                                    ("[::1", "not closed"),
                                    ("[::1]830", "colon"), ("-oProxyCommand=x", "dash"), ("-l@host", "dash")):
            with self.subTest(destination):
                err = self.connect(destination, "get")
                self.assertTrue(err.startswith(f'ymap: error: "{destination}" is no server: '), err)
                self.assertIn(reason, err)

    def test_what_it_is_not_for(self):
        for arguments, message in ((["rpc"], "get, watch, set, unset and confirm"), (["map"], "get, watch, set, unset and confirm"),
                                   (["netconf"], "get, watch, set, unset and confirm"),
                                   (["get", "--device", self.folder], "give one of them"), (["get", "--trace"], "--trace"),
                                   (["get", "--timeout", "0"], "0"), (["set", BST2, "enabled"], "no value")):
            with self.subTest(arguments):
                self.assertIn(message, self.connect("host", *arguments))
        self.assertIn("openssh-client", self.run_without_ssh())

    def run_without_ssh(self):
        done = subprocess.run([YMAP, "--connect", "host", "get"], capture_output=True, text=True, env={"PATH": self.folder})
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        return done.stderr


if __name__ == "__main__":
    unittest.main()
