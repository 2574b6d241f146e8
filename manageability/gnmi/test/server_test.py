"""The server as a process: who gets in, certificates, load, signals."""

import os
import pathlib
import signal
import socket
import subprocess
import time
import unittest

import grpc

import gnmi_pb2 as gnmi
import serving
from serving import SECOND, SPARSE, Client, GnmiTest, entry, leaves, path, subscription, until_synced
from tool import YMAP

Code = grpc.StatusCode
GAIN = entry() + "/config/target-gain"
SECONDS = int(os.environ.get("YMAP_TEST_SECONDS", "6"))
EVERYTHING = "/..."


class Authority:
    """Certificates for a test."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.openssl("req", "-x509", *self.NEW, "-subj", "/CN=authority", "-keyout", "ca.key", "-out", "ca.crt")

    NEW = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"]

    def openssl(self, *words):
        subprocess.run(["openssl", *words], cwd=self.folder, check=True, capture_output=True)

    def make(self, name, subject, names=""):
        (self.folder / "extensions").write_text(f"subjectAltName={names}\n" if names else "basicConstraints=CA:FALSE\n")
        self.openssl("req", "-new", *self.NEW, "-subj", f"/CN={subject}", "-keyout", f"{name}.new", "-out", "csr")
        self.openssl("x509", "-req", "-in", "csr", "-CA", "ca.crt", "-CAkey", "ca.key", "-CAcreateserial", "-days", "1",
                     "-extfile", "extensions", "-out", f"{name}.crt")
        (self.folder / f"{name}.new").rename(self.folder / f"{name}.key")

    def read(self, name):
        return (self.folder / name).read_bytes()

    def server_options(self):
        self.make("server", "server", "DNS:localhost,IP:127.0.0.1")
        return "--certificate", f"{self.folder}/server.crt", "--key", f"{self.folder}/server.key"

    def client(self, name=None):
        return grpc.ssl_channel_credentials(self.read("ca.crt"), *([self.read(f"{name}.key"), self.read(f"{name}.crt")] if name else []))


class Secure(GnmiTest):
    def setUp(self):
        super().setUp()
        self.ok("get", "--config")
        self.authority = Authority(self.new_folder())

    def new_folder(self):
        made = pathlib.Path(self.folder + ".certificates")
        made.mkdir()
        self.addCleanup(subprocess.run, ["rm", "-r", made])
        return made

    def connect(self, server, name=None):
        client = Client(server.target, self.authority.client(name))
        self.addCleanup(client.channel.close)
        return client

    def test_certificates_name_users(self):
        server = self.start(*self.authority.server_options(), "--client-ca", f"{self.authority.folder}/ca.crt", local=False)
        for user, subject, names in (("alice", "someone", "email:alice@example.org,DNS:host"), ("host", "someone", "DNS:host"),
                                     ("bob", "bob", "")):
            with self.subTest(user):
                self.authority.make("client", subject, names)
                change = gnmi.Update(path=path(GAIN), val=gnmi.TypedValue(int_val=9))
                details = self.refused(Code.PERMISSION_DENIED, self.connect(server, "client").set, update=[change])
                self.assertIn(f"user {user} may not", details)
        self.refused(Code.UNAVAILABLE, self.connect(server).capabilities)
        plain = Client(server.target)
        self.addCleanup(plain.channel.close)
        self.refused(Code.UNAVAILABLE, plain.capabilities)

    def test_certificates_are_exchanged_under_streams(self):
        server = self.start(*self.authority.server_options(), "--as", "nobody", local=False)

        def serial():
            host, port = server.target.split(":")
            found = subprocess.run(["openssl", "s_client", "-connect", f"{host}:{port}", "-alpn", "h2"], input=b"",
                                   capture_output=True, timeout=20).stdout
            return subprocess.run(["openssl", "x509", "-noout", "-serial"], input=found, capture_output=True).stdout
        streams = [self.connect(server).subscribe(subscription(GAIN, sample_interval=SECOND)) for _ in range(50)]
        for stream in streams:
            until_synced(stream)
        before = serial()
        self.authority.make("server", "server", "DNS:localhost,IP:127.0.0.1")
        deadline = time.monotonic() + 20
        while serial() in (before, b"") and time.monotonic() < deadline:
            time.sleep(0.2)
        self.assertNotIn(serial(), (before, b""))
        for stream in streams:
            next(stream)
            self.assertEqual(leaves([next(stream).update]), {GAIN: "17.2"})
        self.connect(server).capabilities()


def may_mount():
    return os.geteuid() == 0 and subprocess.run(["unshare", "--mount", "mount", "-t", "tmpfs", "none", "/mnt"],
                                                capture_output=True).returncode == 0


@unittest.skipUnless(may_mount(), "only root may have passwords judged, and mount what judges them")
class Passwords(GnmiTest):
    def start_with(self, judge):
        """A server in whose view /etc/pam.d holds one service, which asks a script."""
        folder = pathlib.Path(self.folder + ".pam")
        folder.mkdir()
        self.addCleanup(subprocess.run, ["rm", "-r", folder])
        script = folder / "judge"
        script.write_text("#!/bin/sh\n" + judge)
        script.chmod(0o700)
        (folder / "ymap").write_text(f"auth required pam_exec.so expose_authtok quiet {script}\naccount required pam_permit.so\n")
        tool = folder / "tool"
        tool.write_text(f'#!/bin/sh\nexec unshare --mount sh -c \'mount --bind {folder} /etc/pam.d && exec "$@"\' sh {YMAP} "$@"\n')
        tool.chmod(0o700)
        return folder, self.start("--insecure", "--pam", "ymap", local=False, tool=tool)

    def test_pam_judges(self):
        self.ok("get", "--config")
        folder, server = self.start_with('echo "$PAM_USER" "$(tr -d "\\0")" "$PAM_RHOST" >>"$(dirname "$0")/asked"\n'
                                         'tail -n 1 "$(dirname "$0")/asked" | grep -qx "alice secret 127.0.0.1"\n')
        change = [gnmi.Update(path=path(GAIN), val=gnmi.TypedValue(int_val=9))]

        def client(*metadata):
            made = Client(server.target, metadata=metadata)
            self.addCleanup(made.channel.close)
            return made
        alice = client(("username", "alice"), ("password", "secret"))
        for _ in range(3):
            self.assertIn("user alice may not", self.refused(Code.PERMISSION_DENIED, alice.set, update=change))
        until_synced(alice.subscribe(subscription(GAIN)))
        for metadata in ([("username", "alice"), ("password", "wrong")], [("username", "alice")],
                         [("username", "bob"), ("password", "secret")], [("username", ""), ("password", "secret")]):
            self.assertEqual(self.refused(Code.UNAUTHENTICATED, client(*metadata).capabilities), "user name or password is wrong")
        self.assertEqual(self.refused(Code.UNAUTHENTICATED, client().capabilities),
                         "the request names no user: metadata username and password are missing")
        self.refused(Code.UNAUTHENTICATED, client(("username", "bob"), ("password", "no")).subscribe, subscription(GAIN))
        # Who was let in is known for a while.
        self.assertEqual((folder / "asked").read_text().splitlines().count("alice secret 127.0.0.1"), 1)

    def test_a_judge_who_takes_his_time_holds_nobody_up(self):
        _, server = self.start_with("sleep 5\n")
        slow = Client(server.target, metadata=[("username", "a"), ("password", "b")])
        self.addCleanup(slow.channel.close)
        waiting = slow.subscribe(subscription(GAIN))
        time.sleep(0.3)
        started = time.monotonic()
        self.assertEqual(server.stop(), 0)
        self.assertLess(time.monotonic() - started, 3 if SPARSE else 1.5)
        self.refused(Code.UNAVAILABLE, list, waiting)


class Process(GnmiTest):
    def test_options(self):
        folder = pathlib.Path(self.folder + ".files")
        folder.mkdir()
        self.addCleanup(subprocess.run, ["rm", "-r", folder])
        authority = Authority(folder)
        certificate = authority.server_options()
        authority.make("other", "other")
        (folder / "empty").touch()
        (folder / "conf").write_text("[gnmi]\nlisten = 127.0.0.1:0\nnonsense = 1\n")
        local = ["--insecure", "--as", "x"]
        other = socket.create_server(("127.0.0.1", 0))
        self.addCleanup(other.close)
        taken = f"127.0.0.1:{other.getsockname()[1]}"
        for message, options in (
                ("TLS needs --certificate and --key", []), ("nobody could be told from another", ["--insecure"]),
                ("is for a loopback address", [*local, "--listen", "0.0.0.0:0"]), ("is for a loopback address", [*local, "--listen", "[::]:0"]),
                ("--listen takes an address and a port", [*local, "--listen", "9339"]),
                ("--listen takes an address and a port", [*local, "--listen", "::1:9339"]),
                ("--listen takes an address and a port", [*local, "--listen", "127.0.0.1:65536"]),
                ("lacks the socket's path", [*local, "--listen", "unix:"]), ("cannot listen on", [*local, "--listen", taken]),
                ("--insecure is without TLS", [*local, *certificate]), ("--key", ["--certificate", "x"]),
                ("is not that of the certificate", [*certificate[:3], str(folder / "other.key"), "--as", "x"]),
                ("holds no certificate in PEM", ["--certificate", str(folder / "empty"), *certificate[2:], "--as", "x"]),
                ("cannot be opened: No such file", ["--certificate", "none", *certificate[2:], "--as", "x"]),
                ("there is no PAM service" if os.geteuid() == 0 else "--pam needs root", [*certificate, "--pam", "no-such"]),
                ("which is no option of the command", ["--config", str(folder / "conf")]),
                ("none was not readable", ["--config", "none"])):
            with self.subTest(options):
                status, output, said = self.run_tool("gnmi", *options)
                self.assertEqual((status, output), (2, ""), said)
                self.assertIn(message, said)

    def test_a_file_of_options_is_read_again(self):
        conf = pathlib.Path(self.folder + ".conf")
        conf.write_text('[gnmi]\nlisten = "127.0.0.1:0"\ninsecure = true\nas = nobody\n')
        self.addCleanup(conf.unlink)
        self.ok("get", "--config")
        server = self.start("--config", str(conf), local=False, listen=None)
        client = Client(server.target)
        self.addCleanup(client.channel.close)
        change = [gnmi.Update(path=path(GAIN), val=gnmi.TypedValue(int_val=9))]
        self.assertIn("user nobody", self.refused(Code.PERMISSION_DENIED, client.set, update=change))
        stream = client.subscribe(subscription(GAIN, sample_interval=SECOND))
        until_synced(stream)
        for text, said in (("as = daemon\n", "options and certificates are read again"),
                           ("as = daemon\nmax-stall = 9\n", "only at the next start"),
                           ("as = daemon\nnonsense = 1\n", "the options from before hold")):
            conf.write_text('[gnmi]\nlisten = "127.0.0.1:0"\ninsecure = true\n' + text)
            server.process.send_signal(signal.SIGHUP)
            while said not in (line := server.lines.get(timeout=20)):
                self.assertNotIn("again", line)
            self.assertIn("user daemon", self.refused(Code.PERMISSION_DENIED, client.set, update=change))
        self.assertEqual(leaves([next(stream).update]), {GAIN: "17.2"})

    def test_unix_socket_is_the_user_s_alone(self):
        name = self.folder + ".socket"
        client = self.client(listen="unix:" + name)
        self.assertEqual(client.capabilities().gNMI_version, "0.10.0")
        self.assertEqual(os.stat(name).st_mode & 0o777, 0o600)

    def test_ends_within_a_second(self):
        server = self.start()
        clients = [Client(server.target) for _ in range(20)]
        streams = [client.subscribe(subscription(EVERYTHING, sample_interval=SECOND)) for client in clients]
        for stream in streams:
            until_synced(stream)
        started = time.monotonic()
        self.assertEqual(server.stop(), 0)
        self.assertLess(time.monotonic() - started, 3 if SPARSE else 1)
        for stream in streams:
            self.assertIn("the server stops", self.refused(Code.UNAVAILABLE, list, stream))
        for client in clients:
            client.channel.close()

    def test_is_killed_and_started_again_under_load(self):
        for _ in range(3):
            server = self.start()
            client = Client(server.target)
            streams = [client.subscribe(subscription(EVERYTHING, sample_interval=SECOND)) for _ in range(20)]
            for stream in streams:
                until_synced(stream)
            client.set(update=[gnmi.Update(path=path(GAIN), val=gnmi.TypedValue(int_val=9))])
            server.stop(signal.SIGKILL)
            for stream in streams:
                self.refused(Code.UNAVAILABLE, list, stream)
            client.channel.close()
        self.assertEqual(leaves(self.client().get(GAIN).notification), {GAIN: "9.0"})

    def test_health_and_reflection(self):
        client = self.client()
        check = client.channel.unary_unary("/grpc.health.v1.Health/Check")
        self.assertEqual(check(b"\x0a\x09gnmi.gNMI", timeout=10), b"\x08\x01")
        info = client.channel.stream_stream("/grpc.reflection.v1alpha.ServerReflection/ServerReflectionInfo")
        self.assertIn(b"gnmi.gNMI", next(info(iter([b"\x3a\x00"]), timeout=10)))


class Load(GnmiTest):
    def flood(self, server):
        """A stream of more than a client takes that does not read; without the probe its window stays small."""
        client = Client(server.target, options=[("grpc.http2.bdp_probe", 0)])
        self.addCleanup(client.channel.close)
        return client.subscribe(*(subscription(EVERYTHING, sample_interval=SECOND + at) for at in range(64)))

    def test_a_client_that_does_not_read_harms_itself_alone(self):
        server = self.start("--max-stall", "1")
        client = Client(server.target)
        self.addCleanup(client.channel.close)
        stuck = self.flood(server)
        good = client.subscribe(subscription(GAIN, sample_interval=SECOND))
        until_synced(good)
        for _ in range(10):
            self.assertEqual(leaves([next(good).update]), {GAIN: "17.2"})
        with self.assertRaises(grpc.RpcError) as caught:
            list(stuck)
        self.assertIn(caught.exception.code(), (Code.RESOURCE_EXHAUSTED, Code.CANCELLED))
        self.assertEqual(leaves([next(good).update]), {GAIN: "17.2"})

    def test_a_slow_client_gets_the_newest_values(self):
        stream = self.flood(self.start())
        time.sleep(5)
        deadline = time.monotonic() + 20
        duplicates = 0
        while not duplicates and time.monotonic() < deadline:
            duplicates = max([update.duplicates for update in next(stream).update.update], default=0)
        self.assertGreater(duplicates, 0)

    def test_a_thousand_connections_leave_nothing(self):
        server = self.start()
        count = 100 if SPARSE else 1000

        def connect(times):
            for at in range(times):
                client = Client(server.target)
                if at % 3 == 0:
                    until_synced(client.subscribe(subscription(GAIN)))
                else:
                    client.get(GAIN)
                client.channel.close()
        connect(count // 10)
        memory, descriptors = server.resident(), server.descriptors()
        connect(count)
        time.sleep(1)
        self.assertLess(server.descriptors(), descriptors + 10)
        if not SPARSE:
            self.assertLess(server.resident() - memory, 8000)

    def test_a_hundred_streams_cost_no_memory(self):
        server = self.start()
        clients = [Client(server.target) for _ in range(10)]
        streams = [client.subscribe(subscription(EVERYTHING, sample_interval=SECOND)) for client in clients for _ in range(10)]
        for client in clients:
            self.addCleanup(client.channel.close)
        for stream in streams:
            until_synced(stream)

        def read_for(seconds):
            for _ in range(seconds):
                for stream in streams:
                    for _ in range(6):  # three amplifiers, and two times of each
                        next(stream)
        read_for(2)
        memory = server.resident()
        read_for(SECONDS - 2)
        if not SPARSE:
            self.assertLess(server.resident() - memory, 4000)


if __name__ == "__main__":
    serving.main()
