# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""What the tests know of the helper and its users: names, and how to see it from the system's side."""

import json

JOB = "net.orvane.Wicket.TlvPrivilegedHelper"
SERVICE = f"{JOB}.service"
SOCKET = f"{JOB}.socket"
SOCKET_PATH = f"/run/{JOB}"
EXECUTABLE = f"/usr/libexec/{JOB}"
ACTION = f"{JOB}.installScriptAt-authData-completion-"
FOLDER = "/var/orvane"
VERSION = "9417"
# Scripts of the tests wait while it exists.
HOLD = "/run/hold"
PASSWORDS = {"alice": "correct-horse", "bob": "battery-staple", "mallory": "open-sesame"}


def show(machine, unit, name):
    return machine.output("systemctl", "show", "--value", f"--property={name}", unit)


def helper_process(machine):
    """The process number of the helper inside, 0 when it does not run."""
    return int(show(machine, SERVICE, "MainPID"))


def started_helper(machine):
    """Its process number, once systemd has seen its start and the journal has its line.

    It may answer before that; and whose lines they are the journal cannot find out when the process has gone."""
    machine.eventually(lambda: show(machine, SERVICE, "ActiveState") == "active", "systemd saw the helper's start")
    write_journal(machine)
    return helper_process(machine)


def kill_helper(machine):
    """As no program can prevent."""
    process = started_helper(machine)
    machine.shell(f"kill -KILL {process}")
    machine.eventually(lambda: helper_process(machine) != process, "systemd saw the helper's end")


def is_listening(machine):
    return machine.run("systemctl", "is-active", "--quiet", SOCKET, check=False).returncode == 0


def write_journal(machine):
    """Returns when the journal has all that has been said so far."""
    machine.run("journalctl", "--sync")


def journal_entries(machine, *matches):
    write_journal(machine)
    lines = machine.output("journalctl", "--no-pager", "--output=json", *matches).splitlines()
    return [json.loads(line) for line in lines]


def own_entries(machine):
    """What the helper's processes wrote, in all boots."""
    return journal_entries(machine, f"_SYSTEMD_UNIT={SERVICE}")


def starts(machine):
    """How often systemd started the helper, in all boots."""
    began = "MESSAGE_ID=39f53479d3a045ac8e11786248231fbf"
    return [entry for entry in journal_entries(machine, began, "_PID=1") if entry.get("UNIT") == SERVICE]


def owner_and_mode(machine, path):
    return machine.output("stat", "--format=%U:%G %a", path)


def allow_installations(machine, user):
    """A rule of polkit that asks this user no more; None takes it away."""
    rule = "/etc/polkit-1/rules.d/10-test.rules"
    if user is None:
        machine.run("rm", "--force", rule)
    else:
        machine.write(rule, f'polkit.addRule(function(action, subject) {{ if (action.id == "{ACTION}" && '
                            f'subject.user == "{user}") return polkit.Result.YES; }});\n')
    # systemd would refuse so many starts within so few seconds.
    machine.run("systemctl", "reset-failed", "polkit", check=False)
    machine.run("systemctl", "restart", "polkit")
