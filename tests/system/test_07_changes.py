# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""The package is upgraded and the machine is started anew while it is in use."""

from helper import HOLD, SOCKET, VERSION, allow_installations, helper_process, is_listening, show
from long_run import CONNECTION_LIFE, RESOLUTION
from package import install, names, newer

# Counts on when the upgrade is done.
COUNT = f"""#!/bin/bash
for i in {{1..40}}; do echo $i; done
while [[ -e {HOLD} ]]; do sleep 0.1; done
touch /run/counts-on
for i in {{41..80}}; do echo $i; done
exit 3
"""


def test_an_upgrade_disturbs_no_script_and_nobody_who_watches_it(machine, alice, hold, packages, tmp_path):
    allow_installations(machine, "alice")
    machine.write("/home/alice/count.sh", COUNT, owner="alice")
    assert alice.run("wicket install count.sh").status == 0
    allow_installations(machine, None)
    upgraded = [newer(package, tmp_path) for package in packages]
    hold.begin()
    began = alice.run("true").moment
    alice.start("wicket run count.sh")
    alice.expect("40\r\n")
    install(machine, upgraded)
    hold.end()
    result = alice.finish()
    if result.status == 124:
        # Where the upgrade takes longer than a connection lives, it is this that ended it.
        assert result.moment - began >= CONNECTION_LIFE - RESOLUTION
    else:
        assert result.status == 3
        assert result.lines[:80] == [str(number) for number in range(1, 81)]
    machine.eventually(machine.inside("/run/counts-on").exists, "the script counts on")
    for name in names(packages):
        state = machine.output("dpkg-query", "--show", "--showformat=${Status} ${Version}", name)
        assert state.startswith("install ok installed") and state.endswith("+newer")


def test_after_an_upgrade_the_next_call_is_served(machine, bob):
    assert is_listening(machine)
    assert bob.run("wicket version").text == VERSION + "\n"
    assert bob.run("wicket doctor").status == 0


def test_the_helper_that_started_before_an_upgrade_is_not_run_for_ever(machine, bob):
    """Whoever stops it gets the new one at the next call."""
    before = helper_process(machine)
    machine.run("systemctl", "stop", SOCKET)
    machine.run("systemctl", "start", SOCKET)
    assert bob.run("wicket version").text == VERSION + "\n"
    process = helper_process(machine)
    assert process not in (0, before)
    assert "(deleted)" not in machine.output("readlink", f"/proc/{process}/exe")


def test_after_a_reboot_the_next_call_starts_the_helper(machine, terminals):
    terminals.close()
    machine.reboot()
    assert is_listening(machine)
    assert helper_process(machine) == 0
    alice = terminals.of("alice")
    assert alice.run("wicket version").text == VERSION + "\n"
    assert alice.run("wicket run report.sh").status == 7
    assert show(machine, SOCKET, "UnitFileState") == "enabled"
    assert machine.output("systemctl", "is-system-running", "--wait", check=False) == "running"
