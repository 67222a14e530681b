# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""A Debian system that boots with systemd in a container and leaves nothing behind.

Whoever uses this has namespaces of mounts and processes of its own (tests/system/run makes them): what the
machine changes lies on a tmpfs that nobody else sees, and its processes end with the process namespace.
"""

import contextlib
import os
import select
import shutil
import signal
import socket
import subprocess
import time
from pathlib import Path

from patience import PATIENCE, RanOut

PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"
# What systemd-nspawn ends with when the system inside asked for a reboot that somebody else has to carry out.
REBOOT_WANTED = 133


class CannotBoot(Exception):
    """Says why no container boots on this machine, in a line, and what the container said."""

    def __init__(self, reason, details=""):
        super().__init__(reason)
        self.details = details


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

    def boot(self):
        """Returns when systemd has started everything."""
        self._start(["--boot", "--notify-ready=yes"], [])

    def enter_without_booting(self):
        """Nothing runs inside but what a test runs."""
        self._start(["--as-pid2"], ["sleep", "infinity"])

    def _start(self, options, words):
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
            self._leader = self._await_readiness(notifications, time.monotonic() + PATIENCE)
        # The commands of the tests are for that system and no other.
        if not os.path.samefile(f"/proc/{self._leader}/root", self.root):
            self.end()
            raise CannotBoot("the container's root is not the tree that was made for it")

    def _await_readiness(self, notifications, deadline):
        leader = None
        ready = False
        while time.monotonic() < deadline:
            if self._container.poll() is not None:
                raise CannotBoot(f"systemd-nspawn ended with {self._container.returncode}", self.console_text())
            for word in notifications.wait(0.5):
                name, _, value = word.partition("=")
                leader = int(value) if name == "X_NSPAWN_LEADER_PID" else leader
                ready = ready or name == "READY"
            if ready and leader is not None:
                return leader
        self._leader = leader
        self.end()
        raise CannotBoot(f"the system did not start within {PATIENCE} seconds", self.console_text())

    def reboot(self):
        """As the command reboot inside does it: everything ends, then everything starts again."""
        self.run("systemctl", "--no-block", "reboot")
        try:
            status = self._container.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            raise RanOut(f"the system did not end within {PATIENCE} seconds:\n{self.console_text()}") from None
        if status != REBOOT_WANTED:
            raise AssertionError(f"the system did not reboot but ended with {status}:\n{self.console_text()}")
        self._leader = None
        self.boot()

    def end(self):
        """Ends the container at once; harmless when it has ended."""
        if self._container is not None and self._container.poll() is None:
            # With its first process all of a container's processes end; they would outlive systemd-nspawn alone.
            if self._leader is not None:
                os.kill(self._leader, signal.SIGKILL)
            self._container.kill()
            self._container.wait()
        self._leader = None
        self.eventually(self._remove_cgroup, f"the processes in {self._cgroup} ended")

    def _remove_cgroup(self):
        for folder, _, _ in os.walk(self._cgroup, topdown=False):
            with contextlib.suppress(OSError):
                os.rmdir(folder)
        return not self._cgroup.exists()

    def console_text(self):
        return self.console.read_text(errors="replace")[-4000:]

    # --- commands and files ----------------------------------------------------------------------------------

    def entry(self):
        """The words of a command line that goes before a command to run it inside, as root."""
        return ["nsenter", f"--target={self._leader}", "--all", "--root", "--wd", "--", "env", "-i",
                f"PATH={PATH}", "LC_ALL=C.UTF-8", "TERM=dumb", "DEBIAN_FRONTEND=noninteractive"]

    def run(self, *command, check=True, **options):
        """As root. A status other than 0 is a failed test, with what the command said, unless check is False."""
        if "input" not in options:
            options["stdin"] = subprocess.DEVNULL
        try:
            result = subprocess.run(self.entry() + list(command), capture_output=True, text=True, check=False,
                                    timeout=PATIENCE, **options)
        except subprocess.TimeoutExpired as late:
            said = (late.stdout or b"") + (late.stderr or b"")
            raise RanOut(f"{' '.join(command)}: did not end within {PATIENCE} seconds\n"
                         f"{said.decode(errors='replace')}") from None
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

    def inside(self, path):
        """The path of a file inside, /run, /proc and /dev included, for this process. Follows no absolute links."""
        return Path(f"/proc/{self._leader}/root", path.lstrip("/"))

    def eventually(self, condition, what):
        """Waits until condition() is true, or fails the test saying what did not happen."""
        deadline = time.monotonic() + PATIENCE
        pause = 0.01
        while not (value := condition()):
            if time.monotonic() >= deadline:
                raise RanOut(f"within {PATIENCE} seconds it did not happen that {what}")
            time.sleep(pause)
            # Looking costs processor time, which others here need more the longer this takes.
            pause = min(2 * pause, 0.5)
        return value


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
