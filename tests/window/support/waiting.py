"""Waiting for what another process does: by polling, with a deadline."""

import time

# Longer than anything takes on a loaded machine; a test that waits this long fails.
DEADLINE = 20.0
INTERVAL = 0.02


def wait_for(question, what, deadline=DEADLINE):
    """Asks until the answer is true and returns it.

    `what` says in the failure what was waited for; it may be a function that is asked only then.
    """
    end = time.monotonic() + deadline
    while True:
        answer = question()
        if answer:
            return answer
        if time.monotonic() > end:
            raise AssertionError(f"waited {deadline:g} s for {what() if callable(what) else what}")
        time.sleep(INTERVAL)
