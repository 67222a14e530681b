# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""A script that takes longer than a connection may live, with yardsticks for what is promised meanwhile.

Moments are in seconds since the machine's start, which the users' prompts, the script and systemd note themselves: it
does not matter when a test looks. A promised moment is held against that at which a wait of the same length was over
that the script began itself.
"""

import time

from helper import SERVICE, allow_installations, show, started_helper

CONNECTION_LIFE = 45
PASS = 45
# /proc/uptime has hundredths of a second.
RESOLUTION = 0.01
# What a promised moment may be behind its yardstick.
SLACK = 2

# A yardstick is late by as much as this machine is at that moment: it includes the starts of twenty programs, several
# times of what has to happen between a timer and the user's prompt.
SCRIPT = f"""#!/bin/bash
yardstick() {{
  sleep "$1"
  for _ in {{1..20}}; do sleep 0; done
  cat /proc/uptime >"/run/long.$2.new"
  mv "/run/long.$2.new" "/run/long.$2"
}}
{{ yardstick {CONNECTION_LIFE} cut; yardstick {PASS} end; }} &
while echo >>/run/long.seconds; do sleep 1; done
"""


class LongRun:
    """alice's terminal is taken by the script."""

    def __init__(self, terminals):
        self.terminals = terminals
        self.machine = terminals.machine
        allow_installations(self.machine, "alice")
        self.machine.write("/home/alice/long.sh", SCRIPT, owner="alice")
        installed = self.of("alice").run("wicket install long.sh")
        assert installed.status == 0, installed.text
        allow_installations(self.machine, None)
        self.helper = started_helper(self.machine)
        self.helper_began = self._moment_of_unit("ExecMainStartTimestampMonotonic")
        self.began = self.of("alice").run("true").moment
        self.of("alice").start("wicket run long.sh")

    def of(self, user):
        """The user's terminal."""
        return self.terminals.of(user)

    def helper_ended(self):
        return self._moment_of_unit("ExecMainExitTimestampMonotonic")

    def _moment_of_unit(self, name):
        # The clock of systemd stands still while the machine sleeps.
        sleeps = time.clock_gettime(time.CLOCK_BOOTTIME) - time.clock_gettime(time.CLOCK_MONOTONIC)
        return int(show(self.machine, SERVICE, name)) / 1e6 + sleeps

    def yardstick(self, name):
        file = self.machine.inside(f"/run/long.{name}")
        self.machine.eventually(file.exists, f"the script's yardstick \"{name}\" is there")
        return float(file.read_text().split()[0])

    def expect_it_goes_on(self):
        seconds = self.machine.inside("/run/long.seconds")
        number = seconds.stat().st_size
        self.machine.eventually(lambda: seconds.stat().st_size > number, "the script went on")
