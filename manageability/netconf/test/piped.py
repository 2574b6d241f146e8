"""Sessions of the server on pipes, without a client of its own mind."""

import os
import re
import subprocess
import time
import xml.etree.ElementTree as ElementTree

from tool import NC, NETCONF, YMAP, device_environment, device_options

END = b"]]>]]>"
BASE = "urn:ietf:params:netconf:base:"


def eventually(condition, seconds=20):
    """The first true value of `condition`, or its last one."""
    end = time.monotonic() + seconds
    while not (value := condition()) and time.monotonic() < end:
        time.sleep(0.02)
    return value


def hello(*versions):
    offered = "".join(f"<capability>{BASE}{version}</capability>" for version in versions)
    return f'<hello xmlns="{NETCONF}"><capabilities>{offered}</capabilities></hello>'


class Piped:
    """A session; `version` is the base that the client offers, None leaves the hello to the test."""

    def __init__(self, folder, version="1.1", options=(), **settings):
        environment = device_environment(folder, settings.pop("env", None))
        command = settings.pop("command", [YMAP])
        self.process = subprocess.Popen([*command, "netconf", *device_options(folder), *options], bufsize=0, env=environment,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, **settings)
        self.unread = b""
        self.version = version
        self.ended = None
        self.greeting = ElementTree.fromstring(self.until(END))
        self.id = self.greeting.findtext(NC + "session-id")
        if version:
            self.write(hello(version).encode() + END)

    def write(self, data):
        self.process.stdin.write(data)

    def until(self, mark):
        while mark not in self.unread:
            data = os.read(self.process.stdout.fileno(), 1 << 16)
            if not data:
                raise EOFError(self.unread)
            self.unread += data
        text, self.unread = self.unread.split(mark, 1)
        return text

    def send(self, message):
        data = message.encode() if isinstance(message, str) else message
        self.write(data + END if self.version == "1.0" else b"\n#%d\n%s\n##\n" % (len(data), data))

    def receive(self):
        if self.version == "1.0":
            return self.until(END).decode()
        framed = self.until(b"\n##\n")
        text = b""
        while framed:
            size = re.match(rb"\n#([1-9]\d*)\n", framed)
            begin, end = size.end(), size.end() + int(size[1])
            text += framed[begin:end]
            framed = framed[end:]
        return text.decode()

    def ask(self, message):
        """The <rpc-reply>."""
        self.send(message)
        return ElementTree.fromstring(self.receive())

    def end(self, close=True):
        """Exit status and standard error, after the end of the client's stream or, without it, of the session."""
        if self.ended is None:
            if close:
                self.process.stdin.close()
            status = self.process.wait(60)
            self.ended = status, self.process.stderr.read().decode()
            for stream in (self.process.stdin, self.process.stdout, self.process.stderr):
                stream.close()
        return self.ended


ERROR_FIELDS = ("error-type", "error-tag", "error-app-tag", "error-path", "error-message")


def errors(message):
    """The <rpc-error> of a reply: fields by name without "error-", prefixes of the path as they are declared."""
    reply = ElementTree.fromstring(message)
    found = {}
    for error in reply.iter(NC + "rpc-error"):
        found = {name[len("error-"):]: error.findtext(NC + name) for name in ERROR_FIELDS
                 if error.find(NC + name) is not None}
        found.update({field.tag.replace(NC, ""): field.text for field in error.findall(NC + "error-info/*")})
    return found


def undeclared(message):
    """Prefixes that the path of an error uses and does not declare."""
    tag = re.search(r"<error-path([^>]*)>([^<]*)<", message)
    if not tag:
        return set()
    declared = set(re.findall(r'xmlns:([\w-]+)="', tag[1]))
    return set(re.findall(r"([\w-]+):[\w-]", re.sub(r"'[^']*'", "", tag[2]))) - declared
