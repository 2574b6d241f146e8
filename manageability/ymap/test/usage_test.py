"""The command line itself: wrong usage, help, what a terminal gets, completion."""

import os
import pty
import subprocess
import unittest

from tool import AMPLIFIERS, BST2, YMAP, DeviceTest


class Usage(DeviceTest):
    def test_wrong_usage(self):
        for arguments, message in (
                ([], "subcommand"), (["show"], '"show"'), (["--colour"], '"--colour"'), (["get", "--colour"], "--colour"),
                (["get", "--config", "--state"], "excludes"), (["get", "-f", "yaml"], "yaml"),
                (["get", "--watch", "0"], "0"), (["get", "--watch", "soon"], "soon"),
                (["watch", "--interval", "0.05"], "0.05"), (["set"], "AMPLIFIER"),
                (["set", BST2], "LEAF=VALUE"), (["set", BST2, "target-gain"], "no value"), (["set", BST2, "=1"], "=1"),
                (["set", BST2, "enabled=true", "enabled=false"], "twice"), (["unset", BST2], "LEAF"),
                (["unset", BST2, "enabled=true"], "leaf alone"), (["rpc", "no/such/file"], "no/such/file"),
                (["rpc", "/"], "directory"), (["translate", "a", "b"], "b"), (["completion", "fish"], "fish")):
            with self.subTest(arguments):
                status, out, err = self.run_tool(*arguments)
                self.assertEqual((status, out), (2, ""))
                self.assertTrue(err.startswith("ymap: error: "), err)
                self.assertIn(message, err)

    def test_help(self):
        for command in ([], ["get"], ["set"], ["unset"], ["rpc"], ["translate"], ["completion"]):
            with self.subTest(command):
                text = self.ok(*command, "--help")
                self.assertIn("Usage: ymap", text)
                self.assertIn("Examples:", text)
        self.assertRegex(self.ok("--version"), r"^ymap \d+\.\d+\.\d+\n$")

    def test_the_shape_of_help(self):
        text = self.ok("set", "--help")
        self.assertEqual(text[:text.index("\nExamples:")], """\
Set leaves of an amplifier's config
Usage: ymap set [OPTIONS] AMPLIFIER LEAF=VALUE...

Positionals:
  AMPLIFIER TEXT REQUIRED     Name of the amplifier
  LEAF=VALUE TEXT ... REQUIRED
                              One or more, one transaction

Options:
  -h,--help                   Print this help message and exit
  --test-only                 Try it, and change nothing
  --confirm SECONDS           Take it back after so long, unless "ymap confirm" comes before

""")
        self.assertIn("\n  --config Excludes: --state  Settings only\n", self.ok("get", "--help"))
        self.assertIn("\nSubcommands:\n  get                         Read amplifiers: ", self.ok("--help"))

    def test_global_options_stand_anywhere(self):
        before = subprocess.check_output([YMAP, "--device", self.folder, "get", BST2, "--config"])
        after = subprocess.check_output([YMAP, "get", BST2, "--config", "--device", self.folder])
        self.assertEqual(before, after)

    def test_broken_installation_and_output(self):
        for variable in ("YMAP_PLUGIN", "YMAP_MODELS"):
            status, _, err = self.run_tool("get", env={variable: "/nonexistent"})
            self.assertEqual(status, 2)
            self.assertIn(variable, err)
        for arguments in (["--device", self.folder, "get"], ["--help"], ["--version"]):
            with open("/dev/full", "wb") as full:
                done = subprocess.run([YMAP, *arguments], stdout=full, stderr=subprocess.PIPE)
            self.assertEqual(done.returncode, 2, arguments)
            self.assertIn(b"standard output", done.stderr)


class Terminal(DeviceTest):
    def on_terminal(self, *arguments, **environment):
        """What the tool writes to a terminal of 80 columns."""
        main, side = pty.openpty()
        process = subprocess.Popen([YMAP, "--device", self.folder, *arguments], stdout=side, stdin=side,
                                   env={"TERM": "xterm", **environment})
        os.close(side)
        text = b""
        try:
            while block := os.read(main, 4096):
                text += block
        except OSError:  # end of file of a terminal whose other side is closed
            pass
        os.close(main)
        self.assertEqual(process.wait(60), 0)
        return text.decode().replace("\r\n", "\n")

    def test_table(self):
        self.ok("set", BST2, "target-gain=15.57")
        self.ok("unset", BST2, "gain-range")
        table = self.on_terminal("get", *AMPLIFIERS, "--config", NO_COLOR="1")
        rows = [line.split() for line in table.splitlines()]
        self.assertEqual(rows[:2], [AMPLIFIERS, ["config"]])
        self.assertEqual({row[0]: row[-1] for row in rows[2:]},
                         {"target-gain": "15.50", "target-gain-tilt": "-0.50", "gain-range": "-", "enabled": "true"})
        column = table.splitlines()[0].index(BST2)
        self.assertEqual(table.splitlines()[2][column:], "15.50")

    def test_colour_and_width(self):
        for environment, coloured in (({}, True), ({"NO_COLOR": "1"}, False), ({"NO_COLOR": ""}, True),
                                      ({"TERM": "dumb"}, False)):
            with self.subTest(environment):
                self.assertEqual("\033[" in self.on_terminal("get", "--config", **environment), coloured)
        table = self.on_terminal("get", TERM="dumb")
        self.assertLessEqual(max(map(len, table.splitlines())), 80)
        for name in AMPLIFIERS:
            self.assertIn(name, table)

    def test_watch_reads_again(self):
        process = subprocess.Popen([YMAP, "--device", self.folder, "get", BST2, "--config", "--watch", "0.1"],
                                   stdout=subprocess.PIPE, text=True)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.assertNotIn("12.30", process.stdout.readline())
        self.ok("set", BST2, "target-gain=12.3")
        self.assertTrue(any("12.30 dB" in process.stdout.readline() for _ in range(100)))


class Completion(DeviceTest):
    def test_words(self):
        script = self.ok("completion", "bash")
        for words, expected in (
                (["s"], {"set"}), (["--vers"], {"--version"}), (["get", "0/0-AMP-B"], {"0/0-AMP-BST0", "0/0-AMP-BST2"}),
                (["watch", "--interval", "9", "0/0-AMP-P"], {"0/0-AMP-PRE0"}),
                (["set", ""], set(AMPLIFIERS)), (["set", BST2, "target"], {"target-gain=", "target-gain-tilt="}),
                (["unset", BST2, "e"], {"enabled"}), (["set", BST2, "min"], set()),
                (["set", BST2, "enabled", "="], {"true", "false"}),
                (["--device", "/tmp", "set", BST2, "gain-range", "=", "MI"], {"MID_GAIN_RANGE"}),
                (["--connect", "host", "--timeout", "9", "set", ""], set(AMPLIFIERS)), (["--conn"], {"--connect"}),
                (["get", "--st"], {"--state"}), (["get", "--dev"], {"--device"}), (["get", "-f", "j"], {"json"})):
            with self.subTest(words):
                call = script + '\nCOMP_WORDS=(ymap "$@"); COMP_CWORD=$#; _ymap; printf "%s\\n" "${COMPREPLY[@]}"'
                out = subprocess.run(["bash", "-c", call, "bash", *words], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                     text=True, check=True)
                self.assertEqual(set(out.stdout.split()), expected)


if __name__ == "__main__":
    unittest.main()
