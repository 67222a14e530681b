# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""For programs that boot or enter trees of Debian releases: namespaces of their own, and why there are none.

A test that cannot run prints the reason and ends with 77; with CI=true in the environment that is a failure.
"""

import os
import shutil
import signal
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
PROGRAM = os.path.relpath(sys.argv[0], ROOT)
SKIPPED = 77
# What is mounted and what is started in them ends with them, and they end with this process.
NAMESPACES = ["setpriv", "--pdeathsig", "KILL", "unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]


def say(text):
    print(f"{PROGRAM}: {text}", flush=True)


def skip(reason):
    if os.environ.get("CI") == "true":
        say(f"FAILED, because tests must not be skipped here: {reason}")
        sys.exit(1)
    say(f"SKIPPED: {reason}")
    sys.exit(SKIPPED)


def require_root(why):
    if os.geteuid() != 0:
        skip(why)


def require_tools(programs, modules=()):
    """Installs what is missing of them."""
    if _missing(programs, modules):
        subprocess.run([ROOT / "scripts/setup"], check=False)
    if missing := _missing(programs, modules):
        skip(f"scripts/setup could not install what is missing: {', '.join(missing)}")


def _missing(programs, modules):
    return [name for name in programs if shutil.which(name) is None] + \
        [name for name in modules if subprocess.run([sys.executable, "-c", f"import {name}"],
                                                    stderr=subprocess.DEVNULL, check=False).returncode != 0]


def require_in_namespaces(*command):
    """The command must succeed in namespaces of its own."""
    attempt = subprocess.run([*NAMESPACES, *command], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                             check=False)
    if attempt.returncode != 0:
        skip(f"namespaces are refused here: {attempt.stderr.strip()}")


def run_as_program(main):
    """Ends as asked, so that what must be cleaned up is."""
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    try:
        main()
    except KeyboardInterrupt:
        sys.exit(130)
