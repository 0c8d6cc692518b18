"""Sets the system clock back and forth while the program carries out commands. Only in the virtual machine of
tests/support/with-alsa, because it sets the clock of the whole machine."""

import os
import time

from proof import NAMES, Home, Proof, end, two_sets

# The time after which a later start gives up, in seconds.
ANSWER_LIMIT = 5


def main():
    proof = Proof(__doc__)
    if not os.path.exists("/run/with-alsa"):
        raise SystemExit("clocks: runs only inside tests/support/with-alsa")
    tried = held = 0
    slowest = 0
    start = time.time()
    with Home(proof.program) as home:
        home.document.write_text(two_sets(0, 3))
        router = home.start_router()
        try:
            for number in range(10 * proof.scale):
                time.clock_settime(time.CLOCK_REALTIME, start + proof.random.choice((-86400, -1, 1, 3600, 31536000)))
                answer, took = home.ask("--set", NAMES[(number + 1) % 2])
                tried += 1
                held += b"done" in answer and took <= ANSWER_LIMIT
                slowest = max(slowest, took)
        finally:
            time.clock_settime(time.CLOCK_REALTIME, start)
        proof.report("Commands are answered within 5 s while the clock jumps", tried, held, f"slowest {slowest:.2f} s")
        status = end(router)
        result = home.run("--sets")
        proof.report("The document is whole and the program ends after the clock jumped", 1,
                     int(status == 0 and result.returncode == 0 and home.names() == ["routes.json"]))
    proof.end()


if __name__ == "__main__":
    main()
