# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""The helper removes itself, in the same way however it was installed."""

from helper import EXECUTABLE, FOLDER, JOB, SERVICE, SOCKET, SOCKET_PATH, allow_installations, helper_process, show

COUNT = "#!/bin/bash\nwhile echo >>/run/count; do sleep 0.1; done\n"


def start_a_script_that_counts(machine, terminal):
    user = terminal.user
    machine.write(f"/home/{user}/count-on.sh", COUNT, owner=user)
    allow_installations(machine, user)
    installation = terminal.run("wicket install count-on.sh")
    allow_installations(machine, None)
    assert installation.status == 0
    terminal.start("wicket run count-on.sh")
    machine.eventually(machine.inside("/run/count").exists, "the script counts")


def expect_it_counts_on(machine):
    """It is nobody's but its user's to end."""
    count = machine.inside("/run/count")
    number = count.stat().st_size
    machine.eventually(lambda: count.stat().st_size > number, "the script counted on")


def stop_the_script(machine, terminal):
    """The connection of whoever watched it was cut with the helper."""
    assert terminal.finish().status == 124
    # By its second word: a look for the name anywhere finds this very command, and ends that before the script where it
    # comes first.
    machine.shell("for each in /proc/[0-9]*; do { mapfile -d '' words <$each/cmdline; } 2>/dev/null || continue; "
                  "[[ ${words[1]-} != /var/orvane/count-on.sh ]] || { kill ${each#/proc/}; ended=1; }; done; "
                  "rm -f /run/count; [[ ${ended-} ]]")


def expect_the_helper_gone(machine):
    machine.eventually(lambda: not machine.exists(EXECUTABLE), "the executable is gone")
    assert helper_process(machine) == 0
    for unit in (SOCKET, SERVICE):
        assert show(machine, unit, "ActiveState") in ("inactive", "failed"), unit
        assert show(machine, unit, "UnitFileState") in ("disabled", "static", ""), unit
    assert machine.run("test", "-e", SOCKET_PATH, check=False).returncode == 1
    assert machine.shell(f"find /etc/systemd -name '{JOB}*'") == ""


def expect_installed_scripts(machine, expected):
    assert machine.exists(FOLDER) == expected
