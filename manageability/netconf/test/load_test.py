"""Sessions that misbehave, last long or meet a full disk, beside others that must not notice."""

import os
import re
import subprocess
import unittest

from ncclient.operations.rpc import RPCError

from piped import eventually
from served import ServedTest
from tool import BST2, NETCONF, config, edit, get_config

REQUESTS = int(os.environ["YMAP_TEST_REQUESTS"])
HELLO = (f'<hello xmlns="{NETCONF}"><capabilities><capability>urn:ietf:params:netconf:base:1.1</capability></capabilities>'
         '</hello>]]>]]>').encode()
MONITORING = "urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"
END = b"\n##\n"


def chunk(text):
    data = text.encode()
    return b"\n#%d\n%s" % (len(data), data)


def gain(value):
    return config(BST2, f"<target-gain>{value}</target-gain>")


class Raw:
    """A session of chunks, as they are."""

    def __init__(self, process):
        self.process = process
        self.rest = b""
        self.read(b"]]>]]>")
        self.send(HELLO)

    def send(self, data):
        self.process.stdin.write(data)
        self.process.stdin.flush()

    def read(self, end=END):
        """One message, in its chunks; fewer at the end of the stream."""
        while end not in self.rest:
            block = os.read(self.process.stdout.fileno(), 1 << 16)
            if not block:
                break
            self.rest += block
        message, _, self.rest = self.rest.partition(end)
        return message.decode()

    def ask(self, message):
        self.send(chunk(message) + END)
        return self.read()


class Load(ServedTest):
    os.environ["ASAN_OPTIONS"] = "quarantine_size_mb=1:" + os.environ.get("ASAN_OPTIONS", "")

    def raw(self):
        """A session, and the process that serves it."""
        before = set(self.session_processes())
        session = Raw(self.ssh(stderr=subprocess.DEVNULL))
        (process,) = set(self.session_processes()) - before
        return session, process

    def resident(self, process):
        """KiB in memory."""
        with open(f"/proc/{process}/status", encoding="ascii") as status:
            return int(re.search(r"VmRSS:\s*(\d+)", status.read()).group(1))

    def assert_works(self, session, value):
        self.assertTrue(session.edit_config(target="running", config=f'<config xmlns="{NETCONF}">{gain(value)}</config>').ok)
        self.assertEqual(self.setting(BST2, "target-gain"), value)

    def test_broken_frames(self):
        beside = self.connect()
        silent, _ = self.raw()
        silent.send(chunk(edit(gain("9")))[:-40])
        for name, bytes_sent in (("no number", b"\n#x\n"), ("zero", b"\n#0\nx"), ("no line feed", b"#4\nabcd"),
                                 ("an edit in pieces, the second bad", chunk(edit(gain("9"))) + b"\n#-1\n"),
                                 ("old framing", edit(gain("9")).encode() + b"]]>]]>"), ("client dies", None)):
            with self.subTest(name):
                session, process = self.raw()
                session.ask(f'<rpc message-id="1" xmlns="{NETCONF}"><lock><target><running/></target></lock></rpc>')
                if bytes_sent is None:
                    session.send(chunk(edit(gain("9")))[:-40])
                    session.process.kill()
                else:
                    session.send(bytes_sent)
                    self.assertEqual(session.read(), "")
                self.assertTrue(eventually(lambda: process not in self.session_processes()))
                if bytes_sent is not None:
                    self.assertIn("chunk", self.log())
                self.assert_works(beside, "12.30")
                self.assert_works(beside, "18.40")

    def test_huge_message(self):
        session, process = self.raw()
        session.ask(get_config())
        before = self.resident(process)
        block = chunk("<x>" + "y" * ((1 << 20) - 3))
        session.send(chunk(f'<rpc message-id="64m" xmlns="{NETCONF}">'))
        for _ in range(64):
            session.send(block)
        session.send(END)
        reply = session.read()
        self.assertIn("<error-tag>too-big</error-tag>", reply)
        self.assertIn('message-id="64m"', reply)
        self.assertLess(self.resident(process), before + (48 << 10))
        self.assertIn("18.4", session.ask(get_config()))

    def test_many_requests_in_flat_memory(self):
        session, process = self.raw()
        schema = (f'<rpc message-id="7" xmlns="{NETCONF}"><get-schema xmlns="{MONITORING}">'
                  '<identifier>ietf-netconf</identifier></get-schema></rpc>')
        kinds = ((get_config(config(BST2, "<target-gain/>")), "target-gain"), (edit(gain("12.3")), "<ok/>"),
                 (get_config(), "gain-range"), (edit(gain("39")), "invalid-value"), (schema, "module ietf-netconf"),
                 ("<rpc/>", "rpc-error"), (edit(gain("15.7")), "<ok/>"), (get_config(), "15.7<"))
        sizes = []
        for number in range(10):
            for _ in range(REQUESTS // 10 // len(kinds)):
                session.send(b"".join(chunk(message) + END for message, _ in kinds))
                for message, expected in kinds:
                    self.assertIn(expected, session.read(), message)
            sizes.append(self.resident(process))
        self.assertLess(sizes[-1] - sizes[1], 1024, sizes)

    def test_full_disk(self):
        mount = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=256k", "ymap-test", self.folder], capture_output=True)
        if mount.returncode != 0:
            self.skipTest("only root can make a disk that is full")
        self.addCleanup(subprocess.run, ["umount", "-l", self.folder], check=True)
        session = self.connect()
        self.assert_works(session, "12.30")
        filler = os.path.join(self.home, "device", "running-filler")
        with open(filler, "wb", buffering=0) as file:
            with self.assertRaises(OSError):
                while True:
                    file.write(b"x" * 4096)
        with self.assertRaises(RPCError) as caught:
            session.edit_config(target="running", config=f'<config xmlns="{NETCONF}">{gain("9")}</config>')
        self.assertEqual((caught.exception.tag, "space" in caught.exception.message), ("resource-denied", True),
                         caught.exception.message)
        self.assertIn("12.3", session.get_config("running").data_xml)
        os.unlink(filler)
        self.assert_works(session, "15.70")


if __name__ == "__main__":
    unittest.main()
