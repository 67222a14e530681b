# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""One user takes as much of the helper as there is, and another notices nothing."""

import pytest
from helper import FOLDER, HOLD, PASSWORDS, SERVICE, VERSION, allow_installations, kill_helper, started_helper
from terminal import Terminal

WAIT = f"#!/bin/bash\necho begun\nwhile [[ -e {HOLD} ]]; do sleep 0.2; done\n"
SECRET = "#!/bin/bash\necho secret\n"
# What would clear a terminal, rename it, and make it type.
ESCAPES = r"""#!/bin/bash
printf 'before\033[2J\033]0;title\007\033[5nafter\n'
"""
SCRIPTS = {"wait.sh": WAIT, "secret.sh": SECRET, "escapes.sh": ESCAPES}
# Companions that never end of themselves, stopped at one moment or another: some before they connect, some while they
# are looked at, most while their scripts run. "$1" companions at a time until somebody is told that there are
# too many.
CROWD = """#!/bin/bash
# Who waits for this script does not wait for whom it leaves behind.
exec </dev/null &>/dev/null
said=/home/alice/said
for round in {1..40}; do
  for ((i = 0; i < $1; i++)); do setsid wicket run wait.sh 2>>"$said" & done
  sleep 0.5
  ! grep --quiet "which is as many as a user may have" "$said" || break
done
kill -STOP $(jobs -pr)  # those that were told have ended
for i in {1..260}; do
  setsid wicket run wait.sh &
  sleep "0.00$((i % 10))"
  kill -STOP $!
done
jobs -p >/home/alice/crowd
"""


@pytest.fixture(autouse=True, scope="module")
def scripts(machine, terminals):
    allow_installations(machine, "alice")
    for name, text in SCRIPTS.items():
        machine.write(f"/home/alice/{name}", text, owner="alice")
        assert terminals.of("alice").run(f"wicket install {name}").status == 0
    allow_installations(machine, None)
    machine.write("/usr/local/bin/crowd", CROWD, mode=0o755)
    yield
    machine.run("rm", "/usr/local/bin/crowd")
    for name in SCRIPTS:
        assert terminals.of("alice").run(f"wicket remove {name}").status == 0


@pytest.fixture
def crowd(machine):
    """Calls as alice, without a terminal; whoever of hers was left is gone afterwards."""
    yield lambda size: machine.run("runuser", "-u", "alice", "--", "/usr/local/bin/crowd", str(size))
    machine.shell("cd /home/alice; [[ ! -e crowd ]] || { kill -KILL $(cat crowd) || true; }; rm --force crowd said")


@pytest.fixture
def windows(machine):
    """Many terminals of alice's."""
    opened = []
    try:
        for _ in range(9):
            opened.append(Terminal(machine, "alice"))
            opened[-1].log_in()
        yield opened
    finally:
        for window in opened:
            window.close()
        # So that nobody hears of what was asked there.
        kill_helper(machine)


def expect_no_script_is_left(machine):
    processes = machine.inside(f"/sys/fs/cgroup/system.slice/{SERVICE}/cgroup.procs")
    machine.eventually(lambda: len(processes.read_text().split()) <= 1, "the scripts ended")


def test_who_runs_too_many_scripts_is_told_so_and_nobody_else_notices(machine, alice, bob, hold):
    hold.begin()
    started = alice.run("for i in {1..64}; do wicket run --no-wait wait.sh || break; done")
    assert started.status == 0
    told = alice.run("wicket run wait.sh")
    assert told.status == 125
    assert "You have 64 scripts running, which is as many as a user may have." in told.text
    hold.end()
    assert bob.run("wicket run wait.sh").text == "begun\n"
    expect_no_script_is_left(machine)


def test_three_hundred_stopped_companions_of_one_user_keep_nobody_else_out(machine, bob, hold, crowd):
    hold.begin()
    crowd(40)
    said = machine.inside("/home/alice/said").read_text()
    assert "You have 32 connections to the helper open, which is as many as a user may have." in said
    assert bob.run("for i in {1..20}; do wicket version || break; done").text == f"{VERSION}\n" * 20
    hold.end()
    assert bob.run("wicket run wait.sh").text == "begun\n"
    expect_no_script_is_left(machine)


def asked_without_terminal(machine):
    """How an installation ends that nobody can be asked about: with 1, unless it is one too many."""
    command = ("runuser", "-u", "alice", "--", "wicket", "install", "/home/alice/wait.sh")
    return machine.run(*command, check=False).returncode


def descriptors_of_helper(machine):
    return len(list(machine.inside(f"/proc/{started_helper(machine)}/fd").iterdir()))


def test_who_has_too_many_questions_open_is_told_so_and_another_is_asked(machine, bob, windows):
    for number, window in enumerate(windows[:8]):
        window.start(f"wicket install wait.sh --name unanswered{number}.sh")
        window.expect_password_prompt()
    told = windows[8].run("wicket install wait.sh --name unanswered8.sh")
    assert told.status == 125
    assert ("You have 8 installations waiting for their consent, which is as many as a user may have. "
            "Answer or end them, then try again.") in told.text
    machine.write("/home/bob/asked.sh", "#!/bin/bash\n", owner="bob")
    bob.start("wicket install asked.sh")
    bob.expect_password_prompt()
    bob.type(PASSWORDS["alice"])
    assert bob.finish().status == 0
    assert bob.run("wicket remove asked.sh").status == 0
    for window in windows[:8]:
        window.close()
    machine.eventually(lambda: asked_without_terminal(machine) != 125, "the questions ended with the windows")
    assert "unanswered" not in machine.output("ls", FOLDER)


def test_refused_installations_leave_nothing_in_the_helper(machine):
    assert asked_without_terminal(machine) == 1
    helper = started_helper(machine)
    before = descriptors_of_helper(machine)
    for _ in range(100):
        assert asked_without_terminal(machine) == 1
    machine.eventually(lambda: descriptors_of_helper(machine) <= before + 2, "the helper closed what it had opened")
    assert started_helper(machine) == helper


def test_who_keeps_connecting_takes_no_line_of_another_users_scripts(alice, bob, hold):
    hold.begin()
    bob.start(f"for i in {{1..4}}; do while [[ -e {HOLD} ]]; do wicket version; done & done >heard; wait")
    result = alice.run("for i in {1..100}; do [[ $(wicket run secret.sh) == secret ]] || echo lost; done")
    assert (result.status, result.text) == (0, "")
    hold.end()
    assert bob.finish().status == 0
    assert set(bob.run("cat heard; rm heard").lines) == {VERSION}


def test_a_terminal_shows_escape_sequences_and_a_file_gets_them(machine, alice):
    result = alice.run("wicket run escapes.sh")
    assert result.text == r"before\x1B[2J\x1B]0;title\x07\x1B[5nafter" + "\n"
    assert alice.run("wicket run escapes.sh >/home/alice/escapes").status == 0
    assert machine.inside("/home/alice/escapes").read_bytes() == b"before\33[2J\33]0;title\7\33[5nafter\n"
