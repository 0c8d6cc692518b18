"""Starting the program while it runs, and commands for the running one."""

from support import windows
from support.documents import DRUMS, KEYBOARD, PADS, SYNTH, connection
from support.home import Home
from support.waiting import wait_for
from support.window_test_case import WindowTestCase


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
