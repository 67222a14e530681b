# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""A script that takes longer than a connection may live; strangers at the door meanwhile."""

import time
from pathlib import Path

import pytest
from helper import (SERVICE, VERSION, allow_installations, helper_process, is_listening, kill_helper, own_entries, show,
                    starts)

CONNECTION_LIFE = 45
PASS = 45
SLACK = 5


class LongRun:
    """alice's terminal is taken by a script for longer than her connection lives."""

    def __init__(self, machine, alice):
        allow_installations(machine, "alice")
        machine.write("/home/alice/long.sh", "#!/bin/bash\nfor second in {1..150}; do\n"
                      "  echo $second >/run/long.second\n  sleep 1\ndone\n", owner="alice")
        assert alice.run("wicket install long.sh").status == 0
        allow_installations(machine, None)
        self.helper = helper_process(machine)
        self.terminal = alice
        self.began = time.monotonic()
        alice.start("wicket run long.sh")


@pytest.fixture(scope="module")
def long_run(machine, terminals):
    yield LongRun(machine, terminals.of("alice"))
    # Her terminal is still taken where a test was left out.
    terminals.log_out("alice")


@pytest.fixture(autouse=True, scope="module")
def intruder(machine, long_run):
    program = Path(__file__).with_name("intruder.py").read_text()
    machine.write("/usr/local/bin/intruder", program, mode=0o755)
    yield
    machine.run("rm", "--recursive", "--force", "/usr/local/bin/intruder", "/usr/local/bin/__pycache__")


@pytest.fixture
def member(machine, terminals):
    """mallory has been given the group, which SECURITY.md advises against."""
    machine.run("usermod", "--append", "--groups=wicket", "mallory")
    yield terminals.of("mallory")
    machine.run("gpasswd", "--delete", "mallory", "wicket")


def test_the_program_of_a_stranger_does_not_reach_the_helper(bob):
    assert bob.run("python3 /usr/local/bin/intruder once").text == "no connection: Permission denied\n"


def test_the_program_of_a_member_of_the_group_is_cut_unanswered(member):
    assert member.run("sg wicket -c 'python3 /usr/local/bin/intruder once'").text == "cut, not answered\n"


def test_a_copy_of_the_command_is_refused_like_any_other_program(bob):
    result = bob.run("cp /usr/bin/wicket copy && ./copy version; status=$?; rm copy; (exit $status)")
    assert result.status == 125
    assert "This process may not connect to the helper" in result.text


def test_a_flood_of_strangers_pauses_nothing(machine, member):
    result = member.run("sg wicket -c 'python3 /usr/local/bin/intruder flood 600'", timeout=60)
    assert result.text == "connected each time\n"
    assert is_listening(machine)


def test_strangers_leave_no_trace_in_the_journal(machine, long_run):
    assert helper_process(machine) == long_run.helper
    assert len(own_entries(machine)) == len(starts(machine))


def test_the_connection_is_cut_after_45_seconds(long_run):
    result = long_run.terminal.finish(timeout=CONNECTION_LIFE + SLACK)
    waited = time.monotonic() - long_run.began
    assert CONNECTION_LIFE - 1 <= waited <= CONNECTION_LIFE + SLACK
    assert result.status == 124
    assert "the script \"long.sh\" keeps running as root" in result.text


def test_then_the_helper_ends_by_itself(machine, long_run):
    machine.eventually(lambda: helper_process(machine) == 0, "the helper ended", timeout=PASS + SLACK)
    assert show(machine, SERVICE, "Result") == "success"
    assert show(machine, SERVICE, "ExecMainStatus") == "0"


def test_the_script_goes_on_without_the_helper(machine):
    second = machine.output("cat", "/run/long.second")
    machine.eventually(lambda: machine.output("cat", "/run/long.second") != second, "the script counted on")


def test_the_socket_still_listens_and_the_next_call_starts_a_new_helper(machine, bob):
    assert is_listening(machine)
    assert bob.run("wicket version").text == VERSION + "\n"
    assert helper_process(machine) != 0


def test_an_end_of_the_helper_ends_no_script(machine):
    second = machine.output("cat", "/run/long.second")
    kill_helper(machine)
    machine.eventually(lambda: machine.output("cat", "/run/long.second") != second, "the script counted on")
    machine.run("pkill", "--full", "/var/orvane/long.sh", check=False)
