# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""What goes wrong on real machines, and what users then read."""

import pytest
from helper import (FOLDER, JOB, PASSWORDS, SERVICE, SOCKET, VERSION, allow_installations, helper_process, is_listening,
                    kill_helper, own_entries, show, started_helper, starts)

LARGE = 8 << 20
# More starts than systemd grants in ten seconds where a unit says nothing else.
MANY_STARTS = 6
DROP_IN = f"/etc/systemd/system/{SERVICE}.d"


@pytest.fixture
def drop_in(machine):
    """Sets lines of the service's section until the test has ended."""

    def set_lines(lines):
        machine.write(f"{DROP_IN}/test.conf", "[Service]\n" + lines)
        machine.run("systemctl", "daemon-reload")
        if helper_process(machine) != 0:
            kill_helper(machine)

    yield set_lines
    machine.run("rm", "--recursive", "--force", DROP_IN)
    machine.run("systemctl", "daemon-reload")
    if helper_process(machine) != 0:
        kill_helper(machine)


@pytest.fixture
def unasked(machine):
    allow_installations(machine, "alice")
    yield
    allow_installations(machine, None)


def is_answered(terminal):
    return terminal.run("wicket version").text == VERSION + "\n"


def test_a_helper_that_is_killed_while_the_password_is_asked_installs_nothing(machine, alice):
    alice.start("wicket install report.sh --name half.sh")
    alice.expect_password_prompt()
    kill_helper(machine)
    result = alice.finish()
    assert result.status == 125
    assert "The helper cut the connection before it answered" in result.text
    assert not machine.exists(f"{FOLDER}/half.sh")
    assert is_answered(alice)


def test_a_helper_that_is_killed_while_it_copies_leaves_nothing_that_runs(machine, alice, unasked):
    """A whole copy or nothing."""
    machine.write("/home/alice/large.sh", "#!/bin/bash\necho half-run; exit 0\n".ljust(LARGE, "#"), owner="alice")
    for length in (0, 1, LARGE // 2, LARGE - 1):
        assert is_answered(alice)
        # The kernel kills whoever writes more than that.
        machine.run("prlimit", f"--pid={started_helper(machine)}", f"--fsize={length}")
        assert alice.run("wicket install large.sh").status == 125
        assert lengths_of_copies(machine) == []
    assert is_answered(alice)


def test_a_helper_that_is_killed_once_a_copy_was_begun_leaves_a_whole_one_or_none(machine, alice, unasked):
    """Wherever it hits the helper: that is left to chance."""
    machine.write("/home/alice/large.sh", "#!/bin/bash\necho half-run; exit 0\n".ljust(LARGE, "#"), owner="alice")
    for delay in (0, 0.001, 0.005):
        assert is_answered(alice)
        helper = started_helper(machine)
        alice.start("wicket install large.sh")
        # A file without a name is called after its number there.
        machine.shell(f"until ls -l /proc/{helper}/fd | grep -q '{FOLDER}/#' || [[ -e {FOLDER}/large.sh ]]; do "
                      f"kill -0 {helper}; done; sleep {delay}; kill -KILL {helper}")
        alice.finish()
        assert lengths_of_copies(machine) == []
        machine.shell(f"rm -f {FOLDER}/large.sh")
    assert is_answered(alice)


def lengths_of_copies(machine):
    """Of those that are not whole. Fails the test for one whose name \"wicket run\" takes: a file in the folder."""
    lengths = []
    for line in machine.output("find", FOLDER, "-type", "f", "(", "-name", "large.sh", "-o", "-path", "*/.wicket*", ")",
                               "-printf", "%s %p\n").splitlines():
        length, path = line.split()
        if path != f"{FOLDER}/large.sh" or int(length) != LARGE:
            assert path.count("/") > FOLDER.count("/") + 1, f"{path} has {length} of {LARGE} bytes and can be run"
            lengths.append(int(length))
    return lengths


def test_a_helper_that_is_killed_during_a_run_is_started_again_by_the_next_call(machine, alice, bob, hold):
    hold.begin()
    alice.start("wicket run report.sh")
    alice.expect("one\r\n")
    kill_helper(machine)
    result = alice.finish()
    assert result.status == 124
    assert "cut the connection" in result.text
    assert is_answered(bob)


def test_a_helper_that_dies_again_and_again_is_started_again_and_again(machine, bob):
    for _ in range(12):
        assert is_answered(bob)
        kill_helper(machine)
    assert is_answered(bob)
    assert is_listening(machine)


def test_a_client_waits_for_a_helper_that_cannot_start_and_is_served_once_it_can(machine, bob, drop_in):
    attempts = machine.inside("/run/attempts")
    attempts.touch()
    drop_in(f"ExecStart=\nExecStart=/bin/sh -c 'echo >>/run/{attempts.name}; exit 1'\n")
    bob.start("wicket version")
    machine.eventually(lambda: attempts.stat().st_size >= MANY_STARTS, f"systemd tried {MANY_STARTS} times")
    assert is_listening(machine)
    machine.run("rm", f"{DROP_IN}/test.conf")
    machine.run("systemctl", "daemon-reload")
    result = bob.finish()
    assert (result.status, result.text) == (0, VERSION + "\n")


def test_a_flood_of_commands_pauses_nothing_for_good(machine, bob):
    script = "for i in {1..25}; do for j in {1..8}; do wicket version & done; wait; done | sort | uniq -c"
    result = bob.run(script + " 2>&1")
    assert result.lines[-1].split() == ["200", VERSION], result.text
    assert show(machine, SOCKET, "ActiveState") == "active"
    assert is_answered(bob)


def test_without_polkit_nothing_is_installed_and_scripts_still_run(machine, alice):
    machine.run("systemctl", "mask", "--runtime", "--now", "polkit")
    try:
        result = alice.run("wicket install report.sh --name refused.sh")
        assert result.status == 1
        assert result.lines[-1] == ("wicket: Nothing was installed, because the authorization could not be checked "
                                    "(code 156). Check that polkit runs, with: systemctl status polkit.")
        assert not machine.exists(f"{FOLDER}/refused.sh")
        assert alice.run("wicket run report.sh").status == 7
    finally:
        machine.run("systemctl", "unmask", "--runtime", "polkit")


def test_where_polkit_is_not_installed_the_doctor_says_so(machine, alice):
    machine.run("systemctl", "stop", "polkit")
    hidden = ["/usr/share/dbus-1/system-services/org.freedesktop.PolicyKit1.service", "/usr/bin/pkttyagent"]
    for path in hidden:
        machine.run("mv", path, path + ".hidden")
    machine.run("systemctl", "mask", "--runtime", "polkit")
    machine.run("systemctl", "reload", "dbus")
    try:
        result = alice.run("wicket doctor")
        assert result.status == 1
        assert "polkit is not there, so nobody can agree to an installation" in result.text
        assert "Install the package polkitd" in result.text
        assert alice.run("wicket install report.sh --name refused.sh").status == 1
        assert not machine.exists(f"{FOLDER}/refused.sh")
    finally:
        for path in hidden:
            machine.run("mv", path + ".hidden", path)
        machine.run("systemctl", "unmask", "--runtime", "polkit")
        machine.run("systemctl", "reload", "dbus")
    alice.start("wicket install report.sh")
    alice.expect_password_prompt()
    alice.type(PASSWORDS["alice"])
    assert alice.finish().status == 0


def test_without_the_group_the_doctor_says_what_to_do_and_that_helps(machine, bob):
    machine.run("groupdel", "_wicket")
    kill_helper(machine)
    result = bob.run("wicket version")
    assert result.status == 125
    assert "wicket doctor" in result.text or "may not connect" in result.text
    report = bob.run("wicket doctor")
    assert report.status == 1
    assert "There is no group _wicket" in report.text
    assert "As root: systemd-sysusers" in report.text
    machine.run("systemd-sysusers")
    machine.shell("chown root:_wicket /usr/bin/wicket && chmod 2755 /usr/bin/wicket")
    machine.run("systemctl", "restart", SOCKET)
    assert bob.run("wicket doctor").status == 0


def test_a_stopped_socket_is_explained(machine, bob):
    machine.run("systemctl", "stop", SOCKET)
    result = bob.run("wicket version")
    assert result.status == 125
    assert "The helper is not installed: there is no socket" in result.text
    report = bob.run("wicket doctor")
    assert report.status == 1
    assert f"As root: systemctl enable --now {SOCKET}" in report.text
    machine.run("systemctl", "enable", "--now", SOCKET)
    assert bob.run("wicket doctor").status == 0


def test_on_a_kernel_before_6_5_the_helper_works_with_what_there_is(machine, alice, drop_in, request):
    machine.copy_in(request.config.getoption("--older-kernel"), "/root/older-kernel")
    drop_in(f"ExecStart=\nExecStart=/root/older-kernel /usr/libexec/{JOB}\n")
    assert is_answered(alice)
    assert alice.run("wicket run report.sh").status == 7
    machine.run("rm", "/root/older-kernel")


def test_the_journal_has_one_line_for_each_start_and_nothing_else(machine):
    entries = [entry for entry in own_entries(machine) if "there is no group" not in entry["MESSAGE"]]
    assert {(entry["MESSAGE"], entry["PRIORITY"]) for entry in entries} == {
        ("TlvPrivilegedHelper was initialized... - ", "2")}
    assert len({entry["_PID"] for entry in entries}) == len(entries)
    assert 25 < len(entries) <= len(starts(machine))
