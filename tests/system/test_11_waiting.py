# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""What has become of the script that takes longer than a connection may live, and of its helper."""

from helper import SERVICE, VERSION, helper_process, is_listening, kill_helper, show
from long_run import CONNECTION_LIFE, PASS, RESOLUTION, SLACK


def test_the_connection_is_cut_after_45_seconds(long_run):
    result = long_run.of("alice").finish()
    assert result.status == 124
    assert "the script \"long.sh\" keeps running as root" in result.text
    assert result.moment - long_run.began >= CONNECTION_LIFE - RESOLUTION
    assert result.moment <= long_run.yardstick("cut") + SLACK


def test_then_the_helper_ends_by_itself_with_its_pass(long_run):
    machine = long_run.machine
    machine.eventually(lambda: helper_process(machine) == 0, "the helper ended")
    assert show(machine, SERVICE, "Result") == "success"
    assert show(machine, SERVICE, "ExecMainStatus") == "0"
    ended = long_run.helper_ended()
    # The connection was made in the first pass, so its end falls into the second.
    assert ended - long_run.helper_began >= 2 * PASS - RESOLUTION
    assert ended <= long_run.yardstick("end") + SLACK


def test_the_script_goes_on_without_the_helper(long_run):
    long_run.expect_it_goes_on()


def test_the_socket_still_listens_and_the_next_call_starts_a_new_helper(long_run):
    assert is_listening(long_run.machine)
    assert long_run.of("bob").run("wicket version").text == VERSION + "\n"
    assert helper_process(long_run.machine) != 0


def test_an_end_of_the_helper_ends_no_script(long_run):
    kill_helper(long_run.machine)
    long_run.expect_it_goes_on()
