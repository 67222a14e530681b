# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""An installation by CMake alone works and removes itself in the same way."""

import subprocess
from pathlib import Path

import pytest
from helper import SOCKET, VERSION
from removal import (expect_installed_scripts, expect_it_counts_on, expect_the_helper_gone, start_a_script_that_counts,
                     stop_the_script)


@pytest.fixture(autouse=True, scope="module")
def installation(machine, terminals, request):
    # Shells remember where a command was.
    terminals.close()
    source = Path(request.config.getoption("--plain"))
    subprocess.run(["cp", "--recursive", "--preserve=mode", f"{source}/.", machine.root], check=True)
    # What README.md tells whoever installs without packages.
    machine.run("systemd-sysusers", "wicket.conf")
    machine.shell("chgrp _wicket /usr/local/bin/wicket && chmod 2755 /usr/local/bin/wicket")
    machine.run("systemctl", "daemon-reload")
    machine.run("systemctl", "enable", "--now", SOCKET)


def test_the_helper_starts_and_the_doctor_is_content(bob):
    assert bob.run("wicket version").text == VERSION + "\n"
    assert bob.run("wicket doctor").status == 0


def test_the_helper_removes_itself_and_leaves_scripts_alone(machine, alice, bob):
    start_a_script_that_counts(machine, alice)
    assert bob.run("wicket uninstall --yes").status == 0
    expect_the_helper_gone(machine)
    expect_it_counts_on(machine)
    stop_the_script(machine, alice)
    expect_installed_scripts(machine, True)


def test_with_all_it_removes_the_scripts_too(machine, bob, request):
    helper = Path(request.config.getoption("--plain")) / "usr/libexec"
    subprocess.run(["cp", "--recursive", "--preserve=mode", f"{helper}/.", machine.root / "usr/libexec"], check=True)
    machine.run("systemctl", "enable", "--now", SOCKET)
    assert bob.run("wicket uninstall --all --yes").status == 0
    expect_the_helper_gone(machine)
    expect_installed_scripts(machine, False)
