# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""Everything that must hold before a change goes in.

Without options: the static checks; all tests in an ordinary build and under the sanitizers; the helper for macOS; the
packages, on booted Debian 12 and 13; the demonstration, the quick tests and the packages on Debian 13. What compiles
runs behind tests that wait. The logs are in build/test/. Ends with ctest's closing lines; where something failed, with
that once more before them.
"""

import argparse
import os
import signal
import subprocess
import sys
import time
from pathlib import Path

sys.dont_write_bytecode = True
import results  # noqa: E402  # which leaves nothing beside the sources
from pipeline import Pipeline, Task  # noqa: E402

ROOT = Path(__file__).resolve().parent.parent.parent

LOGS = ROOT / "build/test"
PRESETS = ["dev", "tsan", "asan"]
BUSY_LOOPS = 8
# The tests mostly wait: for a connection's 45 seconds, for a pipe, for a dialogue that nobody answers.
PARALLEL = 12


def configure_and_build(preset):
    # Configuring writes what a build then reads: only once, or each run would build something anew.
    configured = Path(ROOT, "build", preset, "build.ninja").exists()
    configure = "" if configured else f"cmake --preset {preset} && "
    return ["sh", "-c", f"{configure}cmake --build --preset {preset}"]


def suite(preset, options, labels=("--label-exclude", "^together$")):
    """By default without what only runs others once more."""
    command = ["ctest", "--test-dir", f"build/{preset}", "--parallel", str(PARALLEL), "--output-on-failure",
               "--no-tests=error", "--output-junit", str(LOGS / f"test-{preset}.xml"), "--test-output-size-failed", "1000000",
               "--test-output-size-passed", "1000000", *labels]
    if options.tests:
        command += ["--tests-regex", options.tests]
    return command


def static_checks():
    return [
        Task("format", ["scripts/format", "--check"]),
        Task("includes", ["sh", "-c", "scripts/include-check --self-test && scripts/include-check"]),
        Task("security table", ["scripts/security-check"]),
        Task("shell scripts", ["sh", "-c", "git grep --name-only -Ie '^#!.*bash' | xargs shellcheck --external-sources"]),
    ]


def quick(options):
    labels = ("--label-exclude", "^(slow|together)$") if options.tests else ("--label-regex", "^together$")
    return [
        *static_checks(),
        Task("build dev", configure_and_build("dev"), lane="compiler"),
        Task("test dev", suite("dev", options, labels), after=["build dev"], nice=0, is_suite=True),
    ]


def one_preset(options):
    preset = options.preset
    return [
        Task(f"build {preset}", configure_and_build(preset), lane="compiler"),
        Task(f"test {preset}", suite(preset, options), after=[f"build {preset}"], nice=0, is_suite=True),
    ]


def whole(options):
    """In the order in which they are begun: what others wait for first, and last what waits for nobody."""
    builds = {preset: Task(f"build {preset}", configure_and_build(preset), lane="compiler") for preset in PRESETS}
    suites = [Task(f"test {preset}", suite(preset, options), after=[f"build {preset}"], nice=0, is_suite=True)
              for preset in PRESETS]
    return [
        *static_checks(),
        builds["dev"],
        Task("packages", ["scripts/package"], lane="compiler"),
        builds["tsan"],
        builds["asan"],
        *suites,
        Task("interfaces", ["scripts/interface-check", "build/dev/bin"], after=["build dev"]),
        Task("test the packages on booted systems", ["scripts/system-test"], after=["packages"], nice=0, is_suite=True,
             may_skip=True),
        # It compiles, and waits for the network: it fills what the others leave.
        Task("another release of Debian", ["scripts/release-test"], is_suite=True, may_skip=True),
        Task("check the packages", ["scripts/package-check"], after=["packages"], lane="compiler"),
        Task("check for macOS", ["scripts/macos-check"], lane="compiler"),
        Task("clang-tidy", ["scripts/tidy"], after=["build tsan"], lane="compiler"),
    ]


class BusyLoops:
    """Makes the machine as busy as others might, while a suite runs."""

    def __init__(self, count):
        self._count = count
        self._processes = []

    def __enter__(self):
        # They end with this, however it ends.
        command = ["setpriv", "--pdeathsig", "KILL", "sh", "-c", "while :; do :; done"]
        self._processes = [subprocess.Popen(command) for _ in range(self._count)]

    def __exit__(self, *_):
        for process in self._processes:
            process.kill()
            process.wait()


def play(tasks, options):
    """One run. Where the machine is to be busy, all is built before: compilers would only hold up what is tried."""
    if not options.busy:
        return Pipeline(tasks, LOGS).run()
    suites = [task for task in tasks if task.is_suite]
    if not Pipeline([task for task in tasks if not task.is_suite], LOGS).run():
        return False
    for task in suites:
        task.nice = 0
    with BusyLoops(BUSY_LOOPS):
        return Pipeline(suites, LOGS).run()


def read_options():
    parser = argparse.ArgumentParser(prog="scripts/test", description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    what = parser.add_mutually_exclusive_group()
    what.add_argument("--quick", action="store_true",
                      help="the static checks but clang-tidy, and the tests of the preset dev that are not slow")
    what.add_argument("--preset", choices=PRESETS, help="all tests of one preset and nothing else")
    parser.add_argument("--tests", metavar="REGEX", help="of the tests in the presets only those whose names match")
    parser.add_argument("--repeat", type=int, default=1, metavar="N", help="all of it N times; ends with a failed one")
    parser.add_argument("--busy", action="store_true", help=f"beside {BUSY_LOOPS} busy loops")
    options = parser.parse_args()
    if options.repeat < 1:
        parser.error("--repeat needs a number above 0")
    return options


def main():
    options = read_options()
    os.chdir(ROOT)
    make = quick if options.quick else one_preset if options.preset else whole
    for number in range(1, options.repeat + 1):
        results.forget(LOGS)
        began = time.monotonic()
        passed = play(make(options), options)
        print(f"\n== {'passed' if passed else 'FAILED'}: run {number} of {options.repeat}, "
              f"{time.monotonic() - began:.0f} s\n")
        results.summarize(LOGS)
        if not passed:
            sys.exit(1)


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    try:
        main()
    except KeyboardInterrupt:
        sys.exit(130)
