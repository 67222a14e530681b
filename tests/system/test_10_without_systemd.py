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
    assert unbooted.run("getent", "group", "_wicket", check=False).returncode == 2


@pytest.mark.parametrize("made, mended, complaint", [
    ("groupadd --gid=1234 _wicket", "groupmod --new-name=other _wicket && groupdel other", "none of the system's"),
    ("groupadd --system _wicket && gpasswd --add bob _wicket", "gpasswd --delete bob _wicket", "has members (bob)"),
    ("groupadd --system _wicket && useradd --gid=_wicket eve", "userdel eve && groupdel -f _wicket || true",
     "is the own group of eve"),
], ids=["no group of the system's", "members", "own group"])
def test_a_group_that_somebody_may_have_is_not_taken(unbooted, packages, made, mended, complaint):
    """Whoever has it would be let in as the companion."""
    unbooted.shell(made)
    paths = [f"/root/{package.name}" for package in packages]
    result = unbooted.run("apt-get", "--yes", "--no-install-recommends", "install", *paths, check=False)
    assert result.returncode != 0
    said = result.stdout + result.stderr
    assert complaint in said
    assert "then: dpkg --configure wicket-helper" in said
    assert unbooted.output("stat", "--format=%G %a", "/usr/bin/wicket") == "root 755"
    unbooted.shell(mended)
    unbooted.run("dpkg", "--configure", "wicket-helper")
    assert unbooted.output("stat", "--format=%G %a", "/usr/bin/wicket") == "_wicket 2755"
    apt(unbooted, "purge", *names(packages))
    assert unbooted.run("getent", "group", "_wicket", check=False).returncode == 2
