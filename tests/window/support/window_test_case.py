"""The base of every window test."""

import os
import unittest

from . import documents, pointing
from .corvel_process import CorvelProcess, run_corvel
from .desktop import Desktop
from .home import Home
from .router_window import RouterWindow
from .screen import save_picture
from .waiting import wait_for


class WindowTestCase(unittest.TestCase):
    """A desktop with an empty home. The screen and the tree of a failing test are stored in the folder CORVEL_FAILURES."""

    def run(self, result=None):
        self._result = result
        return super().run(result)

    def setUp(self):
        self.desktop = Desktop.current()
        self.home = Home(self.desktop)
        self._processes = []
        self._failures_before = self._failures()
        self.addCleanup(self._clean_up)
        pointing.set_keyboard_layout("us")
        pointing.park_pointer()

    def launch(self, *arguments, home=None):
        """Starts the program without waiting for it."""
        corvel = CorvelProcess(home or self.home, *arguments)
        self._processes.append(corvel)
        return corvel

    def start(self, *arguments, home=None):
        """Starts the program and waits for its window."""
        return RouterWindow(self.launch(*arguments, home=home).wait_shown())

    def start_with(self, *sets, current=0):
        """Starts the program on a document with sets as (name, connections)."""
        self.home.write_demo_document(documents.document(*sets, current=current))
        return self.start()

    def start_with_devices(self, count, *sets, playing=None):
        """Starts the window with this number of inputs (1, 2, ...) and outputs (1001, 1002, ...) on a document with
        these sets."""
        self.home.write_demo_document(documents.document(*sets))
        corvel = CorvelProcess(self.home, str(count), self.home.demo_document, *([str(playing)] if playing else []),
                               variable="CORVEL_MANY_DEVICES")
        self._processes.append(corvel)
        return RouterWindow(corvel.wait_shown())

    def run_corvel(self, *arguments):
        return run_corvel(self.home, *arguments)

    def saved(self):
        return documents.SavedDocument(self.home.demo_document)

    def wait_saved(self, **wanted):
        """Waits until the document on disk has these values: wait_saved(connections=[(1001, 2001)])."""
        def state():
            document = self.saved()
            return {name: getattr(document, name) for name in wanted}

        wait_for(lambda: state() == wanted, lambda: f"the saved document to hold {wanted}, not {state()}")

    def wait_active_assignment(self, *channels):
        """Waits until the connections of the current set have these channel modes."""
        self.wait_saved(channels=list(channels))

    def document_bytes(self):
        with open(self.home.demo_document, "rb") as file:
            return file.read()

    def _failures(self):
        return len(self._result.failures) + len(self._result.errors) if self._result else 0

    def _clean_up(self):
        if self._failures() > self._failures_before:
            self._keep_evidence()
        for corvel in self._processes:
            corvel.stop()

    def _keep_evidence(self):
        folder = os.environ.get("CORVEL_FAILURES")
        if not folder:
            return
        name = os.path.join(folder, self.id())
        save_picture(name + ".png")
        with open(name + ".txt", "w", encoding="utf-8") as file:
            for corvel in self._processes:
                file.write(f"{corvel.accessibility.outline() if corvel.is_running else 'ended'}\n\n{corvel.errors}\n")
