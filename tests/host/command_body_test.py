"""zevka body."""

from support import BAD_DATA, IO_ERROR, MIXED, PLAIN, SAMPLES, USAGE, CommandTest


class Body(CommandTest):
    def body(self, number, *options, data=MIXED):
        self.file("m.eml", data)
        result = self.zevka("body", "--part", number, *options, "m.eml")
        self.assert_done(result)
        return result.out_bytes

    def test_part_comes_as_it_stands_in_the_message(self):
        self.assertEqual(self.body("1"), b"See the file.\n")
        self.assertEqual(self.body("2"), b"AAECAwQ=\n")
        self.assertEqual(self.body("2", "--raw"), b"AAECAwQ=\n")

    def test_decoded_takes_the_encoding_off(self):
        self.assertEqual(self.body("2", "--decoded"), b"\0\1\2\3\4")

    def test_long_body_comes_whole(self):
        text = b"0123456789abcde\n" * 20000
        self.assertEqual(self.body("1", "--decoded", data=b"Subject: a\n\n" + text), text)
        self.assertEqual(self.body("1", data=b"Subject: a\n\n" + text), text)

    def test_message_of_one_part_has_part_1(self):
        self.assertEqual(self.body("1", data=PLAIN), b"Hello.\n")

    def test_parts_of_an_embedded_message_have_numbers_below_it(self):
        data = (SAMPLES / "embedded.eml").read_bytes()
        start = data.index(b"From: Ada Brook")
        self.assertEqual(self.body("2", data=data), data[start:data.index(b"--forward--")])
        self.assertEqual(len(self.body("2.2", "--decoded", data=data)), 19)
        deep = b"Content-Type: message/rfc822\n\n" * 3 + b"Subject: In\n\nHello.\n"
        self.assertEqual(self.body("1.1.1.1", data=deep), b"Hello.\n")

    def test_missing_part_is_refused(self):
        self.file("m.eml", MIXED)
        for number in ("3", "1.1", "2.1", "999999"):
            self.assert_refused(self.zevka("body", "--part", number, "m.eml"), "m.eml",
                                f"has no part {number}", BAD_DATA)

    def test_multipart_has_no_body(self):
        data = b'Content-Type: multipart/mixed; boundary="out"\n\n--out\n' + MIXED + b"--out--\n"
        self.assertEqual(self.body("1.1", data=data), b"See the file.\n")
        self.assert_refused(self.zevka("body", "--part", "1", "m.eml"), "m.eml",
                            "part 1 is a multipart and has no body; ask for its parts", BAD_DATA)

    def test_standard_input_is_a_message(self):
        result = self.zevka("body", "--part", "2", "--decoded", "-", input=MIXED)
        self.assert_done(result)
        self.assertEqual(result.out_bytes, b"\0\1\2\3\4")

    def test_wrong_words(self):
        self.file("m.eml", MIXED)
        for words in (("m.eml",), ("--part", "", "m.eml"), ("--part", "0", "m.eml"),
                      ("--part", "1.", "m.eml"), ("--part", "a", "m.eml"),
                      ("--part", "1", "--raw", "--decoded", "m.eml"), ("--part", "1")):
            with self.subTest(words=words):
                result = self.zevka("body", *words)
                self.assertEqual((result.status, result.out), (USAGE, ""))

    def test_full_disk_is_reported(self):
        path = self.file("m.eml", b"Subject: a\n\n" + b"x" * 100000)
        with open("/dev/full", "wb") as full:
            result = self.zevka("body", "--part", "1", path, stdout=full)
        self.assertEqual(result.status, IO_ERROR)
        self.assertRegex(result.err, r"\Azevka: standard output: [^\n]+\n\Z")
