"""ymap gnmi as a process, and a client of it that has messages and channels but no generated service."""

import getpass
import os
import pathlib
import queue
import re
import signal
import subprocess
import sys
import tempfile
import threading
import unittest

import grpc
import gnmi_pb2 as gnmi
from tool import PRE0, YMAP, DeviceTest, device_environment, device_options

SPARSE = "YMAP_SPARSE" in os.environ  # under sanitizers
SECOND = 1_000_000_000


def path(text, **fields):
    """Of "/a/b[key=value]/c"; a slash in brackets belongs to the key."""
    made = gnmi.Path(**fields)
    for name, keys in re.findall(r"/([^/\[]*)((?:\[[^\]]*\])*)", text):
        elem = made.elem.add(name=name)
        elem.key.update(re.findall(r"\[(\w+)=([^\]]*)\]", keys))
    return made


def text_of(one):
    return "".join("/" + elem.name + "".join(f"[{key}={value}]" for key, value in elem.key.items()) for elem in one.elem)


def entry(name=PRE0):
    return f"/optical-amplifier/amplifiers/amplifier[name={name}]"


def value_of(value):
    kind = value.WhichOneof("value")
    found = getattr(value, kind)
    return found.decode() if isinstance(found, bytes) else found


class Client:
    def __init__(self, target, credentials=None, options=(), metadata=()):
        # Of its own: channels that are alike share a connection.
        options = [("grpc.use_local_subchannel_pool", 1), *options]
        self.channel = grpc.insecure_channel(target, options) if credentials is None else \
            grpc.secure_channel(target, credentials, options)
        self.metadata = metadata

    def call(self, name, request, answer):
        return self.channel.unary_unary("/gnmi.gNMI/" + name, type(request).SerializeToString, answer.FromString)(
            request, timeout=30, metadata=self.metadata)

    def capabilities(self):
        return self.call("Capabilities", gnmi.CapabilityRequest(), gnmi.CapabilityResponse)

    def get(self, *paths, **fields):
        return self.call("Get", gnmi.GetRequest(path=[path(one) if isinstance(one, str) else one for one in paths], **fields),
                         gnmi.GetResponse)

    def set(self, **fields):
        return self.call("Set", gnmi.SetRequest(**fields), gnmi.SetResponse)

    def raw(self, method="Subscribe", request=lambda bytes: bytes):
        return self.channel.stream_stream("/gnmi.gNMI/" + method, request, gnmi.SubscribeResponse.FromString)

    def subscribe(self, *subscriptions, **fields):
        """The stream; what is put to its `requests` is sent, None ends them."""
        requests = queue.SimpleQueue()
        requests.put(gnmi.SubscribeRequest(subscribe=gnmi.SubscriptionList(subscription=subscriptions, **fields)))
        stream = self.raw(request=gnmi.SubscribeRequest.SerializeToString)(iter(requests.get, None), metadata=self.metadata)
        stream.requests = requests
        return stream


def subscription(where, mode=gnmi.SAMPLE, **fields):
    return gnmi.Subscription(path=path(where) if isinstance(where, str) else where, mode=mode, **fields)


def until_synced(stream):
    """The notifications before the sync_response."""
    told = []
    for response in stream:
        if response.sync_response:
            return told
        told.append(response.update)
    raise AssertionError("the stream ended before the sync_response")


def leaves(notifications):
    return {text_of(one.prefix) + text_of(update.path): value_of(update.val) for one in notifications for update in one.update}


class Server:
    """On a loopback port without TLS; all are `user`, this process's own one unless another is named."""

    def __init__(self, folder, *options, user=None, local=True, listen="127.0.0.1:0", tool=YMAP):
        words = [tool, *device_options(folder), "gnmi", *(["--listen", listen] if listen else []),
                 *(["--insecure", "--as", user or getpass.getuser()] if local else []), *options]
        self.process = subprocess.Popen(words, stderr=subprocess.PIPE, text=True, env=device_environment(folder))
        self.said = [self.process.stderr.readline()]
        found = re.search(r"serves gNMI on (.*), with", self.said[0])
        if not found:
            self.process.wait()
            raise AssertionError(self.said[0] + self.process.stderr.read())
        self.target = found[1]
        self.lines = queue.SimpleQueue()
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()

    def _read(self):
        for line in self.process.stderr:
            self.lines.put(line)

    def stop(self, with_signal=signal.SIGTERM):
        if self.process.poll() is None:
            self.process.send_signal(with_signal)
        return self.process.wait(timeout=30)

    def resident(self):
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return int(re.search(r"VmRSS:\s+(\d+)", status)[1])

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.process.pid}/fd"))


class GnmiTest(DeviceTest):
    def start(self, *options, **fields):
        server = Server(self.folder, *options, **fields)
        self.addCleanup(server.process.stderr.close)
        self.addCleanup(self.check_end, server)
        return server

    def check_end(self, server):
        """Where a sanitizer has found something, the end has another status."""
        status = server.stop()
        server.reader.join()
        said = [server.lines.get() for _ in range(server.lines.qsize())]
        self.assertIn(status, (0, -signal.SIGKILL), "".join(said))

    def client(self, *options, **fields):
        client = Client(self.start(*options, **fields).target)
        self.addCleanup(client.channel.close)
        return client

    def refused(self, code, work, *arguments, **fields):
        with self.assertRaises(grpc.RpcError) as caught:
            result = work(*arguments, **fields)
            if hasattr(result, "__next__"):
                list(result)
        self.assertEqual(caught.exception.code(), code, caught.exception.details())
        return caught.exception.details()


def main():
    unittest.main(module=sys.modules["__main__"])
