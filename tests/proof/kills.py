"""The program is killed at random while it saves. The document is always the old or the new one."""

import os
import signal
import threading
import time

from proof import DEADLINE, NAMES, Home, Proof, end, two_sets, wait_until

CONNECTIONS = 300
LEAST_TRIES = 10


def temporaries(home):
    return [name for name in home.names() if name.endswith(".tmp")]


def written_forms(home):
    """The bytes of the document with either set as the current one, as the program itself writes them."""
    forms = {}
    for name in (*NAMES, *NAMES):
        result = home.run("--set", name)
        if result.returncode != 0:
            raise RuntimeError(f"--set {name}: {result.stderr}")
        forms[name] = home.document.read_bytes()
    return forms


class Kills:
    def __init__(self, proof, home, has_instance):
        self.proof, self.home = proof, home
        home.document.write_text(two_sets(0, CONNECTIONS))
        # A running instance adds the names of the devices that it finds.
        router = home.start_router() if has_instance else None
        self.forms = written_forms(home)
        if router:
            end(router)
        self.current = NAMES[1]
        self.tried = self.whole = self.during_save = self.saved = 0
        self.most_temporaries = 0

    def wait_for_a_moment(self, ended):
        """Waits at random for any moment or for a moment of the save, which a temporary file shows."""
        if self.proof.random.random() < 0.5:
            time.sleep(self.proof.random.uniform(0, 0.08))
        else:
            before = set(temporaries(self.home))
            wait_until(lambda: ended() or set(temporaries(self.home)) - before, 2)
            time.sleep(self.proof.random.uniform(0, 0.004))

    def look(self):
        """Counts a kill and the form in which it left the document."""
        self.tried += 1
        found = self.home.document.read_bytes() if self.home.document.exists() else b""
        for name, form in self.forms.items():
            if found == form:
                self.whole += 1
                self.saved += name != self.current
                self.current = name
                break
        left = temporaries(self.home)
        self.during_save += bool(left)
        self.most_temporaries = max(self.most_temporaries, len(left))

    def other(self):
        return NAMES[1 - NAMES.index(self.current)]

    def report(self, where):
        """Reports the counts, and whether the next save deletes the temporary files."""
        self.proof.report(f"A kill {where} leaves the old or the new document", self.tried, self.whole,
                          f"{self.during_save} while a file was being written, {self.saved} after the change")
        self.home.run("--set", self.other())
        left = [name for name in self.home.names() if name != "routes.json"]
        self.proof.report(f"Nothing piles up after kills {where}", 1, int(not left and self.most_temporaries <= 2),
                          f"at most {self.most_temporaries} temporary files, {len(left)} at the end")


def kill_commands(proof):
    with Home(proof.program) as home:
        kills = Kills(proof, home, has_instance=False)
        for _ in range(LEAST_TRIES * proof.scale):
            command = home.start("--set", kills.other())
            kills.wait_for_a_moment(lambda: command.poll() is not None)
            command.kill()
            command.wait()
            kills.look()
        kills.report("in a command's save")


def switch_sets(home, router):
    """Changes the set as often as the running instance can, until it is killed."""
    while router.poll() is None:
        for name in NAMES:
            home.ask("--set", name)


def kill_instances(proof):
    with Home(proof.program) as home:
        kills = Kills(proof, home, has_instance=True)
        answers = 0
        for _ in range(LEAST_TRIES * proof.scale):
            router = home.start_router()
            # This command waits until the program has started.
            home.ask("--sets")
            performer = threading.Thread(target=switch_sets, args=(home, router))
            performer.start()
            time.sleep(proof.random.uniform(0, 0.3))
            os.kill(router.pid, signal.SIGKILL)
            router.wait()
            # Commands end at once if there is no instance.
            performer.join(DEADLINE)
            answers += not performer.is_alive()
            kills.look()
        kills.report("of the running instance in a save")
        proof.report("A command whose instance is killed ends", kills.tried, answers)
        router = home.start_router()
        proof.report("The program starts again after kills", 1, int(end(router) == 0))


if __name__ == "__main__":
    the_proof = Proof(__doc__)
    kill_commands(the_proof)
    kill_instances(the_proof)
    the_proof.end()
