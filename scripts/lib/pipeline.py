# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""Commands that run side by side, some after others, each with a log of its own."""

import os
import signal
import subprocess
import threading
import time
from dataclasses import dataclass, field
from pathlib import Path

SKIPPED = 77
LINES_SHOWN = 400


@dataclass
class Task:
    name: str
    command: list
    after: list = field(default_factory=list)  # the names of those that must have passed
    lane: str = ""  # of those in one lane one runs at a time, in their order
    nice: int = 3  # what compiles stands back, and not so far that a busy machine leaves it nothing
    is_suite: bool = False  # it tries what was built
    may_skip: bool = False  # it ends with 77 where the machine does not allow it, and says why
    shown: bool = False  # its output goes where this one's does, and to no log

    def log(self, folder: Path):
        return folder / f"{self.name.replace(' ', '-')}.log"


class Pipeline:
    """Runs tasks until all have passed or one has failed, which ends the others."""

    def __init__(self, tasks, logs: Path):
        self._tasks = tasks
        self._logs = logs
        self._waiting = list(tasks)
        self._running = {}  # task -> its process, which leads a group
        self._began = {}
        self._passed = set()
        self._changed = threading.Condition()
        self._failed = None

    def run(self):
        self._logs.mkdir(parents=True, exist_ok=True)
        try:
            with self._changed:
                while self._failed is None and (self._waiting or self._running):
                    self._start_what_can()
                    self._changed.wait()
        finally:
            self._end_all()
        return self._failed is None

    def _start_what_can(self):
        names = {task.name for task in self._tasks}
        busy_lanes = {task.lane for task in self._running.values() if task.lane}
        for task in list(self._waiting):
            if task.lane and task.lane in busy_lanes:
                continue
            if task.lane:
                busy_lanes.add(task.lane)  # those behind it in its lane do not overtake it
            if all(name in self._passed or name not in names for name in task.after):
                self._start(task)

    def _start(self, task):
        self._waiting.remove(task)
        self._began[task.name] = time.monotonic()
        print(f"== {task.name}", flush=True)
        # A group and no session of its own: the kernel shares the processors out among sessions first, and only within
        # one does it matter who is nice.
        command = ["nice", "-n", str(task.nice), *task.command]
        with open(task.log(self._logs), "wb") as log:
            process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=None if task.shown else log,
                                       stderr=subprocess.STDOUT, process_group=0)
        self._running[process] = task
        threading.Thread(target=self._await, args=(process, task), daemon=True).start()

    def _await(self, process, task):
        _, status, used = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        with self._changed:
            if self._running.pop(process, None) is not None and self._failed is None:
                self._conclude(task, process.returncode, used.ru_utime + used.ru_stime)
            self._changed.notify_all()

    def _conclude(self, task, status, processor_time):
        took = f"{time.monotonic() - self._began[task.name]:.0f} s ({processor_time:.0f} s of processor time)"
        if status == 0:
            self._passed.add(task.name)
            print(f"== {task.name}: done in {took}", flush=True)
        elif status == SKIPPED and task.may_skip:
            self._passed.add(task.name)
            print(f"== {task.name}: SKIPPED{self._end_of_log(task, 3)}", flush=True)
        else:
            self._failed = task
            log = "" if task.shown else f", {task.log(self._logs)}"
            print(f"== {task.name}: FAILED after {took} (status {status}){log}{self._end_of_log(task, LINES_SHOWN)}",
                  flush=True)

    def _end_of_log(self, task, count):
        """In lines of their own; none of what was seen already."""
        lines = task.log(self._logs).read_text(encoding="utf-8", errors="replace").splitlines()
        return "".join(f"\n{line}" for line in lines[-count:])

    def _end_all(self):
        """Politely, so that containers and what else a task has built up are taken down."""
        with self._changed:
            left = dict(self._running)
            self._running.clear()
        for process in left:
            send(process, signal.SIGTERM)
        deadline = time.monotonic() + 30
        while any(process.returncode is None for process in left):
            if time.monotonic() > deadline:
                for process in left:
                    send(process, signal.SIGKILL)
            time.sleep(0.1)


def send(process, number):
    """To the group that it leads, if there still is one."""
    try:
        os.killpg(process.pid, number)
    except ProcessLookupError:
        pass
