"""zevka set-header."""

from support import FAILED, MIXED, PLAIN, SIGNED, SIGNED_MAIL, USAGE, CommandTest


class SetHeader(CommandTest):
    def set_header(self, data, *arguments):
        path = self.file("m.eml", data)
        result = self.zevka("set-header", *arguments, "m.eml")
        self.assertEqual(result.out, "m.eml: field set\n")
        self.assert_done(result)
        self.assertEqual(self.names(), ["m.eml"])
        return path.read_bytes()

    def test_field_is_replaced_in_its_place(self):
        self.assertEqual(self.set_header(PLAIN, "subject", "New"),
                         PLAIN.replace(b"Subject: Hi", b"Subject: New"))

    def test_missing_field_is_added_at_the_end(self):
        self.assertEqual(self.set_header(PLAIN, "X-Checked", "yes"),
                         PLAIN.replace(b"Hi\n\n", b"Hi\nX-Checked: yes\n\n"))

    def test_only_the_first_of_a_name_is_replaced(self):
        self.assertEqual(self.set_header(b"X-A: 1\nX-A: 2\n\nHi\n", "X-A", "3"),
                         b"X-A: 3\nX-A: 2\n\nHi\n")

    def test_add_keeps_what_is_there(self):
        self.assertEqual(self.set_header(b"X-A: 1\n\nHi\n", "--add", "X-A", "2"),
                         b"X-A: 1\nX-A: 2\n\nHi\n")

    def test_parts_stay(self):
        after = self.set_header(MIXED, "Subject", "Other")
        self.assertIn(b"Subject: Other\n", after)
        self.assertIn(b"\n\nAAECAwQ=\n", after)

    def test_new_field_stands_above_a_signature(self):
        self.assertEqual(self.set_header(SIGNED_MAIL, "X-Checked", "yes"),
                         b"X-Checked: yes\n" + SIGNED_MAIL)

    def test_field_below_a_signature_is_left_alone(self):
        path = self.file("m.eml", SIGNED_MAIL)
        result = self.zevka("set-header", "Subject", "New", "m.eml")
        self.assert_refused(result, "m.eml", "the field stands below a signature, not changed", SIGNED)
        self.assertEqual(path.read_bytes(), SIGNED_MAIL)

    def test_change_that_would_lose_parts_is_refused(self):
        path = self.file("m.eml", MIXED)
        result = self.zevka("set-header", "Content-Type", "text/plain", "m.eml")
        self.assert_refused(result, "m.eml", "the change would alter other parts of the message")
        self.assertEqual(path.read_bytes(), MIXED)
        self.assertEqual(self.names(), ["m.eml"])

    def test_bad_names_and_values_are_wrong_use(self):
        path = self.file("m.eml", PLAIN)
        for name in ("", "X Y", "X:", "Ünicode"):
            result = self.zevka("set-header", name, "v", path)
            self.assert_refused(result, name, "no field name (letters, digits and '-')", USAGE)
        for value in ("", "  ", "a\nBcc: eve@example.org", "a\rb", "a\x1bb", b"\xff"):
            result = self.zevka("set-header", "X-A", value, path)
            self.assert_refused(result, "X-A", "the value is empty or no line of text in UTF-8", USAGE)
        self.assertEqual(path.read_bytes(), PLAIN)

    def test_missing_file_is_reported(self):
        self.assert_refused(self.zevka("set-header", "X-A", "1", "gone.eml"), "gone.eml",
                            "No such file or directory", FAILED)
