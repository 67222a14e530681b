# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""The package is upgraded and the machine is started anew while it is in use."""

from pathlib import Path

import pytest
from helper import (EXECUTABLE, HOLD, SERVICE, SOCKET, SOCKET_PATH, VERSION, allow_installations, helper_process,
                    is_listening, show, started_helper)
from other_identity import with_other_identity
from package import apt, install, names, newer

# Counts on when the upgrade is done.
COUNT = f"""#!/bin/bash
for i in {{1..40}}; do echo $i; done
while [[ -e {HOLD} ]]; do sleep 0.1; done
touch /run/counts-on
for i in {{41..80}}; do echo $i; done
exit 3
"""


def test_an_upgrade_ends_the_helper_and_no_script(machine, alice, hold, packages, tmp_path):
    allow_installations(machine, "alice")
    machine.write("/home/alice/count.sh", COUNT, owner="alice")
    assert alice.run("wicket install count.sh").status == 0
    allow_installations(machine, None)
    upgraded = [newer(package, tmp_path) for package in packages]
    hold.begin()
    alice.start("wicket run count.sh")
    alice.expect("40\r\n")
    before = helper_process(machine)
    install(machine, upgraded)
    assert helper_process(machine) != before
    result = alice.finish()
    assert result.status == 124
    assert result.lines[:40] == [str(number) for number in range(1, 41)]
    hold.end()
    machine.eventually(machine.inside("/run/counts-on").exists, "the script counts on")
    for name in names(packages):
        state = machine.output("dpkg-query", "--show", "--showformat=${Status} ${Version}", name)
        assert state.startswith("install ok installed") and state.endswith("+newer")


def test_after_an_upgrade_the_next_call_is_served_by_the_new_helper(machine, bob):
    assert is_listening(machine)
    assert bob.run("wicket version").text == VERSION + "\n"
    assert bob.run("wicket doctor").status == 0
    assert "(deleted)" not in machine.output("readlink", f"/proc/{started_helper(machine)}/exe")


def test_a_helper_that_was_replaced_without_an_upgrade_accepts_nobody(machine, bob):
    """Whoever stops it gets the new one at the next call."""
    assert bob.run("wicket version").status == 0
    before = started_helper(machine)
    machine.shell(f"cp --preserve {EXECUTABLE} {EXECUTABLE}.new && mv {EXECUTABLE}.new {EXECUTABLE}")
    assert bob.run("wicket version").status == 125
    report = bob.run("wicket doctor")
    assert report.status == 1
    assert f"As root: systemctl stop {SERVICE}" in report.text
    assert helper_process(machine) == before
    machine.run("systemctl", "stop", SERVICE)
    assert bob.run("wicket version").text == VERSION + "\n"


def test_an_upgrade_from_the_former_group_works_at_once(machine, packages, bob):
    """Earlier versions had a group with the command's name, which an administrator may have written down."""
    machine.shell("groupadd --system wicket && dpkg-statoverride --update --add root wicket 2755 /usr/bin/wicket && "
                  f"chgrp wicket {SOCKET_PATH}")
    former = machine.output("getent", "group", "wicket").split(":")[2]
    apt(machine, "install", "--reinstall", "--allow-downgrades", *[f"/root/{package.name}" for package in packages])
    assert bob.run("wicket version").text == VERSION + "\n"
    assert bob.run("wicket doctor").status == 0
    assert machine.output("dpkg-statoverride", "--list", "/usr/bin/wicket") == "root _wicket 2755 /usr/bin/wicket"
    assert machine.run("getent", "group", "wicket", check=False).returncode == 2
    connect = f"import socket; socket.socket(socket.AF_UNIX).connect('{SOCKET_PATH}')"
    stranger = machine.run("setpriv", "--reuid=mallory", f"--regid={former}", "--clear-groups", "python3", "-c", connect,
                           check=False)
    assert "PermissionError" in stranger.stderr
    machine.run("dpkg-statoverride", "--remove", "/usr/bin/wicket")


def test_an_upgrade_to_another_anchor_serves_the_new_companion_and_no_old_one(machine, alice, bob, hold, packages,
                                                                              pytestconfig, tmp_path):
    """With a client connected and a script running."""
    identity = Path(pytestconfig.getoption("--identity"))
    if not identity.exists():
        pytest.skip("the packages were not signed by the development identity")
    helper = next(package for package in packages if names([package]) == ["wicket-helper"])
    codesign = machine.inside("/usr/bin/wicket-codesign")
    other = with_other_identity(helper, codesign, identity, tmp_path)
    machine.shell("cp --preserve=all /usr/bin/wicket /usr/bin/former-wicket && rm -f /run/counts-on")
    hold.begin()
    alice.start("wicket run count.sh")
    alice.expect("40\r\n")
    machine.copy_in(other, "/root/other.deb")
    apt(machine, "install", "/root/other.deb")
    assert bob.run("wicket version").text == VERSION + "\n"
    assert bob.run("former-wicket version").status == 125
    assert bob.run("wicket doctor").status == 0
    assert alice.finish().status == 124
    hold.end()
    machine.eventually(machine.inside("/run/counts-on").exists, "the script counts on")
    machine.run("rm", "/usr/bin/former-wicket")
    apt(machine, "install", "--allow-downgrades", *[f"/root/{package.name}" for package in packages])
    assert bob.run("wicket version").text == VERSION + "\n"


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
