# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""Installing a script takes an administrator's password, typed at the terminal."""

import hashlib

import pytest
from helper import FOLDER, HOLD, PASSWORDS, owner_and_mode

# In the middle it waits for as long as a test holds it up.
REPORT = f"""#!/bin/bash
echo one
while [[ -e {HOLD} ]]; do sleep 0.05; done
echo two >&2
exit 7
"""
NOT_INSTALLED = "wicket: Nothing was installed, because "


@pytest.fixture(autouse=True, scope="module")
def scripts(machine):
    machine.write("/home/alice/report.sh", REPORT, owner="alice")
    machine.write("/home/bob/greet.sh", '#!/bin/bash\necho "I run as $(id -un)"\n', owner="bob")


def test_the_user_reads_what_is_asked_and_nothing_is_there_until_the_password_is_typed(machine, alice):
    alice.start("wicket install report.sh")
    shown = alice.expect_password_prompt()
    text = " ".join(shown.split())
    digest = hashlib.sha256(REPORT.encode()).hexdigest()[:32]
    assert ("Tolvern wants to install a privileged script in a safe location. "
            'File: "/home/alice/report.sh". Destination: "/var/orvane/report.sh". '
            f'User: "alice" ({machine.output("id", "-u", "alice").strip()}). '
            f"Size: {len(REPORT)} bytes. SHA-256: {digest}....") in text
    assert "Authenticating as: alice" in shown
    assert not machine.exists(f"{FOLDER}/report.sh")
    alice.type(PASSWORDS["alice"])
    result = alice.finish()
    assert result.status == 0
    assert result.lines[-1] == "Installed /var/orvane/report.sh."
    assert PASSWORDS["alice"] not in result.text


def test_the_script_is_a_copy_that_belongs_to_root(machine):
    assert owner_and_mode(machine, f"{FOLDER}/report.sh") == "root:root 500"
    assert owner_and_mode(machine, FOLDER) == "root:root 755"
    machine.run("cmp", "/home/alice/report.sh", f"{FOLDER}/report.sh")


def test_a_file_that_another_takes_the_place_of_meanwhile_is_not_what_is_installed(machine, alice):
    machine.write("/home/alice/shown.sh", REPORT, owner="alice")
    machine.write("/home/alice/other.sh", "#!/bin/bash\nid\n", owner="alice")
    alice.start("wicket install shown.sh")
    alice.expect_password_prompt()
    machine.run("mv", "/home/alice/other.sh", "/home/alice/shown.sh")
    alice.type(PASSWORDS["alice"])
    assert alice.finish().status == 0
    machine.run("cmp", "/home/alice/report.sh", f"{FOLDER}/shown.sh")
    assert alice.run("wicket remove shown.sh").status == 0


def test_a_file_that_is_changed_meanwhile_is_not_installed(machine, alice):
    machine.write("/home/alice/shown.sh", REPORT, owner="alice")
    alice.start("wicket install shown.sh")
    alice.expect_password_prompt()
    machine.shell("echo reboot >>/home/alice/shown.sh")
    alice.type(PASSWORDS["alice"])
    result = alice.finish()
    assert result.status == 1
    assert "that nobody changed it meanwhile" in result.lines[-1]
    assert not machine.exists(f"{FOLDER}/shown.sh")


def test_a_wrong_password_installs_nothing_and_can_be_typed_again_and_again(machine, alice):
    for _ in range(3):
        alice.start("wicket install report.sh --name refused.sh")
        alice.expect_password_prompt()
        alice.type("not-the-password")
        result = alice.finish()
        assert result.status == 1
        assert 'ERROR: Authentication failed with message("Optional(The authorization was denied.)")' in result.lines
        assert result.lines[-1] == (NOT_INSTALLED + "the authorization was denied (code 156). "
                                    "Run the command again with an administrator's password.")
        assert not machine.exists(f"{FOLDER}/refused.sh")


def test_control_c_at_the_prompt_installs_nothing_and_leaves_the_terminal_as_it_was(machine, alice):
    before = alice.run("stty -a").text
    alice.start("wicket install report.sh --name refused.sh")
    alice.expect_password_prompt()
    alice.interrupt()
    result = alice.finish()
    assert result.status == 130
    assert "Interrupted" in result.lines[-1]
    assert not machine.exists(f"{FOLDER}/refused.sh")
    assert alice.run("stty -a").text == before


def test_without_a_terminal_nobody_can_be_asked(machine, alice):
    result = alice.run("setsid --wait wicket install report.sh --name refused.sh </dev/null")
    assert result.status == 1
    assert result.lines[-1].startswith(NOT_INSTALLED + "nobody could be asked for a password (code 156)")
    assert result.lines[-1].endswith("Run the command in a terminal.")
    assert not machine.exists(f"{FOLDER}/refused.sh")


def test_who_is_no_administrator_is_asked_for_the_password_of_one(machine, bob):
    bob.start("wicket install greet.sh")
    assert "Authenticating as: alice" in bob.expect_password_prompt()
    bob.type(PASSWORDS["bob"])
    result = bob.finish()
    assert result.status == 1
    assert result.lines[-1].startswith(NOT_INSTALLED + "the authorization was denied (code 156)")
    assert not machine.exists(f"{FOLDER}/greet.sh")


def test_with_the_administrator_at_the_keyboard_it_is_installed(machine, bob):
    bob.start("wicket install greet.sh")
    bob.expect_password_prompt()
    bob.type(PASSWORDS["alice"])
    assert bob.finish().status == 0
    assert owner_and_mode(machine, f"{FOLDER}/greet.sh") == "root:root 500"


def test_each_installation_asks_anew(alice):
    alice.start("wicket install report.sh")
    alice.expect_password_prompt()
    alice.type(PASSWORDS["alice"])
    assert alice.finish().status == 0


def test_what_is_no_script_is_refused_before_anybody_is_asked(bob):
    result = bob.run("wicket install /etc/hostname")
    assert result.status == 1
    assert "Password" not in result.text


def test_polkit_is_started_where_it_had_been_stopped(machine, alice):
    machine.run("systemctl", "stop", "polkit")
    alice.start("wicket install report.sh")
    alice.expect_password_prompt()
    alice.type(PASSWORDS["alice"])
    assert alice.finish().status == 0


def test_nothing_but_the_installed_scripts_is_left(machine):
    assert machine.output("ls", "-A", FOLDER).split() == ["greet.sh", "report.sh"]
    assert machine.shell("find /tmp /var/tmp /run/user -iname '*wicket*'") == ""
