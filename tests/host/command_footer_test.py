"""zevka footer."""

import os

from support import (DONE, FAILED, MIXED, PLAIN, SAMPLES, SIGNED, SIGNED_MAIL, USAGE, CommandTest,
                     leaves)


class FooterInPlace(CommandTest):
    def footer(self, data, text="Checked."):
        path = self.file("m.eml", data)
        result = self.zevka("footer", "--text", text, "m.eml")
        self.assertEqual(result.out, "m.eml: footer added\n")
        self.assert_done(result)
        self.assertEqual(self.names(), ["m.eml"])
        return path.read_bytes()

    def test_plain_text_takes_it_at_its_end(self):
        self.assertEqual(self.footer(PLAIN), PLAIN + b"\nChecked.\n\n")

    def test_line_ends_follow_the_message(self):
        crlf = PLAIN.replace(b"\n", b"\r\n")
        self.assertEqual(self.footer(crlf, "Checked.\nBy us."),
                         crlf + b"\r\nChecked.\r\nBy us.\r\n\r\n")

    def test_mixed_message_takes_it_as_last_part(self):
        self.assertEqual(leaves(self.footer(MIXED)),
                         [("text/plain", b"See the file."),
                          ("application/octet-stream", b"\0\1\2\3\4"),
                          ("text/plain", b"Checked.")])

    def test_other_messages_are_wrapped_and_keep_every_leaf(self):
        for name in ("html", "alternative", "nested", "embedded", "base64-text"):
            with self.subTest(name=name):
                data = (SAMPLES / f"{name}.eml").read_bytes()
                after = leaves(self.footer(data, "Geprüft."))
                self.assertEqual(after, leaves(data) + [("text/plain", "Geprüft.".encode())])

    def test_quoted_printable_text_keeps_its_characters(self):
        data = (SAMPLES / "quoted-printable.eml").read_bytes()
        [(_, before)] = leaves(data)
        [(_, after)] = leaves(self.footer(data))
        self.assertEqual(after, before + b"\n\nChecked.")

    def test_mode_and_owner_stay(self):
        path = self.file("m.eml", PLAIN, mode=0o640)
        if os.geteuid() == 0:
            os.chown(path, 12, 34)
        before = path.stat()
        self.assert_done(self.zevka("footer", "--text", "x", path))
        after = path.stat()
        self.assertEqual((after.st_mode, after.st_uid, after.st_gid),
                         (before.st_mode, before.st_uid, before.st_gid))

    def test_link_stays_a_link(self):
        self.file("m.eml", PLAIN)
        (self.folder / "link.eml").symlink_to("m.eml")
        self.assert_done(self.zevka("footer", "--text", "Checked.", "link.eml"))
        self.assertTrue((self.folder / "link.eml").is_symlink())
        self.assertEqual((self.folder / "m.eml").read_bytes(), PLAIN + b"\nChecked.\n\n")

    def test_files_with_the_names_of_the_librarys_own_stay(self):
        names = [f"m{suffix}" for suffix in ("_b", "_d", "_e", "_0", "_0_e", "_footer", "_multipart")]
        for name in names:
            self.file(name, b"mine")
        self.file("m", MIXED)
        self.assert_done(self.zevka("footer", "--text", "Geprüft.", "m"))
        for name in names:
            self.assertEqual((self.folder / name).read_bytes(), b"mine", name)

    def test_message_whose_name_ends_in_footer_is_not_lost(self):
        path = self.file("message_footer", PLAIN)
        self.assert_done(self.zevka("footer", "--text", "Checked.", path))
        self.assertEqual(path.read_bytes(), PLAIN + b"\nChecked.\n\n")

    def test_text_that_names_a_file_does_not_remove_it(self):
        victim = self.file("victim", b"mine")
        path = self.file("m.eml", PLAIN)
        self.assert_done(self.zevka("footer", "--text", victim, path))
        self.assertEqual(victim.read_bytes(), b"mine")
        self.assertEqual(path.read_bytes(), PLAIN + b"\n" + os.fsencode(victim) + b"\n\n")

    def test_text_that_names_a_file_here_does_not_remove_it(self):
        victim = self.file("victim", b"mine")
        self.file("m.eml", PLAIN)
        self.assert_done(self.zevka("footer", "--text", "victim", "m.eml"))
        self.assertEqual(victim.read_bytes(), b"mine")

    def test_signed_message_is_reported_and_left_alone(self):
        for name, data in (("DKIM", SIGNED_MAIL), ("S/MIME", (SAMPLES / "signed.eml").read_bytes())):
            with self.subTest(name=name):
                path = self.file("m.eml", data)
                before = path.stat()
                result = self.zevka("footer", "--text", "Checked.", "m.eml")
                self.assert_refused(result, "m.eml", f"signed ({name}), not changed", SIGNED)
                self.assertEqual(path.read_bytes(), data)
                self.assertEqual(path.stat().st_ino, before.st_ino)
                self.assertEqual(self.names(), ["m.eml"])

    def test_one_bad_file_does_not_stop_the_others(self):
        self.file("a.eml", PLAIN)
        self.file("s.eml", SIGNED_MAIL)
        self.file("b.eml", PLAIN)
        result = self.zevka("footer", "--text", "Checked.", "a.eml", "gone.eml", "s.eml", "b.eml")
        self.assertEqual(result.out, "a.eml: footer added\nb.eml: footer added\n")
        self.assertEqual(result.err, "zevka: gone.eml: No such file or directory\n"
                                     "zevka: s.eml: signed (DKIM), not changed\n")
        self.assertEqual(result.status, FAILED)

    def test_empty_or_broken_text_is_wrong_use(self):
        path = self.file("m.eml", PLAIN)
        self.assert_refused(self.zevka("footer", "--text", "", path), "--text", "is empty", USAGE)
        self.assert_refused(self.zevka("footer", "--text", os.fsdecode(b"\xff"), path), "--text",
                            "is not UTF-8", USAGE)
        self.assertEqual(path.read_bytes(), PLAIN)


class FooterIntoAFolder(CommandTest):
    def test_file_stays_and_the_folder_gets_the_result(self):
        path = self.file("m.eml", PLAIN)
        result = self.zevka("footer", "--text", "Checked.", "--output", "out/new", "m.eml")
        self.assert_done(result)
        self.assertEqual(path.read_bytes(), PLAIN)
        self.assertEqual((self.folder / "out/new/m.eml").read_bytes(), PLAIN + b"\nChecked.\n\n")
        self.assertEqual(self.names(), ["m.eml", "out"])

    def test_signed_message_is_copied_as_it_is(self):
        self.file("m.eml", SIGNED_MAIL)
        result = self.zevka("footer", "--text", "Checked.", "--output", "out", "m.eml")
        self.assert_refused(result, "m.eml", "signed (DKIM), not changed", SIGNED)
        self.assertEqual((self.folder / "out/m.eml").read_bytes(), SIGNED_MAIL)

    def test_nothing_is_written_over(self):
        path = self.file("m.eml", PLAIN)
        (self.folder / "out").mkdir()
        there = self.file("out/m.eml", b"mine")
        result = self.zevka("footer", "--text", "Checked.", "--output", "out", "m.eml")
        self.assert_refused(result, "m.eml", f"{there} exists already")
        self.assertEqual(there.read_bytes(), b"mine")
        self.assertEqual(path.read_bytes(), PLAIN)

    def test_read_only_file_will_do(self):
        path = self.file("m.eml", PLAIN, mode=0o444)
        (self.folder / "out").mkdir()
        (self.folder / "out").chmod(0o777)
        result = self.zevka_as_nobody("footer", "--text", "x", "--output", self.folder / "out", path)
        self.assert_done(result)
        self.assertEqual(result.status, DONE)
