# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""What the tests of the presets came to, from the reports that ctest writes beside its output."""

import re
import xml.etree.ElementTree as ElementTree
from collections import Counter
from pathlib import Path


class Results:
    """Of one ctest run, whose output and report are in a folder under one name."""

    def __init__(self, report: Path):
        self.name = report.stem
        root = ElementTree.parse(report).getroot()
        self.failed = cases(root, "fail")
        self.skipped = Counter(reason for case in root.iter("testcase") for reason in skips_in(case))
        self.closing = closing_line(report.with_suffix(".log"))


def forget(folder: Path):
    for report in folder.glob("*.xml"):
        report.unlink()


def summarize(folder: Path):
    """Prints the tests that failed, with their output; how many were skipped, by reason; and ctest's closing lines."""
    runs = [Results(report) for report in sorted(folder.glob("*.xml"))]
    for run in runs:
        for case in run.failed:
            print(f"-- {run.name}: {case.get('name')}\n{output_of(case)}\n")
    for run in runs:
        for reason, count in sorted(run.skipped.items()):
            print(f"{run.name}: {count} skipped: {reason}")
    for run in runs:
        print(f"{run.name}:\n{run.closing}", flush=True)


def cases(report, status):
    return [case for case in report.iter("testcase") if case.get("status") == status]


def output_of(case):
    return (case.findtext("system-out") or "").strip()


def skips_in(case):
    """The reasons, which GoogleTest prints below the places of the skips: of one test, or of several in one process."""
    lines = output_of(case).splitlines()
    reasons = [following.strip() for line, following in zip(lines, lines[1:]) if line.endswith(": Skipped")]
    return reasons or ["no reason given"] * (case.get("status") == "notrun")


def closing_line(log):
    """None where ctest did not come to its end."""
    found = re.findall(r"^\d+% tests passed, .*$", log.read_text(encoding="utf-8", errors="replace"), re.MULTILINE)
    return found[-1] if found else None
