"""zevka headers."""

from support import CommandTest


class Headers(CommandTest):
    def headers(self, data):
        self.file("m.eml", data)
        result = self.zevka("headers", "m.eml")
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
