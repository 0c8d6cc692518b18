"""Other programs use and flood the socket of the running instance. The user's commands are still answered."""

import os
import resource
import subprocess
import sys
import threading
import time

from proof import NAMES, Home, Proof, end, two_sets

LIMIT = 1.0
LEAST_SECONDS = 2
NOBODY = 65534
REQUEST_LIMIT = 1_048_576


class Attack:
    """The actions of other programs while the user gives commands. `run` is repeated on separate threads. The docstring
    of a subclass names the attack in the report."""

    threads = 1

    def __init__(self, proof, home):
        self.random, self.home = proof.random, home
        self.is_to_end = False
        self.count = 0

    def run(self):
        raise NotImplementedError

    def begin(self):
        self.running = [threading.Thread(target=self.repeat) for _ in range(self.threads)]
        for thread in self.running:
            thread.start()

    def repeat(self):
        while not self.is_to_end:
            try:
                self.run()
            except OSError:
                time.sleep(0.001)
            self.count += 1

    def end(self):
        self.is_to_end = True
        for thread in self.running:
            thread.join()


class Rubbish(Attack):
    """rubbish"""

    threads = 4

    def run(self):
        with self.home.connect(1) as connection:
            connection.sendall(self.random.randbytes(self.random.randint(0, 2000)))


class HalfMessages(Attack):
    """half messages"""

    threads = 4

    def run(self):
        request = self.home.request("--set", "nothing of this name")
        with self.home.connect(1) as connection:
            connection.sendall(request[:self.random.randrange(len(request))])


class ManyConnections(Attack):
    """1,000 connections at a time"""

    def run(self):
        connections = []
        try:
            for _ in range(1000):
                connections.append(self.home.connect(1))
        finally:
            for connection in connections:
                connection.close()


class SlowConnections(Attack):
    """slow connections, a byte a second"""

    threads = 40

    def run(self):
        request = self.home.request("--sets")
        with self.home.connect(1) as connection:
            for byte in request[:5]:
                connection.sendall(bytes([byte]))
                for _ in range(10):
                    if self.is_to_end:
                        return
                    time.sleep(0.1)


class HundredMegabytes(Attack):
    """100 MB"""

    def run(self):
        with self.home.connect(1) as connection:
            connection.sendall(b"corvel 2" + REQUEST_LIMIT.to_bytes(4, "big"))
            part = bytes(65536)
            for _ in range(1600):
                connection.sendall(part)


class NoReaders(Attack):
    """senders that never read the answer"""

    threads = 4

    def run(self):
        with self.home.connect(1) as connection:
            connection.sendall(self.home.request("--sets"))
            time.sleep(0.01)


def memory_mb(process):
    with open(f"/proc/{process.pid}/status") as status:
        return next(int(line.split()[1]) / 1024 for line in status if line.startswith("VmRSS"))


def attacked(proof, kind):
    with Home(proof.program) as home:
        home.document.write_text(two_sets(0, 3))
        router = home.start_router()
        home.ask("--sets")
        before = memory_mb(router)
        attack = kind(proof, home)
        attack.begin()
        tried = held = 0
        slowest = 0
        deadline = time.monotonic() + LEAST_SECONDS * proof.scale
        while time.monotonic() < deadline:
            name = NAMES[tried % 2]
            # A different set each time, so that each command has something to do.
            answer, took = home.ask("--set", name)
            tried += 1
            held += took <= LIMIT and b"done" in answer
            slowest = max(slowest, took)
            time.sleep(0.05)
        attack.end()
        what = kind.__doc__
        proof.report(f"Commands are answered within 1 s beside {what}", tried, held,
                     f"slowest {slowest:.2f} s, {attack.count} times")
        time.sleep(2.1)
        answer, took = home.ask("--sets")
        growth = memory_mb(router) - before
        descriptors = len(os.listdir(f"/proc/{router.pid}/fd"))
        is_well = b"done" in answer and took <= LIMIT and growth < 10 and descriptors < 40 and end(router) == 0
        proof.report(f"Nothing is left of {what}", 1, int(is_well),
                     f"{growth:.1f} MB more, {descriptors} descriptors")


def other_user(proof):
    """Another user can neither give commands nor block the user's own by creating the folder of the socket first."""
    if os.geteuid() != 0:
        print("only root can act as another user")
        return
    connect = ("import socket, sys; s = socket.socket(socket.AF_UNIX); s.connect(sys.argv[1]); "
               "s.sendall(bytes.fromhex(sys.argv[2])); sys.exit(0 if s.recv(100) else 3)")
    with Home(proof.program) as home:
        home.document.write_text(two_sets(0, 3))
        router = home.start_router()
        # Lets the other user reach the socket.
        for folder in (home.folder, home.folder / "runtime", home.folder / "runtime" / "corvel"):
            folder.chmod(0o755)
        home.socket().chmod(0o777)
        stranger = subprocess.run([sys.executable, "-c", connect, str(home.socket()),
                                   home.request("--set", NAMES[1]).hex()], user=NOBODY, group=NOBODY, timeout=20,
                                  stderr=subprocess.DEVNULL)
        home.socket().chmod(0o600)
        answer, _ = home.ask("--sets")
        proof.report("Another user's command is not obeyed", 1,
                     int(stranger.returncode != 0 and b"* Soft" in answer), f"status {stranger.returncode}")
        end(router)
    with Home(proof.program) as home:
        home.document.write_text(two_sets(0, 3))
        taken = home.folder / "runtime" / "corvel"
        taken.mkdir()
        os.chown(taken, NOBODY, NOBODY)
        start = time.monotonic()
        result = home.run("--sets")
        took = time.monotonic() - start
        proof.report("A name that another user has taken first holds no command up", 1,
                     int(result.returncode == 0 and "* Soft" in result.stdout and took < 5),
                     f"{took:.2f} s, {result.stderr.strip()}")


if __name__ == "__main__":
    the_proof = Proof(__doc__)
    resource.setrlimit(resource.RLIMIT_NOFILE, (4096, 4096))
    for attack_kind in (Rubbish, HalfMessages, ManyConnections, SlowConnections, HundredMegabytes, NoReaders):
        attacked(the_proof, attack_kind)
    other_user(the_proof)
    the_proof.end()
