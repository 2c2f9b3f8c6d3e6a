"""zevka show."""

import json

from support import BAD_DATA, DONE, MIXED, NO_INPUT, PLAIN, SAMPLES, SIGNED_MAIL, CommandTest

OPAQUE = b"Content-Type: application/pkcs7-mime; smime-type=signed-data\n"
ENVELOPED = b"Content-Type: application/pkcs7-mime; smime-type=enveloped-data\n"


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

    def test_signed_and_encrypted_messages_say_how_by_the_stable_names(self):
        for data, kinds in (
                (SIGNED_MAIL, "signed (dkim)"),
                (b"DomainKey-Signature: a=rsa\n" + PLAIN, "signed (domainkey)"),
                (b"ARC-Seal: i=1\n" + PLAIN, "signed (arc)"),
                (OPAQUE + PLAIN, "signed (smime-opaque)"),
                (b"ARC-Seal: i=1\n" + ENVELOPED + PLAIN, "signed (arc), encrypted (smime-encrypted)"),
                ((SAMPLES / "signed.eml").read_bytes(), "signed (smime-signed)"),
                (b'Content-Type: multipart/signed; boundary="b"; '
                 b'protocol="application/pgp-signature"\n\n--b\n\nHi\n--b--\n', "signed (pgp-signed)"),
        ):
            with self.subTest(kinds=kinds):
                self.assertIn(f", {kinds}\n", self.show(data))

    def test_signed_part_is_named(self):
        data = MIXED.replace(b"Content-Type: text/plain\n", OPAQUE)
        self.assertIn(", LF, signed (smime-opaque in part 1)\n", self.show(data))

    def test_name_in_encoded_words_is_shown_in_utf8(self):
        result = self.zevka("show", SAMPLES / "attachment.eml", env={"LC_ALL": "C"})
        self.assertIn('"Übersicht.bin", base64, 256 bytes\n', result.out)

    def test_name_cannot_steer_the_terminal(self):
        shown = self.show(b'Content-Type: text/plain; name="a\x1b[2Jb\xe2\x80\xaec"\n\nHi\n')
        self.assertIn('"a\\x1B[2Jb\\u{202E}c"', shown)

    def test_name_in_the_extended_form_is_shown_in_utf8(self):
        for given in (b"filename*=utf-8''%C3%9Cber.txt", b"filename*=iso-8859-1'de'%DCber.txt",
                      b"filename*0*=utf-8''%C3%9C; filename*1=ber.txt"):
            with self.subTest(given=given):
                self.assertIn('"Über.txt"', self.show(
                    b"Content-Disposition: attachment; " + given + b"\n\nHi\n"))

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

    def test_standard_input_is_a_message(self):
        result = self.zevka("show", "-", input=PLAIN)
        self.assert_done(result)
        self.assertEqual(result.out, "-: 42 bytes, LF, not signed\n  1  text/plain, 7bit, 7 bytes\n")

    def test_status_is_that_of_the_first_failure_and_the_other_files_are_shown(self):
        self.file("a.eml", PLAIN)
        self.file("empty.eml", b"")
        result = self.zevka("show", "gone.eml", "empty.eml", "a.eml")
        self.assertEqual(result.status, NO_INPUT)
        self.assertIn("a.eml: 42 bytes", result.out)
        self.assertEqual(self.zevka("show", "empty.eml", "gone.eml").status, BAD_DATA)


def leaf(number, media_type, encoding, encoded, decoded, name=""):
    return {"number": number, "kind": "leaf", "media_type": media_type, "name": name,
            "encoding": encoding, "encoded_bytes": encoded, "decoded_bytes": decoded, "cut": False,
            "parts": []}


class ShowJson(CommandTest):
    def show(self, data, name="m.eml"):
        self.file(name, data)
        result = self.zevka("show", "--json", name)
        self.assert_done(result)
        self.assertEqual(result.out.count("\n"), 1)
        return json.loads(result.out)

    def test_line_of_a_message_holds_all_of_it(self):
        self.assertEqual(self.show(MIXED.replace(b"Two parts", b"=?utf-8?q?Zw=C3=B6lf?=")), {
            "file": "m.eml",
            "bytes": len(MIXED) + 13,
            "line_end": "LF",
            "subject": "Zwölf",
            "guarded": [],
            "limits": [],
            "library_signed": False,
            "root": {
                "number": "", "kind": "multipart", "media_type": "multipart/mixed", "name": "",
                "encoding": "7bit", "encoded_bytes": 0, "decoded_bytes": 0, "cut": False,
                "parts": [
                    leaf("1", "text/plain", "7bit", 14, 14),
                    leaf("2", "application/octet-stream", "base64", 9, 5, "data.bin"),
                ],
            },
        })

    def test_fields_come_in_a_fixed_order(self):
        self.file("m.eml", PLAIN)
        self.assertEqual(
            self.zevka("show", "--json", "m.eml").out,
            '{"file":"m.eml","bytes":42,"line_end":"LF","subject":"Hi","guarded":[],"limits":[],'
            '"library_signed":false,"root":{"number":"1","kind":"leaf","media_type":"text/plain",'
            '"name":"","encoding":"7bit","encoded_bytes":7,"decoded_bytes":7,"cut":false,'
            '"parts":[]}}\n')

    def test_line_ends_have_names(self):
        for line_end, name in ((b"\r\n", "CRLF"), (b"\n", "LF"), (b"\r", "CR")):
            self.assertEqual(self.show(PLAIN.replace(b"\n", line_end))["line_end"], name)

    def test_embedded_message_stands_below_its_part(self):
        root = self.show(b"Content-Type: message/rfc822\n\nSubject: In\n\nHello.\n")["root"]
        self.assertEqual(root["kind"], "message")
        self.assertEqual((root["number"], root["encoded_bytes"], root["decoded_bytes"]), ("1", 20, 20))
        self.assertEqual(root["parts"], [leaf("1.1", "text/plain", "7bit", 7, 7)])

    def test_very_deep_message_is_cut(self):
        part = self.show(b"Content-Type: message/rfc822\n\n" * 40 + b"\nHello.\n")["root"]
        while part["parts"]:
            self.assertFalse(part["cut"])
            [part] = part["parts"]
        self.assertTrue(part["cut"])

    def test_guarded_kinds_have_reason_and_part(self):
        shown = self.show(b"DKIM-Signature: v=1\n" + MIXED.replace(b"Content-Type: text/plain\n", OPAQUE))
        self.assertEqual(shown["guarded"], [{"reason": "dkim", "part": ""},
                                            {"reason": "smime-opaque", "part": "1"}])
        self.assertTrue(shown["library_signed"])

    def test_limits_stand_apart(self):
        shown = self.show(b"X-Long: " + b"x" * 5000 + b"\n" + PLAIN)
        self.assertEqual(shown["guarded"], [])
        self.assertEqual([note["reason"] for note in shown["limits"]], ["long-header-line"])

    def test_names_cannot_break_the_line(self):
        for given, shown in (
                (b"a\xff.txt", "a\ufffd.txt"),
                (b"a\x1b[2J.txt", "a\x1b[2J.txt"),
                ("a\u202eb\x9b.txt".encode(), "a\u202eb\x9b.txt"),
        ):
            with self.subTest(given=given):
                data = b'Content-Type: text/plain; name="' + given + b'"\n\nHi\n'
                self.assertEqual(self.show(data)["root"]["name"], shown)
                out = self.zevka("show", "--json", "m.eml").out
                for character in "\x1b\u202e\x9b":
                    self.assertNotIn(character, out)

    def test_each_message_is_a_line(self):
        self.file("a.eml", PLAIN)
        self.file("b.eml", MIXED)
        result = self.zevka("show", "--json", "a.eml", "b.eml")
        self.assertEqual([json.loads(line)["file"] for line in result.out.splitlines()],
                         ["a.eml", "b.eml"])


BOX = (b"From ada@example.org Mon Mar  3 09:15:00 2025\nSubject: One\n\nFirst.\n\n"
       b"From ada@example.org Mon Mar  3 09:16:00 2025\nSubject: Two\n\nSecond.\n")


class Mailbox(CommandTest):
    """An mbox file is taken apart, and every message of it is one."""

    def test_each_message_is_shown(self):
        self.file("box", BOX)
        result = self.zevka("show", "--json", "box")
        self.assert_done(result)
        self.assertEqual([(entry["file"], entry["subject"])
                          for entry in map(json.loads, result.out.splitlines())],
                         [("box#1", "One"), ("box#2", "Two")])

    def test_each_message_has_its_headers(self):
        self.file("box", BOX)
        result = self.zevka("headers", "--name", "Subject", "box")
        self.assert_done(result)
        self.assertIn("One", result.out)
        self.assertIn("Two", result.out)

    def test_each_message_is_extracted(self):
        self.file("box", BOX)
        self.assert_done(self.zevka("extract", "-o", "out", "box"))
        bodies = sorted(path.read_bytes() for path in (self.folder / "out").glob("part-*"))
        self.assertEqual([body.strip() for body in bodies], [b"First.", b"Second."])

    def test_a_body_is_asked_of_one_message(self):
        self.file("box", BOX)
        self.assert_refused(self.zevka("body", "--part", "1", "box"), "box",
                            "is an mbox with several messages", BAD_DATA)

    def test_a_message_with_its_separator_is_a_message(self):
        self.file("one", BOX[:BOX.index(b"\n\nFrom ") + 1])
        result = self.zevka("show", "one")
        self.assert_done(result)
        self.assertTrue(result.out.startswith("one: "), result.out)
