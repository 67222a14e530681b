# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""What the tests do with the packages: choose, install, upgrade."""

import re
import subprocess


def user_packages(folder):
    """Those that a user installs; those for developers have dependencies of their own."""
    return [package for package in sorted(folder.glob("*.deb"))
            if not re.search("-(dev|dbgsym)_", package.name)]


def names(packages):
    return [package.name.split("_")[0] for package in packages]


def apt(machine, *words):
    return machine.run("apt-get", "--yes", "--no-install-recommends", *words)


def install(machine, packages):
    for package in packages:
        machine.copy_in(package, f"/root/{package.name}")
    return apt(machine, "install", *[f"/root/{package.name}" for package in packages])


def rebuilt(package, folder, suffix, change=None):
    """The same package under another version, with all packages of this version depending on each other."""
    tree = folder / (package.stem + suffix)
    subprocess.run(["dpkg-deb", "--raw-extract", package, tree], check=True)
    control = tree / "DEBIAN/control"
    version = re.search(r"^Version: (.*)$", control.read_text(), re.MULTILINE)[1]
    control.write_text(control.read_text().replace(version, version + suffix))
    if change is not None:
        change(tree)
    result = folder / f"{package.name.split('_')[0]}{suffix}.deb"
    # Compressing it would take longer than the upgrade.
    subprocess.run(["dpkg-deb", "-Znone", "--build", tree, result], stdout=subprocess.DEVNULL, check=True)
    return result


def newer(package, folder):
    return rebuilt(package, folder, "+newer")
