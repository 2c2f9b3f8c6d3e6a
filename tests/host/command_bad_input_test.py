"""What every subcommand does with files that it cannot read, and folders that it cannot write."""

import os

from support import (BAD_DATA, CANNOT_CREATE, DONE, IO_ERROR, LIBRARY, MIXED, NO_INPUT,
                     PLAIN, UNAVAILABLE, USAGE, CommandTest)

# Each subcommand on one file: those that look, and those that change.
LOOKING = {
    "show": ("show",),
    "show as JSON": ("show", "--json"),
    "headers": ("headers",),
    "body": ("body", "--part", "1"),
    "extract": ("extract", "-o", "out"),
}
CHANGING = {
    "footer": ("footer", "--text", "Checked."),
    "footer to a folder": ("footer", "--text", "Checked.", "--output", "out"),
    "set-header": ("set-header", "X-A", "1"),
    "remove-part": ("remove-part", "--part", "1"),
}
COMMANDS = {**LOOKING, "check": ("check",), **CHANGING}
IN_PLACE = ("footer", "set-header")


class BadInput(CommandTest):
    def assert_refuse(self, commands, file, reason, status):
        for name, words in commands.items():
            with self.subTest(command=name):
                result = self.zevka(*words, file)
                self.assertEqual(result.err.splitlines()[:1], [f"zevka: {file}: {reason}"])
                self.assertEqual((result.status, result.out), (status, ""))

    def test_missing_file(self):
        self.assert_refuse(COMMANDS, "gone.eml", "No such file or directory", NO_INPUT)

    def test_folder_is_no_message(self):
        (self.folder / "folder").mkdir()
        self.assert_refuse(LOOKING, "folder", "Is a directory", NO_INPUT)

    def test_empty_file(self):
        path = self.file("empty.eml", b"")
        self.assert_refuse({**LOOKING, "check": ("check",)}, "empty.eml", "is empty", BAD_DATA)
        self.assertEqual(path.read_bytes(), b"")

    def test_empty_standard_input(self):
        for words in (*LOOKING.values(), ("check",)):
            self.assert_refused(self.zevka(*words, "-", input=b""), "-", "is empty")

    def test_pipe_without_a_writer_does_not_hang(self):
        os.mkfifo(self.folder / "pipe")
        self.assert_refuse(COMMANDS, "pipe", "Not a regular file", NO_INPUT)

    def test_broken_link(self):
        (self.folder / "link").symlink_to("gone")
        self.assert_refuse(COMMANDS, "link", "No such file or directory", NO_INPUT)

    def test_name_that_would_steer_the_terminal(self):
        result = self.zevka("show", "a\x1b[2Jb")
        self.assertEqual(result.err, "zevka: a\\x1B[2Jb: No such file or directory\n")

    def test_unreadable_file(self):
        path = self.file("m.eml", PLAIN, mode=0o000)
        for words in (COMMANDS["show"], COMMANDS["check"], COMMANDS["footer"]):
            result = self.zevka_as_nobody(*words, path)
            self.assertIn(f"zevka: {path}: Permission denied\n", result.err)
            self.assertEqual((result.status, result.out), (NO_INPUT, ""))
        path.chmod(0o644)
        self.assertEqual(path.read_bytes(), PLAIN)

    def test_garbage_is_a_message_and_stays_one(self):
        garbage = bytes((7 * n * n + 13 * n) % 256 for n in range(5000))
        path = self.file("m.eml", garbage)
        for words in (("show", path), ("show", "--json", path), ("headers", "--decode", path),
                      ("body", "--part", "1", path), ("extract", path, "-o", "out")):
            result = self.zevka(*words)
            self.assertEqual((result.status, result.err), (DONE, ""))
        self.assertEqual(path.read_bytes(), garbage)


class ReadOnlyPlaces(CommandTest):
    def test_file_that_may_not_be_written_stays(self):
        path = self.file("m.eml", PLAIN, mode=0o444)
        self.folder.chmod(0o777)
        for name in IN_PLACE:
            result = self.zevka_as_nobody(*COMMANDS[name], path)
            self.assertIn(f"zevka: {path}: Permission denied\n", result.err)
            self.assertEqual(result.status, CANNOT_CREATE)
        self.assertEqual(path.read_bytes(), PLAIN)
        self.assertEqual(self.names(), ["m.eml"])

    def test_file_in_a_read_only_folder_stays(self):
        path = self.file("m.eml", PLAIN, mode=0o666)
        self.folder.chmod(0o555)
        for name in IN_PLACE:
            result = self.zevka_as_nobody(*COMMANDS[name], path)
            self.assertTrue(result.err.startswith(f"zevka: {path}: cannot "), result.err)
            self.assertIn(": Permission denied\n", result.err)
            self.assertEqual(result.status, CANNOT_CREATE)
        self.assertEqual(path.read_bytes(), PLAIN)
        self.assertEqual(self.names(), ["m.eml"])

    def test_show_needs_no_right_to_write_here(self):
        path = self.file("m.eml", MIXED)
        self.assertEqual(self.zevka_as_nobody("show", path).status, DONE)

    def test_output_folder_that_cannot_be_written(self):
        path = self.file("m.eml", PLAIN)
        (self.folder / "out").mkdir(mode=0o555)
        out = self.folder / "out"
        result = self.zevka_as_nobody("footer", "--text", "x", "--output", out, path)
        self.assertEqual(result.status, CANNOT_CREATE)
        self.assertIn("Permission denied", result.err)
        result = self.zevka_as_nobody("extract", path, "-o", out)
        self.assert_refused(result, path, f"cannot write {out}/manifest.jsonl: Permission denied",
                            CANNOT_CREATE)
        self.assertEqual(self.names(out), [])

    def test_output_that_is_a_file(self):
        path = self.file("m.eml", PLAIN)
        self.file("out", b"mine")
        for words in (("footer", "--text", "x", "--output", "out", path),
                      ("extract", path, "-o", "out")):
            result = self.zevka(*words)
            self.assertEqual((result.status, result.out), (CANNOT_CREATE, ""))
            self.assertIn("cannot make the folder", result.err)
            self.assertEqual(result.err.count("\n"), 1)
        self.assertEqual((self.folder / "out").read_bytes(), b"mine")

    def test_output_without_a_name_is_no_change_in_place(self):
        path = self.file("m.eml", PLAIN)
        for words in (("footer", "--text", "x", "--output", "", path), ("extract", path, "-o", "")):
            result = self.zevka(*words)
            self.assertEqual((result.status, result.out), (CANNOT_CREATE, ""))
            self.assertIn("cannot make the folder", result.err)
        self.assertEqual(path.read_bytes(), PLAIN)
        self.assertEqual(self.names(), ["m.eml"])

    def test_file_deep_in_long_folders_is_changed_there(self):
        folder = self.folder
        while len(str(folder)) < 450:
            folder = folder / ("d" * 60)
        folder.mkdir(parents=True)
        path = folder / "m.eml"
        path.write_bytes(PLAIN)
        self.assertEqual(self.zevka("footer", "--text", "x", path).status, DONE)
        self.assertIn(b"Hello.\n", path.read_bytes())
        self.assertNotEqual(path.read_bytes(), PLAIN)
        self.assertEqual(self.names(folder), ["m.eml"])

    def test_full_standard_output_is_reported(self):
        path = self.file("m.eml", PLAIN)
        with open("/dev/full", "wb") as full:
            result = self.zevka("show", path, stdout=full)
        self.assertEqual(result.status, IO_ERROR)
        self.assertEqual(result.err, "zevka: standard output: No space left on device\n")


class WrongUse(CommandTest):
    def test_wrong_words_end_with_the_status_of_usage(self):
        self.file("m.eml", PLAIN)
        for words in ((), ("nonsense",), ("show",), ("footer", "m.eml"), ("set-header", "X-A"),
                      ("extract", "m.eml"), ("body", "m.eml"), ("check",),
                      ("show", "--nonsense", "m.eml")):
            with self.subTest(words=words):
                result = self.zevka(*words)
                self.assertEqual((result.status, result.out), (USAGE, ""))
                self.assertNotEqual(result.err, "")

    def test_help_is_no_error(self):
        for words, shown in ((("--help",), "set-header"), (("footer", "--help"), "--text")):
            result = self.zevka(*words)
            self.assert_done(result)
            self.assertIn(shown, result.out)

    def test_help_of_each_command_has_an_example(self):
        for name in {words[0] for words in COMMANDS.values()}:
            with self.subTest(command=name):
                result = self.zevka(name, "--help")
                self.assert_done(result)
                self.assertIn("Example", result.out)
                self.assertIn(f"  zevka {name} ", result.out)


class TheLibrary(CommandTest):
    def test_library_can_be_named(self):
        self.file("m.eml", PLAIN)
        self.assert_done(self.zevka("--library", LIBRARY, "show", "m.eml"))

    def test_missing_library_is_reported(self):
        self.file("m.eml", PLAIN)
        result = self.zevka("--library", "/nowhere/libzevka.so", "show", "m.eml")
        self.assertEqual(result.status, UNAVAILABLE)
        self.assertTrue(result.err.startswith("zevka: /nowhere/libzevka.so: cannot load the library: "),
                        result.err)
        self.assertEqual(result.err.count("\n"), 1)

    def test_other_library_is_reported(self):
        self.file("m.eml", PLAIN)
        result = self.zevka("--library", "libm.so.6", "show", "m.eml")
        self.assertEqual(result.status, UNAVAILABLE)
        self.assertIn("not the expected library", result.err)

    def test_nothing_stays_among_the_temporary_files(self):
        temporary = self.folder / "tmp"
        temporary.mkdir()
        self.file("m.eml", MIXED)
        environment = {**os.environ, "TMPDIR": os.fspath(temporary)}
        for words in COMMANDS.values():
            self.zevka(*words, "m.eml", env=environment)
        self.assertEqual(self.names(temporary), [])
        self.assertEqual(self.names(), ["m.eml", "out", "tmp"])
