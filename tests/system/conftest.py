# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""The machines and the terminals that the tests share, and what a failed test shows."""

import re
import subprocess
import time
from pathlib import Path

import pytest
from helper import HOLD, PASSWORDS
from long_run import LongRun
from machine import CannotBoot, Machine
from package import install, user_packages
from patience import RanOut
from snapshot import snapshot
from terminal import Terminals

# tests/system/run knows it.
SKIPPED = 77


def pytest_addoption(parser):
    group = parser.getgroup("system")
    group.addoption("--release", help="the Debian release")
    group.addoption("--tree", help="the folder of its tree, which stays as it is")
    group.addoption("--run", help="the number of this run")
    group.addoption("--packages", help="the folder of the packages under test")
    group.addoption("--identity", help="the development identity that signed them")
    group.addoption("--plain", help="the folder of an installation without packages")
    group.addoption("--preloaded", help="a library for LD_PRELOAD that asks the helper by itself")
    group.addoption("--older-kernel", help="the program that makes the kernel look older to another one")


def pytest_itemcollected(item):
    """A test is called what its name says: a sentence."""
    sentence = item.originalname.removeprefix("test_").replace("_", " ")
    chapter = re.sub(r"^test_\d+_", "", item.path.stem).replace("_", " ")
    parameters = f" ({item.callspec.id})" if hasattr(item, "callspec") else ""
    item._nodeid = f"{chapter}: {sentence}{parameters}"  # pylint: disable=protected-access


def pytest_configure(config):
    config.terminals = []
    Path("/run/wicket-system").mkdir(exist_ok=True)
    if not Path("/run/wicket-system").is_mount():
        mount = ["mount", "-t", "tmpfs", "-o", "mode=0755", "wicket-system", "/run/wicket-system"]
        subprocess.run(mount, check=True)


def new_machine(config, kind=""):
    """A machine of this release, not booted yet."""
    return Machine(config.getoption("--release") + kind, config.getoption("--tree"), config.getoption("--run"))


def boot(config, kind=""):
    """The terminals of a booted system with its users, before anything of Wicket is on it."""
    booted = new_machine(config, kind)
    booted.boot()
    add_users(booted)
    config.terminals.append(Terminals(booted))
    return config.terminals[-1]


def add_users(machine):
    """alice is an administrator; bob and mallory are not."""
    for user, password in PASSWORDS.items():
        machine.run("useradd", "--create-home", "--shell=/bin/bash", user)
        machine.run("chpasswd", input=f"{user}:{password}\n")
        machine.write(f"/home/{user}/.hushlogin", "", owner=user)
    machine.run("usermod", "--append", "--groups=sudo", "alice")


def end(terminals):
    terminals.close()
    terminals.machine.end()


@pytest.fixture(scope="session")
def terminals(pytestconfig):
    try:
        opened = boot(pytestconfig)
    except CannotBoot as reason:
        pytest.exit(f"{reason.details}\nno container boots here: {reason}", SKIPPED)
    opened.machine.before = snapshot(opened.machine)
    yield opened
    end(opened)


@pytest.fixture(scope="session")
def machine(terminals):
    return terminals.machine


@pytest.fixture
def alice(terminals):
    return terminals.of("alice")


@pytest.fixture
def bob(terminals):
    return terminals.of("bob")


class Hold:
    """Holds scripts up that look for it."""

    def __init__(self, machine):
        self._file = machine.inside(HOLD)

    def begin(self):
        self._file.touch()

    def end(self):
        self._file.unlink(missing_ok=True)


@pytest.fixture
def hold(machine):
    made = Hold(machine)
    yield made
    made.end()


@pytest.fixture(scope="session")
def packages(pytestconfig):
    return user_packages(Path(pytestconfig.getoption("--packages")))


@pytest.fixture(scope="session")
def long_run(pytestconfig, machine, packages):  # pylint: disable=unused-argument  # what boots first can be skipped
    """On another machine, so that the story goes on meanwhile."""
    opened = boot(pytestconfig, "-waiting")
    install(opened.machine, packages)
    yield LongRun(opened)
    end(opened)


@pytest.hookimpl(tryfirst=True)
def pytest_runtest_setup(item):
    """Notes where the terminals and the journals stand when the test begins."""
    for terminals in item.config.terminals:
        terminals.mark()
    item.began = time.time()


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    report = (yield).get_result()
    if not report.failed:
        return
    if isinstance(call.excinfo.value, RanOut):
        item.session.shouldfail = "a test waited in vain, so that those behind it would most likely wait, too"
    # What the users saw comes last, where a reader looks first.
    for terminals in item.config.terminals:
        show_journal(report, terminals.machine, item.began)
    for terminals in item.config.terminals:
        show_terminals(report, terminals)


def show_journal(report, machine, began):
    journal = machine.run("journalctl", "--quiet", "--no-pager", "--output=short-precise", f"--since=@{began}",
                          check=False)
    text = (journal.stdout + journal.stderr)[-12000:]
    if text:
        report.sections.append((f"journal of {machine.name}", text))


def show_terminals(report, terminals):
    for user, text in terminals.shown_since_mark().items():
        report.sections.append((f"terminal of {user} on {terminals.machine.name}", text))
        # What a terminal shows after a failure is anybody's guess, so the next test gets another one.
        terminals.log_out(user)
