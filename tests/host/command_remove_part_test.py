"""zevka remove-part."""

from support import MIXED, NOT_AS_ASKED, PLAIN, SAMPLES, USAGE, CommandTest, leaves

# MIXED without its second part.
FIRST_ONLY = (
    b"From: ada@example.org\n"
    b"Subject: Two parts\n"
    b'Content-Type: multipart/mixed; boundary="sep"\n'
    b"X-Zevka-Removed: 2\n"
    b"\n"
    b"--sep\n"
    b"Content-Type: text/plain\n"
    b"\n"
    b"See the file.\n"
    b"--sep--\n"
)


class RemovePart(CommandTest):
    def test_part_goes_and_the_others_stay(self):
        path = self.file("m.eml", MIXED)
        result = self.zevka("remove-part", "--part", "2", "m.eml")
        self.assertEqual(result.out, "m.eml: part removed\n")
        self.assert_done(result)
        self.assertEqual(path.read_bytes(), FIRST_ONLY)
        self.assertEqual(self.names(), ["m.eml"])

    def test_several_parts_of_several_levels(self):
        data = (SAMPLES / "nested.eml").read_bytes()
        before = leaves(data)
        path = self.file("m.eml", data)
        result = self.zevka("remove-part", "--part", "1.2", "--part", "2", "m.eml")
        self.assertEqual(result.out, "m.eml: parts removed\n")
        self.assert_done(result)
        # Number 1.2 is the image, number 2 the attached text.
        self.assertEqual(leaves(path.read_bytes()), before[:-2])
        self.assertIn(b"\nX-Zevka-Removed: 1.2, 2\r\n", path.read_bytes())

    def test_second_time_removes_nothing_more(self):
        path = self.file("m.eml", FIRST_ONLY.replace(b"--sep--", b"--sep\n\nOther.\n--sep--"))
        before = path.read_bytes()
        result = self.zevka("remove-part", "--part", "2", "m.eml")
        self.assertEqual(result.out, "m.eml: unchanged (as-wanted)\n")
        self.assert_done(result)
        self.assertEqual(path.read_bytes(), before)

    def test_without_a_mark(self):
        path = self.file("m.eml", MIXED)
        self.assert_done(self.zevka("remove-part", "--part", "2", "--no-mark", path))
        self.assertEqual(path.read_bytes(), FIRST_ONLY.replace(b"X-Zevka-Removed: 2\n", b""))

    def test_all_parts_go_or_none(self):
        path = self.file("m.eml", MIXED)
        result = self.zevka("remove-part", "--part", "2", "--part", "3", "m.eml")
        self.assertEqual((result.status, result.out),
                         (NOT_AS_ASKED, "m.eml: unchanged (no-such-part)\n"))
        self.assertEqual(path.read_bytes(), MIXED)

    def test_last_part_stays(self):
        for data, words in ((MIXED, ("--part", "1", "--part", "2")), (PLAIN, ("--part", "1"))):
            path = self.file("m.eml", data)
            result = self.zevka("remove-part", *words, "m.eml")
            self.assertEqual(result.status, NOT_AS_ASKED)
            self.assertEqual(path.read_bytes(), data)

    def test_signed_message_is_left_alone(self):
        data = (SAMPLES / "signed.eml").read_bytes()
        path = self.file("m.eml", data)
        result = self.zevka("remove-part", "--part", "2", "m.eml")
        self.assertEqual((result.status, result.out),
                         (NOT_AS_ASKED, "m.eml: unchanged (smime-signed)\n"))
        self.assertEqual(path.read_bytes(), data)

    def test_through_a_pipe(self):
        result = self.zevka("remove-part", "--part", "2", "-", input=MIXED)
        self.assertEqual(result.out_bytes, FIRST_ONLY)
        self.assert_done(result)

    def test_numbers_that_are_none_are_wrong_use(self):
        path = self.file("m.eml", MIXED)
        for number in ("", "x", "1.", ".1", "1..2", "-1", "1 "):
            result = self.zevka("remove-part", f"--part={number}", path)
            self.assertEqual((number, result.status, result.out), (number, USAGE, ""))
        self.assertEqual(path.read_bytes(), MIXED)
