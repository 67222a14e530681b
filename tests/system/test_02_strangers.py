# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""Strangers come to the helper's door while it runs a script for alice."""

from pathlib import Path

import pytest
from helper import VERSION, helper_process, is_listening, own_entries, starts


@pytest.fixture(autouse=True, scope="module")
def intruder(long_run):
    """With what it takes to be the companion, but for its file."""
    program = Path(__file__).with_name("intruder.py").read_text()
    long_run.machine.write("/usr/local/bin/intruder", program, mode=0o755)


@pytest.fixture(autouse=True, scope="module")
def preloaded(long_run, intruder, pytestconfig):  # pylint: disable=unused-argument  # it writes the call
    long_run.machine.copy_in(Path(pytestconfig.getoption("--preloaded")), "/usr/local/lib/preloaded.so")
    long_run.machine.shell("python3 /usr/local/bin/intruder call >/var/tmp/call")


@pytest.fixture
def stranger(long_run):
    return long_run.of("bob")


@pytest.fixture
def member(long_run):
    """mallory has been given the group, which SECURITY.md advises against."""
    long_run.machine.run("usermod", "--append", "--groups=_wicket", "mallory")
    yield long_run.of("mallory")
    long_run.machine.run("gpasswd", "--delete", "mallory", "_wicket")


def test_the_program_of_a_stranger_does_not_reach_the_helper(stranger):
    assert stranger.run("python3 /usr/local/bin/intruder once").text == "no connection: Permission denied\n"


def test_the_program_of_a_member_of_the_group_is_cut_unanswered(member):
    assert member.run("sg _wicket -c 'python3 /usr/local/bin/intruder once'").text == "cut, not answered\n"


@pytest.mark.parametrize("by", ["", "sg _wicket -c "], ids=["supplementary group", "sg"])
def test_the_command_of_a_member_is_refused_and_the_doctor_names_it(member, by):
    result = member.run(by + ("'wicket version'" if by else "wicket version"))
    assert result.status == 125
    assert VERSION not in result.text
    report = member.run(by + ("'wicket doctor'" if by else "wicket doctor"))
    assert report.status == 1
    assert "This user has the group _wicket himself" in report.text


def test_a_library_in_the_command_of_a_member_is_cut_unanswered(member):
    preloaded = "LD_PRELOAD=/usr/local/lib/preloaded.so WICKET_CALL=/var/tmp/call wicket version"
    result = member.run(f"sg _wicket -c '{preloaded}'")
    assert result.lines[0] == "library: cut, not answered"
    assert result.status == 125
    # Without the real group it is not even loaded.
    result = member.run(preloaded)
    assert "library:" not in result.text
    assert result.status == 125


def test_a_copy_of_the_command_is_refused_like_any_other_program(stranger):
    result = stranger.run("cp /usr/bin/wicket copy && ./copy version; status=$?; rm copy; (exit $status)")
    assert result.status == 125
    assert "This process may not connect to the helper" in result.text


def test_a_flood_of_strangers_pauses_nothing(long_run, member):
    result = member.run("sg _wicket -c 'python3 /usr/local/bin/intruder flood 600'")
    assert result.text == "connected each time\n"
    assert is_listening(long_run.machine)


def test_strangers_leave_no_trace_in_the_journal(long_run):
    assert helper_process(long_run.machine) == long_run.helper
    assert len(own_entries(long_run.machine)) == len(starts(long_run.machine)) == 1
