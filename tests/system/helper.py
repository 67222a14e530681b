# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""What the tests know of the helper: its names, and how to see it from the system's side."""

import json

JOB = "net.orvane.Wicket.TlvPrivilegedHelper"
SERVICE = f"{JOB}.service"
SOCKET = f"{JOB}.socket"
SOCKET_PATH = f"/run/{JOB}"
EXECUTABLE = f"/usr/libexec/{JOB}"
ACTION = f"{JOB}.installScriptAt-authData-completion-"
FOLDER = "/var/orvane"
VERSION = "9417"


def show(machine, unit, name):
    return machine.output("systemctl", "show", "--value", f"--property={name}", unit)


def helper_process(machine):
    """The process number of the helper inside, 0 when it does not run."""
    return int(show(machine, SERVICE, "MainPID"))


def kill_helper(machine):
    """As no program can prevent."""
    process = helper_process(machine)
    assert process != 0, "the helper does not run"
    machine.shell(f"kill -KILL {process}")
    machine.eventually(lambda: helper_process(machine) != process, "systemd saw the helper's end")


def is_listening(machine):
    return machine.run("systemctl", "is-active", "--quiet", SOCKET, check=False).returncode == 0


def journal_entries(machine, *matches):
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
    machine.run("systemctl", "restart", "polkit")
