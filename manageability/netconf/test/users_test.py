"""Several Unix users at once, through a real sshd, by whole clients."""

import os
import re
import shutil
import subprocess
import tempfile
import unittest

from ncclient import manager
from ncclient.operations.rpc import RPCError
from ncclient.xml_ import to_ele

from access_test import ACCESS, GROUPS, OTHER, USER, can_be_others, nacm, program
from served import ServedTest, free_port
from tool import BST2, NETCONF, config
from yangcli_test import reads_nothing


def lines_of(name, edited):
    """A file of /etc with its lines as `edited` makes them."""
    with open(f"/etc/{name}", encoding="utf-8") as file:
        return "".join(edited(line) for line in file)


@unittest.skipUnless(can_be_others(), "only root can be several users, where it may mount")
class Users(ServedTest):
    """USER is one among all, OTHER an operator; the device is root's."""

    def serve(self):
        super().serve()
        place = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, place)
        os.chmod(place, 0o755)
        for folder in (self.home, self.folder):
            os.chmod(folder, 0o777)
        with open(f"{self.state}/client_key.pub", encoding="utf-8") as key:
            files = {"keys": key.read()}
        # They may log in here, and sshd refuses no account for its password.
        files["passwd"] = lines_of("passwd", lambda line: re.sub(":[^:]*$", ":/bin/sh\n", line)
                                   if line.split(":")[0] in (USER, OTHER) else line)
        files["shadow"] = lines_of("shadow", lambda line: re.sub("^([^:]*):[^:]*", r"\1:*", line))
        files["group"] = lines_of("group", str) + f"ymap-operator:x:{GROUPS['ymap-operator']}:{OTHER}\n"
        port = free_port()
        with open(self.at_port("sshd_config"), encoding="utf-8") as made:
            settings = {"ListenAddress": f"127.0.0.1:{port}", "AuthorizedKeysFile": f"{place}/keys", "UsePAM": "no",
                        "AllowUsers": f"{USER} {OTHER}", "ForceCommand": f"{program()} netconf --device {self.folder}"}
            files["sshd_config"] = "".join(f"{word} {settings.get(word, rest)}\n" for word, _, rest in
                                           (line.rstrip("\n").partition(" ") for line in made))
        for name, text in files.items():
            with open(f"{place}/{name}", "w", encoding="utf-8") as file:
                file.write(text)
            os.chmod(f"{place}/{name}", 0o644)
        binds = " && ".join(f'mount --bind "$0/{name}" /etc/{name}' for name in ("passwd", "shadow", "group"))
        sshd = shutil.which("sshd", path=os.environ["PATH"] + ":/usr/sbin")
        server = subprocess.Popen(["unshare", "--mount", "sh", "-c", f'{binds} && exec "$@"', place, sshd, "-D", "-e", "-f",
                                   f"{place}/sshd_config"], stderr=subprocess.PIPE, text=True)
        self.addCleanup(server.wait)
        self.addCleanup(server.stderr.close)
        self.addCleanup(server.terminate)
        while "Server listening" not in (line := server.stderr.readline()):
            self.assertTrue(line, "no sshd")
        self.port = port

    def connect_as(self, user):
        session = manager.connect(host="127.0.0.1", port=self.port, username=user, key_filename=f"{self.state}/client_key",
                                  password="", hostkey_verify=False, allow_agent=False, look_for_keys=False, timeout=60)
        self.addCleanup(lambda: session.connected and session.close_session())
        return session

    def test_by_ncclient(self):
        one, operator = self.connect_as(USER), self.connect_as(OTHER)
        one.create_subscription()
        gain = to_ele(f'<config xmlns="{NETCONF}">{config(BST2, "<target-gain>15</target-gain>")}</config>')
        rules = to_ele(f'<config xmlns="{NETCONF}">{nacm("<rule-list><name>x</name></rule-list>")}</config>')
        for session, target, edited in ((one, "running", gain), (one, "candidate", gain), (operator, "running", rules)):
            with self.assertRaisesRegex(RPCError, "may not") as refusal:
                session.edit_config(target=target, config=edited)
            self.assertEqual(refusal.exception.tag, "access-denied")
        with self.assertRaisesRegex(RPCError, "may not run kill-session"):
            one.kill_session(operator.session_id)
        operator.edit_config(target="candidate", config=gain)
        operator.commit()
        told = one.take_notification(timeout=1).notification_xml
        self.assertIn(f"<username>{OTHER}</username><session-id>{operator.session_id}</session-id>"
                      "<source-host>127.0.0.1</source-host>", told)
        self.assertIn("15.0", one.get_config("running").data_xml)
        self.assertNotIn("rule-list", one.get(filter=("subtree", f'<nacm xmlns="{ACCESS}"/>')).data_xml)
        with open(f"{self.folder}/record", encoding="utf-8") as record:
            text = record.read()
        self.assertRegex(text, f'user="{USER}" group="{USER}" peer="127.0.0.1" front="netconf" session="{one.session_id}" '
                               'operation="edit-config" target="running" result="access-denied"')
        self.assertRegex(text, f'user="{OTHER}".* group="ymap-operator".* operation="commit" result="done"')

    @unittest.skipIf(reads_nothing(), "this yangcli reads no hello, whatever its shape")
    def test_by_yangcli(self):
        for user, said in ((USER, "error-tag access-denied"), (OTHER, "RPC OK Reply")):
            done = subprocess.run(
                ["yangcli", "--server=127.0.0.1", f"--ncport={self.port}", f"--user={user}", "--password=none",
                 f"--private-key={self.state}/client_key", f"--public-key={self.state}/client_key.pub", "--batch-mode",
                 "--run-command=edit-config target=running config=@" + self.edit_file()],
                capture_output=True, text=True, timeout=60, check=False, cwd=self.home, env={**os.environ, "HOME": self.home})
            self.assertIn(said, done.stdout)
        self.assertEqual(self.setting(BST2, "target-gain"), "15.00")

    def edit_file(self):
        path = os.path.join(self.home, "edit.xml")
        with open(path, "w", encoding="utf-8") as file:
            file.write(config(BST2, "<target-gain>15</target-gain>"))
        return path


if __name__ == "__main__":
    unittest.main()
