"""A separate desktop: an X server without a screen, a session bus with accessibility, a window manager."""

import atexit
import contextlib
import os
import re
import select
import shutil
import subprocess
import tempfile

from . import processes
from .waiting import DEADLINE, wait_for

WIDTH = 2000
HEIGHT = 1300


class Desktop:
    """Only one for each process, because accessibility stays connected to the first bus."""

    _current = None

    @classmethod
    def current(cls):
        if cls._current is None:
            cls._current = cls()
            atexit.register(cls._current.stop)
        return cls._current

    def __init__(self):
        # Short, because paths of sockets have a small maximum length.
        self.folder = tempfile.mkdtemp(prefix="corvel-window.")
        self._running = []
        try:
            self._start_x_server()
            self._start_session_bus()
            self._start("openbox")
            wait_for(self._is_managed, "the window manager")
            # Outside every window, so that nothing looks hovered.
            processes.output("xdotool", "mousemove", str(WIDTH - 1), str(HEIGHT - 1))
        except BaseException:
            self.stop()
            raise

    def stop(self):
        for process in reversed(self._running):
            processes.stop(process)
        self._running.clear()
        shutil.rmtree(self.folder, ignore_errors=True)

    @contextlib.contextmanager
    def other_screen(self, width, height, manager="openbox", panel=0):
        """Provides a second X server in the same session, with a screen of this size and a panel of this height at
        its bottom."""
        before = os.environ["DISPLAY"]
        running = len(self._running)
        try:
            self._start_x_server(width, height)
            getattr(self, "_start_" + manager)(panel)
            yield
        finally:
            for process in reversed(self._running[running:]):
                processes.stop(process)
            del self._running[running:]
            os.environ["DISPLAY"] = before

    def _start_openbox(self, panel):
        with open("/etc/xdg/openbox/rc.xml", encoding="utf-8") as file:
            settings = file.read()
        path = os.path.join(self.folder, "rc.xml")
        with open(path, "w", encoding="utf-8") as file:
            file.write(re.sub(r"(<margins>.*?<bottom>)\d+(</bottom>.*?</margins>)", rf"\g<1>{panel}\g<2>", settings,
                              flags=re.DOTALL))
        self._start("openbox", "--config-file", path)
        wait_for(self._is_managed, "the window manager")

    def _start_i3(self, panel):
        path = os.path.join(self.folder, "i3.conf")
        with open(path, "w", encoding="utf-8") as file:
            file.write(f"font pango:DejaVu Sans 10\nipc-socket {self.folder}/i3.sock\ngaps bottom {panel}\n")
        self._start("i3", "-c", path)
        wait_for(self._is_managed, "the window manager")

    def _start(self, *command, **options):
        log = open(os.path.join(self.folder, os.path.basename(command[0]) + ".log"), "wb")
        process = processes.start(command, stdin=subprocess.DEVNULL, stderr=log, **{"stdout": log, **options})
        log.close()
        self._running.append(process)
        return process

    def _start_x_server(self, width=WIDTH, height=HEIGHT):
        # The server chooses a free display by itself and reports it, so that two servers never choose the same one.
        reading, writing = os.pipe()
        # The screen's pixels lie in a file there, which can be read without holding up the server.
        self.screen_folder = tempfile.mkdtemp(prefix="screen.", dir=self.folder)
        self._start("Xvfb", "-fbdir", self.screen_folder, "-displayfd", str(writing), "-screen", "0", f"{width}x{height}x24", "-dpi", "96",
                    "-nolisten", "tcp", "-noreset", pass_fds=[writing])
        os.close(writing)
        with os.fdopen(reading, "rb") as pipe:
            os.environ["DISPLAY"] = ":" + _line(pipe, "the X server")

    def _start_session_bus(self):
        runtime = os.path.join(self.folder, "run")
        os.mkdir(runtime, 0o700)
        os.environ["XDG_RUNTIME_DIR"] = runtime
        os.environ["XDG_CONFIG_HOME"] = os.path.join(self.folder, "config")
        os.environ["XDG_CACHE_HOME"] = os.path.join(self.folder, "cache")
        os.environ.pop("AT_SPI_BUS_ADDRESS", None)
        bus = self._start("dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address",
                          f"--address=unix:dir={self.folder}", stdout=subprocess.PIPE)
        with bus.stdout as pipe:
            os.environ["DBUS_SESSION_BUS_ADDRESS"] = _line(pipe, "the session bus")
        self._start("/usr/libexec/at-spi-bus-launcher", "--launch-immediately", "--a11y=1")
        wait_for(lambda: "true" in processes.output(
            "dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/",
            "org.freedesktop.DBus.NameHasOwner", "string:org.a11y.Bus"), "the accessibility bus")

    @staticmethod
    def _is_managed():
        return "window id" in processes.output("xprop", "-root", "_NET_SUPPORTING_WM_CHECK", check=False)


def _line(pipe, what):
    if not select.select([pipe], [], [], DEADLINE)[0]:
        raise AssertionError(f"{what} did not say where it is")
    line = pipe.readline().decode().strip()
    if not line:
        raise AssertionError(f"{what} did not start")
    return line
