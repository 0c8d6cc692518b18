"""The folders of one user."""

import json
import os
import tempfile


class Home:
    """The folders in which a program saves its data; each test has its own."""

    def __init__(self, desktop):
        self.folder = tempfile.mkdtemp(prefix="home.", dir=desktop.folder)
        # Additional environment variables of the program, such as those that a desktop sets.
        self.variables = {}

    def path(self, *names):
        return os.path.join(self.folder, *names)

    @property
    def environment(self):
        return {"HOME": self.folder, "XDG_CONFIG_HOME": self.path("config"), "XDG_DATA_HOME": self.path("data"),
                "XDG_CACHE_HOME": self.path("cache"), "XDG_STATE_HOME": self.path("state"),
                **self.variables}

    @property
    def document(self):
        return self.path("data", "Corvel", "routes.json")

    @property
    def demo_document(self):
        return self.path("data", "Corvel", "demo-routes.json")

    @property
    def settings_file(self):
        return self.path("config", "Corvel", "Corvel.ini")

    def settings(self):
        try:
            with open(self.settings_file, encoding="utf-8") as file:
                return file.read()
        except FileNotFoundError:
            return ""

    def write_document(self, document):
        self._write(self.document, document)

    def write_demo_document(self, document):
        self._write(self.demo_document, document)

    @staticmethod
    def _write(path, document):
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            json.dump(document, file)
