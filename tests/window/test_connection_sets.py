"""The connection-set bar and its dialogs."""

from support import pointing
from support.documents import DRUMS, KEYBOARD, PADS, SYNTH, connection, shortcut
from support.window_test_case import WindowTestCase


class NamingDialogs(WindowTestCase):
    """The three dialogs that ask for a name."""

    def setUp(self):
        super().setUp()
        self.router = self.start_with(("Live", [connection(KEYBOARD, SYNTH, (None, None), (3, shortcut("1", "command")),
                                                           active=1)]),
                                      ("Studio", []))

    def open(self, button, message):
        self.router.press(button)
        return self.router.dialog(message)

    def answer_with_keys(self, dialog, name):
        pointing.press_keys("ctrl+a")
        pointing.type_text(name)
        pointing.press_keys("Return")
        dialog.wait_closed()

    def test_create_says_what_it_does_and_offers_a_name(self):
        dialog = self.open("Create connection set", "New Connection Set")
        self.assertTrue(dialog.shows("Create an empty connection set."))
        self.assertEqual(dialog.field.text, "New Set")

    def test_create_makes_an_empty_set_and_goes_there(self):
        self.open("Create connection set", "New Connection Set").press("OK")
        self.wait_saved(set_names=["Live", "Studio", "New Set"], current_set_name="New Set", connections=[])
        self.router.wait_text('Created set "New Set"')
        self.router.wait_text("New Set / 0 connections")

    def test_create_offers_the_next_free_name(self):
        self.open("Create connection set", "New Connection Set").press("OK")
        self.wait_saved(current_set_name="New Set")
        dialog = self.open("Create connection set", "New Connection Set")
        self.assertEqual(dialog.field.text, "New Set 2")
        dialog.press("OK")
        self.wait_saved(current_set_name="New Set 2")

    def test_a_name_loses_the_blanks_around_it(self):
        self.answer_with_keys(self.open("Create connection set", "New Connection Set"), "  Second act  ")
        self.wait_saved(set_names=["Live", "Studio", "Second act"])
        self.router.wait_text('Created set "Second act"')

    def test_a_blank_name_becomes_the_usual_one(self):
        self.answer_with_keys(self.open("Create connection set", "New Connection Set"), "   ")
        self.wait_saved(set_names=["Live", "Studio", "New Set"])

    def test_a_name_that_is_taken_gets_a_number(self):
        self.answer_with_keys(self.open("Create connection set", "New Connection Set"), "Studio")
        self.wait_saved(set_names=["Live", "Studio", "Studio 2"])

    def test_duplicate_copies_the_connections_under_a_new_name(self):
        dialog = self.open("Duplicate current set", "Duplicate Connection Set")
        self.assertTrue(dialog.shows("Create a copy of the current connection set."))
        self.assertEqual(dialog.field.text, "Live Copy")
        original = self.saved().current_set["routes"][0]
        dialog.press("OK")
        self.wait_saved(set_names=["Live", "Studio", "Live Copy"], current_set_name="Live Copy",
                        connections=[(KEYBOARD, SYNTH)], channels=[3])
        self.router.wait_text('Duplicated set "Live Copy"')
        copy = self.saved().current_set["routes"][0]
        self.assertNotEqual(copy["id"], original["id"])
        self.assertEqual(self.saved().assignments(0), [(None, None), (3, {"key": "1", "modifiers": ["command"]})])
        self.assertEqual(copy["activeVariantID"], copy["variants"][1]["id"])

    def test_duplicate_offers_the_next_free_name(self):
        self.open("Duplicate current set", "Duplicate Connection Set").press("OK")
        self.wait_saved(current_set_name="Live Copy")
        self.router.choose_set("Live")
        self.wait_saved(current_set_name="Live")
        self.assertEqual(self.open("Duplicate current set", "Duplicate Connection Set").field.text, "Live Copy 2")

    def test_rename_changes_the_name_alone(self):
        dialog = self.open("Rename current set", "Rename Connection Set")
        self.assertTrue(dialog.shows("Rename the current connection set."))
        self.assertEqual(dialog.field.text, "Live")
        before = self.saved().current_set
        self.answer_with_keys(dialog, "Tour")
        self.wait_saved(set_names=["Tour", "Studio"], current_set_name="Tour")
        self.router.wait_text('Renamed set "Tour"')
        self.router.wait_text("Tour / 1 connections")
        self.assertEqual(self.saved().current_set, {**before, "name": "Tour"})

    def test_rename_to_a_taken_name_adds_a_number(self):
        self.answer_with_keys(self.open("Rename current set", "Rename Connection Set"), "Studio")
        self.wait_saved(set_names=["Studio 2", "Studio"])

    def test_rename_to_nothing_keeps_the_name(self):
        self.answer_with_keys(self.open("Rename current set", "Rename Connection Set"), " ")
        self.router.wait_text('Renamed set "Live"')
        self.wait_saved(set_names=["Live", "Studio"])

    def test_cancel_and_escape_change_nothing(self):
        before = self.document_bytes()
        for button, message in (("Create connection set", "New Connection Set"),
                                ("Duplicate current set", "Duplicate Connection Set"),
                                ("Rename current set", "Rename Connection Set")):
            dialog = self.open(button, message)
            pointing.type_text("Other")
            dialog.again().press("Cancel")
            dialog.wait_closed()
            dialog = self.open(button, message)
            pointing.type_text("Other")
            pointing.press_keys("Escape")
            dialog.wait_closed()
        self.assertEqual(self.document_bytes(), before)
        self.assertTrue(self.router.shows("Live / 1 connections"))

    def test_the_name_can_be_typed_at_once_over_the_offered_one(self):
        dialog = self.open("Rename current set", "Rename Connection Set")
        pointing.type_text("Encore")
        pointing.press_keys("Return")
        dialog.wait_closed()
        self.wait_saved(set_names=["Encore", "Studio"])

    def test_ok_stands_right_of_cancel(self):
        dialog = self.open("Create connection set", "New Connection Set")
        ok, cancel = dialog.button("OK").extents, dialog.button("Cancel").extents
        self.assertEqual(ok[1], cancel[1])
        self.assertGreaterEqual(ok[0], cancel[0] + cancel[2])


class DeleteDialog(WindowTestCase):
    def test_it_names_the_set_and_deletes_it(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH)]), ("Stage", [connection(PADS, DRUMS)]),
                                 ("Studio", []), current=1)
        router.press("Delete current set")
        dialog = router.dialog("Delete Connection Set")
        self.assertTrue(
            dialog.shows('Delete "Stage"? The devices and other connection sets will not be changed.'))
        self.assertEqual(dialog.element.find(role=("text", "entry")), [])
        dialog.press("Delete")
        self.wait_saved(set_names=["Live", "Studio"], current_set_name="Studio")
        router.wait_text('Deleted set "Stage"')
        router.wait_text("Studio / 0 connections")

    def test_deleting_the_last_of_the_list_goes_to_the_one_before(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH)]), ("Stage", []), current=1)
        router.press("Delete current set")
        router.dialog("Delete Connection Set").press("Delete")
        self.wait_saved(set_names=["Live"], connections=[(KEYBOARD, SYNTH)])

    def test_cancel_and_escape_keep_the_set(self):
        router = self.start_with(("Live", []), ("Stage", []))
        before = self.document_bytes()
        router.press("Delete current set")
        dialog = router.dialog("Delete Connection Set")
        dialog.press("Cancel")
        dialog.wait_closed()
        router.press("Delete current set")
        dialog = router.dialog("Delete Connection Set")
        pointing.press_keys("Escape")
        dialog.wait_closed()
        self.assertEqual(self.document_bytes(), before)

    def test_return_deletes(self):
        router = self.start_with(("Live", []), ("Stage", []))
        router.press("Delete current set")
        dialog = router.dialog("Delete Connection Set")
        pointing.press_keys("Return")
        dialog.wait_closed()
        self.wait_saved(set_names=["Stage"])

    def test_the_only_set_stays(self):
        router = self.start_with(("Live", [connection(KEYBOARD, SYNTH)]))
        router.wait_text("3 inputs, 3 outputs")
        self.assertFalse(router.button("Delete current set").is_enabled)
        self.assertEqual(router.button("Delete current set").description, "The only connection set cannot be deleted")
        before = self.document_bytes()
        router.press("Delete current set")
        router.press("Rename current set")
        router.dialog("Rename Connection Set").press("Cancel")
        self.assertEqual(self.document_bytes(), before)


class SetPopUp(WindowTestCase):
    def setUp(self):
        super().setUp()
        self.router = self.start_with(("Live", [connection(KEYBOARD, SYNTH)]), ("Studio", []),
                                      ("Encore", [connection(PADS, DRUMS), connection(PADS, SYNTH)]))

    def test_it_lists_the_sets_in_their_order(self):
        self.assertEqual(self.router.set_choices(), ["Live", "Studio", "Encore"])

    def test_choosing_a_set_goes_there(self):
        self.router.choose_set("Encore")
        self.wait_saved(current_set_name="Encore")
        self.router.wait_text('Loaded set "Encore"')
        self.router.wait_text("Encore / 2 connections")
        self.router.choose_set("Studio")
        self.wait_saved(current_set_name="Studio")
        self.router.wait_text("Studio / 0 connections")

    def test_choosing_the_current_set_again_changes_nothing(self):
        self.router.wait_text("3 inputs, 3 outputs")
        before = self.document_bytes()
        self.router.choose_set("Live")
        self.router.choose_set("Live")
        self.assertEqual(self.document_bytes(), before)
        self.assertTrue(self.router.shows("3 inputs, 3 outputs"))

    def test_the_connections_shown_are_those_of_the_set(self):
        self.assertEqual(len(self.router.connection_rows()), 1)
        self.router.choose_set("Encore")
        self.router.wait_connection_rows(2)
        self.router.choose_set("Studio")
        self.router.wait_connection_rows(0)
