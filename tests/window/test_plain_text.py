"""Names are plain text and never markup."""

from support import pointing
from support.documents import DRUMS, PADS, connection
from support.window_test_case import WindowTestCase

ODD = ["<b>x</b>", "A & B", "&amp;", "%1 %n", "a\u00e4\U0001F3B9"]


class OddNames(WindowTestCase):
    def test_devices_show_every_character(self):
        router = self.start_with(("Live", [connection(4000 + index, DRUMS, source_name=name)
                                           for index, name in enumerate(ODD)]
                                  + [connection(PADS, 5000 + index, destination_name=name)
                                     for index, name in enumerate(ODD)]))
        router.wait_connection_rows(len(ODD) * 2)
        texts = ["\n".join(element.name for element in row) for row in router.connection_rows()]
        for text, name in zip(texts, ODD + ODD):
            self.assertIn(name, text)

    def test_sets_show_every_character(self):
        router = self.start_with(*((name, []) for name in ODD))
        self.assertEqual(router.set_choices(), ODD)
        for name in ODD[1:] + ODD[:1]:
            with self.subTest(name):
                router.choose_set(name)
                self.wait_saved(current_set_name=name)
                router.wait_text(f'Loaded set "{name}"')
                router.wait_text(f"{name} / 0 connections")
                self.assertEqual(router.set_pop_up().name, name)
                router.press("Rename current set")
                dialog = router.dialog("Rename Connection Set")
                self.assertEqual(dialog.field.text, name)
                dialog.press("Cancel")
                dialog.wait_closed()
                router.press("Delete current set")
                dialog = router.dialog("Delete Connection Set")
                self.assertTrue(dialog.shows(
                    f'Delete "{name}"? The devices and other connection sets will not be changed.'))
                pointing.press_keys("Escape")
                dialog.wait_closed()

    def test_typed_markup_becomes_the_name(self):
        router = self.start_with(("Live", []))
        router.press("Create connection set")
        dialog = router.dialog("New Connection Set")
        pointing.type_text("<b>A & B</b>")
        pointing.press_keys("Return")
        dialog.wait_closed()
        self.wait_saved(set_names=["Live", "<b>A & B</b>"])
        router.wait_text('Created set "<b>A & B</b>"')
        router.wait_text("<b>A & B</b> / 0 connections")
