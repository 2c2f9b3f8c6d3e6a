"""The manual page and the completions know every word that the command says it takes, and no other.

ZEVKA_BIN and ZEVKA_ROOT name the folder of the programs and the tree; CTest sets them.
"""

import os
import pathlib
import re
import shutil
import subprocess
import unittest

BIN = pathlib.Path(os.environ["ZEVKA_BIN"])
ROOT = pathlib.Path(os.environ["ZEVKA_ROOT"])
PAGE = ROOT / "docs" / "man" / "zevka.1.scd"
COMPLETIONS = ROOT / "completions"

OPTION = re.compile(r"(?<![\w-])--?[a-z][a-z-]*")


def output_of(*words, **options):
    return subprocess.run([os.fspath(word) for word in words], check=True, text=True,
                          stdout=subprocess.PIPE, timeout=60, **options).stdout


def section(text, title):
    """The indented lines below a title of --help."""
    match = re.search(rf"^{title}:\n((?:  .*\n|\n)*)", text, re.MULTILINE | re.IGNORECASE)
    return match.group(1) if match else ""


def options_of(*command):
    """All names of the options in a command's --help."""
    text = section(output_of(BIN / "zevka", *command, "--help"), "options")
    # The names stand at the beginning of a line; texts begin further right.
    heads = [line.strip().split("  ")[0] for line in text.splitlines()
             if re.match(r"  ?-", line)]
    return {name for head in heads for name in OPTION.findall(head.split(" ")[0])}


def commands():
    text = section(output_of(BIN / "zevka", "--help"), "subcommands")
    return re.findall(r"^  ([a-z][a-z-]*)", text, re.MULTILINE)


class Documents(unittest.TestCase):
    def every_command(self):
        """Each command with its options; the empty one is the command line in front of them."""
        names = commands()
        self.assertIn("footer", names)
        for words in [(), *((name,) for name in names)]:
            options = options_of(*words)
            self.assertIn("--help", options, words)
            yield words, options


class ManualPage(Documents):
    def part_about(self, words):
        """What the page says of the options of a command, in all chapters that name it."""
        text = PAGE.read_text(encoding="utf-8")
        chapter = text[text.index("\n# OPTIONS\n"):text.index("\n# REASONS\n")]
        general, *parts = re.split(r"^## Options of ", chapter, flags=re.MULTILINE)
        if not words:
            return general
        return general + "".join(part for part in parts
                                 if words[0] in re.split(r", | and ", part.splitlines()[0]))

    def test_every_command_is_explained(self):
        text = PAGE.read_text(encoding="utf-8")
        chapter = text[text.index("\n# COMMANDS\n"):text.index("\n# OPTIONS\n")]
        self.assertEqual(sorted(re.findall(r"^\*([a-z-]+)\*$", chapter, re.MULTILINE)),
                         sorted(commands()))

    def test_every_option_is_explained_where_its_command_is(self):
        for words, options in self.every_command():
            explained = set(re.findall(r"\*(--?[a-z][a-z-]*)\*", " ".join(
                line for line in self.part_about(words).splitlines() if line.startswith("*-"))))
            self.assertEqual(options - explained, set(), words)
            if words:
                self.assertEqual(explained - options, {"--library", "--version"}, words)

    def test_every_reason_is_named(self):
        header = (ROOT / "include" / "zevka" / "safe_edit.h").read_text(encoding="utf-8")
        reasons = re.findall(r'^  k\w+,\s+// "([a-z-]+)"', header, re.MULTILINE)
        self.assertIn("verify-failed", reasons)
        text = PAGE.read_text(encoding="utf-8")
        chapter = text[text.index("\n# REASONS\n"):text.index("\n# JSON\n")]
        self.assertEqual(sorted(re.findall(r"\*([a-z-]+)\*", chapter)), sorted(reasons))

    def test_every_exit_status_is_named(self):
        header = (ROOT / "host" / "cli" / "exit_status.h").read_text(encoding="utf-8")
        numbers = re.findall(r"^  kExit\w+ = (\d+),", header, re.MULTILINE)
        self.assertIn("75", numbers)
        text = PAGE.read_text(encoding="utf-8")
        chapter = text[text.index("\n# EXIT STATUS\n"):text.index("\n# ENVIRONMENT\n")]
        self.assertEqual(re.findall(r"^\*(\d+)\*$", chapter, re.MULTILINE), numbers)

    @unittest.skipUnless(shutil.which("scdoc") and shutil.which("man"), "needs scdoc and man")
    def test_the_page_is_set_without_a_warning(self):
        page = output_of("scdoc", input=PAGE.read_text(encoding="utf-8"))
        result = subprocess.run(["man", "--warnings", "-l", "-"], input=page, check=True, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60,
                                env=dict(os.environ, LC_ALL="C.UTF-8", MANWIDTH="80"))
        self.assertEqual(result.stderr, "")
        self.assertIn("remove-part", result.stdout)


class Completions(Documents):
    def test_bash_offers_the_commands_and_their_options(self):
        script = COMPLETIONS / "zevka.bash"
        def offered(*words):
            # Outside a completion there is no compopt.
            text = ('source "$1"; shift; compopt() { :; }; COMP_WORDS=("$@"); '
                    'COMP_CWORD=$(($# - 1)); _zevka; printf "%s\\n" "${COMPREPLY[@]}"')
            return set(output_of("bash", "-c", text, "bash", script, "zevka", *words).split())
        self.assertEqual(offered(""), set(commands()))
        for words, options in self.every_command():
            self.assertEqual(offered(*words, "-"), options, words)

    @unittest.skipUnless(shutil.which("fish"), "needs fish")
    def test_fish_offers_the_commands_and_their_options(self):
        script = COMPLETIONS / "zevka.fish"
        def offered(line):
            text = output_of("fish", "--no-config", "-c", 'source $argv[1]; complete -C $argv[2]',
                             script, line)
            return {entry.split("\t")[0] for entry in text.splitlines()}
        self.assertEqual(offered("zevka "), set(commands()))
        for words, options in self.every_command():
            line = " ".join(["zevka", *words, ""])
            long = {name for name in options if name[1] == "-"}
            self.assertEqual(offered(line + "--"), long, words)
            self.assertEqual(offered(line + "-") - options, set(), words)

    def test_the_files_for_fish_and_zsh_name_every_option(self):
        fish = (COMPLETIONS / "zevka.fish").read_text(encoding="utf-8")
        zsh = (COMPLETIONS / "_zevka").read_text(encoding="utf-8")
        for words, options in self.every_command():
            for name in (*words, *options):
                word = re.escape(name.lstrip("-"))
                self.assertRegex(zsh, rf"(?<![\w-]){re.escape(name)}(?![\w-])")
                self.assertRegex(fish, rf"(?<![\w-]){word}(?![\w-])")

    @unittest.skipUnless(shutil.which("zsh"), "needs zsh")
    def test_zsh_reads_its_file(self):
        output_of("zsh", "-n", COMPLETIONS / "_zevka")


if __name__ == "__main__":
    unittest.main()
