"""Canned servers in the place of ssh."""

import os
import shlex
import subprocess
import sys

from tool import NETCONF, YMAP, DeviceTest

# Says a hello, and a reply to each request, whatever it is; writes down what it was asked. "slow:" says what follows byte
# by byte, "endless:" again and again.
FOREIGN = r"""
import os, re, sys, time
hello, *replies = open(sys.argv[1], encoding="utf-8").read().split("\0")
def say(text):
    mode, _, rest = text.partition(":")
    text = (rest if mode in ("slow", "endless") else text).encode()
    size = 1 if mode == "slow" else len(text) or 1
    parts = [text[at:at + size] for at in range(0, len(text), size)]
    try:
        while True:
            for part in parts:
                sys.stdout.buffer.write(part); sys.stdout.flush()
                if mode == "slow": time.sleep(0.02)
            if mode != "endless": return
    except BrokenPipeError: os._exit(0)
def hear():
    text = b""
    while not text.endswith((b"]]>]]>", b"\n##\n")):
        byte = sys.stdin.buffer.read(1)
        if not byte: sys.exit()
        text += byte
    open(sys.argv[1] + ".heard", "ab").write(text)
    return text.decode()
say(hello)
if hello.endswith("gone"): sys.exit()
hear()
for reply in replies:
    request = hear()
    if not reply: time.sleep(1)
    say(reply.replace("ID", re.search(r'message-id="(\d+)"', request)[1]))
    if not reply.endswith("]]>]]>"): sys.exit()
hear()
"""
CAPABILITY = "urn:ietf:params:netconf:capability:"


def hello(*capabilities):
    words = "".join(f"<capability>{word}</capability>" for word in ("urn:ietf:params:netconf:base:1.0", *capabilities))
    return f'<hello xmlns="{NETCONF}"><capabilities>{words}</capabilities><session-id>9</session-id></hello>]]>]]>'


def reply(inner):
    return f'<rpc-reply message-id="ID" xmlns="{NETCONF}">{inner}</rpc-reply>]]>]]>'


def error(tag, message, severity="error", more=""):
    return (f"<rpc-error><error-type>application</error-type><error-tag>{tag}</error-tag><error-severity>{severity}"
            f"</error-severity>{more}<error-message>{message}</error-message></rpc-error>")


class ForeignTest(DeviceTest):
    AT = ("--connect", "host")

    def run_against(self, server, *arguments):
        """Status, standard output, standard error, and what the server was asked."""
        script, talk = (os.path.join(self.folder, name) for name in ("foreign.py", "talk"))
        for name, text in ((script, FOREIGN), (talk, "\0".join(server)), (talk + ".heard", "")):
            with open(name, "w", encoding="utf-8") as file:
                file.write(text)
        done = subprocess.run([YMAP, *self.AT, *arguments], capture_output=True, text=True, timeout=60,
                              env={**os.environ, "YMAP_SSH": shlex.join([sys.executable, script, talk])})
        with open(talk + ".heard", encoding="utf-8") as file:
            return done.returncode, done.stdout, done.stderr, file.read()
