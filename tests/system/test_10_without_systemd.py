# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""The packages in a system that systemd does not run: a build environment, a container of applications."""

import pytest
from conftest import new_machine
from package import apt, install, names


@pytest.fixture(scope="module")
def unbooted(pytestconfig, machine):  # pylint: disable=unused-argument  # what boots first can be skipped
    tree = new_machine(pytestconfig, "-unbooted")
    tree.enter_without_booting()
    tree.run("useradd", "--create-home", "bob")
    yield tree
    tree.end()


def as_bob(unbooted, command):
    return unbooted.run("setpriv", "--reuid=bob", "--regid=bob", "--clear-groups", "sh", "-c", command, check=False)


def test_the_installation_succeeds(unbooted, packages):
    assert install(unbooted, packages).returncode == 0
    assert unbooted.output("dpkg", "--audit") == ""


def test_the_command_says_that_nothing_listens(unbooted):
    result = as_bob(unbooted, "wicket version")
    assert result.returncode == 125
    assert result.stderr.startswith("wicket: The helper is not installed: there is no socket ")


def test_the_doctor_names_the_first_thing_to_do(unbooted):
    result = as_bob(unbooted, "wicket doctor")
    assert result.returncode == 1
    assert 'There is no socket "/run/net.orvane.Wicket.TlvPrivilegedHelper"' in result.stdout
    assert "ok       There is a group _wicket." in result.stdout


def test_purging_succeeds_too(unbooted, packages):
    apt(unbooted, "purge", *names(packages))
    assert unbooted.run("getent", "group", "wicket", check=False).returncode == 2
