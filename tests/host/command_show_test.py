"""zevka show."""

from support import DONE, MIXED, PLAIN, SAMPLES, SIGNED_MAIL, CommandTest


class Show(CommandTest):
    def show(self, data):
        self.file("m.eml", data)
        result = self.zevka("show", "m.eml")
        self.assert_done(result)
        return result.out

    def test_plain_message_is_one_leaf(self):
        self.assertEqual(self.show(PLAIN),
                         "m.eml: 42 bytes, LF, not signed\n"
                         "  1  text/plain, 7bit, 7 bytes\n")

    def test_line_end_is_the_messages(self):
        self.assertIn("m.eml: 46 bytes, CR LF, not signed\n", self.show(PLAIN.replace(b"\n", b"\r\n")))
        self.assertIn("m.eml: 42 bytes, CR, not signed\n", self.show(PLAIN.replace(b"\n", b"\r")))

    def test_children_stand_below_their_multipart_with_numbers_names_and_decoded_sizes(self):
        self.assertEqual(
            self.show(MIXED),
            f"m.eml: {len(MIXED)} bytes, LF, not signed\n"
            "  multipart/mixed\n"
            "    1  text/plain, 7bit, 14 bytes\n"
            '    2  application/octet-stream "data.bin", base64, 5 bytes\n')

    def test_embedded_message_shows_its_own_parts(self):
        result = self.zevka("show", SAMPLES / "embedded.eml")
        self.assert_done(result)
        # The embedded message is what stands between the blank line of its part and the delimiter.
        text = (SAMPLES / "embedded.eml").read_bytes()
        size = text.index(b"--forward--") - text.index(b"From: Ada Brook")
        self.assertEqual(
            result.out.split("\n", 1)[1],
            "  multipart/mixed\n"
            "    1  text/plain, 7bit, 29 bytes\n"
            f"    2  message/rfc822, 7bit, {size} bytes\n"
            "      multipart/mixed\n"
            "        2.1  text/plain, 7bit, 46 bytes\n"
            '        2.2  text/plain "menu.txt", 7bit, 19 bytes\n')

    def test_embedded_message_of_one_part_continues_the_number(self):
        self.assertEqual(
            self.show(b"Content-Type: message/rfc822\n\nSubject: In\n\nHello.\n"),
            "m.eml: 50 bytes, LF, not signed\n"
            "  1  message/rfc822, 7bit, 20 bytes\n"
            "    1.1  text/plain, 7bit, 7 bytes\n")

    def test_very_deep_messages_end_with_a_line_that_says_so(self):
        self.assertIn("(messages inside this one are not shown)\n",
                      self.show(b"Content-Type: message/rfc822\n\n" * 40 + b"\nHello.\n"))

    def test_signed_messages_say_how(self):
        for data, kinds in (
                (SIGNED_MAIL, "DKIM"),
                (b"DomainKey-Signature: a=rsa\n" + PLAIN, "DomainKey"),
                (b"Content-Type: application/pkcs7-mime; smime-type=signed-data\n" + PLAIN, "S/MIME"),
                (b"Content-Type: application/x-pkcs7-mime\n" + PLAIN, "S/MIME"),
                ((SAMPLES / "signed.eml").read_bytes(), "S/MIME"),
                (b'Content-Type: multipart/signed; boundary="b"; '
                 b'protocol="application/pgp-signature"\n\n--b\n\nHi\n--b--\n', "OpenPGP"),
        ):
            with self.subTest(kinds=kinds):
                self.assertIn(f", signed ({kinds})\n", self.show(data))

    def test_name_in_encoded_words_is_shown_in_utf8(self):
        result = self.zevka("show", SAMPLES / "attachment.eml", env={"LC_ALL": "C"})
        self.assertIn('"Übersicht.bin", base64, 256 bytes\n', result.out)

    def test_name_cannot_steer_the_terminal(self):
        shown = self.show(b'Content-Type: text/plain; name="a\x1b[2Jb\xe2\x80\xaec"\n\nHi\n')
        self.assertIn('"a\\x1B[2Jb\\u{202E}c"', shown)

    def test_bytes_without_any_field_are_a_text(self):
        self.assertEqual(self.show(b"\x00\xff\xfe garbage"),
                         "m.eml: 11 bytes, LF, not signed\n"
                         "  1  text/plain, 7bit, 11 bytes\n")

    def test_each_file_has_its_tree(self):
        self.file("a.eml", PLAIN)
        self.file("b.eml", PLAIN)
        result = self.zevka("show", "a.eml", "b.eml")
        self.assertEqual(result.out.count("text/plain, 7bit, 7 bytes"), 2)
        self.assertEqual(result.status, DONE)

    def test_file_stays_as_it_is_and_nothing_is_left_behind(self):
        path = self.file("m.eml", MIXED, mode=0o400)
        before = path.stat()
        self.show(MIXED)
        after = path.stat()
        self.assertEqual(path.read_bytes(), MIXED)
        self.assertEqual(after.st_ino, before.st_ino)
        self.assertEqual(self.names(), ["m.eml"])
