"""Messages as large as they may be that cost more than others: what they may take, whatever they hold."""

import os
import re
import tempfile
import unittest

from piped import Piped, errors
from tool import NETCONF, PRE0, config, edit, get_config

SIZE = int(os.environ["YMAP_TEST_BYTES"]) - 2000
MONITORING = "urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"
SECONDS = float(os.environ["YMAP_TEST_SECONDS"])  # of processor time for a message
MEBIBYTES = float(os.environ["YMAP_TEST_MEBIBYTES"])  # at the most in memory


def rpc(operation, more=""):
    return f'<rpc message-id="9" xmlns="{NETCONF}"{more}>{operation}</rpc>'


def name(text):
    return edit(config(text, "<target-gain>15</target-gain>"))


def elements(count, attributes):
    """`count` elements with what `attributes` makes of the number of each."""
    return "".join(f"<a {attributes(number)}/>" for number in range(count))


def numbered(prefix, count, suffix='=""'):
    return " ".join(f"{prefix}{number}{suffix}" for number in range(count))


# What each is: the message, and the tag of its refusal; None for an answer.
MESSAGES = {
    "attributes": (rpc(elements(245, lambda n: numbered(f"b{n}_", 200))), "bad-element"),
    "more attributes": (rpc(elements(240, lambda n: numbered("b", 9000))[:SIZE]), "too-big"),
    "attributes of a long namespace": (rpc(elements(245, lambda n: numbered(f"p:b{n}_", 200)), f' xmlns:p="{"u" * 1000}"'),
                                       "bad-element"),
    "a longer namespace": (rpc("<p:a/>" * 19_000, f' xmlns:p="{"u" * 60_000}"'), "too-big"),
    "namespaces in namespaces": (rpc("".join(f"<a {numbered('xmlns:n', 500, '=' + chr(34) + 'u' + chr(34))}>"
                                             for _ in range(95)) + "</a>" * 95), "operation-not-supported"),
    "more of them": (rpc(("<a " + numbered("xmlns:n", 4300, '="u"') + ">") * 95 + "</a>" * 95), "too-big"),
    "line feeds": (rpc("<get>" + "\n" * max(SIZE, 2_000_000) + "x</get>"), "too-big"),
    "brackets": (name("<![CDATA[" + "] " * max(SIZE // 2, 2_000_000) + "]]>"), "too-big"),
    "a million line feeds": (rpc("<get>" + "\n" * 999_000 + "x</get>"), "bad-element"),
    "comments": (rpc("<!---->" * (SIZE // 7) + "<x/>"), "operation-not-supported"),
    "text between comments": (name("a<!---->" * (SIZE // 8)), "invalid-value"),
    "references": (name("&lt;" * (SIZE // 4)), "invalid-value"),
    "quotation marks": (name('"' * SIZE), "invalid-value"),
    "both of them": (name("\"'" * (SIZE // 2)), "invalid-value"),
    "next lines": (name("\u0085" * (SIZE // 2)), "invalid-value"),
    "a value": (edit(config(PRE0, "<target-gain>" + "1" * SIZE + "</target-gain>")), "invalid-value"),
    "a word": (edit(config(PRE0, "<gain-range>" + "A" * SIZE + "</gain-range>")), "invalid-value"),
    "a number": (rpc("<kill-session><session-id>" + "1" * SIZE + "</session-id></kill-session>"), "invalid-value"),
    "a module": (rpc(f'<get-schema xmlns="{MONITORING}"><identifier>{"i" * SIZE}</identifier></get-schema>'), "invalid-value"),
    "a match": (rpc(f'<get><filter><netconf-state xmlns="{MONITORING}"><schemas><schema><identifier>{"t" * SIZE}</identifier>'
                    "</schema></schemas></netconf-state></filter></get>"), None),
    "names of elements": (rpc(f"<{'n' * 60_000}/>" * 250), "bad-element"),
    "one of them": (edit(config(PRE0, f"<{'n' * 60_000}/>")), "unknown-element"),
    "entries": (edit("".join(config(f"{number}{'n' * 1500}", "") for number in range(3000))), "bad-element"),
    "leaves below a long name": (edit(config("n" * (SIZE - 500_000), "<target-gain/>" * 19_000)), "invalid-value"),
    "namespaces of siblings": (rpc("<get><filter>" + "".join(f'<optical-amplifier xmlns="u{number}"/>'
                                                             for number in range(19_000)) + "</filter></get>"), None),
    "keys": (edit(config(PRE0, "").replace("<name>", "<name>x</name>" * 15_000 + "<name>")), "bad-element"),
}


def processor_time(process):
    with open(f"/proc/{process}/stat", encoding="ascii") as stat:
        fields = stat.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def peak(process):
    with open(f"/proc/{process}/status", encoding="ascii") as status:
        return int(re.search(r"VmHWM:\s*(\d+)", status.read()).group(1)) / 1024


class HostileTest(unittest.TestCase):
    def test_no_message_takes_long(self):
        with tempfile.TemporaryDirectory() as folder:
            session = Piped(folder)
            process = session.process.pid
            for what, (message, tag) in MESSAGES.items():
                with self.subTest(what):
                    session.ask(get_config())
                    before = processor_time(process)
                    session.send(message)
                    reply = session.receive()
                    taken = processor_time(process) - before
                    found = errors(reply)
                    self.assertEqual(found.get("tag"), tag, found)
                    if tag:
                        self.assertLess(len(reply), 4000)
                    if len(found.get("message", "")) > 350:
                        self.assertIn("... (cut, ", found["message"])
                    self.assertLess(taken, SECONDS)
                    self.assertLess(peak(process), MEBIBYTES)
            session.end()


if __name__ == "__main__":
    unittest.main()
