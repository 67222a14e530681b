# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""The packages are installed with apt, without a network."""

from helper import ACTION, EXECUTABLE, SERVICE, SOCKET, SOCKET_PATH, helper_process, is_listening, owner_and_mode, show
from package import install

# A script is the administrator's.
RESTRICTIONS = [
    "NoNewPrivileges", "PrivateTmp", "PrivateDevices", "PrivateNetwork", "PrivateUsers", "PrivateMounts",
    "ProtectHome", "ProtectSystem", "ProtectKernelTunables", "ProtectKernelModules", "ProtectControlGroups",
    "ProtectClock", "ProtectHostname", "ProtectProc", "RestrictSUIDSGID", "RestrictRealtime", "RestrictNamespaces",
    "RestrictAddressFamilies", "MemoryDenyWriteExecute", "LockPersonality", "SystemCallFilter",
    "SystemCallArchitectures", "CapabilityBoundingSet", "DevicePolicy", "ReadOnlyPaths", "InaccessiblePaths",
    "RuntimeMaxUSec", "MemoryMax", "CPUQuotaPerSecUSec",
]


def test_apt_installs_the_packages_without_a_warning(machine, packages):
    assert packages, "there is no package to install"
    result = install(machine, packages)
    said = result.stdout + result.stderr
    assert "warning" not in said.lower(), said
    assert machine.output("dpkg", "--audit") == ""


def test_the_socket_listens_at_once_and_the_helper_does_not_run(machine):
    assert is_listening(machine)
    assert show(machine, SOCKET, "UnitFileState") == "enabled"
    assert helper_process(machine) == 0


def test_only_root_and_the_group_may_connect_to_the_socket(machine):
    assert owner_and_mode(machine, SOCKET_PATH) == "root:_wicket 660"


def test_what_is_written_before_the_helper_runs_carries_its_senders_name(machine):
    assert show(machine, SOCKET, "PassCredentials") == "yes"


def test_the_helper_can_be_changed_by_root_alone(machine):
    assert owner_and_mode(machine, EXECUTABLE) == "root:root 755"


def test_the_command_gives_its_group_to_whoever_runs_it(machine):
    assert owner_and_mode(machine, "/usr/bin/wicket") == "root:_wicket 2755"


def test_nobody_is_a_member_of_the_group(machine):
    assert machine.output("getent", "group", "_wicket").endswith(":")


def test_systemd_has_nothing_to_say_against_the_units(machine):
    result = machine.run("systemd-analyze", "--man=no", "verify", f"/usr/lib/systemd/system/{SOCKET}",
                         f"/usr/lib/systemd/system/{SERVICE}", check=False)
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")


def test_scripts_outlive_the_helper(machine):
    assert show(machine, SERVICE, "KillMode") == "process"


def test_the_helper_has_the_environment_of_a_job_and_leaves_no_core_dumps(machine):
    assert show(machine, SERVICE, "Environment") == "PATH=/usr/bin:/bin:/usr/sbin:/sbin"
    assert show(machine, SERVICE, "LimitCORESoft") == "0"


def test_nothing_holds_back_what_scripts_may_do(machine):
    for restriction in RESTRICTIONS:
        # What a unit has that says nothing.
        unrestricted = show(machine, "no-such-unit.service", restriction)
        assert show(machine, SERVICE, restriction) == unrestricted, restriction


def test_polkit_knows_the_action_and_wants_an_administrator(machine):
    action = machine.output("pkaction", "--verbose", "--action-id", ACTION)
    assert "Tolvern wants to install a privileged script in a safe location." in action
    for who in ("any", "inactive", "active"):
        assert f"implicit {who}:" in action.replace("implicit " + who + ": ", "implicit " + who + ":")
    assert action.count("auth_admin") == 3
    assert "auth_admin_keep" not in action
