"""Starting the program while it runs, and commands for the running one."""

import os

from support import pointing, windows
from support.documents import DRUMS, KEYBOARD, PADS, SYNTH, connection
from support.home import Home
from support.waiting import wait_for
from support.window_test_case import WindowTestCase
from support.x_messages import XMessages


class SecondStart(WindowTestCase):
    def test_it_ends_and_brings_the_window_to_the_front(self):
        first = self.start()
        other = self.start(home=Home(self.desktop))
        wait_for(lambda: windows.active_window() == other.corvel.window, "the other window in front")
        status, _, _ = self.run_corvel()
        self.assertEqual(status, 0)
        wait_for(lambda: windows.active_window() == first.corvel.window, "the first window in front")
        self.assertEqual(len(windows.shown_windows(first.corvel.pid, "Corvel")), 1)

    def test_it_shows_a_minimised_window_again(self):
        first = self.start()
        windows.minimise(first.corvel.window)
        wait_for(lambda: not windows.shown_windows(first.corvel.pid, "Corvel"), "the window to be minimised")
        self.assertEqual(self.run_corvel()[0], 0)
        wait_for(lambda: windows.active_window() == first.corvel.window, "the window to come back")

    def test_it_brings_the_window_forward_at_the_time_of_the_users_action(self):
        first = self.start()
        messages = XMessages()
        self.addCleanup(messages.stop)
        self.home.variables["DESKTOP_STARTUP_ID"] = "menu/corvel/1-0-host_TIME4711"
        self.assertEqual(self.run_corvel()[0], 0)
        seen = []

        def is_asked():
            seen.extend(messages.take())
            return any(name == "_NET_ACTIVE_WINDOW" and window == first.corvel.window and numbers[:2] == (1, 4711)
                       for name, window, numbers, _ in seen)

        wait_for(is_asked, lambda: f"the request in {seen}")
        told = b"".join(part for name, _, _, part in seen if name.startswith("_NET_STARTUP_INFO"))
        self.assertEqual(told.rstrip(b"\0"), b"remove: ID=menu/corvel/1-0-host_TIME4711")

    def test_one_that_was_killed_does_not_hinder_the_next(self):
        first = self.start()
        first.corvel.kill()
        self.start()

    def test_the_next_one_starts_after_the_first_ended(self):
        first = self.start()
        first.corvel.terminate()
        first.corvel.wait_ended()
        self.start()

    def test_routing_without_a_window_beside_it_is_refused(self):
        self.start()
        status, output, errors = self.run_corvel("--headless")
        self.assertEqual((status, output), (1, ""))
        self.assertNotEqual(errors, "")

    def test_demo_devices_asked_for_by_name_may_run_beside_it(self):
        self.start()
        second = self.start("--midi", "demo", "--document", self.home.path("other.json"))
        self.assertTrue(second.corvel.is_running)


class StartsThatFail(WindowTestCase):
    """A user who starts the program from a menu sees no standard error."""

    def notice(self, corvel):
        """The texts in the window that shows the reason."""
        shown = wait_for(lambda: windows.shown_windows(corvel.pid, "Corvel"), "the notice")
        self.assertEqual(len(shown), 1)
        tree = wait_for(lambda: corvel.accessibility.all(role="dialog"), "the notice on the accessibility bus")[0]
        return [element.name for element in tree if element.role == "label"]

    def assertEndsOnReturn(self, corvel, status):
        pointing.press_keys("Return")
        self.assertEqual(corvel.wait_ended(), status)

    def headless(self):
        running = self.launch("--headless")
        wait_for(lambda: "Endpoint reload (initial load)" in running.errors, "the running one")
        return running

    def test_one_that_runs_without_a_window(self):
        self.headless()
        second = self.launch()
        self.assertEqual(self.notice(second), [
            "Corvel cannot be opened",
            "Corvel is running already, without a window (--headless); end it to open the window"])
        self.assertEndsOnReturn(second, 1)

    def test_one_that_hangs(self):
        running = self.headless()
        running.suspend()
        second = self.launch()
        title, text = self.notice(second)
        self.assertEqual(title, "Corvel cannot be opened")
        self.assertIn(str(running.pid), text)
        self.assertEndsOnReturn(second, 1)

    def test_another_document_beside_one_with_a_window(self):
        first = self.start()
        second = self.launch("--document", "other.json")
        title, text = self.notice(second)
        self.assertEqual(title, "Corvel cannot be opened")
        self.assertIn(self.home.demo_document, text)
        self.assertIn("other.json", text)
        self.assertEndsOnReturn(second, 1)
        self.assertTrue(first.corvel.is_running)
        self.assertIn("other.json", second.errors)

    def test_the_same_document_brings_the_window_to_the_front(self):
        self.start()
        self.assertEqual(self.run_corvel("--document", self.home.demo_document)[0], 0)

    def test_a_document_that_cannot_be_read(self):
        self.home.write_demo_document({})
        with open(self.home.demo_document, "w", encoding="utf-8") as file:
            file.write("{ this is none")
        router = self.start()
        dialog = router.dialog("Document Not Read")
        text, = [element.name for element in dialog.element if "demo-routes.json" in element.name]
        self.assertIn(self.home.demo_document, text)
        self.assertIn("demo-routes.json.unreadable", text)
        pointing.press_keys("Return")
        dialog.wait_closed()
        router.press("Create connection set")
        router.dialog("New Connection Set").press("OK")
        wait_for(lambda: os.path.exists(self.home.demo_document + ".unreadable"), "the file that is kept")
        with open(self.home.demo_document + ".unreadable", encoding="utf-8") as file:
            self.assertEqual(file.read(), "{ this is none")


class CommandsForTheRunningOne(WindowTestCase):
    def setUp(self):
        super().setUp()
        self.router = self.start_with(("Live", [connection(KEYBOARD, SYNTH)]), ("Studio", []))
        self.router.wait_text("3 inputs, 3 outputs")

    def test_set_switches_its_set(self):
        status, output, _ = self.run_corvel("--set", "Studio")
        self.assertEqual(status, 0)
        self.assertIn('Loaded set "Studio"', output)
        self.router.wait_text('Loaded set "Studio"')
        self.router.wait_text("Studio / 0 connections")
        self.wait_saved(current_set_name="Studio")

    def test_an_unknown_set_is_refused_and_changes_nothing(self):
        before = self.document_bytes()
        status, _, errors = self.run_corvel("--set", "Encore")
        self.assertEqual(status, 1)
        self.assertIn("Live", errors)
        self.assertTrue(self.router.shows("Live / 1 connections"))
        self.assertEqual(self.document_bytes(), before)

    def test_connect_and_disconnect_change_its_connections(self):
        status, _, _ = self.run_corvel("--connect", "Demo Pads", "Demo Drums", "--channel", "10")
        self.assertEqual(status, 0)
        self.router.wait_connection_rows(2)
        self.wait_saved(connections=[(KEYBOARD, SYNTH), (PADS, DRUMS)], channels=[None, 10])
        self.assertEqual(self.run_corvel("--disconnect", "Demo Keyboard", "Demo Synth")[0], 0)
        self.router.wait_connection_rows(1)
        self.wait_saved(connections=[(PADS, DRUMS)])

    def test_sets_marks_the_set_that_the_window_shows(self):
        self.router.choose_set("Studio")
        self.router.wait_text('Loaded set "Studio"')
        status, output, _ = self.run_corvel("--sets")
        self.assertEqual(status, 0)
        self.assertEqual([line.split()[:2] for line in output.splitlines() if line.lstrip().startswith("*")],
                         [["*", "Studio"]])

    def test_they_work_on_the_document_once_it_has_ended(self):
        self.router.corvel.terminate()
        self.router.corvel.wait_ended()
        self.assertEqual(self.run_corvel("--set", "Studio", "--midi", "demo")[0], 0)
        self.assertEqual(self.saved().current_set_name, "Studio")
