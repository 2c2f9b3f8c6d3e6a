"""zevka footer."""

import hashlib
import os

from support import (BAD_DATA, CANNOT_CREATE, DONE, MIXED, NO_INPUT, NOT_AS_ASKED, PLAIN, SAMPLES,
                     SIGNED_MAIL, UNAVAILABLE, USAGE, CommandTest, leaves)


def marker(text="Checked."):
    return b"X-Zevka-Footer: sha256=" + hashlib.sha256(text.encode()).hexdigest().encode() + b"\n"


def with_footer(text="Checked."):
    """PLAIN with a footer."""
    return (b"From: ada@example.org\nSubject: Hi\n" + marker(text) + b"\nHello.\n\n" +
            text.encode() + b"\n\n")


class FooterInPlace(CommandTest):
    def footer(self, data, text="Checked."):
        path = self.file("m.eml", data)
        result = self.zevka("footer", "--text", text, "m.eml")
        self.assertEqual(result.out, "m.eml: footer added\n")
        self.assert_done(result)
        self.assertEqual(self.names(), ["m.eml"])
        return path.read_bytes()

    def test_plain_text_takes_it_at_its_end(self):
        self.assertEqual(self.footer(PLAIN), with_footer())

    def test_line_ends_follow_the_message(self):
        crlf = PLAIN.replace(b"\n", b"\r\n")
        self.assertEqual(self.footer(crlf, "Checked.\nBy us."),
                         with_footer("Checked.\nBy us.").replace(b"\n", b"\r\n"))

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
        self.assertEqual((self.folder / "m.eml").read_bytes(), with_footer())

    def test_files_with_the_names_of_the_librarys_own_stay(self):
        names = [f"m{suffix}" for suffix in ("_b", "_d", "_e", "_0", "_0_e", "_footer", "_multipart")]
        for name in names:
            self.file(name, b"mine")
        self.file("m", MIXED)
        self.assert_done(self.zevka("footer", "--text", "Geprüft.", "m"))
        for name in names:
            self.assertEqual((self.folder / name).read_bytes(), b"mine", name)

    def test_text_that_names_a_file_does_not_remove_it(self):
        victim = self.file("victim", b"mine")
        path = self.file("m.eml", PLAIN)
        self.assert_done(self.zevka("footer", "--text", victim, path))
        self.assertEqual(victim.read_bytes(), b"mine")
        self.assertEqual(path.read_bytes(), with_footer(os.fspath(victim)))

    def test_signed_message_is_reported_and_left_alone(self):
        for reason, data in (("dkim", SIGNED_MAIL),
                             ("smime-signed", (SAMPLES / "signed.eml").read_bytes())):
            with self.subTest(reason=reason):
                path = self.file("m.eml", data)
                before = path.stat()
                result = self.zevka("footer", "--text", "Checked.", "m.eml")
                self.assertEqual((result.status, result.out, result.err),
                                 (NOT_AS_ASKED, f"m.eml: unchanged ({reason})\n", ""))
                self.assertEqual(path.read_bytes(), data)
                self.assertEqual(path.stat().st_ino, before.st_ino)
                self.assertEqual(self.names(), ["m.eml"])

    def test_transport_signatures_may_be_passed_over_but_no_others(self):
        path = self.file("m.eml", SIGNED_MAIL)
        self.assert_done(self.zevka("footer", "--no-transport-guard", "--text", "Checked.", path))
        self.assertIn(b"\nChecked.\n", path.read_bytes())
        signed = (SAMPLES / "signed.eml").read_bytes()
        path = self.file("s.eml", signed)
        result = self.zevka("footer", "--no-transport-guard", "--text", "Checked.", path)
        self.assertEqual(result.status, NOT_AS_ASKED)
        self.assertEqual(path.read_bytes(), signed)

    def test_second_time_changes_nothing(self):
        path = self.file("m.eml", PLAIN)
        self.assert_done(self.zevka("footer", "--text", "Checked.", path))
        before = path.stat()
        result = self.zevka("footer", "--text", "Checked.", path)
        self.assertEqual(result.out, f"{path}: unchanged (footer-marked)\n")
        self.assert_done(result)
        self.assertEqual(path.stat().st_ino, before.st_ino)

    def test_marker_field_can_be_named(self):
        path = self.file("m.eml", PLAIN)
        self.assert_done(self.zevka("footer", "--text", "Checked.", "--marker", "X-Gate", path))
        self.assertEqual(path.read_bytes(), with_footer().replace(b"X-Zevka-Footer", b"X-Gate"))

    def test_subject_gets_a_suffix(self):
        path = self.file("m.eml", PLAIN)
        self.assert_done(self.zevka("footer", "--text", "x", "--subject-suffix", " [checked]", path))
        self.assertIn(b"Subject: Hi [checked]\n", path.read_bytes())

    def test_larger_messages_are_left_alone(self):
        path = self.file("m.eml", PLAIN)
        result = self.zevka("footer", "--text", "x", "--max-bytes", "41", "m.eml")
        self.assertEqual((result.status, result.out),
                         (NOT_AS_ASKED, "m.eml: unchanged (too-large): 42 bytes\n"))
        self.assertEqual(path.read_bytes(), PLAIN)

    def test_result_that_is_not_good_enough_can_be_looked_at(self):
        # Two kinds of line ends: the library makes them one.
        data = b"From: ada@example.org\r\nSubject: Hi\r\n\r\nHello.\nYou.\r\n"
        path = self.file("m.eml", data)
        result = self.zevka("footer", "--text", "Checked.", "--dump", "bad", "m.eml")
        self.assertEqual(result.status, NOT_AS_ASKED)
        self.assertTrue(result.out.startswith("m.eml: unchanged (verify-failed): "), result.out)
        self.assertEqual(path.read_bytes(), data)
        self.assertEqual(self.names(self.folder / "bad"), ["m.eml"])
        self.assertIn(b"Checked.", (self.folder / "bad/m.eml").read_bytes())


class FooterText(CommandTest):
    def test_file_and_text_give_the_same_footer(self):
        for name, data in (("lf", b"Checked.\nBy us.\n"), ("crlf", b"Checked.\r\nBy us.\r\n\r\n"),
                           ("bom", b"\xef\xbb\xbfChecked.\nBy us.")):
            with self.subTest(name=name):
                path = self.file("m.eml", PLAIN)
                self.file("footer.txt", data)
                self.assert_done(self.zevka("footer", "--file", "footer.txt", "m.eml"))
                self.assertEqual(path.read_bytes(), with_footer("Checked.\nBy us."))

    def test_empty_or_broken_text_is_wrong_use(self):
        path = self.file("m.eml", PLAIN)
        for text, reason in (("", "is empty"), (" \n", "is empty"),
                             (os.fsdecode(b"\xff"), "is not UTF-8")):
            self.assert_refused(self.zevka("footer", "--text", text, path), "--text", reason, USAGE)
        self.assertEqual(path.read_bytes(), PLAIN)

    def test_text_that_would_steer_a_terminal_is_wrong_use(self):
        path = self.file("m.eml", PLAIN)
        self.assert_refused(self.zevka("footer", "--text", "a\x1b[2Jb", path), "footer",
                            "the footer is no text in UTF-8", USAGE)
        self.assertEqual(path.read_bytes(), PLAIN)

    def test_bad_files_with_a_footer(self):
        path = self.file("m.eml", PLAIN)
        self.file("empty.txt", b"\n")
        self.file("latin1.txt", b"Gepr\xfcft.\n")
        for name, reason, status in (("gone.txt", "No such file or directory", NO_INPUT),
                                     ("empty.txt", "is empty", BAD_DATA),
                                     ("latin1.txt", "is not UTF-8", BAD_DATA)):
            self.assert_refused(self.zevka("footer", "--file", name, path), name, reason, status)
        self.assertEqual(path.read_bytes(), PLAIN)

    def test_one_of_text_and_file(self):
        path = self.file("m.eml", PLAIN)
        for words in ((), ("--text", "x", "--file", "y")):
            self.assert_refused(self.zevka("footer", *words, path), "footer",
                                "give the text by --text or by --file, by one of them", USAGE)
        self.assertEqual(path.read_bytes(), PLAIN)


class FooterThroughAPipe(CommandTest):
    def footer(self, data, *words):
        return self.zevka("footer", "--text", "Checked.", *words, "-", input=data)

    def test_result_goes_to_standard_output(self):
        for words in ((), ("--output", "-")):
            result = self.footer(PLAIN, *words)
            self.assertEqual(result.out_bytes, with_footer())
            self.assert_done(result)
        self.assertEqual(self.names(), [])

    def test_signed_message_passes_unchanged(self):
        result = self.footer(SIGNED_MAIL)
        self.assertEqual(result.out_bytes, SIGNED_MAIL)
        self.assertEqual((result.status, result.err),
                         (NOT_AS_ASKED, "zevka: -: unchanged (dkim)\n"))

    def test_message_with_the_footer_passes_without_a_word(self):
        result = self.footer(with_footer())
        self.assertEqual(result.out_bytes, with_footer())
        self.assert_done(result)

    def test_message_passes_unchanged_without_the_library(self):
        result = self.zevka("--library", "/nowhere/libzevka.so", "footer", "--text", "x", "-",
                            input=PLAIN)
        self.assertEqual((result.status, result.out_bytes), (UNAVAILABLE, PLAIN))
        self.assertEqual(result.err.count("\n"), 1)

    def test_nothing_is_no_message(self):
        self.assert_refused(self.footer(b""), "-", "is empty", BAD_DATA)

    def test_file_to_standard_output_stays(self):
        path = self.file("m.eml", PLAIN)
        result = self.zevka("footer", "--text", "Checked.", "-o", "-", path)
        self.assertEqual((result.status, result.out_bytes), (DONE, with_footer()))
        self.assertEqual(path.read_bytes(), PLAIN)

    def test_standard_input_goes_alone(self):
        path = self.file("m.eml", PLAIN)
        other = self.file("n.eml", PLAIN)
        for words in (("-", path), ("-o", "out", "-")):
            self.assert_refused(self.zevka("footer", "--text", "x", *words, input=PLAIN), "-",
                                "standard input goes alone, and to standard output", USAGE)
        self.assert_refused(self.zevka("footer", "--text", "x", "--json", "-", input=PLAIN),
                            "--json", "goes to standard output, where the message goes", USAGE)
        self.assert_refused(self.zevka("footer", "--text", "x", "-o", "-", path, other),
                            "--output -", "is for a single message", USAGE)
        self.assertEqual(path.read_bytes(), PLAIN)


class FooterIntoAFolder(CommandTest):
    def test_file_stays_and_the_folder_gets_the_result(self):
        path = self.file("m.eml", PLAIN, mode=0o600)
        result = self.zevka("footer", "--text", "Checked.", "--output", "out/new", "m.eml")
        self.assert_done(result)
        self.assertEqual(path.read_bytes(), PLAIN)
        there = self.folder / "out/new/m.eml"
        self.assertEqual(there.read_bytes(), with_footer())
        self.assertEqual(there.stat().st_mode & 0o777, 0o600)
        self.assertEqual(self.names(), ["m.eml", "out"])

    def test_signed_message_is_copied_as_it_is(self):
        self.file("m.eml", SIGNED_MAIL)
        result = self.zevka("footer", "--text", "Checked.", "--output", "out", "m.eml")
        self.assertEqual((result.status, result.out), (NOT_AS_ASKED, "m.eml: unchanged (dkim)\n"))
        self.assertEqual((self.folder / "out/m.eml").read_bytes(), SIGNED_MAIL)

    def test_nothing_is_written_over(self):
        path = self.file("m.eml", PLAIN)
        (self.folder / "out").mkdir()
        there = self.file("out/m.eml", b"mine")
        result = self.zevka("footer", "--text", "Checked.", "--output", "out", "m.eml")
        self.assert_refused(result, "m.eml",
                            f"{there} exists already, and is no result of this message",
                            CANNOT_CREATE)
        self.assertEqual(there.read_bytes(), b"mine")
        self.assertEqual(path.read_bytes(), PLAIN)

    def test_result_of_another_message_with_the_footer_is_no_result(self):
        (self.folder / "a").mkdir()
        (self.folder / "b").mkdir()
        self.file("a/m.eml", PLAIN)
        self.file("b/m.eml", PLAIN.replace(b"ada", b"bob"))
        words = ("footer", "--text", "Checked.", "--output", "out")
        self.assert_done(self.zevka(*words, "a/m.eml"))
        self.assertEqual(self.zevka(*words, "b/m.eml").status, CANNOT_CREATE)
        self.assertEqual((self.folder / "out/m.eml").read_bytes(), with_footer())

    def test_read_only_file_will_do(self):
        path = self.file("m.eml", PLAIN, mode=0o444)
        (self.folder / "out").mkdir()
        (self.folder / "out").chmod(0o777)
        result = self.zevka_as_nobody("footer", "--text", "x", "--output", self.folder / "out", path)
        self.assert_done(result)
        self.assertEqual(result.status, DONE)
