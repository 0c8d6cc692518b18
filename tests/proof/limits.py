"""The program under tight limits: it works or ends with a message, and the document stays whole."""

import os
import resource
import select
import signal
import subprocess
import time

from proof import DEADLINE, NAMES, Home, Proof, end, problems, two_sets, wait_until

LEAST_NUMBERS = 3


def document_is_whole(home):
    """Whether the program can read the document and finds both sets in it."""
    result = home.run("--sets")
    return result.returncode == 0 and not problems(result) and result.stdout.count("connections") == 2


def read_until(stream, text):
    """The program's output up to and including this text, or up to its end or the deadline."""
    read = b""
    while text not in read and select.select([stream], [], [], DEADLINE)[0]:
        part = os.read(stream.fileno(), 65536)
        if not part:
            break
        read += part
    return read


class Limited:
    """Counts the runs of commands and routers under a limit."""

    def __init__(self, proof):
        self.proof = proof
        self.tried = self.held = self.worked = 0
        self.evidence = ""

    def command(self, *arguments, is_silent=False, **options):
        with Home(self.proof.program) as home:
            home.document.write_text(two_sets(0, 3))
            result = home.run(*arguments, **options)
            # The run itself may make the message impossible, as closed streams do.
            is_clear = result.returncode == 0 or (result.returncode is not None and result.returncode > 0 and
                                                  (result.stderr or is_silent))
            self.count(is_clear and document_is_whole(home), result.returncode,
                       f"{' '.join(arguments)}: status {result.returncode}, {result.stderr.strip()!r}")

    def router(self, **options):
        """A router under the limit must end with a message, or carry out a command and end in order."""
        with Home(self.proof.program) as home:
            home.document.write_text(two_sets(0, 3))
            router = home.start("--headless", stderr=subprocess.PIPE, **options)
            error = read_until(router.stderr, b"initial load")
            if router.poll() is None and error:
                # If no descriptor is left for the socket, the program runs without one.
                if home.socket() is not None:
                    home.ask("--set", NAMES[1], limit=5)
                status = end(router)
            else:
                status = router.wait(DEADLINE)
            error = (error + router.stderr.read()).decode(errors="replace")
            is_clear = status == 0 or (status is not None and status > 0 and bool(error))
            self.count(is_clear and document_is_whole(home), status, f"--headless: status {status}, {error.strip()!r}")

    def count(self, is_held, status, evidence):
        self.tried += 1
        self.held += bool(is_held)
        self.worked += status == 0
        if not is_held:
            print(f"not held: {evidence[:600]}")
            self.evidence = evidence[:200]

    def report(self, promise):
        self.proof.report(promise, self.tried, self.held, f"{self.worked} did their work {self.evidence}".strip())


def limit_of(kind, value):
    return lambda: resource.setrlimit(kind, (value, value))


def descriptors(proof):
    limited = Limited(proof)
    for number in range(3, 26, 2):
        limited.command("--set", NAMES[1], preexec_fn=limit_of(resource.RLIMIT_NOFILE, number))
    for number in (8, 12, 16, 20):
        limited.router(preexec_fn=limit_of(resource.RLIMIT_NOFILE, number))
    limited.report("With 3 to 25 descriptors the program works or says why not")


def address_space(proof):
    limited = Limited(proof)
    for _ in range(LEAST_NUMBERS * proof.scale):
        size = proof.random.randint(20, 400) << 20
        limited.command("--set", NAMES[1], preexec_fn=limit_of(resource.RLIMIT_AS, size))
        limited.router(preexec_fn=limit_of(resource.RLIMIT_AS, size))
    limited.router(preexec_fn=limit_of(resource.RLIMIT_AS, 200 << 20))
    limited.report("With 20 to 400 MB of address space the program works or says why not")


def without_home(proof):
    tried = held = 0
    for names in (("HOME",), ("HOME", "XDG_DATA_HOME"), ("HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR")):
        for value in (None, "", "/nonexistent", "relative"):
            with Home(proof.program) as home:
                home.document.write_text(two_sets(0, 3))
                for name in names:
                    home.environment.pop(name, None)
                    if value is not None:
                        home.environment[name] = value
                listed = home.run("--sets", cwd=home.folder)
                changed = home.run("--set", NAMES[1], cwd=home.folder)
                tried += 1
                held += "* Soft" in listed.stdout and changed.returncode == 0
    proof.report("Without a home folder the program works", tried, held)


def closed_streams(proof):
    def close(which):
        def closed():
            for descriptor in which:
                os.close(descriptor)
        return closed

    limited = Limited(proof)
    for which in ((0,), (1,), (2,), (0, 1), (1, 2), (0, 2), (0, 1, 2)):
        limited.command("--set", NAMES[1], preexec_fn=close(which), is_silent=True)
        if 2 not in which:
            limited.router(preexec_fn=close(which))
    limited.report("With closed standard streams the program works and writes into no other file")


def reader_that_stops(proof):
    """The program that reads --monitor stops reading, then goes on, then ends."""
    with Home(proof.program) as home:
        home.document.write_text(two_sets(0, 3))
        router = home.start_router("--monitor", stdout=subprocess.PIPE)
        time.sleep(2 * proof.scale)
        tried = 20
        held = 0
        for number in range(tried):
            answer, took = home.ask("--set", NAMES[number % 2])
            held += b"done" in answer and took <= 1
        proof.report("Commands are answered within 1 s while nobody reads --monitor", tried, held)
        readable, _, _ = select.select([router.stdout], [], [], DEADLINE)
        line = router.stdout.readline() if readable else b""
        router.stdout.close()
        ended = wait_until(lambda: router.poll() is not None, 3)
        status = router.returncode if ended else end(router)
        proof.report("The program ends or goes on when the reader of --monitor ends", 1,
                     int(status is not None and line.count(b"\t") == 4), f"status {status}")


if __name__ == "__main__":
    # Python ignores this signal. The program must start as under a shell, where it is not ignored.
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)
    the_proof = Proof(__doc__)
    for part in (descriptors, address_space, without_home, closed_streams, reader_that_stops):
        part(the_proof)
    the_proof.end()
