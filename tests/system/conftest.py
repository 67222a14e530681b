# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""The machine and the terminals that the tests share, and what a failed test shows."""

import re
import subprocess
from pathlib import Path

import pytest
from machine import CannotBoot, Machine
from snapshot import snapshot
from terminal import Terminal

# scripts/system-test knows it.
SKIPPED = 77


def pytest_addoption(parser):
    group = parser.getgroup("system")
    group.addoption("--release", help="the Debian release")
    group.addoption("--tree", help="the folder of its tree, which stays as it is")
    group.addoption("--run", help="the number of this run")
    group.addoption("--packages", help="the folder of the packages under test")
    group.addoption("--plain", help="the folder of an installation without packages")
    group.addoption("--older-kernel", help="the program that makes the kernel look older to another one")


def pytest_itemcollected(item):
    """A test is called what its name says: a sentence."""
    sentence = item.originalname.removeprefix("test_").replace("_", " ")
    chapter = re.sub(r"^test_\d+_", "", item.path.stem).replace("_", " ")
    parameters = f" ({item.callspec.id})" if hasattr(item, "callspec") else ""
    item._nodeid = f"{chapter}: {sentence}{parameters}"  # pylint: disable=protected-access


def pytest_configure():
    Path("/run/wicket-system").mkdir(exist_ok=True)
    if not Path("/run/wicket-system").is_mount():
        mount = ["mount", "-t", "tmpfs", "-o", "mode=0755", "wicket-system", "/run/wicket-system"]
        subprocess.run(mount, check=True)


def new_machine(request, name=None):
    """A machine of this release, not booted yet."""
    option = request.config.getoption
    return Machine(name or option("--release"), option("--tree"), option("--run"))


@pytest.fixture(scope="session")
def machine(request):
    """A booted system with its users, before anything of Wicket is on it."""
    try:
        booted = new_machine(request)
        booted.boot()
    except CannotBoot as reason:
        pytest.exit(f"no container boots here: {reason}", SKIPPED)
    add_users(booted)
    booted.before = snapshot(booted)
    yield booted
    booted.end()


PASSWORDS = {"alice": "correct-horse", "bob": "battery-staple", "mallory": "open-sesame"}


def add_users(machine):
    """alice is an administrator; bob and mallory are not."""
    for user, password in PASSWORDS.items():
        machine.run("useradd", "--create-home", "--shell=/bin/bash", user)
        machine.run("chpasswd", input=f"{user}:{password}\n")
        machine.write(f"/home/{user}/.hushlogin", "", owner=user)
    machine.run("usermod", "--append", "--groups=sudo", "alice")


class Terminals:
    """One terminal for each user, who stays logged in from test to test."""

    def __init__(self, machine):
        self._machine = machine
        self._open = {}

    def of(self, user):
        if user not in self._open:
            self._open[user] = Terminal(self._machine, user)
        return self._open[user]

    def begin(self):
        for terminal in self._open.values():
            terminal.mark()

    def shown(self):
        return {user: terminal.shown_since_mark() for user, terminal in self._open.items()}

    def log_out(self, user):
        if user in self._open:
            self._open.pop(user).close()

    def close(self):
        for user in list(self._open):
            self.log_out(user)


@pytest.fixture(scope="session")
def terminals(machine):
    pool = Terminals(machine)
    yield pool
    pool.close()


@pytest.fixture
def alice(terminals):
    return terminals.of("alice")


@pytest.fixture
def bob(terminals):
    return terminals.of("bob")


@pytest.fixture
def mallory(terminals):
    return terminals.of("mallory")


@pytest.fixture
def packages(request):
    """The packages that a user installs; those for developers have dependencies of their own."""
    folder = Path(request.config.getoption("--packages"))
    return [package for package in sorted(folder.glob("*.deb"))
            if not re.search("-(dev|dbgsym)_", package.name)]


@pytest.fixture(autouse=True)
def evidence(request, machine, terminals):
    """Where the journal and the terminals stood when the test began."""
    terminals.begin()
    request.node.machine, request.node.terminals = machine, terminals
    request.node.began = machine.output("date", "+%s.%N")


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    report = (yield).get_result()
    if call.when != "call" or not report.failed or not hasattr(item, "began"):
        return
    for user, text in item.terminals.shown().items():
        if text.strip():
            report.sections.append((f"terminal of {user}", text))
    # What a terminal shows after a failure is anybody's guess, so the next test gets another one.
    for used in item.funcargs.values():
        if isinstance(used, Terminal):
            item.terminals.log_out(used.user)
    journal = item.machine.run("journalctl", "--no-pager", "--output=short-precise", f"--since=@{item.began}",
                               check=False)
    report.sections.append(("journal", (journal.stdout + journal.stderr)[-12000:]))
