"""Completion of corvel command lines in bash and zsh. Each test types a line with tabs, and checks the arguments
that the program then gets."""

import json
import os
import re
import stat
import subprocess
import tempfile
import unittest

from terminal import PROMPT, Terminal

COMPLETIONS = os.environ["CORVEL_COMPLETIONS"]
PROGRAM = os.environ["CORVEL_PROGRAM"]

# Replaces the program: answers the queries of completions, and records the arguments of a start on the terminal.
STAND_IN = """#!/bin/bash
if [[ -t 1 ]]; then
    printf '%s\\0' "$@" >"$ANSWERS/given.new"
    mv "$ANSWERS/given.new" "$ANSWERS/given"
    exit
fi
printf '%s\\n' "$*" >>"$ANSWERS/asked"
"""
FROM_FILES = STAND_IN + """
case " $* " in
*" --list "*) cat "$ANSWERS/endpoints" ;;
*" --sets "*) cat "$ANSWERS/sets" ;;
esac
"""
FROM_PROGRAM = STAND_IN + 'exec "$CORVEL_PROGRAM" "$@"'
FAILING = STAND_IN + "exit 1"

SOURCES = [("Keys: Left Hand", 1001), ("Pads", -77), ('The "Old" $HOME Keys', 5), ("Ünder", 6), ("back\\slash", 7)]
DESTINATIONS = [("Synth", 2001), ("Synth: Port 2", 2002), ("Drum's Machine", 2003)]


def endpoints(pairs):
    return [{"displayName": name, "id": number, "isOnline": True, "manufacturer": None} for name, number in pairs]


class Completions:
    """The tests, for each shell."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.environment = {
            "PATH": self.path("bin") + ":/usr/bin:/bin", "HOME": self.folder, "LC_ALL": "C.UTF-8", "TERM": "vt100",
            "PS1": PROMPT, "ANSWERS": self.folder, "CORVEL_PROGRAM": PROGRAM, "XDG_DATA_HOME": self.path("data"),
            "XDG_CONFIG_HOME": self.path("settings"), "XDG_RUNTIME_DIR": self.folder}
        self.write("endpoints", json.dumps(
            {"destinations": endpoints(DESTINATIONS), "sources": endpoints(SOURCES)}, indent=2, ensure_ascii=False))
        self.write("sets", "* Live (3 connections)\n  Encore (1 connection)\n  Second Song (two) (0 connections)\n")
        os.mkdir(self.path("bin"))
        self.stand_in(FROM_FILES)
        os.mkdir(self.path("Live"))
        self.write("a song.json", "")

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, text):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)

    def stand_in(self, text):
        self.write("bin/corvel", text)
        os.chmod(self.path("bin/corvel"), stat.S_IRWXU)

    def open(self):
        """A terminal in the test's folder, with the completion loaded."""
        terminal = Terminal(self.COMMAND, self.environment)
        self.addCleanup(terminal.close)
        terminal.run(f"cd '{self.folder}'")
        for line in self.SET_UP:
            terminal.run(line)
        return terminal

    def given(self, keys):
        """The arguments that the program gets after these keys."""
        terminal = self.open()
        terminal.type(keys + "\n")
        terminal.wait_for(lambda: os.path.exists(self.path("given")), "start of the program")
        with open(self.path("given"), encoding="utf-8") as file:
            return file.read().split("\0")[:-1]

    def offered(self, keys, text):
        """Waits until the text is offered after these keys."""
        terminal = self.open()
        terminal.forget()
        terminal.type(keys)
        terminal.wait_for_text(text)
        return terminal

    def asked(self):
        with open(self.path("asked"), encoding="utf-8") as file:
            return file.read().split("\n")[:-1]

    def test_an_option_is_completed(self):
        self.assertEqual(self.given("corvel --headl\t--mon\t"), ["--headless", "--monitor"])

    def test_a_detail_is_offered_only_with_its_command(self):
        self.assertEqual(self.given("corvel --channe\tx"), ["--channex"])

    def test_a_second_command_is_not_offered(self):
        self.assertEqual(self.given("corvel --sets --headl\tx"), ["--sets", "--headlx"])

    def test_a_choice_is_completed(self):
        self.assertEqual(self.given("corvel --midi de\t--screenshot a.png --appearance li\t"),
                         ["--midi", "demo", "--screenshot", "a.png", "--appearance", "light"])

    def test_a_choice_with_a_comma_is_completed(self):
        self.assertEqual(self.given("corvel --midi alsa,\t--headless"), ["--midi", "alsa,jack", "--headless"])

    def test_endpoints_are_completed_by_name(self):
        self.assertEqual(self.given("corvel --connect Pa\tDrum\t"), ["--connect", "Pads", "Drum's Machine"])

    def test_endpoints_are_completed_by_id(self):
        self.assertEqual(self.given("corvel --connect -7\t2003\t--channel 1\t0"),
                         ["--connect", "-77", "2003", "--channel", "10"])

    def test_a_name_with_a_colon_is_completed_from_before_and_behind_it(self):
        self.assertEqual(self.given("corvel --disconnect Keys\tSynth\\:\t"),
                         ["--disconnect", "Keys: Left Hand", "Synth: Port 2"])

    def test_a_name_between_double_quotes_is_completed(self):
        self.assertEqual(self.given("corvel --connect \"The\t\"Synth: P\t"),
                         ["--connect", 'The "Old" $HOME Keys', "Synth: Port 2"])

    def test_a_name_between_single_quotes_is_completed(self):
        self.assertEqual(self.given("corvel --disconnect 'Keys: L\t'Drum\t"),
                         ["--disconnect", "Keys: Left Hand", "Drum's Machine"])

    def test_odd_names_are_completed_as_they_are(self):
        for begun, name in (("Ün", "Ünder"), ("The", 'The "Old" $HOME Keys'), ("bac", "back\\slash")):
            self.assertEqual(self.given(f"corvel --connect {begun}\tDrum\t"), ["--connect", name, "Drum's Machine"])
            os.remove(self.path("given"))

    def test_a_set_is_completed_also_where_a_folder_has_its_name(self):
        self.assertEqual(self.given("corvel --set L\t"), ["--set", "Live"])

    def test_a_set_of_several_words_is_completed(self):
        self.assertEqual(self.given("corvel --set Second\\ S\t"), ["--set", "Second Song (two)"])

    def test_sets_are_offered(self):
        terminal = self.offered("corvel --set \t\t", "Encore")
        terminal.wait_for_text("Live")

    def test_a_file_is_completed(self):
        self.assertEqual(self.given("corvel --sets --document a\\ s\t"), ["--sets", "--document", "a song.json"])

    def test_the_service_and_the_document_are_passed_on(self):
        self.given("corvel --midi demo --document 'a song.json' --set En\t")
        self.assertEqual(self.asked(), ["--sets --midi demo --document a song.json"])

    def test_the_program_itself_is_asked(self):
        self.stand_in(FROM_PROGRAM)
        self.assertEqual(self.given("corvel --midi demo --connect Demo\\ K\tDemo\\ R\t"),
                         ["--midi", "demo", "--connect", "Demo Keyboard", "Demo Recorder"])

    def test_a_program_that_answers_nothing_offers_nothing(self):
        self.stand_in(FAILING)
        self.assertEqual(self.given("corvel --set L\tx"), ["--set", "Lx"])


class Bash(Completions, unittest.TestCase):
    COMMAND = ["bash", "--norc", "--noprofile", "-i"]
    SET_UP = ["bind 'set enable-bracketed-paste off'", "bind 'set bell-style none'", f". '{COMPLETIONS}/corvel.bash'"]

    def test_a_choice_behind_an_equals_sign_is_completed(self):
        self.assertEqual(self.given("corvel --midi=de\t--sets"), ["--midi=demo", "--sets"])

    def test_a_name_with_a_colon_that_is_not_quoted_is_completed(self):
        self.assertEqual(self.given("corvel --connect Keys:\tSynth"), ["--connect", "Keys: Left Hand", "Synth"])


class Zsh(Completions, unittest.TestCase):
    COMMAND = ["zsh", "-f", "-i"]
    SET_UP = ["unsetopt prompt_sp prompt_cr beep", f"fpath=('{COMPLETIONS}' $fpath)",
              "autoload -Uz compinit && compinit -u -D"]


class Agreement(unittest.TestCase):
    def test_every_option_of_the_help_is_known_to_bash(self):
        text = subprocess.run([PROGRAM, "--help"], check=True, stdout=subprocess.PIPE, text=True).stdout
        options = set(re.findall("^  (?:-h, )?(--[a-z-]+)", text, re.MULTILINE))
        with open(os.path.join(COMPLETIONS, "corvel.bash"), encoding="utf-8") as file:
            completion = file.read()
        self.assertTrue(options >= {"--headless", "--connect", "--help"}, options)
        for option in options:
            self.assertIn(f"[{option}]=", completion)
