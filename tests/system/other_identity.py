# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""The packages as another maker's identity would have made them: with a helper that trusts another root.

Nothing is compiled: the root certificate in the programs gives way to another one of the same length."""

import ssl
import subprocess
from pathlib import Path

from package import rebuilt

ROOT = Path(__file__).resolve().parents[2]
PROGRAMS = ["usr/libexec/net.orvane.Wicket.TlvPrivilegedHelper", "usr/bin/wicket"]
# Their lengths differ by a few bytes.
ATTEMPTS = 200


def der(certificate):
    return ssl.PEM_cert_to_DER_cert(certificate.read_text())


def similar_identity(identity, folder):
    """An identity of the same names, whose root certificate is as long."""
    common_name, team = (identity / "made-for").read_text().splitlines()
    for number in range(ATTEMPTS):
        made = folder / f"identity-{number}"
        subprocess.run([ROOT / "scripts/lib/make-identity.sh", made, common_name, team], check=True)
        if len(der(made / "root.pem")) == len(der(identity / "root.pem")):
            return made
    raise AssertionError("no root certificate has the length of the present one")


def with_other_identity(package, codesign, identity, folder):
    """The helper's package under a higher version, signed by another identity, whose root its helper trusts."""
    other = similar_identity(identity, folder)

    def change(tree):
        for name in PROGRAMS:
            program = tree / name
            content = program.read_bytes()
            assert der(identity / "root.pem") in content
            program.write_bytes(content.replace(der(identity / "root.pem"), der(other / "root.pem")))
        subprocess.run([codesign, "sign", "--key", other / "leaf.key", "--certificate", other / "chain.pem",
                        "--identifier", "net.orvane.Wicket", "--entitlements", ROOT / "resources/wicket.entitlements",
                        "--options", "runtime", tree / PROGRAMS[1]], check=True)

    return rebuilt(package, folder, "+other", change)
