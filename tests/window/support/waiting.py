"""Waits for other processes by polling, with a deadline."""

import time

# A test that waits this long fails. Longer than anything takes on a loaded machine.
DEADLINE = 20.0
INTERVAL = 0.02


def wait_for(question, what, deadline=DEADLINE):
    """Calls `question` until its result is true and returns the result.

    `what` names the awaited result in the failure message; it may be a function that is called only then.
    """
    end = time.monotonic() + deadline
    while True:
        answer = question()
        if answer:
            return answer
        if time.monotonic() > end:
            raise AssertionError(f"waited {deadline:g} s for {what() if callable(what) else what}")
        time.sleep(INTERVAL)
