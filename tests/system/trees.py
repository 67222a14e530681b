# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""Trees of Debian releases, made once and kept until the list of their packages changes."""

import hashlib
import shutil
import subprocess
from pathlib import Path

# What the packages under test depend on is here too, so that apt needs no network in the container. A name that
# only one release has is listed with it.
PACKAGES = [
    "systemd-sysv", "dbus", "libpam-systemd", "login", "passwd", "polkitd", "sudo",
    "libstdc++6", "python3-minimal",
]
PACKAGES_OF = {
    "bookworm": ["libssl3", "libplist3"],
    "trixie": ["libssl3t64", "libplist-2.0-4"],
}
RELEASES = list(PACKAGES_OF)


class BootstrapFailed(Exception):
    """Says why a tree could not be made."""


def tree(release, cache):
    """The folder of the release's tree below the folder cache, made now if it is missing."""
    packages = sorted(PACKAGES + PACKAGES_OF[release])
    digest = hashlib.sha256("\n".join(packages).encode()).hexdigest()[:12]
    folder = cache / f"{release}-{digest}"
    if folder.exists():
        return folder
    cache.mkdir(parents=True, exist_ok=True)
    for outdated in cache.glob(f"{release}-*"):
        shutil.rmtree(outdated)
    # Complete or absent: an interrupted bootstrap leaves a folder of another name, which the next one removes.
    partial = cache / f"{release}-{digest}.partial"
    _bootstrap(release, packages, partial)
    partial.rename(folder)
    return folder


def _bootstrap(release, packages, folder: Path):
    command = ["mmdebstrap", "--quiet", "--variant=apt", "--format=directory", "--include=" + ",".join(packages),
               "--customize-hook=rm -f $1/etc/hostname $1/etc/resolv.conf", release, str(folder)]
    result = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
    if result.returncode != 0:
        raise BootstrapFailed(f"mmdebstrap {release}: " + result.stderr.strip()[-2000:])
