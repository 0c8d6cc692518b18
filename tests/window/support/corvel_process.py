"""The program, started as a user starts it."""

import os
import signal
import subprocess

from . import processes, windows
from .accessibility import Accessibility
from .waiting import DEADLINE, wait_for


def program(variable="CORVEL_PROGRAM"):
    """The program under test, from CTest's environment."""
    path = os.path.abspath(os.environ.get(variable, ""))
    if not os.access(path, os.X_OK):
        raise RuntimeError(f"set {variable} to the program to test")
    return path


def environment(home):
    kept = {name: value for name, value in os.environ.items() if not name.startswith(("QT_", "LC_"))}
    return {**kept, **home.environment, "LANG": "C.UTF-8", "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}


def run_corvel(home, *arguments, deadline=DEADLINE):
    """Runs the program to its end; returns status, standard output and standard error."""
    result = subprocess.run([program(), *arguments], env=environment(home), stdin=subprocess.DEVNULL,
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=deadline, cwd=home.folder)
    return result.returncode, result.stdout.decode(), result.stderr.decode()


class CorvelProcess:
    """A running program with its window."""

    def __init__(self, home, *arguments, variable="CORVEL_PROGRAM"):
        self.accessibility = Accessibility()
        self._error_path = home.path("stderr.txt")
        with open(self._error_path, "wb") as errors:
            self._process = processes.start([program(variable), *arguments], env=environment(home), cwd=home.folder,
                                            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=errors)
        self.pid = self._process.pid
        self.accessibility.follow(self.pid)
        self.window = None

    @property
    def errors(self):
        with open(self._error_path, encoding="utf-8", errors="replace") as file:
            return file.read()

    @property
    def is_running(self):
        return self._process.poll() is None

    def wait_window(self):
        """Waits for the window, and until it has the keyboard focus."""
        def shown():
            if not self.is_running:
                raise AssertionError(f"ended with {self._process.returncode} before it showed a window: {self.errors}")
            return windows.shown_windows(self.pid, "Corvel")

        self.window = wait_for(shown, "the window")[-1]
        wait_for(lambda: windows.active_window() == self.window, "the window to have the keyboard")
        return self

    def wait_shown(self):
        """Also waits until screen readers know the window."""
        self.wait_window()
        wait_for(self.accessibility.tree, "the program on the accessibility bus")
        return self

    def wait_ended(self, deadline=DEADLINE):
        """The exit status; the negative number of a signal if one ended it."""
        try:
            return self._process.wait(deadline)
        except subprocess.TimeoutExpired:
            raise AssertionError(f"still running after {deadline:g} s") from None

    def suspend(self):
        """Stops the process, as if it hung."""
        self._process.send_signal(signal.SIGSTOP)

    def terminate(self):
        self._process.send_signal(signal.SIGTERM)

    def kill(self):
        self._process.kill()
        self._process.wait()

    def stop(self):
        processes.stop(self._process)
