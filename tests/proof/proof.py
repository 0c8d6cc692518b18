"""What the proofs without a sequencer have in common: arguments, reports, and the program on folders of its own.

Each proof is a program: PROOF.py --program PATH [--scale N] [--seed N]. It writes one line "proof: {...}" for each
promise, with the number of times that it was tried and held, and ends with status 1 if one did not hold.
"""

import argparse
import json
import os
import random
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import time
from pathlib import Path

# In seconds. Much longer than anything takes on a busy machine, so that only a real failure reaches it.
DEADLINE = 20
RETRY_PAUSE = 0.01

SETS = ("00000000-0000-4000-8000-000000000001", "00000000-0000-4000-8000-000000000002")
NAMES = ("Soft", "Loud")


class Proof:
    def __init__(self, description):
        parser = argparse.ArgumentParser(description=description)
        parser.add_argument("--program", required=True, type=Path, help="the program corvel")
        parser.add_argument("--scale", type=int, default=1, help="how much more is tried than the minimum")
        parser.add_argument("--seed", type=int, default=1, help="makes a run repeatable")
        arguments = parser.parse_args()
        self.program = str(arguments.program.resolve())
        self.scale = arguments.scale
        self.random = random.Random(arguments.seed)
        self.is_broken = False

    def report(self, promise, tried, held, detail=""):
        self.is_broken |= held != tried
        line = {"promise": promise, "tried": tried, "held": held, "detail": detail}
        print("proof:", json.dumps(line), flush=True)

    def end(self):
        sys.exit(1 if self.is_broken else 0)


class Home:
    """The folders of a new user, in which the program runs. Deleted at the end of the `with` block."""

    def __init__(self, program):
        self.program = program

    def __enter__(self):
        self.folder = Path(tempfile.mkdtemp(prefix="corvel-proof-"))
        for name in ("data", "config", "runtime", "documents"):
            (self.folder / name).mkdir(mode=0o700)
        self.document = self.folder / "documents" / "routes.json"
        self.environment = {name: value for name, value in os.environ.items()
                            if name not in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM")}
        self.environment |= {"HOME": str(self.folder), "XDG_DATA_HOME": str(self.folder / "data"),
                             "XDG_CONFIG_HOME": str(self.folder / "config"),
                             "XDG_RUNTIME_DIR": str(self.folder / "runtime")}
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.folder, ignore_errors=True)

    def start(self, *arguments, **options):
        """Starts the program on the document. Its output is dropped unless an option says otherwise."""
        options = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL,
                   "env": self.environment} | options
        return subprocess.Popen([self.program, *arguments, "--document", str(self.document)], **options)

    def run(self, *arguments, **options):
        """Runs the program on the document. Returns its result with both outputs as text; the status of a program that
        hangs is None."""
        process = self.start(*arguments, **({"stdout": subprocess.PIPE, "stderr": subprocess.PIPE} | options))
        try:
            output, error = process.communicate(timeout=DEADLINE)
        except subprocess.TimeoutExpired:
            process.kill()
            output, error = process.communicate()
            process.returncode = None
        return subprocess.CompletedProcess(arguments, process.returncode, (output or b"").decode(errors="replace"),
                                           (error or b"").decode(errors="replace"))

    def start_router(self, *arguments, **options):
        """Starts the program without a window. Returns when it answers: its socket exists a moment before."""
        router = self.start("--headless", *arguments, **options)
        wait_until(lambda: self.socket() is not None and self.ask("--sets")[0] or router.poll() is not None)
        if router.poll() is not None:
            raise RuntimeError(f"the router ended with status {router.returncode}")
        return router

    def socket(self):
        """The path of the running instance's socket, or None."""
        return next(iter((self.folder / "runtime" / "corvel").glob("*.socket")), None)

    def connect(self, limit=DEADLINE):
        """A connection to the running instance, as a later start makes it."""
        connection = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        # With these limits `connect` waits while the queue of connections is full; with Python's own limit it fails.
        limits = struct.pack("ll", int(limit), 0)
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_SNDTIMEO, limits)
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVTIMEO, limits)
        # The path may be too long for a socket's address, but not from its folder's descriptor.
        path = self.socket()
        folder = os.open(path.parent, os.O_RDONLY)
        try:
            connection.connect(f"/proc/self/fd/{folder}/{path.name}")
        finally:
            os.close(folder)
        return connection

    def request(self, *arguments):
        """The bytes that a later start sends to the running instance."""
        texts = [str(self.folder), "", *arguments, "--document", str(self.document)]
        body = b"".join(text.encode() + b"\0" for text in texts)
        return b"corvel 2" + struct.pack(">I", len(body)) + body

    def ask(self, *arguments, limit=DEADLINE):
        """Sends a command to the running instance. Returns the answer, empty if there is none, and the seconds that it
        took. Tries again if the connection is closed without an answer, as a later start does."""
        start = time.monotonic()
        answer = b""
        while not answer and time.monotonic() - start < limit:
            try:
                with self.connect(limit) as connection:
                    connection.sendall(self.request(*arguments))
                    while part := connection.recv(65536):
                        answer += part
            except ConnectionRefusedError:
                # Nobody listens.
                break
            except OSError:
                answer = b""
            if not answer:
                time.sleep(RETRY_PAUSE)
        return answer, time.monotonic() - start

    def names(self):
        """The names in the document's folder."""
        return sorted(os.listdir(self.document.parent))


def problems(result):
    """The program's own lines on standard error, without those of libraries."""
    return [line for line in result.stderr.splitlines() if line.startswith("corvel: ")]


def end(process):
    """Ends the program by SIGTERM. Returns its status, or None if it had to be killed."""
    process.terminate()
    try:
        return process.wait(DEADLINE)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()
        return None


def wait_until(condition, limit=DEADLINE):
    deadline = time.monotonic() + limit
    while not condition():
        if time.monotonic() > deadline:
            return False
        time.sleep(0.001)
    return True


def two_sets(selected, connections):
    """A document of two sets with this many connections each, in the form of a user's edit, not the program's."""
    routes = [{"id": f"00000000-0000-4000-8000-{number:012d}", "sourceID": 1001, "destinationID": 2001 + number % 3,
               "channelMode": {"force": {"_0": number % 16 + 1}}, "isEnabled": True}
              for number in range(100, 100 + connections)]
    sets = [{"id": identity, "name": name, "routes": [route | {"id": route["id"][:-12] + f"{index}{route['id'][-11:]}"}
                                                      for route in routes]}
            for index, (identity, name) in enumerate(zip(SETS, NAMES))]
    return json.dumps({"selectedSetID": SETS[selected], "routeSets": sets})
