# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""The package is upgraded and the machine is started anew while it is in use."""

import re
import subprocess

from helper import SOCKET, VERSION, allow_installations, helper_process, is_listening, show
from test_01_package import install


def newer(package, folder):
    """The same package under a higher version, with all packages of this version depending on each other."""
    tree = folder / package.stem
    subprocess.run(["dpkg-deb", "--raw-extract", package, tree], check=True)
    control = tree / "DEBIAN/control"
    version = re.search(r"^Version: (.*)$", control.read_text(), re.MULTILINE)[1]
    control.write_text(control.read_text().replace(version, version + "+newer"))
    result = folder / f"{package.name.split('_')[0]}_newer.deb"
    subprocess.run(["dpkg-deb", "--build", tree, result], stdout=subprocess.DEVNULL, check=True)
    return result


def test_an_upgrade_disturbs_no_script_and_nobody_who_watches_it(machine, alice, packages, tmp_path):
    allow_installations(machine, "alice")
    machine.write("/home/alice/count.sh", "#!/bin/bash\nfor i in {1..80}; do echo $i; sleep 0.1; done\nexit 3\n",
                  owner="alice")
    assert alice.run("wicket install count.sh").status == 0
    allow_installations(machine, None)
    upgraded = [newer(package, tmp_path) for package in packages]
    alice.start("wicket run count.sh")
    alice.expect("5\r\n")
    install(machine, upgraded)
    result = alice.finish()
    assert result.status == 3
    assert result.lines[:80] == [str(number) for number in range(1, 81)]
    for package in upgraded:
        state = machine.output("dpkg-query", "--show", "--showformat=${Status} ${Version}", package.name.split("_")[0])
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
    assert machine.output("systemctl", "is-system-running", check=False) == "running"
