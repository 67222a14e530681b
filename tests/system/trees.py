# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""Trees of Debian releases, made once and kept until the list of their packages changes."""

import hashlib
import platform
import shutil
import subprocess

from namespaces import NAMESPACES, say

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
# The oldest first.
RELEASES = list(PACKAGES_OF)


def own_release():
    """This machine's, or None if it is none of these."""
    name = platform.freedesktop_os_release().get("VERSION_CODENAME")
    return name if name in RELEASES else None


def releases_for_packages():
    """Those that packages built on this machine are for: its own and later ones."""
    return RELEASES[RELEASES.index(own_release() or RELEASES[0]):]


def other_release():
    """The latest that is not this machine's."""
    return [release for release in RELEASES if release != own_release()][-1]


class BootstrapFailed(Exception):
    """Says why a tree could not be made."""


def system_tree(release, cache):
    """The folder, below the folder cache, of the tree that boots and gets the packages; made now if it is missing."""
    return _tree(release, cache, ["--variant=apt"], PACKAGES + PACKAGES_OF[release])


def building_tree(release, cache, packages):
    """The same of a tree to build in, with these packages."""
    unread = [f"--dpkgopt=path-exclude=/usr/share/{folder}/*" for folder in ("doc", "info", "locale", "man")]
    return _tree(release, cache, ["--variant=essential", *unread], packages)


def _tree(release, cache, options, packages):
    command = ["mmdebstrap", "--quiet", "--format=directory", *options, "--include=" + ",".join(sorted(packages)),
               # An interrupted bootstrap is thrown away: no file needs to be safe on the disk at once.
               "--dpkgopt=force-unsafe-io",
               "--customize-hook=rm -f $1/etc/hostname $1/etc/resolv.conf", release]
    digest = hashlib.sha256("\n".join(command).encode()).hexdigest()[:12]
    folder = cache / f"{release}-{digest}"
    if folder.exists():
        return folder
    cache.mkdir(parents=True, exist_ok=True)
    for outdated in cache.glob(f"{release}-*"):
        shutil.rmtree(outdated)
    # Complete or absent: an interrupted bootstrap leaves a folder of another name, which the next one removes.
    partial = cache / f"{release}-{digest}.partial"
    say(f"making a tree of {release}")
    # Of what it mounts in the tree nothing is left there, not even when it is killed.
    _bootstrap([*NAMESPACES, *command, str(partial)])
    partial.rename(folder)
    return folder


def _bootstrap(command):
    result = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
    if result.returncode != 0:
        raise BootstrapFailed("mmdebstrap: " + result.stderr.strip()[-2000:])
