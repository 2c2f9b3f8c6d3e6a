"""What every subcommand does with files that it cannot read, and folders that it cannot write."""

import os

from support import DONE, FAILED, LIBRARY, MIXED, PLAIN, USAGE, CommandTest

# Each subcommand on one file.
COMMANDS = {
    "show": ("show",),
    "headers": ("headers",),
    "footer": ("footer", "--text", "Checked."),
    "footer to a folder": ("footer", "--text", "Checked.", "--output", "out"),
    "set-header": ("set-header", "X-A", "1"),
    "extract": ("extract", "-o", "out"),
}
IN_PLACE = ("footer", "set-header")


class BadInput(CommandTest):
    def assert_all_refuse(self, file, reason):
        for name, words in COMMANDS.items():
            with self.subTest(command=name):
                self.assert_refused(self.zevka(*words, file), file, reason)

    def test_missing_file(self):
        self.assert_all_refuse("gone.eml", "No such file or directory")

    def test_folder(self):
        (self.folder / "folder").mkdir()
        self.assert_all_refuse("folder", "Is a directory")

    def test_empty_file(self):
        path = self.file("empty.eml", b"")
        self.assert_all_refuse("empty.eml", "is empty")
        self.assertEqual(path.read_bytes(), b"")

    def test_pipe_without_a_writer_does_not_hang(self):
        os.mkfifo(self.folder / "pipe")
        self.assert_all_refuse("pipe", "Not a regular file")

    def test_broken_link(self):
        (self.folder / "link").symlink_to("gone")
        self.assert_all_refuse("link", "No such file or directory")

    def test_name_that_would_steer_the_terminal(self):
        result = self.zevka("show", "a\x1b[2Jb")
        self.assertEqual(result.err, "zevka: a\\x1B[2Jb: No such file or directory\n")

    def test_unreadable_file(self):
        path = self.file("m.eml", PLAIN, mode=0o000)
        for words in (COMMANDS["show"], COMMANDS["footer"]):
            self.assert_refused(self.zevka_as_nobody(*words, path), path, "Permission denied")
        path.chmod(0o644)
        self.assertEqual(path.read_bytes(), PLAIN)

    def test_garbage_is_a_message_and_stays_one(self):
        garbage = bytes((7 * n * n + 13 * n) % 256 for n in range(5000))
        path = self.file("m.eml", garbage)
        for words in (("show", path), ("headers", path), ("extract", path, "-o", "out")):
            result = self.zevka(*words)
            self.assertEqual((result.status, result.err), (DONE, ""))
        self.assertEqual(path.read_bytes(), garbage)


class ReadOnlyPlaces(CommandTest):
    def test_file_that_may_not_be_written_stays(self):
        path = self.file("m.eml", PLAIN, mode=0o444)
        self.folder.chmod(0o777)
        for name in IN_PLACE:
            self.assert_refused(self.zevka_as_nobody(*COMMANDS[name], path), path,
                                "Permission denied")
        self.assertEqual(path.read_bytes(), PLAIN)
        self.assertEqual(self.names(), ["m.eml"])

    def test_file_in_a_read_only_folder_stays(self):
        path = self.file("m.eml", PLAIN, mode=0o666)
        self.folder.chmod(0o555)
        for name in IN_PLACE:
            result = self.zevka_as_nobody(*COMMANDS[name], path)
            self.assert_refused(result, path,
                                f"cannot make a working folder in {self.folder}: Permission denied")
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
        self.assert_refused(result, path, f"cannot write {out}/m.eml: Permission denied")
        result = self.zevka_as_nobody("extract", path, "-o", out)
        self.assert_refused(result, path, f"cannot write {out}/part-1.txt: Permission denied")
        self.assertEqual(self.names(out), [])

    def test_output_that_is_a_file(self):
        path = self.file("m.eml", PLAIN)
        self.file("out", b"mine")
        for words in (("footer", "--text", "x", "--output", "out", path),
                      ("extract", path, "-o", "out")):
            result = self.zevka(*words)
            self.assertEqual((result.status, result.out), (FAILED, ""))
            self.assertIn("cannot make the folder", result.err)
            self.assertEqual(result.err.count("\n"), 1)
        self.assertEqual((self.folder / "out").read_bytes(), b"mine")

    def test_output_without_a_name_is_no_change_in_place(self):
        path = self.file("m.eml", PLAIN)
        for words in (("footer", "--text", "x", "--output", "", path), ("extract", path, "-o", "")):
            result = self.zevka(*words)
            self.assertEqual((result.status, result.out), (FAILED, ""))
            self.assertIn("cannot make the folder", result.err)
        self.assertEqual(path.read_bytes(), PLAIN)
        self.assertEqual(self.names(), ["m.eml"])

    def test_file_deep_in_long_folders_stays_when_the_library_could_not_write_it(self):
        folder = self.folder
        while len(str(folder)) < 450:
            folder = folder / ("d" * 60)
        folder.mkdir(parents=True)
        path = folder / "m.eml"
        path.write_bytes(PLAIN)
        result = self.zevka("footer", "--text", "x", path)
        self.assert_refused(result, path, "its path is too long for a change in place")
        self.assertEqual(path.read_bytes(), PLAIN)
        self.assertEqual(self.zevka("footer", "--text", "x", "--output", "out", path).status, DONE)

    def test_full_standard_output_is_reported(self):
        path = self.file("m.eml", PLAIN)
        with open("/dev/full", "wb") as full:
            result = self.zevka("show", path, stdout=full)
        self.assertEqual(result.status, FAILED)
        self.assertEqual(result.err, "zevka: standard output: No space left on device\n")


class WrongUse(CommandTest):
    def test_wrong_words_end_with_status_two(self):
        self.file("m.eml", PLAIN)
        for words in ((), ("nonsense",), ("show",), ("footer", "m.eml"), ("set-header", "X-A"),
                      ("extract", "m.eml"), ("show", "--nonsense", "m.eml")):
            with self.subTest(words=words):
                result = self.zevka(*words)
                self.assertEqual((result.status, result.out), (USAGE, ""))
                self.assertNotEqual(result.err, "")

    def test_help_is_no_error(self):
        for words, shown in ((("--help",), "set-header"), (("footer", "--help"), "--text")):
            result = self.zevka(*words)
            self.assert_done(result)
            self.assertIn(shown, result.out)


class TheLibrary(CommandTest):
    def test_library_can_be_named(self):
        self.file("m.eml", PLAIN)
        self.assert_done(self.zevka("--library", LIBRARY, "show", "m.eml"))

    def test_missing_library_is_reported(self):
        self.file("m.eml", PLAIN)
        result = self.zevka("--library", "/nowhere/libzevka.so", "show", "m.eml")
        self.assertEqual(result.status, FAILED)
        self.assertTrue(result.err.startswith("zevka: /nowhere/libzevka.so: cannot load the library: "),
                        result.err)
        self.assertEqual(result.err.count("\n"), 1)

    def test_other_library_is_reported(self):
        self.file("m.eml", PLAIN)
        result = self.zevka("--library", "libm.so.6", "show", "m.eml")
        self.assertEqual(result.status, FAILED)
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
