# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""A user in front of a terminal: a login session on a terminal of the container's own."""

import io
import re
from dataclasses import dataclass

import pexpect

# The shell's prompt tells how the last command ended.
PROMPT = re.compile(r"<ended with (\d+)> ")
PATIENCE = 30


@dataclass
class Result:
    """How a command ended and everything that the terminal showed meanwhile."""

    status: int
    text: str

    @property
    def lines(self):
        return self.text.splitlines()


class Terminal:
    """Types what a test says and reads what the user would see."""

    def __init__(self, machine, user):
        self.user = user
        self._transcript = io.StringIO()
        self._mark = 0
        self._seen = ""
        # login makes the session that polkit looks for; script gives it a terminal inside the container.
        command = machine.entry() + ["script", "--quiet", "--return", "--command", f"exec login -f {user}", "/dev/null"]
        self._child = pexpect.spawn(command[0], command[1:], encoding="utf-8", codec_errors="replace",
                                    dimensions=(50, 500), timeout=PATIENCE)
        self._child.logfile_read = self._transcript
        self._child.expect(r"\$ ")
        self._child.sendline("PS1='<ended with $?> ' exec bash --noediting --norc")
        self._child.expect(PROMPT)

    def run(self, line, timeout=PATIENCE):
        """Types a command line and waits for its end."""
        self.start(line)
        return self.finish(timeout)

    def start(self, line):
        self._child.sendline(line)
        self._await(self._child.expect_exact, line + "\r\n", PATIENCE)
        self._seen = ""

    def expect(self, text, timeout=PATIENCE):
        """Waits until the terminal shows this text, and returns everything that it showed since the command."""
        self._await(self._child.expect_exact, text, timeout)
        self._seen += self._child.before + self._child.after
        return _plain(self._seen)

    def finish(self, timeout=PATIENCE):
        self._await(self._child.expect, PROMPT, timeout)
        return Result(int(self._child.match[1]), _plain(self._seen + self._child.before))

    def _await(self, expect, wanted, timeout):
        """Fails the test in the words of a reader, who sees what the terminal showed instead below."""
        try:
            expect(wanted, timeout)
        except pexpect.TIMEOUT:
            wanted = "the end of the command" if wanted is PROMPT else repr(wanted)
            raise AssertionError(f"{self.user}'s terminal did not show {wanted} within {timeout} seconds") from None
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


def _plain(text):
    return re.sub(r"\x1b\[[0-9;?]*[A-Za-z]|\x1b\].*?\x07|\r", "", text)
