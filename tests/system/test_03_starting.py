# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""The helper starts when somebody connects, and says so once."""

from helper import SERVICE, VERSION, helper_process, own_entries, started_helper, starts


def test_the_first_connection_starts_the_helper(machine, alice):
    assert helper_process(machine) == 0
    result = alice.run("wicket version")
    assert (result.status, result.text) == (0, VERSION + "\n")
    assert helper_process(machine) != 0


def test_a_later_connection_finds_the_same_helper(machine, bob):
    before = helper_process(machine)
    assert bob.run("wicket version").text == VERSION + "\n"
    assert helper_process(machine) == before


def test_the_helper_runs_as_root_and_its_users_need_no_group(machine, bob):
    status = machine.shell(f"grep -E '^(Uid|Gid):' /proc/{helper_process(machine)}/status")
    assert status.split() == ["Uid:", "0", "0", "0", "0", "Gid:", "0", "0", "0", "0"]
    assert "wicket" not in bob.run("id").text


def test_the_doctor_finds_nothing_to_mend(alice):
    result = alice.run("wicket doctor")
    assert result.status == 0
    assert all(line.startswith("ok ") for line in result.lines), result.text
    assert "The helper answers this program." in result.text


def test_the_journal_has_the_one_line_of_the_start(machine):
    helper = started_helper(machine)
    assert len(starts(machine)) == 1
    (entry,) = own_entries(machine)
    assert entry["MESSAGE"] == "TlvPrivilegedHelper was initialized... - "
    assert entry["PRIORITY"] == "2"
    assert entry["_SYSTEMD_UNIT"] == SERVICE
    assert entry["_TRANSPORT"] == "journal"
    assert entry["_PID"] == str(helper)
