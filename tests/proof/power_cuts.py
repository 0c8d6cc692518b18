"""The power fails at any moment of a save, on a file system that keeps only what was synced.

The program runs under strace, which records each call that changes a file or a folder. From these calls the proof
computes the states in which a power cut after each call may leave the disk. A file then has its synced content or that
after any later write, of which half may be missing. The folder has its synced names and any number of the first changes
of names since then. A file system that drops unsynced data would show only the states that happen to occur; this shows
all of these states, and needs no privileges.
"""

import os
import re
import shutil
import subprocess
import sys

from proof import NAMES, Home, Proof, two_sets

CALLS = "openat,open,creat,write,pwrite64,writev,fsync,fdatasync,rename,renameat,renameat2,link,linkat,unlink,unlinkat,ftruncate,truncate"
LINE = re.compile(r'^\d+ +(\w+)\((.*)\) += (-?\d+)(?:<.*>)?(?: .*)?$')
TEXT = re.compile(r'"((?:\\x[0-9a-f]{2})*)"')
DESCRIPTOR = re.compile(r'^(\d+)<((?:\\x[0-9a-f]{2})*)')


def bytes_of(escaped):
    return bytes.fromhex(escaped.replace("\\x", ""))


class Disk:
    """A folder as the program sees it, and as it can be after a power cut."""

    def __init__(self, folder):
        self.folder = os.fsencode(str(folder))
        # A file is a list of contents that it may have on the disk; the last one is what the program sees.
        self.names = {}
        self.synced_names = {}
        self.changes = []
        for entry in os.scandir(folder):
            file = [entry_bytes(entry.path)]
            self.names[os.fsencode(entry.name)] = file
        self.synced_names = dict(self.names)

    def name(self, path):
        folder, name = os.path.split(path)
        return name if folder == self.folder else None

    def file(self, path):
        return self.names.get(self.name(path))

    def create(self, path, truncates):
        name = self.name(path)
        if name is None:
            return
        if name not in self.names:
            self.change(name, [b""])
        elif truncates:
            self.names[name].append(b"")

    def write(self, path, data):
        file = self.file(path)
        if file is not None:
            # A power cut may also leave half of a write.
            file += [file[-1] + data[:len(data) // 2], file[-1] + data]

    def truncate(self, path, size):
        file = self.file(path)
        if file is not None:
            file.append(file[-1][:size])

    def sync(self, path):
        if path == self.folder:
            self.synced_names = dict(self.names)
            self.changes = []
        elif (file := self.file(path)) is not None:
            del file[:-1]

    def change(self, name, file):
        self.changes.append((name, file))
        if file is None:
            self.names.pop(name, None)
        else:
            self.names[name] = file

    def rename(self, old, new):
        file = self.file(old)
        if file is not None and self.name(new) is not None:
            # The new name exists before the old one ends, so the file always has a name.
            self.change(self.name(new), file)
            self.change(self.name(old), None)

    def link(self, old, new):
        file = self.file(old)
        if file is not None and self.name(new) is not None:
            self.change(self.name(new), file)

    def unlink(self, path):
        if self.file(path) is not None:
            self.change(self.name(path), None)

    def states(self):
        """The possible sets of names after a power cut. Each name has the list of contents that its file may have."""
        names = dict(self.synced_names)
        yield dict(names)
        for name, file in self.changes:
            if file is None:
                names.pop(name, None)
            else:
                names[name] = file
            yield dict(names)


def entry_bytes(path):
    with open(path, "rb") as file:
        return file.read()


def apply(disk, call, arguments):
    paths = [bytes_of(text) for text in TEXT.findall(arguments)]
    descriptor = DESCRIPTOR.match(arguments)
    path = bytes_of(descriptor.group(2)) if descriptor else None
    if call in ("openat", "open", "creat"):
        if call == "creat" or "O_CREAT" in arguments or "O_TRUNC" in arguments:
            disk.create(paths[-1], "O_TRUNC" in arguments or call == "creat")
    elif call in ("write", "pwrite64"):
        disk.write(path, paths[-1] if paths else b"")
    elif call in ("fsync", "fdatasync"):
        disk.sync(path)
    elif call.startswith("rename"):
        disk.rename(*paths[-2:])
    elif call.startswith("link"):
        disk.link(*paths[-2:])
    elif call.startswith("unlink"):
        disk.unlink(paths[-1])
    elif call == "ftruncate":
        disk.truncate(path, int(arguments.rsplit(",", 1)[1]))
    elif disk.file(path or paths[0]) is not None:
        raise RuntimeError(f"the proof does not know {call}")


def traced(home, *arguments):
    """The calls of a command, one line each, and its result."""
    trace = home.folder / "trace"
    program, home.program = home.program, "strace"
    try:
        result = home.run("-f", "-xx", "-y", "-s", "10000000", "-e", f"trace={CALLS}", "-o", str(trace),
                          program, *arguments)
    finally:
        home.program = program
    calls = []
    unfinished = {}
    for line in trace.read_text().splitlines():
        process = line.split(" ", 1)[0]
        if line.endswith("<unfinished ...>"):
            unfinished[process] = line[:-len("<unfinished ...>")]
            continue
        if " resumed>" in line:
            line = unfinished.pop(process) + line.split(" resumed>", 1)[1]
        match = LINE.match(line)
        if match and int(match.group(3)) >= 0:
            calls.append(match.groups()[:2])
    return calls, result


class Cuts:
    def __init__(self):
        self.states = self.whole = self.durable_tried = self.durable = self.saves = 0
        self.evidence = ""

    def examine(self, disk, allowed, what):
        for names in disk.states():
            contents = names.get(b"routes.json", [None])
            for content in contents:
                self.states += 1
                # A state with the old document only under the name of a kept copy is not allowed: the user's document
                # must be found under its own name.
                if content in allowed:
                    self.whole += 1
                elif not self.evidence:
                    size = "no file" if content is None else f"{len(content)} bytes"
                    self.evidence = f"{what}: {size}"


def cut(home, cuts, what, *arguments):
    """Cuts the power after each call of the command."""
    disk = Disk(home.document.parent)
    old = home.document.read_bytes() if home.document.exists() else None
    calls, result = traced(home, *arguments)
    if result.returncode != 0:
        raise RuntimeError(f"{what}: {result.stderr}")
    new = home.document.read_bytes()
    if new == old:
        raise RuntimeError(f"{what}: nothing was saved")
    cuts.saves += 1
    cuts.examine(disk, {old, new}, what)
    for call, call_arguments in calls:
        apply(disk, call, call_arguments)
        cuts.examine(disk, {old, new}, f"{what} after {call}")
    seen = disk.names.get(b"routes.json", [None])[-1]
    if seen != new:
        raise RuntimeError(f"{what}: the calls do not explain the document")
    cuts.durable_tried += 1
    cuts.durable += all(content == new for names in disk.states() for content in names.get(b"routes.json", [None]))


def kept_user_text(home, cuts):
    """Replaces a document that cannot be read. Counts the states of the disk, and those that still have its text."""
    text = b"{ this is what the user wrote"
    home.document.write_bytes(text)
    disk = Disk(home.document.parent)
    calls, _ = traced(home, "--connect", "1001", "2001", "--midi", "demo")
    states = kept = 0
    for call, arguments in calls:
        apply(disk, call, arguments)
        for names in disk.states():
            states += 1
            kept += any(file == [text] for file in names.values())
    return states, kept


def main():
    proof = Proof(__doc__)
    if not shutil.which("strace"):
        sys.exit("power_cuts: strace is missing; script/bootstrap installs it")
    cuts = Cuts()
    for _ in range(proof.scale):
        with Home(proof.program) as home:
            home.document.write_text(two_sets(0, proof.random.randint(1, 200)))
            for name in (NAMES[1], NAMES[0], NAMES[1]):
                cut(home, cuts, f"--set {name}", "--set", name)
            home.document.write_text(two_sets(0, 5))
            cut(home, cuts, "--set after an edit", "--set", NAMES[1])
        with Home(proof.program) as home:
            cut(home, cuts, "the first save", "--connect", "1001", "2001", "--midi", "demo")
    proof.report("A power cut at any moment leaves the old or the new document", cuts.states, cuts.whole,
                 f"{cuts.saves} saves{'; ' + cuts.evidence if cuts.evidence else ''}")
    proof.report("A command that ended has its change on the disk", cuts.durable_tried, cuts.durable)
    with Home(proof.program) as home:
        states, kept = kept_user_text(home, cuts)
    proof.report("A document that cannot be read survives a power cut in its replacement", states, kept)
    proof.end()


if __name__ == "__main__":
    main()
