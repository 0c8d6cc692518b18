"""Full and read-only disks, documents that are damaged, changed or replaced: the user's file is never lost."""

import os
import resource
import signal
import subprocess
from pathlib import Path

from proof import NAMES, Home, Proof, end, problems, two_sets

CORPUS = Path(__file__).resolve().parent.parent / "corpus" / "document"
NOBODY = 65534


def contents(home):
    """The bytes of every file in the document's folder."""
    found = []
    for name in home.names():
        path = home.document.parent / name
        if path.is_file():
            found.append(path.read_bytes())
    return found


def wrong_shapes(proof):
    """Every document of the corpus. If it cannot be read, a message names it, and it stays or is kept as a copy."""
    tried = kept = told = unreadable = ended = 0
    for path in sorted(CORPUS.glob("*/*.json")):
        text = path.read_bytes()
        with Home(proof.program) as home:
            home.document.write_bytes(text)
            listed = home.run("--sets")
            tried += 1
            untouched = contents(home) == [text]
            # A command that changes and saves.
            changed = home.run("--connect", "1001", "2001", "--midi", "demo")
            ended += listed.returncode is not None and changed.returncode is not None
            is_problem = bool(problems(listed))
            unreadable += is_problem
            kept += untouched and (not is_problem or text in contents(home))
            told += not is_problem or str(home.document) in listed.stderr or "routes.json" in listed.stderr
    proof.report("A document of a wrong shape is never lost", tried, kept, f"{unreadable} cannot be read")
    proof.report("A document that cannot be read is named in the message", tried, told)
    proof.report("A document of a wrong shape never hangs or ends the program by a signal", tried, ended)


def damaged(proof):
    """Valid documents with random damage."""
    tried = kept = ended = 0
    whole = two_sets(0, 3).encode()
    for _ in range(20 * proof.scale):
        text = bytearray(whole)
        for _ in range(proof.random.randint(1, 4)):
            at = proof.random.randrange(len(text))
            if proof.random.random() < 0.5:
                text[at] = proof.random.randrange(256)
            else:
                del text[at:at + proof.random.randint(1, 40)]
        text = bytes(text)
        with Home(proof.program) as home:
            home.document.write_bytes(text)
            listed = home.run("--sets")
            changed = home.run("--connect", "1001", "2001", "--midi", "demo")
            tried += 1
            kept += not problems(listed) or text in contents(home)
            ended += all(result.returncode in (0, 1) for result in (listed, changed))
    proof.report("A damaged document is never lost", tried, kept)
    proof.report("A damaged document ends no command by a signal or a hang", tried, ended)


def file_size_limit(size):
    def limit():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (size, resource.RLIM_INFINITY))
    return limit


def other_user():
    os.setgid(NOBODY)
    os.setuid(NOBODY)


def full_disk(proof):
    """Writes beyond a random file size fail, as on a full disk or beyond a quota."""
    tried = kept = told = 0
    for _ in range(5 * proof.scale):
        with Home(proof.program) as home:
            home.document.write_text(two_sets(0, 20))
            text = home.document.read_bytes()
            result = home.run("--set", NAMES[1], preexec_fn=file_size_limit(proof.random.randrange(len(text))))
            tried += 1
            kept += contents(home) == [text]
            told += result.returncode == 1 and "routes.json" in result.stderr
            evidence = result.stderr.strip()
    proof.report("A full disk costs neither the document nor its folder", tried, kept)
    proof.report("A save on a full disk fails with a message that names the file", tried, told, evidence)


def small_disk(proof):
    """A file system of 512 KB that is full, if this machine lets the proof mount one."""
    with Home(proof.program) as home:
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=512k", "small", home.document.parent],
                                 capture_output=True).returncode == 0
        if not mounted:
            print("no file system could be mounted here, so a really full one was not tried")
            return
        try:
            home.document.write_text(two_sets(0, 50))
            text = home.document.read_bytes()
            filler = home.document.parent / "filler"
            with open(filler, "wb", buffering=0) as file:
                try:
                    while file.write(b"x" * 4096):
                        pass
                except OSError:
                    pass
            result = home.run("--set", NAMES[1])
            held = result.returncode == 1 and home.document.read_bytes() == text and home.names() == ["filler", "routes.json"]
            filler.unlink()
            again = home.run("--set", NAMES[1])
            proof.report("A save on a full file system fails, and succeeds once there is room", 1,
                         int(held and again.returncode == 0), result.stderr.strip())
        finally:
            subprocess.run(["umount", "-l", home.document.parent], check=True)


def read_only(proof):
    if os.geteuid() != 0:
        print("only root can try a folder that another user may not write")
        return
    with Home(proof.program) as home:
        home.document.write_text(two_sets(0, 3))
        text = home.document.read_bytes()
        for folder in (home.folder, home.document.parent):
            folder.chmod(0o755)
        home.document.chmod(0o444)
        for name in ("data", "config", "runtime"):
            os.chown(home.folder / name, NOBODY, NOBODY)
        result = home.run("--set", NAMES[1], preexec_fn=other_user)
        proof.report("A folder without permission to write leaves the document and is named", 1,
                     int(result.returncode == 1 and contents(home) == [text] and "routes.json" in result.stderr),
                     result.stderr.strip())


def changed_while_running(proof):
    """While the program runs, another program overwrites the document. The program goes on and keeps that text."""
    texts = {"an edit": two_sets(0, 7).encode(), "rubbish": b"not a document", "nothing": b""}
    tried = kept = survived = 0
    for _ in range(proof.scale):
        for what, text in texts.items():
            with Home(proof.program) as home:
                home.document.write_text(two_sets(0, 3))
                router = home.start_router()
                home.ask("--set", NAMES[1])
                home.document.write_bytes(text)
                home.ask("--set", NAMES[0])
                tried += 1
                kept += text in contents(home)
                answer, _ = home.ask("--sets")
                survived += answer.startswith(b"corvel 2") and end(router) == 0
    proof.report("What others write into the document while the program runs is kept", tried, kept,
                 ", ".join(texts))
    proof.report("The program goes on after others wrote into the document", tried, survived)


def replaced_while_running(proof):
    def make_folder(home):
        home.document.unlink()
        home.document.mkdir()

    def make_pipe(home):
        home.document.unlink()
        os.mkfifo(home.document)

    def make_loop(home):
        home.document.unlink()
        home.document.symlink_to(home.document)

    def remove_folder(home):
        home.document.unlink()
        home.document.parent.rmdir()

    def remove_file(home):
        home.document.unlink()

    changes = {"a folder": make_folder, "a named pipe": make_pipe, "a link to itself": make_loop,
               "no folder": remove_folder, "no file": remove_file}
    survived = 0
    for what, change in changes.items():
        with Home(proof.program) as home:
            home.document.write_text(two_sets(0, 3))
            router = home.start_router()
            home.ask("--set", NAMES[1])
            change(home)
            changed, took = home.ask("--set", NAMES[0])
            answer, _ = home.ask("--sets")
            is_well = bool(changed) and took < 5 and b"* Soft" in answer
            is_well &= end(router) == 0
            if not is_well:
                print(f"{what}: answered {changed!r} after {took:.1f} s, then {answer!r}")
            survived += is_well
    proof.report("The program goes on and changes sets whatever takes the document's place", len(changes), survived,
                 ", ".join(changes))


if __name__ == "__main__":
    the_proof = Proof(__doc__)
    for part in (wrong_shapes, damaged, full_disk, small_disk, read_only, changed_while_running,
                 replaced_while_running):
        part(the_proof)
    the_proof.end()
