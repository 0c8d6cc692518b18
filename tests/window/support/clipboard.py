"""The clipboard as another program reads and writes it."""

import subprocess

from .processes import output


def clipboard_text():
    """The text on the clipboard; empty if there is none."""
    return output("xclip", "-o", "-selection", "clipboard", "-target", "UTF8_STRING", check=False)


def set_clipboard_text(text):
    # xclip keeps running as the owner of the selection, so it must not hold a pipe.
    subprocess.run(["xclip", "-i", "-selection", "clipboard"], input=text.encode(), check=True, timeout=20,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
