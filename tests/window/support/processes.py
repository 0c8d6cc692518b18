"""Child processes that never outlive the test, even if it is killed."""

import ctypes
import os
import signal
import subprocess

_libc = ctypes.CDLL("libc.so.6", use_errno=True)
_PR_SET_PDEATHSIG = 1


def _die_with_parent():
    _libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL)


def start(command, **options):
    """Starts a child in a process group of its own."""
    return subprocess.Popen(command, start_new_session=True, preexec_fn=_die_with_parent, **options)


def stop(process, deadline=5):
    """Ends a child and all processes that it started, and waits for it."""
    if process.poll() is None:
        process.terminate()
        try:
            process.wait(deadline)
        except subprocess.TimeoutExpired:
            pass
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


def output(*command, check=True, **options):
    """The output of a short command as text."""
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60, **options)
    if check and result.returncode != 0:
        raise AssertionError(f"{' '.join(command)} ended with {result.returncode}: {result.stderr.decode()}")
    return result.stdout.decode()
