"""A device behind a real sshd, started as users start it, and clients of it."""

import os
import pwd
import re
import shlex
import socket
import subprocess
import tempfile
import unittest

import ncclient.transport.ssh
from ncclient import manager

from tool import CHAIN, NATIVE

# ncclient looks ten times a second for what it has to send, otherwise.
ncclient.transport.ssh.TICK = 0.005

YMAP = os.environ["YMAP"]
SERVE = os.environ["YMAP_SERVE"]
SANITIZER = re.compile(r"^.*(?:Sanitizer|runtime error:).*$", re.MULTILINE)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class ServedTest(unittest.TestCase):
    """Every test has a new device with factory data, and a server of its own."""

    maxDiff = None
    OPTIONS = ()  # for the server

    def setUp(self):
        # In memory where that can be: the device syncs each edit, and ten thousand take their time.
        scratch = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
        folder = tempfile.TemporaryDirectory(dir=scratch, ignore_cleanup_errors=True)
        self.addCleanup(folder.cleanup)
        self.home = folder.name
        self.folder = os.path.join(self.home, "device")
        os.mkdir(self.folder)
        self.state = os.path.join(self.home, "ymap", "serve")
        self.serve()

    def serve(self):
        """Starts the server; what it printed is in self.printed, its port in self.port."""
        if not CHAIN:
            return self.start(self.folder, *self.OPTIONS)
        self.start(self.folder, *NATIVE[1:])
        os.environ["YMAP_SSH"] = self.ssh_command()
        self.addCleanup(os.environ.pop, "YMAP_SSH")
        self.start(f"ssh://ymap:{self.port}")

    def ssh_command(self):
        """For YMAP_SSH, to the server that was started last."""
        return "ssh -F " + shlex.quote(self.at_port("ssh_config"))

    def start(self, device, *options):
        for _ in range(5):  # somebody else may take the port first
            self.port = free_port()
            server = subprocess.Popen([SERVE, YMAP, str(self.port), device, *options], stdout=subprocess.PIPE, text=True,
                                      stderr=subprocess.STDOUT, env={**os.environ, "XDG_STATE_HOME": self.home})
            self.printed = ""
            while line := server.stdout.readline():
                self.printed += line
                if line.startswith("yangcli "):
                    self.addCleanup(self.stop, server, self.port)
                    return
            server.stdout.close()
            server.wait()
        self.fail("no server: " + self.printed)

    def stop(self, server, port):
        server.terminate()
        server.stdout.close()
        self.assertEqual(server.wait(60), 0)
        self.assertEqual(SANITIZER.findall(self.log(port)), [])

    def at_port(self, name, port=None):
        return os.path.join(self.state, str(port or self.port), name)

    def log(self, port=None):
        """What sshd and the sessions wrote on standard error."""
        with open(self.at_port("log", port), encoding="utf-8", errors="replace") as log:
            return log.read()

    def connect(self):
        """A session of ncclient, closed after the test. Version 0.6.17 fails over keys where no password is given."""
        session = manager.connect(host="127.0.0.1", port=self.port, username=pwd.getpwuid(os.geteuid()).pw_name,
                                  key_filename=os.path.join(self.state, "client_key"), password="", hostkey_verify=False,
                                  allow_agent=False, look_for_keys=False, timeout=60)
        self.addCleanup(lambda: session.connected and session.close_session())
        return session

    def ssh(self, **options):
        """The subsystem through OpenSSH's client, for bytes that no NETCONF client would send."""
        process = subprocess.Popen(["ssh", "-F", self.at_port("ssh_config"), "-s", "ymap", "netconf"],
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE, **options)
        self.addCleanup(process.wait)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.kill)
        return process

    def tool(self, *arguments, **options):
        return subprocess.run([YMAP, *arguments], capture_output=True, text=True, timeout=60, stdin=subprocess.DEVNULL,
                              **options)

    def setting(self, amplifier, leaf):
        """As the tool reads it from the device folder; two fraction digits."""
        done = self.tool("--device", self.folder, "get", amplifier, "--config")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return dict(line.split(" ", 3)[1:3] for line in done.stdout.splitlines()).get("config/" + leaf)

    def session_processes(self):
        """Process ids of the `ymap netconf` of this device."""
        found = []
        for entry in os.listdir("/proc"):
            try:
                with open(f"/proc/{entry}/cmdline", "rb") as file:
                    words = file.read().decode(errors="replace").split("\0")
            except OSError:
                continue
            if words[0] == os.path.realpath(YMAP) and self.folder in words:
                found.append(int(entry))
        return found
