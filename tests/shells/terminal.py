"""A shell on a separate terminal, into which a test types."""

import os
import pty
import select
import signal
import time

PROMPT = "ready> "
DEADLINE = 30


class Terminal:
    """Starts the shell with this environment and waits for its prompt."""

    def __init__(self, command, environment):
        self._text = b""
        self._pid, self._descriptor = pty.fork()
        if self._pid == 0:
            os.execvpe(command[0], command, environment)
        self.wait_for_text(PROMPT)

    def type(self, keys):
        os.write(self._descriptor, keys.encode())

    def run(self, line):
        """Runs a line and waits for the next prompt."""
        self.forget()
        self.type(line + "\n")
        self.wait_for_text(PROMPT)

    def forget(self):
        self._text = b""

    def wait_for_text(self, text):
        """Waits until the shell has written the text after the last `forget`."""
        self.wait_for(lambda: text.encode() in self._text.replace(b"\r", b""), repr(text))

    def wait_for(self, condition, what):
        deadline = time.monotonic() + DEADLINE
        while not condition():
            if time.monotonic() > deadline:
                raise AssertionError(f"no {what}; the terminal shows {self._text!r}")
            if select.select([self._descriptor], [], [], 0.02)[0]:
                self._text += os.read(self._descriptor, 65536)

    def close(self):
        os.kill(self._pid, signal.SIGKILL)
        os.waitpid(self._pid, 0)
        os.close(self._descriptor)
