"""The installed ymap on a device folder of its own, and the messages that the tests send."""

import os
import shlex
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

YMAP = os.environ["YMAP"]
NETCONF = "urn:ietf:params:xml:ns:netconf:base:1.0"
OPENCONFIG = "http://openconfig.net/yang/optical-amplfier"
OTS = "{http://velm.example/ns/yang/Velm-NALTO-controller-ots-cfg}"
NC, OC = f"{{{NETCONF}}}", f"{{{OPENCONFIG}}}"
PRE0, BST0, BST2 = AMPLIFIERS = ["0/0-AMP-PRE0", "0/0-AMP-BST0", "0/0-AMP-BST2"]

# Where this is set the tool does not work on the device's folder but through a server of its native models, which has a
# "candidate" datastore or only the "running" one. The tests are the same.
CHAIN = os.environ.get("YMAP_CHAIN")
NATIVE = ["netconf", "--native", *(["--candidate"] if CHAIN == "candidate" else [])]


def device_options(folder):
    return ["--device", "ssh://device" if CHAIN else folder]


def device_environment(folder, environment=None):
    """With a server on pipes in the place of ssh, whose arguments it does not see."""
    environment = dict(os.environ if environment is None else environment)
    if CHAIN:
        server = "exec " + shlex.join([YMAP, *NATIVE, "--device", folder])
        environment["YMAP_SSH"] = shlex.join(["sh", "-c", server])
    return environment


def rpc(operation):
    return f'<rpc message-id="7" xmlns="{NETCONF}" xmlns:nc="{NETCONF}">{operation}</rpc>'


def top(inner):
    return f'<optical-amplifier xmlns="{OPENCONFIG}">{inner}</optical-amplifier>'


def entry(name, inner="", key=None):
    key = f"<name>{name}</name>" if key is None else key
    return f"<amplifier>{key}{inner}</amplifier>"


def entries(*items):
    return top("<amplifiers>" + "".join(items) + "</amplifiers>")


def config(name, inner, attributes=""):
    return entries(entry(name, f"<config {attributes}>{inner}</config>"))


def edit(data, parameters=""):
    return rpc(f"<edit-config><target><running/></target>{parameters}<config>{data}</config></edit-config>")


def get_config(data=None):
    chosen = "" if data is None else f'<filter type="subtree">{data}</filter>'
    return rpc(f"<get-config><source><running/></source>{chosen}</get-config>")


def get(data):
    return rpc(f"<get><filter>{data}</filter></get>")


class DeviceTest(unittest.TestCase):
    """Every test has a new device with factory data."""

    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def run_tool(self, *arguments, text=None, **options):
        data = text.encode() if isinstance(text, str) else text
        stdin = {"input": data} if data is not None else {"stdin": subprocess.DEVNULL}
        environment = device_environment(self.folder, options.pop("env", None))
        done = subprocess.run([YMAP, *device_options(self.folder), *arguments], capture_output=True, timeout=60,
                              env=environment, **stdin, **options)
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def ok(self, *arguments, text=None):
        status, out, err = self.run_tool(*arguments, text=text)
        self.assertEqual((status, err), (0, ""), arguments)
        return out

    def lines(self, *arguments):
        """The text output as {(amplifier, leaf): rest of the line}."""
        split = (line.split(" ", 2) for line in self.ok("get", *arguments).splitlines())
        return {(amplifier, leaf): rest for amplifier, leaf, rest in split}

    def settings(self, *arguments):
        return self.lines(*arguments, "--config")

    def stored(self):
        """The stored configuration, byte for byte; reading it starts no process."""
        file = os.path.join(self.folder, "running.json")
        if not os.path.exists(file):
            self.ok("get")
        with open(file, "rb") as running:
            return running.read()

    def data(self, message):
        """The answer of a read as a list of paths with values, below the amplifier's entry."""
        reply = ElementTree.fromstring(self.ok("rpc", text=message))
        found = []

        def walk(node, path):
            for child in node:
                name = path + [child.tag.replace(OC, "")]
                if len(child):
                    walk(child, name)
                else:
                    found.append("/".join(name) + "=" + (child.text or ""))

        for amplifier in reply.iter(OC + "amplifier"):
            walk(amplifier, [])
        return found

    def native_leaves(self, message):
        """The ots leaves of the native requests, as "name=value operation"."""
        text = self.ok("translate", text=message)
        root = ElementTree.fromstring("<all>" + text + "</all>")
        return [f"{node.tag[len(OTS):]}={node.text or ''} {node.get(NC + 'operation', '')}".strip()
                for node in root.iter() if node.tag.startswith(OTS) and not len(node)]
