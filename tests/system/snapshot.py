# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""What a package can leave behind: files, units, groups, polkit actions."""

import hashlib
import os
import stat

# What a system changes by itself while it runs and while packages come and go.
MACHINE_STATE = (
    "/dev", "/home", "/proc", "/root", "/run", "/sys", "/tmp",
    "/etc/.pwd.lock", "/etc/.updated", "/etc/group-", "/etc/gshadow-", "/etc/ld.so.cache", "/etc/machine-id",
    "/etc/passwd-", "/etc/shadow-", "/etc/subgid-", "/etc/subuid-",
    "/var/.updated", "/var/cache", "/var/lib/apt", "/var/lib/dbus", "/var/lib/dpkg", "/var/lib/private",
    "/var/lib/systemd/catalog", "/var/lib/systemd/random-seed", "/var/lib/systemd/timers", "/var/log", "/var/tmp",
)
UNIT = "net.orvane.Wicket"


def snapshot(machine):
    """A list of lines, one for each thing."""
    return sorted([*_files(machine), *_package_files(machine), *_units(machine), *_groups(machine), *_actions(machine)])


def difference(before, after):
    return [f"- {line}" for line in sorted(set(before) - set(after))] + \
           [f"+ {line}" for line in sorted(set(after) - set(before))]


def _files(machine):
    for folder, folders, files in os.walk(machine.root):
        inside = "/" + os.path.relpath(folder, machine.root).removeprefix(".")
        folders[:] = [name for name in folders if os.path.join(inside, name) not in MACHINE_STATE]
        for name in folders + files:
            path = os.path.join(inside, name)
            if path not in MACHINE_STATE:
                yield _file(machine, path)


def _file(machine, path):
    real = machine.root / path.lstrip("/")
    status = os.lstat(real)
    line = f"file {path} {stat.filemode(status.st_mode)} {status.st_uid}:{status.st_gid}"
    if stat.S_ISLNK(status.st_mode):
        return f"{line} -> {os.readlink(real)}"
    if stat.S_ISREG(status.st_mode) and path.startswith("/etc/"):
        return f"{line} {hashlib.sha256(real.read_bytes()).hexdigest()[:16]}"
    return line


def _package_files(machine):
    """dpkg's own folder is state, but not its records of a single package."""
    info = machine.root / "var/lib/dpkg/info"
    return [f"record /var/lib/dpkg/info/{name}" for name in os.listdir(info)]


def _units(machine):
    known = machine.output("systemctl", "list-unit-files", "--no-legend", "--no-pager", f"{UNIT}*", check=False)
    loaded = machine.output("systemctl", "list-units", "--all", "--no-legend", "--no-pager", "--plain", f"{UNIT}*")
    failed = machine.output("systemctl", "list-units", "--failed", "--no-legend", "--no-pager", "--plain")
    return [f"unit {line}" for line in (known + "\n" + loaded + "\n" + failed).splitlines() if line]


def _groups(machine):
    return [f"group {line}" for line in machine.output("getent", "group").splitlines()]


def _actions(machine):
    return [f"action {line}" for line in machine.output("pkaction").splitlines()]
