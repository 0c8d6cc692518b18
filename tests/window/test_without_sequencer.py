"""The user's own sets on a machine without a sequencer."""

import json
import os
import unittest

from support import documents
from support.documents import connection
from support.waiting import wait_for
from support.window_test_case import WindowTestCase


@unittest.skipIf(os.path.exists("/dev/snd/seq"), "this machine has a sequencer")
class WithoutSequencer(WindowTestCase):
    def setUp(self):
        super().setUp()
        self.path = self.home.path("data", "Corvel", "routes.json")
        os.makedirs(os.path.dirname(self.path))
        sets = documents.document(("Live", [connection(7, 8)]), ("Studio", []))
        with open(self.path, "w", encoding="utf-8") as file:
            json.dump(sets, file)

    def test_the_window_shows_the_failure_and_edits_the_sets(self):
        router = self.start("--midi", "alsa")
        router.wait_text("MIDI client could not be created (-2)")
        router.wait_text("Live / 1 connections")
        self.assertFalse(router.shows("Demo devices"))
        router.choose_set("Studio")
        router.wait_text('Loaded set "Studio"')
        wait_for(lambda: documents.SavedDocument(self.path).current_set_name == "Studio", "the choice to be saved")
        self.assertFalse(os.path.exists(self.home.demo_document))

    def test_the_demo_devices_say_how_to_reach_the_sets(self):
        router = self.start()
        router.wait_text("Demo devices")
        self.assertIn("corvel --midi alsa", router.corvel.errors)
        self.assertIn("corvel --midi alsa", router.corvel.accessibility.outline())
