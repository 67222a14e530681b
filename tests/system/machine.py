# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""A Debian system that boots with systemd in a container and leaves nothing behind.

Whoever uses this has namespaces of mounts and processes of its own (scripts/system-test makes them): what the
machine changes lies on a tmpfs that nobody else sees, and its processes end with the process namespace.
"""

import contextlib
import os
import select
import shutil
import socket
import subprocess
import time
from pathlib import Path

PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"
# What systemd-nspawn ends with when the system inside asked for a reboot that somebody else has to carry out.
REBOOT_WANTED = 133


class CannotBoot(Exception):
    """Says why no container boots on this machine."""


class Machine:
    """One tree under a writable layer; booted or not."""

    def __init__(self, name, lower, run):
        """The number run tells the machines of several runs apart, which see each other's cgroups."""
        self.name = name
        self.folder = Path("/run/wicket-system") / name
        self.root = self.folder / "root"
        self.console = self.folder / "console"
        self._container = None
        self._leader = None
        self._cgroup = _own_cgroup() / f"wicket-system-{run}-{name}"
        self._lay_over(lower)

    def _lay_over(self, lower):
        if not Path("/run/wicket-system").is_mount():
            raise CannotBoot("the machine needs a tmpfs of its own on /run/wicket-system")
        for name in ("upper", "work", "root"):
            (self.folder / name).mkdir(parents=True)
        layers = f"lowerdir={lower},upperdir={self.folder}/upper,workdir={self.folder}/work"
        mount = subprocess.run(["mount", "-t", "overlay", "wicket-system", "-o", layers, str(self.root)],
                               capture_output=True, text=True, check=False)
        if mount.returncode != 0:
            raise CannotBoot("overlay file systems cannot be mounted: " + mount.stderr.strip())

    # --- life ------------------------------------------------------------------------------------------------

    def boot(self, timeout=90):
        """Returns when systemd has started everything."""
        self._start(["--boot", "--notify-ready=yes"], [], timeout)

    def enter_without_booting(self):
        """Nothing runs inside but what a test runs."""
        self._start(["--as-pid2"], ["sleep", "infinity"], timeout=20)

    def _start(self, options, words, timeout):
        self._cgroup.mkdir(exist_ok=True)
        command = [
            "systemd-nspawn", f"--directory={self.root}", f"--machine=wicket-{self.name}", "--quiet",
            "--register=no", "--keep-unit", "--private-network", "--console=pipe", "--link-journal=no",
            "--resolv-conf=off", "--timezone=off", "--system-call-filter=pidfd_getfd", *options, *words,
        ]
        # Two containers that keep their unit must not share a cgroup.
        into_cgroup = ["sh", "-c", 'echo $$ >"$0/cgroup.procs" && exec "$@"', str(self._cgroup)]
        with _Notifications(self.folder / "notify") as notifications, self.console.open("ab") as console:
            environment = {"PATH": PATH, "SYSTEMD_NSPAWN_UNIFIED_HIERARCHY": "1", "NOTIFY_SOCKET": notifications.path}
            self._container = subprocess.Popen(into_cgroup + command, stdin=subprocess.DEVNULL, stdout=console,
                                               stderr=subprocess.STDOUT, env=environment)
            self._leader = self._await_readiness(notifications, time.monotonic() + timeout)
        # The commands of the tests are for that system and no other.
        if not os.path.samefile(f"/proc/{self._leader}/root", self.root):
            self.end()
            raise CannotBoot("the container's root is not the tree that was made for it")

    def _await_readiness(self, notifications, deadline):
        leader = None
        ready = False
        while time.monotonic() < deadline:
            if self._container.poll() is not None:
                raise CannotBoot("systemd-nspawn ended:\n" + self.console_text())
            for word in notifications.wait(0.5):
                name, _, value = word.partition("=")
                leader = int(value) if name == "X_NSPAWN_LEADER_PID" else leader
                ready = ready or name == "READY"
            if ready and leader is not None:
                return leader
        self.end()
        raise CannotBoot("the system did not start in time:\n" + self.console_text())

    def reboot(self, timeout=60):
        """As the command reboot inside does it: everything ends, then everything starts again."""
        self.run("systemctl", "--no-block", "reboot")
        status = self._container.wait(timeout)
        if status != REBOOT_WANTED:
            raise AssertionError(f"the system did not reboot but ended with {status}:\n{self.console_text()}")
        self._leader = None
        self.boot()

    def end(self):
        """Ends the container at once; harmless when it has ended."""
        if self._container is not None and self._container.poll() is None:
            self._container.kill()
            self._container.wait()
        self._leader = None
        self._remove_cgroup()

    def _remove_cgroup(self):
        deadline = time.monotonic() + 5
        while self._cgroup.exists() and time.monotonic() < deadline:
            for folder, _, _ in os.walk(self._cgroup, topdown=False):
                with contextlib.suppress(OSError):
                    os.rmdir(folder)
            time.sleep(0.05)

    def console_text(self):
        return self.console.read_text(errors="replace")[-4000:]

    # --- commands and files ----------------------------------------------------------------------------------

    def entry(self):
        """The words of a command line that goes before a command to run it inside, as root."""
        return ["nsenter", f"--target={self._leader}", "--all", "--root", "--wd", "--", "env", "-i",
                f"PATH={PATH}", "LC_ALL=C.UTF-8", "TERM=dumb", "DEBIAN_FRONTEND=noninteractive"]

    def run(self, *command, check=True, timeout=60, **options):
        """As root. A status other than 0 is a failed test, with what the command said, unless check is False."""
        options.setdefault("stdin", None if "input" in options else subprocess.DEVNULL)
        if options["stdin"] is None:
            del options["stdin"]
        result = subprocess.run(self.entry() + list(command), capture_output=True, text=True, check=False,
                                timeout=timeout, **options)
        if check and result.returncode != 0:
            raise AssertionError(f"{' '.join(command)}: status {result.returncode}\n{result.stdout}{result.stderr}")
        return result

    def output(self, *command, **options):
        return self.run(*command, **options).stdout.strip()

    def shell(self, script, **options):
        return self.run("bash", "-euc", script, **options).stdout.strip()

    def write(self, path, text, mode=0o644, owner=None):
        target = self.root / path.lstrip("/")
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(text)
        target.chmod(mode)
        if owner:
            self.run("chown", f"{owner}:", path)

    def copy_in(self, source, path):
        target = self.root / path.lstrip("/")
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy2(source, target)

    def exists(self, path):
        return os.path.lexists(self.root / path.lstrip("/"))

    def eventually(self, condition, what, timeout=20):
        """Waits until condition() is true, or fails the test saying what did not happen."""
        deadline = time.monotonic() + timeout
        while True:
            value = condition()
            if value:
                return value
            assert time.monotonic() < deadline, f"within {timeout} seconds it did not happen that {what}"
            time.sleep(0.1)


class _Notifications:
    """The receiving end of systemd-nspawn's notifications."""

    def __init__(self, path):
        self.path = str(path)

    def __enter__(self):
        with contextlib.suppress(FileNotFoundError):
            os.unlink(self.path)
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self._socket.bind(self.path)
        return self

    def __exit__(self, *_):
        self._socket.close()

    def wait(self, seconds):
        if not select.select([self._socket], [], [], seconds)[0]:
            return []
        return self._socket.recv(4096).decode(errors="replace").splitlines()


def _own_cgroup():
    """The folder of this process's cgroup in the unified hierarchy."""
    mounts = [line.split() for line in Path("/proc/self/mounts").read_text().splitlines()]
    mount_point = next((fields[1] for fields in mounts if fields[2] == "cgroup2"), None)
    if mount_point is None:
        raise CannotBoot("the unified cgroup hierarchy (cgroup v2) is not mounted")
    lines = Path("/proc/self/cgroup").read_text().splitlines()
    path = next((line[3:] for line in lines if line.startswith("0::")), "/")
    return Path(mount_point) / path.lstrip("/")
