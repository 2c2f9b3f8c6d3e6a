"""zevka extract."""

import resource

from support import FAILED, MIXED, PLAIN, SAMPLES, CommandTest


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
        files = {name: (folder / name).read_bytes() for name in self.names(folder)}
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
                            f"cannot write {self.folder}/out/big.bin: File too large", FAILED)
        self.assertEqual(self.names(self.folder / "out"), [])
