# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""How long the tests wait for what must happen."""

# Seconds. Nobody promised them: they only end a test that would wait for ever, so they are far beyond what the busiest
# machine needs. What is promised in seconds is compared with a yardstick of the same moment (long_run.py).
PATIENCE = 300


class RanOut(AssertionError):
    """What a test waited for did not happen. The tests behind it would most likely wait in vain, too."""
