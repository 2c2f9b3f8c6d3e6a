"""zevka extract."""

import hashlib
import json
import os
import resource

from support import CANNOT_CREATE, IO_ERROR, MIXED, PLAIN, SAMPLES, CommandTest

MANIFEST = "manifest.jsonl"


def one_attachment(name):
    return (b"Content-Type: application/octet-stream\n"
            b'Content-Disposition: attachment; filename="' + name + b'"\n'
            b"\n"
            b"data\n")


class Extract(CommandTest):
    def extract(self, data):
        """File names and bytes of what a message gives."""
        self.file("m.eml", data)
        result = self.zevka("extract", "m.eml", "-o", "out")
        self.assert_done(result)
        folder = self.folder / "out"
        files = {name: (folder / name).read_bytes() for name in self.names(folder) if name != MANIFEST}
        self.assertEqual(sorted(result.out.splitlines()), [f"out/{name}" for name in sorted(files)])
        self.assertEqual(self.names(), ["m.eml", "out"])
        return files

    def assert_done_with_output(self, result, line):
        self.assert_done(result)
        self.assertIn(line, result.out)

    def test_leaves_come_decoded_under_their_names_or_numbers(self):
        self.assertEqual(self.extract(MIXED),
                         {"part-1.txt": b"See the file.\n", "data.bin": b"\0\1\2\3\4"})

    def test_message_of_one_part_is_part_1(self):
        self.assertEqual(self.extract(PLAIN), {"part-1.txt": b"Hello.\n"})

    def test_embedded_message_comes_whole(self):
        data = (SAMPLES / "embedded.eml").read_bytes()
        files = self.extract(data)
        self.assertEqual(sorted(files), ["part-1.txt", "part-2.eml"])
        start = data.index(b"From: Ada Brook")
        self.assertEqual(files["part-2.eml"], data[start:data.index(b"--forward--")])

    def test_encoded_name_is_utf8(self):
        self.assertIn("Übersicht.bin", self.extract((SAMPLES / "attachment.eml").read_bytes()))

    def test_names_do_not_lead_out_of_the_folder(self):
        for given, safe in (
                (b"../../escaped.txt", "escaped.txt"),
                (b"/etc/passwd", "passwd"),
                (b"c:..\\\\..\\\\win.ini", "win.ini"),
                (b"..", "part-1.bin"),
                (b".hidden", "hidden"),
                (b"a\x01\x1bb", "a__b"),
                (b"ends. . ", "ends"),
                (b"-rf", "_-rf"),
                (b"~root", "_~root"),
                (b"NUL.txt", "_NUL.txt"),
                (b"com1", "_com1"),
        ):
            with self.subTest(given=given):
                files = self.extract(one_attachment(given))
                self.assertEqual(files, {safe: b"data\n"})
                (self.folder / "out" / safe).unlink()

    def test_long_name_is_cut_and_keeps_its_suffix(self):
        [name] = self.extract(one_attachment(b"n" * 400 + b".txt"))
        self.assertLessEqual(len(name), 140)

    def test_nothing_is_written_over(self):
        (self.folder / "out").mkdir()
        there = self.file("out/data.bin", b"mine")
        self.file("m.eml", MIXED)
        self.assert_done_with_output(self.zevka("extract", "m.eml", "-o", "out"), "out/data-1.bin\n")
        self.assertEqual(there.read_bytes(), b"mine")
        self.assertEqual((self.folder / "out/data-1.bin").read_bytes(), b"\0\1\2\3\4")

    def test_link_in_the_folder_is_not_followed(self):
        (self.folder / "out").mkdir()
        target = self.folder / "target"
        (self.folder / "out" / "data.bin").symlink_to(target)
        self.file("m.eml", MIXED)
        self.assert_done_with_output(self.zevka("extract", "m.eml", "-o", "out"), "out/data-1.bin\n")
        self.assertFalse(target.exists())
        self.assertEqual((self.folder / "out/data-1.bin").read_bytes(), b"\0\1\2\3\4")

    def test_two_parts_of_one_name_both_come(self):
        twice = MIXED.replace(b"Content-Type: text/plain\n",
                              b"Content-Type: text/plain\n"
                              b'Content-Disposition: attachment; filename="data.bin"\n')
        self.assertEqual(self.extract(twice),
                         {"data.bin": b"See the file.\n", "data-1.bin": b"\0\1\2\3\4"})

    def test_file_that_cannot_be_written_whole_is_taken_back(self):
        self.file("m.eml", one_attachment(b"big.bin") + b"x" * 200000)

        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (100000, 100000))

        result = self.zevka("extract", "m.eml", "-o", "out", preexec_fn=limit)
        self.assert_refused(result, "m.eml",
                            f"cannot write {self.folder}/out/big.bin: File too large", IO_ERROR)
        self.assertEqual(self.names(self.folder / "out"), [MANIFEST])
        self.assertEqual((self.folder / "out" / MANIFEST).read_bytes(), b"")

    def test_name_in_the_extended_form_is_decoded(self):
        data = one_attachment(b"").replace(b'filename=""', b"filename*=iso-8859-1''%DC.txt")
        self.assertEqual(self.extract(data), {"Ü.txt": b"data\n"})

    def test_standard_input_is_a_message(self):
        result = self.zevka("extract", "-o", "out", "-", input=MIXED)
        self.assert_done(result)
        self.assertEqual(result.out, "out/part-1.txt\nout/data.bin\n")

    def test_messages_with_the_same_names_do_not_collide(self):
        self.file("a.eml", MIXED)
        self.file("b.eml", MIXED.replace(b"AAECAwQ=", b"BQYHCAk="))
        self.assert_done(self.zevka("extract", "-o", "out", "a.eml", "b.eml"))
        folder = self.folder / "out"
        self.assertEqual(self.names(folder), ["data-1.bin", "data.bin", MANIFEST, "part-1-1.txt",
                                              "part-1.txt"])
        self.assertEqual((folder / "data.bin").read_bytes(), b"\0\1\2\3\4")
        self.assertEqual((folder / "data-1.bin").read_bytes(), b"\5\6\7\10\11")


class TheManifest(CommandTest):
    def lines(self):
        text = (self.folder / "out" / MANIFEST).read_text(encoding="utf-8")
        return [json.loads(line) for line in text.splitlines()]

    def test_tells_what_was_written(self):
        self.file("m.eml", MIXED)
        self.assert_done(self.zevka("extract", "-o", "out", "m.eml"))
        self.assertEqual(self.lines(), [
            {"file": "m.eml", "part": "1", "name": "", "saved_as": "part-1.txt",
             "media_type": "text/plain", "bytes": 14,
             "sha256": hashlib.sha256(b"See the file.\n").hexdigest()},
            {"file": "m.eml", "part": "2", "name": "data.bin", "saved_as": "data.bin",
             "media_type": "application/octet-stream", "bytes": 5,
             "sha256": hashlib.sha256(b"\0\1\2\3\4").hexdigest()},
        ])

    def test_has_the_name_as_it_was_given(self):
        self.file("m.eml", one_attachment(b"../../a\x1b.txt"))
        self.assert_done(self.zevka("extract", "-o", "out", "m.eml"))
        [line] = self.lines()
        self.assertEqual((line["name"], line["saved_as"]), ("../../a\x1b.txt", "a_.txt"))

    def test_is_printed_as_it_is_written(self):
        self.file("m.eml", MIXED)
        result = self.zevka("extract", "--json", "-o", "out", "m.eml")
        self.assert_done(result)
        self.assertEqual(result.out, (self.folder / "out" / MANIFEST).read_text(encoding="utf-8"))

    def test_grows_with_each_run(self):
        self.file("m.eml", PLAIN)
        for _ in range(2):
            self.assert_done(self.zevka("extract", "-o", "out", "m.eml"))
        self.assertEqual([line["saved_as"] for line in self.lines()], ["part-1.txt", "part-1-1.txt"])

    def test_line_that_was_torn_does_not_spoil_the_next(self):
        (self.folder / "out").mkdir()
        self.file(f"out/{MANIFEST}", b'{"file":"to')
        self.file("m.eml", PLAIN)
        self.assert_done(self.zevka("extract", "-o", "out", "m.eml"))
        torn, line = (self.folder / "out" / MANIFEST).read_text(encoding="utf-8").splitlines()
        self.assertEqual(torn, '{"file":"to')
        self.assertEqual(json.loads(line)["saved_as"], "part-1.txt")

    def test_attachment_does_not_take_its_name(self):
        self.file("m.eml", one_attachment(b"Manifest.JSONL"))
        self.assert_done(self.zevka("extract", "-o", "out", "m.eml"))
        self.assertEqual(self.lines()[0]["saved_as"], "Manifest-1.JSONL")

    def test_link_of_its_name_is_not_followed(self):
        (self.folder / "out").mkdir()
        target = self.file("target", b"mine")
        (self.folder / "out" / MANIFEST).symlink_to(target)
        self.file("m.eml", PLAIN)
        self.assert_refused(self.zevka("extract", "-o", "out", "m.eml"), "m.eml",
                            f"cannot write {self.folder}/out/{MANIFEST}: "
                            "Too many levels of symbolic links", CANNOT_CREATE)
        self.assertEqual(target.read_bytes(), b"mine")
        self.assertEqual(self.names(self.folder / "out"), [MANIFEST])

    def test_pipe_of_its_name_does_not_hang(self):
        (self.folder / "out").mkdir()
        os.mkfifo(self.folder / "out" / MANIFEST)
        self.file("m.eml", PLAIN)
        self.assert_refused(self.zevka("extract", "-o", "out", "m.eml"), "m.eml",
                            f"cannot write {self.folder}/out/{MANIFEST}: Not a regular file",
                            CANNOT_CREATE)
