"""The program as a screen reader sees and operates it."""

from dataclasses import dataclass, field

from .waiting import wait_for

# The libraries connect to the bus when they are imported, so they are imported after the desktop has started.
_pyatspi = None


def _library():
    global _pyatspi
    if _pyatspi is None:
        import pyatspi
        _pyatspi = pyatspi
        pyatspi.setTimeout(2000, 5000)
    return _pyatspi


@dataclass
class Element:
    """One element of the tree at the time when it was read."""

    name: str
    role: str
    description: str
    states: frozenset
    parent: "Element | None"
    accessible: object = field(repr=False)
    children: list = field(default_factory=list, repr=False)

    def __str__(self):
        return f"{self.role} {self.name!r}" + (f" ({self.description!r})" if self.description else "")

    def __iter__(self):
        """This element and all its descendants, in tree order."""
        yield self
        for child in self.children:
            yield from child

    @property
    def is_enabled(self):
        return "enabled" in self.states and "sensitive" in self.states

    @property
    def is_focused(self):
        return "focused" in self.states

    @property
    def is_chosen(self):
        """Whether it is the selected one of its group."""
        return not {"selected", "checked"}.isdisjoint(self.states)

    @property
    def is_showing(self):
        return "showing" in self.states and "visible" in self.states

    @property
    def extents(self):
        """Left, top, width, height on the screen."""
        try:
            box = self.accessible.queryComponent().getExtents(_library().DESKTOP_COORDS)
        except NotImplementedError:
            return 0, 0, 0, 0
        return box.x, box.y, box.width, box.height

    @property
    def middle(self):
        left, top, width, height = self.extents
        return left + width // 2, top + height // 2

    @property
    def text(self):
        """The text of a field or a label."""
        try:
            text = self.accessible.queryText()
            return text.getText(0, text.characterCount)
        except NotImplementedError:
            return self.name

    @property
    def actions(self):
        try:
            action = self.accessible.queryAction()
        except NotImplementedError:
            return []
        return [action.getName(index) for index in range(action.nActions)]

    def perform(self, name):
        actions = self.actions
        if name not in actions:
            raise AssertionError(f"{self} has no action {name}, only {actions}")
        self.accessible.queryAction().doAction(actions.index(name))

    def press(self):
        self.perform("Press")

    def focus(self):
        self.perform("SetFocus")

    def enter(self, text):
        self.accessible.queryEditableText().setTextContents(text)

    def find(self, **wanted):
        return [element for element in self if element.matches(**wanted)]

    def matches(self, name=None, role=None, description=None, showing=True):
        return ((name is None or name == self.name) and (role is None or self.role in _names(role))
                and (description is None or description == self.description)
                and (not showing or self.is_showing))


def _names(role):
    return (role,) if isinstance(role, str) else role


class Accessibility:
    """The tree of one process, and the menu that it opened last.

    Qt does not put pop-up menus into the tree. Screen readers learn of them when they are shown or when one of their
    items gets the focus, and so does this class.

    Must be created before the program is started: Qt asks once for listeners and later only follows changes, so a
    listener that starts in between is never notified.
    """

    def __init__(self):
        self._pid = None
        self._announced = []
        self._menu = None
        _library().Registry.registerEventListener(lambda event: self._announced.append(event.source),
                                                  "object:state-changed:showing", "object:state-changed:focused")
        self._raised = []
        _library().Registry.registerEventListener(self._note, "object:state-changed:showing",
                                                  "object:property-change:accessible-name",
                                                  "object:property-change:accessible-description",
                                                  "object:children-changed")
        # When the registry answers, it has registered the listener.
        self.tree()

    def follow(self, pid):
        """Uses the tree of this process from now on."""
        self._pid = pid

    def _note(self, event):
        self._raised.append((event.type.name, event.source))

    def _take(self, kinds):
        """The elements of this program in events of these kinds since the last call."""
        _take_events()
        raised, self._raised[:] = list(self._raised), []
        told = (_passing(lambda: _read(source, None) if source.get_process_id() == self._pid else None)
                for kind, source in raised if kind in kinds)
        return [element for element in told if element]

    def take_changed_parents(self):
        """The names of elements that have gained ("add") or lost ("remove") a child since the last call."""
        _take_events()
        raised, self._raised[:] = list(self._raised), []
        changed = [(kind, source) for kind, source in raised if kind.startswith("object:children-changed:")]
        return [(kind.split(":")[2], _passing(lambda: source.name)) for kind, source in changed]

    def take_notifications(self):
        """The texts that were read out since the last call."""
        return [element.name for element in self._take(("object:state-changed:showing",))
                if element.role == "notification"]

    def take_changes_of_text(self):
        """The elements whose name or description has changed since the last call."""
        return self._take(("object:property-change:accessible-name", "object:property-change:accessible-description"))

    def menu(self):
        """The open menu, or None."""
        _take_events()
        announced, self._announced[:] = list(self._announced), []
        for accessible in announced:
            self._menu = _passing(lambda: self._menu_of(accessible)) or self._menu
        menu = _passing(lambda: _read(self._menu, None)) if self._menu else None
        return menu if menu and menu.is_showing else None

    def _menu_of(self, accessible):
        if accessible.get_process_id() != self._pid:
            return None
        menu = accessible if accessible.getRole() != _library().ROLE_MENU_ITEM else accessible.get_parent()
        return menu if menu.getRole() == _library().ROLE_POPUP_MENU else None

    def tree(self):
        """Reads the whole tree; None while the program is not on the bus or removes something meanwhile."""
        return _passing(self._read_tree)

    def _read_tree(self):
        desktop = _library().Registry.getDesktop(0)
        desktop.clearCache()
        for index in range(desktop.childCount):
            application = desktop.getChildAtIndex(index)
            if application is not None and application.get_process_id() == self._pid:
                return _read(application, None)
        return None

    def all(self, **wanted):
        return [found for tree in (self.tree(), self.menu()) if tree for found in tree.find(**wanted)]

    def find(self, **wanted):
        """Waits for the only element that matches."""
        found = []

        def look():
            found[:] = self.all(**wanted)
            return len(found) == 1

        wait_for(look, lambda: f"one {wanted}, not {len(found)}, in\n{self.outline()}")
        return found[0]

    def wait_gone(self, **wanted):
        def is_gone():
            tree = self.tree()
            return tree is not None and not tree.find(**wanted)

        wait_for(is_gone, lambda: f"no {wanted} in\n{self.outline()}")

    def outline(self):
        """The tree as text, for the message of a failure."""
        lines = []

        def add(element, depth):
            lines.append("  " * depth + str(element) + ("" if element.is_showing else " (hidden)"))
            for child in element.children:
                add(child, depth + 1)

        for tree in (self.tree(), self.menu()):
            if tree:
                add(tree, 0)
        return "\n".join(lines)


def _read(accessible, parent):
    library = _library()
    accessible.clearCache()
    element = Element(
        name=accessible.name,
        role=accessible.getRoleName(),
        description=accessible.description,
        states=frozenset(library.stateToString(state) for state in accessible.getState().getStates()),
        parent=parent,
        accessible=accessible)
    for index in range(accessible.childCount):
        child = accessible.getChildAtIndex(index)
        if child is not None:
            element.children.append(_read(child, element))
    return element


def _take_events():
    from gi.repository import GLib
    while GLib.MainContext.default().iteration(False):
        pass


def _passing(read):
    """Returns the result of the read, or None if the element was removed meanwhile, for example with a dialog that
    closes."""
    from gi.repository import GLib
    try:
        return read()
    except (GLib.Error, LookupError, AttributeError):
        return None
