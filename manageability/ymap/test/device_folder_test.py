"""The device's folder: broken ones, two writers, and a tool that is killed while it stores."""

import os
import random
import resource
import signal
import subprocess
import time
import unittest

from tool import BST0, BST2, PRE0, YMAP, DeviceTest


ROUNDS = 15 if "YMAP_SPARSE" in os.environ else 50


class BrokenFolder(DeviceTest):
    def test_every_command_says_what_is_wrong(self):
        self.ok("get")
        running = os.path.join(self.folder, "running.json")
        with open(running, "rb") as file:
            good = file.read()
        for title, content in (("cut off", good[:len(good) // 2]), ("empty", b""), ("garbage", os.urandom(100)),
                               ("invalid", good.replace(b"-amplifier-gain\": ", b"-amplifier-gain\": 9"))):
            with open(running, "wb") as file:
                file.write(content)
            for command in (["get"], ["set", BST2, "target-gain=20"]):
                with self.subTest(title, command=command):
                    status, out, err = self.run_tool(*command)
                    self.assertEqual((status, out), (2, ""))
                    self.assertRegex(err, "^ymap: error: .*running.json")
            with open(running, "rb") as file:
                self.assertEqual(file.read(), content)

    def test_no_folder(self):
        file = os.path.join(self.folder, "file")
        with open(file, "w", encoding="utf-8"):
            pass
        for folder in (os.path.join(self.folder, "missing"), file):
            with self.subTest(folder):
                self.assertEqual(self.run_tool("--device", folder, "get")[:2], (2, ""))
        self.folder = os.path.join(self.folder, "missing")
        for command in (["get"], ["set", BST2, "target-gain=20"], ["rpc"]):
            status, out, err = self.run_tool(*command)
            self.assertEqual((status, out), (2, ""))
            self.assertIn(self.folder, err)
        self.assertFalse(os.path.exists(self.folder))

    def test_a_full_disk_leaves_the_old_configuration(self):
        before = self.settings()

        def tiny_files():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100))

        status, _, err = self.run_tool("set", BST2, "target-gain=20", preexec_fn=tiny_files, restore_signals=False)
        self.assertEqual(status, 2)
        self.assertIn("ymap: error: ", err)
        self.assertEqual(self.settings(), before)

    @unittest.skipIf(os.geteuid() == 0, "root may do everything")
    def test_a_folder_without_rights(self):
        self.ok("get")
        os.chmod(self.folder, 0)
        self.addCleanup(os.chmod, self.folder, 0o700)
        self.assertEqual(self.run_tool("get")[:2], (2, ""))

    def test_the_users_own_folder_is_made(self):
        state = os.path.join(self.folder, "state")
        environment = {"XDG_STATE_HOME": state, "HOME": "/nonexistent"}
        subprocess.run([YMAP, "set", BST2, "target-gain=20"], env=environment, check=True)
        self.folder = os.path.join(state, "ymap", "device")
        self.assertEqual(self.settings()[BST2, "config/target-gain"], "20.00 dB")
        self.assertEqual(os.stat(self.folder).st_mode & 0o777, 0o700)


class Processes(DeviceTest):
    def start_set(self, *arguments):
        return subprocess.Popen([YMAP, "--device", self.folder, "set", *arguments], stdout=subprocess.DEVNULL,
                                stderr=subprocess.DEVNULL)

    def test_edits_at_the_same_time_all_count(self):
        for tenth in range(100, 100 + ROUNDS):
            gain = f"{tenth / 10:.2f}"
            calls = [self.start_set(name, "target-gain=" + gain) for name in (PRE0, BST0, BST2)]
            self.assertEqual([call.wait(60) for call in calls], [0, 0, 0])
            gains = [rest for (_, leaf), rest in self.settings().items() if leaf == "config/target-gain"]
            self.assertEqual(gains, [gain + " dB"] * 3)

    def test_killed_at_any_moment_it_is_the_old_or_the_new(self):
        self.ok("set", BST2, "target-gain=10", "target-gain-tilt=1")
        begin = time.monotonic()
        self.ok("set", BST2, "target-gain=10")
        duration = time.monotonic() - begin
        stored = 0
        for round_ in range(ROUNDS):
            new = f"{8 + round_ * 0.6:.1f}"
            old = self.settings(BST2)
            call = self.start_set(BST2, "target-gain=" + new, f"target-gain-tilt={round_ % 50 / 10}")
            time.sleep(random.uniform(0, 1.5 * duration))
            call.kill()
            call.wait()
            now = self.settings(BST2)
            if now != old:
                stored += 1
                self.assertEqual(now[BST2, "config/target-gain"], f"{float(new):.2f} dB")
                self.assertEqual(now[BST2, "config/target-gain-tilt"], f"{round_ % 50 / 10:.2f} dB")
        self.assertGreater(stored, 0)
        self.assertLess(stored, ROUNDS)
        self.ok("set", BST2, "target-gain=15.5")


if __name__ == "__main__":
    unittest.main()
