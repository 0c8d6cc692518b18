"""The router window as its user knows it: by texts and positions."""

from . import pointing, windows
from .waiting import wait_for

BUTTONS = ("push button", "toggle button", "button", "radio button", "check box", "page tab", "list item")
MENU_ITEMS = ("menu item", "check menu item", "radio menu item")
ADD_CHANNEL = "Add output channel for this connection"
COLUMN = 300


class RouterWindow:
    """The main window of a running program."""

    def __init__(self, corvel):
        self.corvel = corvel
        self.accessibility = corvel.accessibility

    @property
    def box(self):
        return windows.content(self.corvel.window)

    def point(self, x, y):
        """A point of the window in screen coordinates; negative ones count from the right and the bottom."""
        box = self.box
        return box.x + (x if x >= 0 else box.width + x), box.y + (y if y >= 0 else box.height + y)

    def activate(self):
        windows.activate(self.corvel.window)

    # Controls

    def button(self, name):
        """The button with this name. After a colon the name may continue."""
        def look():
            return [element for element in self.accessibility.all(role=BUTTONS)
                    if f"{element.name}: ".startswith(f"{name}: ")]

        return wait_for(lambda: (found := look()) and len(found) == 1 and found,
                        lambda: f"one button {name!r} in\n{self.accessibility.outline()}")[0]

    def press(self, name):
        """Clicks the button with this name."""
        pointing.click(self.button(name).middle)

    def wait_enabled(self, name, enabled=True):
        wait_for(lambda: self.button(name).is_enabled == enabled,
                 f"{name!r} to be {'enabled' if enabled else 'disabled'}")

    def endpoints(self, direction):
        """The rows of the input or the output column, from the top."""
        box = self.box
        edge = box.x + (COLUMN if direction == "input" else box.width - COLUMN)
        rows = []
        for element in self.accessibility.all(role=BUTTONS + ("list item",)):
            left, top, width, height = element.extents
            is_in_column = left + width <= edge if direction == "input" else left >= edge
            if is_in_column and height == 40 and top > box.y + 100:
                rows.append((top, element))
        return [element for _, element in sorted(rows, key=lambda row: row[0])]

    def endpoint(self, direction, name):
        return wait_for(lambda: next((row for row in self.endpoints(direction) if row.name == name), None),
                        f"the {direction} {name!r}")

    def input(self, name):
        return self.endpoint("input", name)

    def output(self, name):
        return self.endpoint("output", name)

    # Texts

    def shows(self, text):
        """Whether an element shows exactly this text."""
        return bool(self.accessibility.all(name=text))

    def wait_text(self, text):
        wait_for(lambda: self.shows(text), lambda: f"the text {text!r} in\n{self.accessibility.outline()}")

    def details(self, text):
        """The selection details with this text."""
        return self.accessibility.find(name=text, role=BUTTONS)

    def wait_details(self, text):
        self.details(text)

    # The set bar

    def set_pop_up(self):
        """The widest control of the bar."""
        box = self.box

        def look():
            for element in self.accessibility.all():
                left, top, width, height = element.extents
                if box.y + 56 <= top < box.y + 100 and width == 220 and "focusable" in element.states:
                    return element
            return None

        return wait_for(look, lambda: f"the pop-up of the sets in\n{self.accessibility.outline()}")

    def set_choices(self):
        pointing.click(self.set_pop_up().middle)
        return self.leave_menu()

    def choose_set(self, name):
        pointing.click(self.set_pop_up().middle)
        self.choose(name)

    # Menus

    def menu_items(self):
        """The items of the open menu, by name."""
        return {item.name: item for item in self.accessibility.all(role=MENU_ITEMS)}

    def choose(self, name):
        """Clicks an item of the open menu."""
        item = wait_for(lambda: self.menu_items().get(name),
                        lambda: f"the choice {name!r} in\n{self.accessibility.outline()}")
        pointing.click(item.middle)
        wait_for(lambda: not self.accessibility.menu(), "the menu to close")

    def leave_menu(self):
        """Closes the open menu; returns its titles."""
        wait_for(self.accessibility.menu, "the menu")
        choices = list(self.menu_items())
        pointing.press_keys("Escape")
        wait_for(lambda: not self.accessibility.menu(), "the menu to close")
        return choices

    # The connections

    def connection_rows(self):
        """One element for each connection, from the top, including those that are scrolled out of sight."""
        adders = self.accessibility.all(name=ADD_CHANNEL, showing=False)
        return sorted((adder.parent for adder in adders), key=lambda row: row.extents[1])

    def wait_connection_rows(self, count):
        wait_for(lambda: len(self.connection_rows()) == count,
                 lambda: f"{count} connections in\n{self.accessibility.outline()}")

    def connection_row(self, index):
        return wait_for(lambda: self.connection_rows()[index:index + 1], f"connection {index}")[0]

    def select_connection(self, index):
        """Clicks the row beside its buttons."""
        left, top, _, height = self.connection_row(index).extents
        pointing.click((left + 70, top + height // 2))

    def wait_selected_connection(self, index):
        wait_for(lambda: [at for at, row in enumerate(self.connection_rows()) if row.is_chosen] == [index],
                 lambda: f"connection {index} to be selected in\n{self.accessibility.outline()}")

    def press_connection_by_action(self, index):
        self.connection_row(index).press()

    def row_button(self, index, name):
        def look():
            return self.connection_row(index).find(name=name, role=BUTTONS)

        return wait_for(look, lambda: f"{name!r} in connection {index} in\n{self.accessibility.outline()}")[0]

    def press_in_row(self, index, name):
        pointing.click(self.row_button(index, name).middle)

    def open_channel_menu(self, index):
        """Opens the pop-up of a row, which is to the left of its buttons."""
        left, top, _, height = self.row_button(index, ADD_CHANNEL).extents
        pointing.click((left - 60, top + height // 2))
        wait_for(self.menu_items, "the channels of the connection")

    def channel_choices(self, index):
        self.open_channel_menu(index)
        return self.leave_menu()

    def choose_channel(self, index, title):
        self.open_channel_menu(index)
        self.choose(title)

    # Dialogs

    def dialog(self, message):
        return Dialog(self, message)

    def about(self):
        return Dialog(self, "Corvel")

    def open_settings(self, tab=None):
        self.press("Open settings")
        settings = Dialog(self, "Settings")
        if tab:
            settings.press(tab)
            wait_for(lambda: settings.again().button(tab).is_chosen, f"the tab {tab}")
        return settings

    def wait_reloads(self, count):
        """Waits until the diagnostics have this number of reloads."""
        settings = self.open_settings("Debug")

        def reloads():
            return sum(" Endpoint reload (" in element.name for element in settings.again().element)

        wait_for(lambda: reloads() == count, lambda: f"{count} reloads, not {reloads()}")
        settings.again().press("Done")
        settings.wait_closed()

    def open_dialog_channels(self, dialog):
        pop_up = [element for element in dialog.again().element
                  if "focusable" in element.states and element.extents[2] == 160]
        dialog.click(pop_up[0])
        wait_for(self.menu_items, "the channels")

    def dialog_channel_choices(self, dialog):
        self.open_dialog_channels(dialog)
        return self.leave_menu()

    def choose_dialog_channel(self, dialog, title):
        self.open_dialog_channels(dialog)
        self.choose(title)


class Dialog:
    """A dialog, identified by its message."""

    def __init__(self, router, message):
        self._accessibility = router.accessibility
        self.message = message
        self.element = wait_for(self._look, lambda: f"the dialog {message!r} in\n{self._accessibility.outline()}")
        self.wait_focus()

    def _look(self):
        dialogs = self._accessibility.all(role="dialog")
        return next((dialog for dialog in dialogs if dialog.find(name=self.message)), None)

    def wait_focus(self):
        """Waits until the dialog has the keyboard focus."""
        wait_for(lambda: (dialog := self._look()) and any(element.is_focused for element in dialog),
                 f"the dialog {self.message!r} to have the focus")

    def again(self):
        """The dialog's present state."""
        self.element = wait_for(self._look, f"the dialog {self.message!r}")
        return self

    def shows(self, text):
        return bool(self.element.find(name=text))

    def button(self, name):
        found = self.element.find(name=name, role=BUTTONS)
        if len(found) != 1:
            raise AssertionError(f"{len(found)} buttons {name!r} in {self.message!r}")
        return found[0]

    @property
    def field(self):
        found = self.element.find(role=("text", "entry"))
        if len(found) != 1:
            raise AssertionError(f"{len(found)} text fields in {self.message!r}")
        return found[0]

    def press(self, name):
        self.click(self.button(name))

    def click(self, element):
        pointing.click(element.middle)

    def wait_closed(self):
        wait_for(lambda: self._accessibility.tree() and not self._look(), f"the dialog {self.message!r} to close")
