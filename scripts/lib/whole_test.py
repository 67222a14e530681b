# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""Everything that must hold before a change goes in.

Without options: all tests in an ordinary build, the static checks among them, and under the sanitizers; the helper for
macOS; the packages, on booted Debian 12 and 13; the demonstration, the quick tests and the packages on Debian 13. What
compiles runs behind tests that wait. The logs are in build/test/. Ends with ctest's closing lines; where something
failed, with that once more before them.
"""

import argparse
import os
import signal
import subprocess
import sys
import time
from dataclasses import replace
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

# The label of the checks that are tests of the preset dev.
STATIC = "static"
# What is no suite of a preset: each is a program that also runs by itself.
PARTS = {
    "system": Task("test the packages on booted systems", ["tests/system/run"], after=["packages"], nice=0, is_suite=True,
                   may_skip=True),
    # It compiles, and waits for the network: it fills what the others leave.
    "release": Task("another release of Debian", ["tests/release/run"], is_suite=True, may_skip=True),
    "packages": Task("check the packages", ["tests/packages/check"], after=["packages"], lane="compiler"),
    "macos": Task("check for macOS", ["cmake/macos/check"], lane="compiler"),
    "tidy": Task("clang-tidy", ["tests/static/tidy"], after=["build tsan"], lane="compiler"),
}


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


def build(preset):
    return Task(f"build {preset}", configure_and_build(preset), lane="compiler")


def test(preset, options, *labels):
    return Task(f"test {preset}", suite(preset, options, *labels), after=[f"build {preset}"], nice=0, is_suite=True)


def quick(options):
    labels = ("--label-exclude", "^(slow|together)$") if options.tests else \
        ("--label-regex", "^(together|static)$", "--label-exclude", "^slow$")
    return [build("dev"), test("dev", options, labels)]


def one_preset(options):
    return [build(options.preset), test(options.preset, options)]


def one_part(options):
    """What the part needs is built; its own output goes to the terminal, but for ctest's, which is told at the end."""
    if options.only == STATIC:
        tasks = [build("dev"), test("dev", options, ("--label-regex", f"^{STATIC}$"))]
    else:
        part = PARTS[options.only]
        tasks = [build(preset) for preset in PRESETS if f"build {preset}" in part.after] + [replace(part, shown=True)]
    tasks[-1].command = tasks[-1].command + options.words
    return tasks


def whole(options):
    """In the order in which they are begun: what others wait for first, and last what waits for nobody."""
    return [
        build("dev"),
        Task("packages", ["scripts/package"], lane="compiler"),
        build("tsan"),
        build("asan"),
        *[test(preset, options) for preset in PRESETS],
        *PARTS.values(),
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
    suites = [replace(task, nice=0) for task in tasks if task.is_suite]
    if not Pipeline([task for task in tasks if not task.is_suite], LOGS).run():
        return False
    with BusyLoops(BUSY_LOOPS):
        return Pipeline(suites, LOGS).run()


def parts_in_words():
    lines = [f"  {STATIC:9} the static checks (ctest --test-dir build/dev -L static)",
             *[f"  {name:9} {part.name} ({part.command[0]})" for name, part in PARTS.items()]]
    return "parts, in brackets what can be run by itself as well:\n" + "\n".join(lines)


def read_options():
    parser = argparse.ArgumentParser(prog="scripts/test", description=__doc__, epilog=parts_in_words(),
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    what = parser.add_mutually_exclusive_group()
    what.add_argument("--quick", action="store_true",
                      help="the tests of the preset dev that are not slow, and its quick static checks")
    what.add_argument("--preset", choices=PRESETS, help="all tests of one preset and nothing else")
    what.add_argument("--only", metavar="PART", choices=[STATIC, *PARTS], help="one part and nothing else, see below")
    parser.add_argument("words", nargs="*", metavar="-- WORD", help="options of that part, such as: -- --help")
    parser.add_argument("--tests", metavar="REGEX", help="of the tests in the presets only those whose names match")
    parser.add_argument("--repeat", type=int, default=1, metavar="N", help="all of it N times; ends with a failed one")
    parser.add_argument("--busy", action="store_true", help=f"beside {BUSY_LOOPS} busy loops")
    options = parser.parse_args()
    if options.repeat < 1:
        parser.error("--repeat needs a number above 0")
    if options.words and not options.only:
        parser.error("words behind -- are for a part: --only PART -- WORD...")
    if options.tests and options.only in PARTS:
        parser.error("--tests is for the presets")
    return options


def main():
    options = read_options()
    os.chdir(ROOT)
    make = quick if options.quick else one_preset if options.preset else one_part if options.only else whole
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
