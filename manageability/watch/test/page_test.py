"""ymap watch on a terminal: its page, its keys, how it ends, and what is no page."""

import fcntl
import os
import pty
import re
import select
import signal
import struct
import subprocess
import tempfile
import termios
import time
import unittest

from tool import BST0, BST2, PRE0, YMAP, DeviceTest

# A terminal of so few words that a test can follow them.
TERMINFO = r"""few-words|a test; clear also goes to the first cell,
  cols#80, lines#24, colors#8, pairs#64, cup=\E[%i%p1%d;%p2%dH, clear=\E[2J, smcup=\E[?1049h, rmcup=\E[?1049l,
  setaf=\E[3%p1%dm, setab=\E[4%p1%dm, op=\E[39m, sgr0=\E[0m, bold=\E[1m, rev=\E[7m, kcuf1=\E[C, kcub1=\E[D,
"""
ENTER, LEAVE = "\033[?1049h", "\033[?1049l"


class Terminal:
    """The program on a terminal, and what that shows."""

    def __init__(self, test, *arguments, columns=80, rows=24, **environment):
        self.main, self.side = pty.openpty()
        test.addCleanup(os.close, self.main)
        test.addCleanup(os.close, self.side)
        self.cells, self.written, self.rest, self.at = {}, "", b"", (0, 0)
        self.resize(columns, rows)
        self.before = termios.tcgetattr(self.side)
        environment = {"TERM": "few-words", "TERMINFO": test.terminfo.name, "LC_ALL": "C.UTF-8",
                       "YMAP_JOURNAL": "none", **environment}
        self.process = subprocess.Popen([YMAP, *arguments], stdin=self.side, stdout=self.side, stderr=self.side,
                                        env=environment, start_new_session=True,
                                        preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY))
        test.addCleanup(self.process.wait)
        test.addCleanup(self.process.kill)

    def resize(self, columns, rows):
        fcntl.ioctl(self.side, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))

    def press(self, keys):
        os.write(self.main, keys.encode())

    def take(self, seconds):
        if not select.select([self.main], [], [], seconds)[0]:
            return
        *parts, self.rest = re.split(rb"(\033\[[?\d;]*[A-Za-z])", self.rest + os.read(self.main, 65536))
        if b"\033" not in self.rest:
            try:
                self.rest.decode()
                parts, self.rest = [*parts, self.rest], b""
            except UnicodeDecodeError:
                pass
        for part in parts:
            self.show(part.decode())

    def show(self, text):
        self.written += text
        if moved := re.fullmatch(r"\033\[(\d+);(\d+)H", text):
            self.at = int(moved[1]) - 1, int(moved[2]) - 1
        elif text == "\033[2J":
            self.cells, self.at = {}, (0, 0)
        elif not text.startswith("\033"):
            for character in text:
                self.cells[self.at] = character
                self.at = self.at[0], self.at[1] + 1

    def rows(self):
        height = 1 + max((row for row, _ in self.cells), default=-1)
        width = 1 + max((column for _, column in self.cells), default=-1)
        return ["".join(self.cells.get((row, column), " ") for column in range(width)).rstrip() for row in range(height)]

    def await_text(self, pattern):
        end = time.monotonic() + 30
        while not re.search(pattern, "\n".join(self.rows())):
            if time.monotonic() > end or self.process.poll() is not None:
                raise AssertionError(f"no {pattern} but, status {self.process.poll()}:\n" + "\n".join(self.rows()))
            self.take(0.1)

    def end(self):
        """The exit status and what is written after the page; the terminal must be as it was."""
        status = self.process.wait(30)
        while select.select([self.main], [], [], 0)[0]:
            self.take(0)
        page, after = self.written.split(LEAVE)
        assert page.count(ENTER) == 1, page
        assert termios.tcgetattr(self.side) == self.before
        return status, after.replace("\033[39m", "").strip()


class Page(DeviceTest):
    @classmethod
    def setUpClass(cls):
        cls.terminfo = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.terminfo.cleanup)
        subprocess.run(["tic", "-o", cls.terminfo.name, "-"], input=TERMINFO, text=True, check=True)

    def watch(self, *arguments, **environment):
        return Terminal(self, "--device", self.folder, "watch", "--interval", "0.1", *arguments, **environment)

    def test_draws_and_takes_keys_and_sizes(self):
        terminal = self.watch()
        terminal.await_text(f"^ 1 {PRE0}  2 {BST0}  3 {BST2}\n{PRE0} gain 17.20 dB {BST0} gain 20.50 dB {BST2} gain 18.40 dB\n")
        terminal.await_text(r" 17.20 ┤ *──+◄ .*20.50 ┤(.*\n)+.* tilt -1.20 dB")
        self.ok("set", BST2, "target-gain=18.8", "enabled=false")
        terminal.press("3g")
        terminal.await_text(rf"\n{BST2} gain 18.80 dB  off  target 18.80  (.*\n)+.*╭─+◄")
        terminal.press("\033[Dt")
        terminal.await_text(rf"\n{BST0} tilt 0.80 dB  target 0.80  0.\d\d..0.\d\d  avg 0.\d\d\n")
        terminal.resize(50, 12)
        terminal.await_text(rf"\n{BST0} tilt 0.80 dB  target 0.80  0.\d\d..0.\d\d\n(.*\n){{9}}q leave  ←→ 1-9 amplifier  a all  g gain  t tilt$")
        terminal.resize(20, 5)
        terminal.await_text(r"^26 columns and 10\n")
        terminal.press("q")
        self.assertEqual(terminal.end(), (0, ""))

    def test_of_one_amplifier(self):
        terminal = self.watch(BST0)
        terminal.await_text(rf"^ 1 {BST0}\n{BST0} gain 20.50 dB  target 20.50 ")
        terminal.press("q")
        self.assertEqual(terminal.end(), (0, ""))

    def test_signals_end_it(self):
        for send, status in ((lambda terminal: terminal.press("\003"), 0),
                             (lambda terminal: terminal.process.send_signal(signal.SIGTERM), 128 + signal.SIGTERM)):
            terminal = self.watch()
            terminal.await_text("read at")
            send(terminal)
            self.assertEqual(terminal.end(), (status, ""))

    def test_colours_and_characters(self):
        for environment, coloured, unicode in (({}, True, True), ({"NO_COLOR": "1"}, False, True),
                                               ({"LC_ALL": "C", "NO_COLOR": ""}, True, False)):
            with self.subTest(environment):
                terminal = self.watch(**environment)
                terminal.await_text(r" ┤ *──" if unicode else r" \+ *\*\*")
                terminal.press("q")
                self.assertEqual(terminal.end(), (0, ""))
                self.assertEqual("\033[32m" in terminal.written, coloured)
                self.assertEqual(terminal.written.isascii(), not unicode)

    def test_what_goes_wrong_is_told_and_tried_again(self):
        terminal = self.watch()
        terminal.await_text("read at")
        running = self.folder + "/running.json"
        text = self.stored()
        with open(running, "wb") as file:
            file.write(b"{")
        terminal.await_text(r"\n\d\d:\d\d:\d\dZ .*running.json")
        with open(running, "wb") as file:
            file.write(text)
        terminal.await_text("read at")
        terminal.press("q")
        self.assertEqual(terminal.end(), (0, ""))

    def test_a_server_that_ends_is_asked_again(self):
        server = f"echo hear me >&2; echo $$ >{self.terminfo.name}/server; exec {YMAP} netconf --device {self.folder}"
        terminal = Terminal(self, "--connect", "host", "watch", "--interval", "0.3", PATH=os.environ["PATH"],
                            YMAP_SSH=f"sh -c '{server}'")
        terminal.await_text(rf"{PRE0} gain 17.20 dB(.*\n)+read at")
        with open(self.terminfo.name + "/server", encoding="ascii") as file:
            os.kill(int(file.read()), signal.SIGKILL)
        terminal.await_text(r"\n\d\d:\d\d:\d\dZ server host port 830 gives no proper answer")
        terminal.await_text("read at")
        terminal.press("q")
        self.assertEqual(terminal.end(), (0, "hear me"))

    def test_what_is_no_page(self):
        arguments = ["--device", self.folder, "watch"]
        for environment, word in (({"TERM": "dumb"}, '"dumb"'), ({"TERM": "no-such-type"}, '"no-such-type"'), ({"TERM": ""}, "TERM")):
            with self.subTest(environment):
                terminal = Terminal(self, *arguments, **environment)
                self.assertEqual(terminal.process.wait(30), 2)
                terminal.take(1)
                self.assertRegex(terminal.written, rf"^ymap: error: .*{word}.*ymap get --watch")
        status, out, err = self.run_tool("watch")
        self.assertEqual((status, out), (2, ""))
        self.assertIn("standard input is no terminal", err)
        terminal = Terminal(self, *arguments, "EDFA")
        self.assertEqual(terminal.process.wait(30), 1)
        terminal.take(1)
        self.assertEqual(terminal.written.replace("\r", ""), self.run_tool("get", "EDFA")[2])


if __name__ == "__main__":
    unittest.main()
