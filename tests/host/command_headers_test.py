"""zevka headers."""

from support import CommandTest


class Headers(CommandTest):
    def headers(self, data, *options):
        self.file("m.eml", data)
        result = self.zevka("headers", *options, "m.eml")
        self.assert_done(result)
        return result.out

    def test_fields_come_in_their_order_with_lines_joined(self):
        self.assertEqual(self.headers(b"Received: one\nSubject: a\n b\nReceived: two\n\nHi\n"),
                         "Received: one\nSubject: a b\nReceived: two\n")

    def test_long_value_is_whole(self):
        first, second = "x" * 3000, "y" * 3000
        self.assertEqual(self.headers(f"X-Long: {first}\n {second}\n\nHi\n".encode()),
                         f"X-Long: {first} {second}\n")

    def test_value_cannot_steer_the_terminal(self):
        self.assertEqual(self.headers(b"Subject: a\x1b[2Jb\n\nHi\n"), "Subject: a\\x1B[2Jb\n")

    def test_tab_stays(self):
        self.assertEqual(self.headers(b"Subject: a\tb\n\nHi\n"), "Subject: a\tb\n")

    def test_message_without_fields_prints_nothing(self):
        self.assertEqual(self.headers(b"\nHi\n"), "")

    def test_fields_of_a_faulty_body_are_the_messages_own(self):
        self.assertEqual(
            self.headers(b"Content-Transfer-Encoding: quoted-printable\n\nfaulty =ZZ\n"),
            "Content-Transfer-Encoding: quoted-printable\n")

    def test_name_selects_fields_whatever_their_case(self):
        data = b"From: a\nSUBJECT: b\nTo: c\nsubject: d\n\nHi\n"
        self.assertEqual(self.headers(data, "--name", "Subject"), "SUBJECT: b\nsubject: d\n")
        self.assertEqual(self.headers(data, "--name", "to", "--name", "from"), "From: a\nTo: c\n")
        self.assertEqual(self.headers(data, "--name", "X-None"), "")

    def test_name_takes_one_word_so_that_files_may_follow(self):
        self.file("m.eml", b"From: a\n\nHi\n")
        self.assertEqual(self.zevka("headers", "--name", "From", "m.eml").out, "From: a\n")

    def test_decode_makes_words_text_and_joins_them(self):
        data = (b"Subject: =?utf-8?q?Gr=C3=BC=C3=9Fe?=\n =?iso-8859-1?b?IPxiZXI=?= all\n"
                b"From: =?windows-1252?Q?=80?= <a@example.org>\n\nHi\n")
        self.assertEqual(self.headers(data, "--decode"),
                         "Subject: Grüße über all\nFrom: € <a@example.org>\n")
        self.assertIn("Subject: =?utf-8?q?Gr=C3=BC=C3=9Fe?= =?iso", self.headers(data))

    def test_decoded_words_cannot_steer_the_terminal_or_end_the_line(self):
        self.assertEqual(self.headers(b"Subject: =?utf-8?q?a=1B[2J=0Ab?=\n\nHi\n", "--decode"),
                         "Subject: a\\x1B[2J\\x0Ab\n")

    def test_several_files_are_told_apart(self):
        self.file("a.eml", b"Subject: one\n\nHi\n")
        self.file("b.eml", b"Subject: two\n\nHi\n")
        result = self.zevka("headers", "--name", "subject", "a.eml", "b.eml")
        self.assert_done(result)
        self.assertEqual(result.out, "a.eml: Subject: one\nb.eml: Subject: two\n")

    def test_standard_input_is_a_message(self):
        result = self.zevka("headers", "-", input=b"Subject: one\n\nHi\n")
        self.assert_done(result)
        self.assertEqual(result.out, "Subject: one\n")
