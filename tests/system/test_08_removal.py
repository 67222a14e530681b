# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""The helper removes itself, apt removes the packages, and nothing is left."""

from helper import FOLDER, SOCKET, VERSION, helper_process, is_listening, show
from package import apt, install, names, newer
from removal import (expect_installed_scripts, expect_it_counts_on, expect_the_helper_gone, start_a_script_that_counts,
                     stop_the_script)
from snapshot import difference, snapshot


def test_uninstalling_asks_first(machine, bob):
    bob.start("wicket uninstall")
    bob.expect("Remove the helper from this machine? [y/N] ")
    bob.type("n")
    result = bob.finish()
    assert result.status == 1
    assert result.lines[-1] == "Nothing was removed."
    assert is_listening(machine)


def test_the_helper_removes_itself_and_leaves_scripts_alone(machine, alice, bob):
    start_a_script_that_counts(machine, alice)
    result = bob.run("wicket uninstall --yes")
    assert (result.status, result.text) == (0, "The helper is removing itself; the installed scripts stay.\n")
    expect_the_helper_gone(machine)
    expect_it_counts_on(machine)
    stop_the_script(machine, alice)
    expect_installed_scripts(machine, True)


def test_then_the_command_says_what_is_missing(bob):
    result = bob.run("wicket version")
    assert result.status == 125
    assert "The helper is not installed" in result.text
    report = bob.run("wicket doctor")
    assert report.status == 1
    assert "The helper is not installed" in report.text


def test_a_reboot_does_not_bring_it_back(machine, terminals):
    terminals.close()
    machine.reboot()
    assert show(machine, SOCKET, "ActiveState") == "inactive"
    assert machine.output("systemctl", "is-system-running", "--wait", check=False) == "running"


def test_apt_removes_what_is_left_and_purges_it(machine, packages):
    apt(machine, "remove", *names(packages))
    assert machine.exists(FOLDER), "removing the package is no reason to lose scripts"
    apt(machine, "purge", *names(packages))
    assert difference(machine.before, snapshot(machine)) == []


def test_the_packages_are_installed_again_as_if_for_the_first_time(machine, packages, bob):
    install(machine, packages)
    assert is_listening(machine)
    assert bob.run("wicket version").text == VERSION + "\n"
    assert bob.run("wicket doctor").status == 0


def test_installing_the_same_packages_again_brings_a_removed_helper_back(machine, packages, bob):
    assert bob.run("wicket uninstall --yes").status == 0
    expect_the_helper_gone(machine)
    paths = [f"/root/{package.name}" for package in packages]
    apt(machine, "install", "--reinstall", *paths)
    assert is_listening(machine)
    assert bob.run("wicket version").text == VERSION + "\n"


def test_an_upgrade_does_not_start_what_somebody_removed(machine, packages, bob, tmp_path):
    assert bob.run("wicket uninstall --yes").status == 0
    expect_the_helper_gone(machine)
    said = install(machine, [newer(package, tmp_path) for package in packages]).stdout
    assert not is_listening(machine)
    assert show(machine, SOCKET, "UnitFileState") == "disabled"
    advice = f"systemctl enable --now {SOCKET}"
    assert advice in said
    machine.run(*advice.split())
    assert bob.run("wicket doctor").status == 0


def test_with_all_the_helper_removes_the_scripts_too(machine, alice, bob):
    start_a_script_that_counts(machine, alice)
    result = bob.run("wicket uninstall --all --yes")
    assert result.status == 0
    assert result.lines[-1] == "All scripts are removed; the helper is removing itself."
    expect_the_helper_gone(machine)
    expect_installed_scripts(machine, False)
    expect_it_counts_on(machine)
    stop_the_script(machine, alice)


def test_apt_purges_what_is_left_of_that(machine, packages):
    apt(machine, "purge", *names(packages))
    assert difference(machine.before, snapshot(machine)) == []


def test_removing_the_package_disturbs_no_script(machine, packages, alice):
    install(machine, packages)
    start_a_script_that_counts(machine, alice)
    apt(machine, "remove", *names(packages))
    assert helper_process(machine) == 0
    expect_it_counts_on(machine)
    stop_the_script(machine, alice)


def test_removed_and_installed_again_the_scripts_are_still_there(machine, packages, alice):
    install(machine, packages)
    assert "count-on.sh" in alice.run("wicket list").text


def test_purging_an_installation_in_use_leaves_nothing(machine, packages, alice, bob):
    assert bob.run("wicket version").text == VERSION + "\n"
    apt(machine, "purge", *names(packages))
    assert difference(machine.before, snapshot(machine)) == []
    assert alice.run("wicket version").status == 127
