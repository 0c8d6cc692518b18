"""A Wayland desktop without a screen: the compositor sway with a virtual mouse and keyboard."""

import json
import os
import shutil
import subprocess
import tempfile
import time

from . import processes
from .virtual_pointer import VirtualPointer
from .waiting import wait_for

WIDTH, HEIGHT = 1600, 1000
_NOBODY = 65534


class Sway:
    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="corvel-sway.")
        as_user = []
        if os.geteuid() == 0:
            # sway refuses to run as root.
            os.chown(self.folder, _NOBODY, _NOBODY)
            as_user = ["setpriv", f"--reuid={_NOBODY}", f"--regid={_NOBODY}", "--clear-groups"]
        self._pointer = self._keyboard = None
        settings = os.path.join(self.folder, "sway.conf")
        with open(settings, "w", encoding="utf-8") as file:
            file.write(f"output HEADLESS-1 resolution {WIDTH}x{HEIGHT} position 0 0\n"
                       "seat seat0 fallback true\ndefault_border none\nxwayland disable\n")
        os.chmod(settings, 0o644)
        environment = {name: value for name, value in os.environ.items() if name not in ("DISPLAY", "WAYLAND_DISPLAY")}
        environment |= {"HOME": self.folder, "XDG_RUNTIME_DIR": self.folder, "WLR_BACKENDS": "headless",
                        "WLR_LIBINPUT_NO_DEVICES": "1", "WLR_RENDERER": "pixman"}
        with open(os.path.join(self.folder, "sway.log"), "wb") as log:
            self._process = processes.start([*as_user, "sway", "-c", settings], env=environment, cwd=self.folder,
                                            stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        try:
            self._socket = wait_for(lambda: self._file("sway-ipc."), "sway")
            self.display = wait_for(lambda: self._file("wayland-"), "the Wayland display")
            wait_for(self._has_screen, "the screen")
            self._pointer = VirtualPointer(self.display, WIDTH, HEIGHT)
            # A seat has a keyboard only while a program types; this one stays and types nothing.
            self._keyboard = processes.start(["wtype", "-s", "3600000"], env=self._environment())
        except BaseException:
            self.stop()
            raise

    def stop(self):
        if self._pointer:
            self._pointer.close()
        if self._keyboard:
            processes.stop(self._keyboard)
        processes.stop(self._process)
        shutil.rmtree(self.folder, ignore_errors=True)

    def _file(self, start):
        names = [name for name in os.listdir(self.folder) if name.startswith(start) and not name.endswith(".lock")]
        return os.path.join(self.folder, names[0]) if names else None

    def _has_screen(self):
        return any(screen["active"] for screen in json.loads(self._message("-t", "get_outputs")))

    def _message(self, *arguments):
        return processes.output("swaymsg", "--socket", self._socket, *arguments, check=False) or "[]"

    def windows(self, pid):
        """The windows of a process, as sway lists them."""
        def walk(node):
            if node.get("pid") == pid:
                yield node
            for child in node["nodes"] + node["floating_nodes"]:
                yield from walk(child)

        return list(walk(json.loads(self._message("-t", "get_tree"))))

    def perform(self, arguments):
        """Carries out commands in xdotool's syntax."""
        arguments = list(arguments)
        while arguments:
            word = arguments.pop(0)
            if word == "mousemove":
                self._pointer.move(int(arguments.pop(0)), int(arguments.pop(0)))
            elif word == "sleep":
                time.sleep(float(arguments.pop(0)))
            elif word in ("mousedown", "mouseup", "click"):
                arguments.pop(0)
                for is_down in (True,) * (word != "mouseup") + (False,) * (word != "mousedown"):
                    self._pointer.press(is_down)
            elif word == "key":
                *modifiers, key = arguments.pop(0).split("+")
                self._type(*(part for name in modifiers for part in ("-M", name)), "-k", key,
                           *(part for name in modifiers for part in ("-m", name)))
            elif word == "type":
                self._type("--", arguments[-1])
                arguments.clear()
            else:
                raise AssertionError(f"{word!r} cannot be done here")

    def _environment(self):
        return {**os.environ, "XDG_RUNTIME_DIR": self.folder, "WAYLAND_DISPLAY": self.display}

    def _type(self, *arguments):
        processes.output("wtype", *arguments, env=self._environment())
