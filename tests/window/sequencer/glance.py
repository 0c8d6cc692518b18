"""Single accessibility queries, because reading the whole tree takes seconds on an emulated machine."""

from support.waiting import wait_for


class Glance:
    """One element. Each property is read again at each use."""

    def __init__(self, accessible):
        self._accessible = accessible

    def _ask(self):
        self._accessible.clearCache()
        return self._accessible

    @property
    def name(self):
        return self._ask().name

    @property
    def description(self):
        return self._ask().description

    @property
    def parent(self):
        return Glance(self._ask().parent)

    @property
    def children(self):
        """The direct children."""
        accessible = self._ask()
        found = [accessible.getChildAtIndex(index) for index in range(accessible.childCount)]
        return [Glance(child) for child in found if child is not None]

    @property
    def extents(self):
        """Left, top, width, height on the screen."""
        import pyatspi
        box = self._ask().queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
        return box.x, box.y, box.width, box.height

    @property
    def middle(self):
        left, top, width, height = self.extents
        return left + width // 2, top + height // 2

    def wait_description(self, is_wanted, what):
        wait_for(lambda: is_wanted(self.description), lambda: f"{what}, not {self.description!r}")


def find(pid, name, description="", from_the_end=False):
    """Waits for the first element of a program with this name whose description contains this text."""
    from gi.repository import GLib

    def look():
        try:
            return next(_matches(_application(pid), name, description, from_the_end), None)
        except (GLib.Error, LookupError, AttributeError):
            # The element was removed meanwhile.
            return None

    return wait_for(look, f"{name!r} ({description!r}) in the window")


def _application(pid):
    import pyatspi
    desktop = pyatspi.Registry.getDesktop(0)
    desktop.clearCache()
    return Glance(next(application for application in desktop if application.get_process_id() == pid))


def _matches(element, name, description, from_the_end):
    children = element.children
    for child in reversed(children) if from_the_end else children:
        if child.name == name and description in child.description:
            yield child
        yield from _matches(child, name, description, from_the_end)
