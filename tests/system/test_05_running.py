# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""Installed scripts run as root, before their users' eyes."""

from helper import allow_installations

# All that a script is given: the path of a job, and what its shell adds.
ENVIRONMENT = ["PATH=/usr/bin:/bin:/usr/sbin:/sbin", "PWD=/", "SHLVL=0"]
CORE_SIZE = "core 0"


def test_its_lines_are_seen_while_it_runs_and_its_exit_status_is_the_commands(alice, hold):
    hold.begin()
    alice.start("wicket run report.sh")
    alice.expect("one\r\n")
    hold.end()
    result = alice.finish()
    assert result.status == 7
    assert result.lines == ["one", "two",
                            "ERROR: Execution of the script at /var/orvane/report.sh failed with exit code 7."]


def test_it_runs_as_root_for_a_user_who_is_not(bob):
    result = bob.run("wicket run greet.sh")
    assert (result.status, result.text) == (0, "I run as root\n")


def test_a_script_that_is_not_installed_ends_with_127(bob):
    result = bob.run("wicket run missing.sh")
    assert result.status == 127
    assert "wicket: The script \"missing.sh\" is not installed." in result.text


def test_two_users_run_scripts_at_once(alice, bob, hold):
    hold.begin()
    alice.start("wicket run report.sh")
    alice.expect("one\r\n")
    result = bob.run("wicket run greet.sh")
    assert result.status == 0
    assert "I run as root" in result.text
    hold.end()
    assert alice.finish().status == 7


def test_a_script_sees_the_environment_of_a_job_and_nothing_else(machine, alice):
    allow_installations(machine, "alice")
    machine.write("/home/alice/environment.sh", "#!/bin/bash\necho core $(ulimit -c)\nexec env\n", owner="alice")
    assert alice.run("wicket install environment.sh").status == 0
    allow_installations(machine, None)
    result = alice.run("LD_PRELOAD=/x SECRET=1 LANG=C wicket run environment.sh")
    assert alice.run("wicket remove environment.sh").status == 0
    assert result.lines[0] == CORE_SIZE
    assert sorted(result.lines[1:]) == ENVIRONMENT


def test_the_list_has_what_is_installed(bob):
    result = bob.run("wicket list")
    assert result.status == 0
    assert [line.split()[0] for line in result.lines] == ["NAME", "greet.sh", "report.sh"]


def test_a_script_is_removed_by_its_name(machine, bob):
    result = bob.run("wicket remove greet.sh")
    assert (result.status, result.text) == (0, 'Removed "greet.sh".\n')
    assert not machine.exists("/var/orvane/greet.sh")
