"""zevka set-header."""

from support import (DONE, MIXED, NO_INPUT, NOT_AS_ASKED, PLAIN, SIGNED_MAIL, USAGE, CommandTest)


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

    def test_value_that_is_there_is_not_added_again(self):
        for value, data in (("2", b"X-A: 1\nX-A: 2\n\nHi\n"),
                            ("grün", b"X-A: =?utf-8?q?gr=C3=BCn?=\n\nHi\n")):
            with self.subTest(value=value):
                path = self.file("m.eml", data)
                result = self.zevka("set-header", "--add", "X-A", value, "m.eml")
                self.assertEqual(result.out, "m.eml: unchanged (as-wanted)\n")
                self.assert_done(result)
                self.assertEqual(path.read_bytes(), data)

    def test_value_that_is_there_needs_no_setting(self):
        path = self.file("m.eml", PLAIN)
        before = path.stat()
        result = self.zevka("set-header", "Subject", "Hi", "m.eml")
        self.assertEqual(result.out, "m.eml: unchanged (as-wanted)\n")
        self.assert_done(result)
        self.assertEqual(path.stat().st_ino, before.st_ino)

    def test_value_with_a_hyphen_goes_behind_two(self):
        path = self.file("m.eml", PLAIN)
        self.assert_done(self.zevka("set-header", "--", "X-Score", "-3", path))
        self.assertIn(b"\nX-Score: -3\n", path.read_bytes())

    def test_parts_stay(self):
        after = self.set_header(MIXED, "Subject", "Other")
        self.assertEqual(after, MIXED.replace(b"Two parts", b"Other"))

    def test_through_a_pipe(self):
        result = self.zevka("set-header", "--output", "-", "Subject", "New", "-", input=PLAIN)
        self.assertEqual(result.out_bytes, PLAIN.replace(b"Subject: Hi", b"Subject: New"))
        self.assert_done(result)

    def test_signed_message_is_left_alone(self):
        path = self.file("m.eml", SIGNED_MAIL)
        result = self.zevka("set-header", "X-Checked", "yes", "m.eml")
        self.assertEqual((result.status, result.out, result.err),
                         (NOT_AS_ASKED, "m.eml: unchanged (dkim)\n", ""))
        self.assertEqual(path.read_bytes(), SIGNED_MAIL)

    def test_change_that_would_lose_parts_is_refused(self):
        path = self.file("m.eml", MIXED)
        result = self.zevka("set-header", "Content-Type", "text/plain", "m.eml")
        self.assertEqual(result.status, NOT_AS_ASKED)
        self.assertTrue(result.out.startswith("m.eml: unchanged (refused): "), result.out)
        self.assertEqual(path.read_bytes(), MIXED)
        self.assertEqual(self.names(), ["m.eml"])

    def test_bad_names_and_values_are_wrong_use(self):
        path = self.file("m.eml", PLAIN)
        for name in ("", "X Y", "X:", "Ünicode"):
            result = self.zevka("set-header", name, "v", path)
            self.assertEqual((result.status, result.out), (USAGE, ""))
            self.assertIn("no name of a field (letters, digits and '-')", result.err)
        for value in ("", "  ", "a\nBcc: eve@example.org", "a\rb", "a\x1bb", b"\xff"):
            result = self.zevka("set-header", "X-A", value, path)
            self.assert_refused(result, "set-header",
                                "the value is empty or no line of text in UTF-8: X-A", USAGE)
        self.assertEqual(path.read_bytes(), PLAIN)

    def test_missing_file_is_reported(self):
        self.assert_refused(self.zevka("set-header", "X-A", "1", "gone.eml"), "gone.eml",
                            "No such file or directory", NO_INPUT)

    def test_file_that_is_called_like_a_command(self):
        path = self.file("show", PLAIN)
        self.assertEqual(self.zevka("set-header", "Subject", "New", "show").status, DONE)
        self.assertIn(b"Subject: New\n", path.read_bytes())
