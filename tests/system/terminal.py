# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""A user in front of a terminal: a login session on a terminal of the container's own."""

import io
import os
import re
import termios
from dataclasses import dataclass

import pexpect
from patience import PATIENCE, RanOut

# The shell's prompt tells how and when the last command ended.
PROMPT = re.compile(r"<ended with (\d+) at ([\d.]+)> ")


@dataclass
class Result:
    """How a command ended, everything that the terminal showed meanwhile, and when: in seconds of /proc/uptime."""

    status: int
    text: str
    moment: float

    @property
    def lines(self):
        return self.text.splitlines()


class Terminal:
    """Types what a test says and reads what the user would see."""

    def __init__(self, machine, user):
        self.user = user
        self._machine = machine
        self._transcript = io.StringIO()
        self._mark = 0
        self._seen = ""
        self._device = None
        # login makes the session that polkit looks for; script gives it a terminal inside the container.
        command = machine.entry() + ["script", "--quiet", "--return", "--command", f"exec login -f {user}", "/dev/null"]
        self._child = pexpect.spawn(command[0], command[1:], encoding="utf-8", codec_errors="replace",
                                    dimensions=(50, 500))
        # It would wait before each line, so that a program can turn off the echo: expect_password_prompt() does it.
        self._child.delaybeforesend = None
        self._child.logfile_read = self._transcript

    def log_in(self):
        """Returns when the user's shell awaits a command."""
        self._await(self._child.expect, r"\$ ")
        prompt = "<ended with $? at $(read now _ </proc/uptime; echo $now)> "
        self._child.sendline(f"PS1='{prompt}' exec bash --noediting --norc")
        self.finish()
        self._device = self._machine.inside(self.run("tty").lines[0])

    def run(self, line):
        """Types a command line and waits for its end."""
        self.start(line)
        return self.finish()

    def start(self, line):
        self._child.sendline(line)
        self._await(self._child.expect_exact, line + "\r\n")
        self._seen = ""

    def expect(self, text):
        """Waits until the terminal shows this text, and returns everything that it showed since the command."""
        self._await(self._child.expect_exact, text)
        self._seen += self._child.before + self._child.after
        return _plain(self._seen)

    def expect_password_prompt(self):
        """As expect(), until a password can be typed: what comes before the echo is off is thrown away."""
        shown = self.expect("Password: ")
        self._machine.eventually(lambda: not self._echoes(), "the terminal's echo is off")
        return shown

    def _echoes(self):
        device = os.open(self._device, os.O_RDWR | os.O_NOCTTY)
        try:
            return termios.tcgetattr(device)[3] & termios.ECHO
        finally:
            os.close(device)

    def finish(self):
        self._await(self._child.expect, PROMPT)
        return Result(int(self._child.match[1]), _plain(self._seen + self._child.before), float(self._child.match[2]))

    def _await(self, expect, wanted):
        """Fails the test in the words of a reader, who sees what the terminal showed instead below."""
        try:
            expect(wanted, PATIENCE)
        except pexpect.TIMEOUT:
            wanted = "the end of the command" if wanted is PROMPT else repr(wanted)
            raise RanOut(f"{self.user}'s terminal did not show {wanted} within {PATIENCE} seconds") from None
        except (pexpect.EOF, ValueError):
            raise AssertionError(f"{self.user} was logged out") from None

    def type(self, text):
        self._child.sendline(text)

    def interrupt(self):
        """Ctrl-C."""
        self._child.sendcontrol("c")

    def mark(self):
        self._mark = self._transcript.tell()

    def shown_since_mark(self):
        return _plain(self._transcript.getvalue()[self._mark:])

    def close(self):
        self._child.close(force=True)


class Terminals:
    """The terminals of a machine: one for each user, who stays logged in from test to test."""

    def __init__(self, machine):
        self.machine = machine
        self._open = {}

    def of(self, user):
        if user not in self._open:
            self._open[user] = Terminal(self.machine, user)
            self._open[user].log_in()
        return self._open[user]

    def mark(self):
        for terminal in self._open.values():
            terminal.mark()

    def shown_since_mark(self):
        """For each user whose terminal showed anything."""
        shown = {user: terminal.shown_since_mark() for user, terminal in self._open.items()}
        return {user: text for user, text in shown.items() if text.strip()}

    def log_out(self, user):
        if user in self._open:
            self._open.pop(user).close()

    def close(self):
        for user in list(self._open):
            self.log_out(user)


def _plain(text):
    return re.sub(r"\x1b\[[0-9;?]*[A-Za-z]|\x1b\].*?\x07|\r", "", text)
