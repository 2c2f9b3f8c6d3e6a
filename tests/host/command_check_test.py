"""zevka check."""

import json
import os
import re

from support import (BAD_DATA, DONE, MIXED, NO_INPUT, NOT_AS_ASKED, SAMPLES, SIGNED_MAIL, USAGE,
                     CommandTest)

DATE = b"Date: Thu, 1 Jan 2026 00:00:00 +0000\n"
HEAD = b"From: ada@example.org\n" + DATE
GOOD = HEAD + b"Subject: Hi\n\nHello.\n"
MIME = HEAD + b"MIME-Version: 1.0\n"
MULTIPART = MIME + b'Content-Type: multipart/mixed; boundary="sep"\n\n'


def encoded(encoding, body):
    return MIME + b"Content-Type: text/plain\nContent-Transfer-Encoding: " + encoding + b"\n\n" + body


def mixed(*parts, end=b"--sep--\n"):
    return MULTIPART + b"".join(b"--sep\n" + part + b"\n" for part in parts) + end


class Check(CommandTest):
    def findings(self, data):
        """Part, code and count of each finding."""
        self.file("m.eml", data)
        result = self.zevka("check", "--json", "m.eml")
        self.assertEqual(result.err, "")
        line = json.loads(result.out)
        self.assertEqual(line["file"], "m.eml")
        self.assertEqual(result.status, NOT_AS_ASKED if line["findings"] else DONE)
        for finding in line["findings"]:
            self.assertEqual(list(finding), ["code", "part", "count", "text"])
        return [(finding["part"], finding["code"], finding["count"]) for finding in line["findings"]]

    def assert_finds(self, data, *expected):
        self.assertEqual(self.findings(data), list(expected))


class Output(Check):
    def test_good_messages_have_no_findings(self):
        crlf = GOOD.replace(b"\n", b"\r\n")
        for data in (GOOD, crlf, mixed(b"Content-Type: text/plain\n\nHi"),
                     HEAD + MIXED.partition(b"\n")[2].replace(b"Subj", b"MIME-Version: 1.0\nSubj")):
            with self.subTest(data=data):
                self.assert_finds(data)
                result = self.zevka("check", "m.eml")
                self.assertEqual((result.status, result.out, result.err), (DONE, "", ""))

    def test_being_signed_is_no_finding(self):
        self.assert_finds(SIGNED_MAIL.replace(b"From", DATE + b"From"))

    def test_finding_is_a_line_for_people(self):
        self.file("m.eml", mixed(b"Content-Transfer-Encoding: base64\n\n**AAAA", end=b""))
        result = self.zevka("check", "m.eml")
        self.assertEqual(result.status, NOT_AS_ASKED)
        self.assertEqual(result.out,
                         "m.eml: message: missing-closing-delimiter: a multipart that is not closed\n"
                         "m.eml: part 1: base64-invalid: characters that base64 does not have (2)\n")

    def test_line_cannot_steer_the_terminal(self):
        self.file("m.eml", HEAD + b"\x1b[2J broken\n\nHi\n")
        out = self.zevka("check", "m.eml").out + self.zevka("check", "--json", "m.eml").out
        self.assertIn("broken", out)
        self.assertNotIn("\x1b", out)

    def test_standard_input_is_a_message(self):
        result = self.zevka("check", "-", input=b"From: a\n\nHi\n")
        self.assertEqual(result.out, "-: message: missing-date: no Date field\n")

    def test_folder_is_searched(self):
        (self.folder / "mails").mkdir()
        self.file("mails/a.eml", GOOD)
        self.file("mails/b.eml", DATE + b"\nHi\n")
        result = self.zevka("check", "mails")
        self.assertEqual(result.out, "mails/b.eml: message: missing-from: no From field\n")

    def test_messages_of_an_mbox_have_numbers(self):
        separator = b"From a@example.org Thu Jan  1 00:00:00 2026\n"
        self.file("box", separator + GOOD + b"\n" + separator + DATE + b"\n>From here\n")
        result = self.zevka("check", "--json", "box")
        self.assertEqual([(line["file"], len(line["findings"]))
                          for line in map(json.loads, result.out.splitlines())],
                         [("box#1", 0), ("box#2", 1)])

    def test_failure_goes_before_findings(self):
        self.file("a.eml", b"From: a\n\nHi\n")
        self.file("empty.eml", b"")
        result = self.zevka("check", "a.eml", "gone.eml")
        self.assertEqual(result.status, NO_INPUT)
        self.assertEqual(result.err, "zevka: gone.eml: No such file or directory\n")
        self.assert_refused(self.zevka("check", "empty.eml"), "empty.eml", "is empty", BAD_DATA)

    def test_needs_no_library(self):
        self.file("m.eml", GOOD)
        self.assert_done(self.zevka("--library", "/nowhere/libzevka.so", "check", "m.eml"))

    def test_wrong_words(self):
        self.assertEqual(self.zevka("check").status, USAGE)

    def test_every_code_is_documented(self):
        root = SAMPLES.parent.parent
        text = (root / "docs" / "check-codes.md").read_text(encoding="utf-8")
        codes = set()
        for source in (root / "host" / "cli").glob("check_*.cpp"):
            codes.update(re.findall(r'findings(?:->|\.)Add\(\s*"([^"]+)"',
                                    source.read_text(encoding="utf-8")))
        documented = {line.split("`")[1] for line in text.splitlines() if line.startswith("| `")}
        self.assertEqual(codes, documented)


class Fields(Check):
    def test_fields_that_may_stand_once(self):
        for name in (b"From", b"Date", b"Sender", b"Reply-To", b"To", b"Cc", b"Bcc", b"Message-ID",
                     b"In-Reply-To", b"References", b"Subject", b"MIME-Version",
                     b"Content-ID", b"Content-Disposition"):
            twice = (name + b": a\n") * (1 if name in (b"From", b"Date") else 2)
            with self.subTest(name=name):
                self.assert_finds(HEAD + twice + b"\nHi\n", ("", "duplicate-field", 1))
        self.assert_finds(HEAD + b"Received: a\n" * 3 + b"\nHi\n")

    def test_fields_of_parts_are_not_those_of_messages(self):
        self.assert_finds(mixed(b"Subject: a\nSubject: b\n\nHi"))
        self.assert_finds(mixed(b"Content-ID: <a>\nContent-ID: <b>\n\nHi"), ("1", "duplicate-field", 1))
        self.assert_finds(mixed(b"Content-Type: message/rfc822\n\nSubject: a\nSubject: b\n\nHi"),
                          ("1", "duplicate-field", 1))

    def test_several_types_and_encodings(self):
        self.assert_finds(MIME + b"Content-Type: text/plain\nContent-Type: text/html\n\nHi\n",
                          ("", "several-content-types", 2))
        self.assert_finds(encoded(b"7bit\nContent-Transfer-Encoding: 8bit", b"Hi\n"),
                          ("", "several-encodings", 2))

    def test_missing_fields(self):
        self.assert_finds(DATE + b"\nHi\n", ("", "missing-from", 1))
        self.assert_finds(b"From: a\n\nHi\n", ("", "missing-date", 1))
        self.assert_finds(HEAD + b"Content-Type: text/plain\n\nHi\n", ("", "missing-mime-version", 1))

    def test_line_that_is_no_field(self):
        [(part, code, count), *_] = self.findings(HEAD + b"no field at all\nSubject: Hi\n\nHi\n")
        self.assertEqual((part, code, count), ("", "header-broken", 1))

    def test_line_of_an_mbox_has_a_code_of_its_own(self):
        self.assert_finds(b"From a@example.org Thu Jan  1 00:00:00 2026\n" + GOOD, ("", "mbox-from-line", 1))

    def test_empty_lines_in_front(self):
        self.assertIn(("", "blank-before-header", 1), self.findings(b"\n" + GOOD))

    def test_blanks_that_readers_differ_over(self):
        self.assertIn(("", "blank-before-colon", 1), self.findings(HEAD + b"Subject : Hi\n\nHi\n"))
        self.assertIn(("", "blank-continuation-line", 1),
                      self.findings(HEAD + b"Subject: Hi\n \n there\n\nHi\n"))

    def test_bytes_beyond_ascii(self):
        self.assert_finds(HEAD + b"Subject: \xc3\x9c\nX-B: \xff\n\nHi\n", ("", "header-8bit", 2))


class LinesOfMessages(Check):
    def test_lengths(self):
        self.assert_finds(GOOD + b"x" * 998 + b"\n")
        self.assert_finds(GOOD + (b"x" * 999 + b"\n") * 2, ("1", "line-too-long", 2))
        self.assert_finds(b"X-A: " + b"x" * 993 + b"\n" + GOOD)
        self.assert_finds(b"X-A: " + b"x" * 994 + b"\n" + GOOD, ("", "header-line-too-long", 1))
        self.assert_finds(b"X-A: " + b"x" * 4091 + b"\n" + GOOD, ("", "header-line-too-long", 1),
                          ("", "header-line-over-4095", 1))

    def test_line_ends(self):
        crlf = GOOD.replace(b"\n", b"\r\n")
        self.assert_finds(crlf + b"a\n" * 2, ("", "mixed-line-ends", 2), ("", "bare-lf", 2))
        self.assert_finds(crlf + b"a\r", ("", "mixed-line-ends", 1), ("", "bare-cr", 1))
        self.assert_finds(GOOD + b"a\r\n", ("", "mixed-line-ends", 1), ("", "bare-lf", 5))
        self.assert_finds(GOOD.replace(b"\n", b"\r"), ("", "bare-cr", 5))

    def test_nul(self):
        self.assert_finds(GOOD + b"\0\0\n", ("1", "nul-byte", 2))
        self.assert_finds(b"X-A: \0\n" + GOOD, ("", "nul-byte", 1))

    def test_binary_bodies_may_hold_anything(self):
        self.assert_finds(encoded(b"binary", b"\r\0\xff\r\n" + b"x" * 2000 + b"\n"))


class Multiparts(Check):
    def test_not_closed(self):
        self.assert_finds(mixed(b"\nHi", end=b""), ("", "missing-closing-delimiter", 1))

    def test_text_behind_the_end(self):
        self.assert_finds(mixed(b"\nHi", end=b"--sep--\n\nlist footer\n"),
                          ("", "text-after-closing-delimiter", 11))
        self.assert_finds(mixed(b"\nHi", end=b"--sep--\n\n \n"))

    def test_boundaries(self):
        def typed(value, body=b"--sep\n\nHi\n--sep--\n"):
            return MIME + b"Content-Type: " + value + b"\n\n" + body

        self.assert_finds(typed(b"multipart/mixed; boundary=sep; boundary=other"),
                          ("", "several-boundaries", 2))
        self.assert_finds(typed(b"multipart/mixed; boundary*0=s; boundary*1=ep"))
        self.assert_finds(typed(b"multipart/mixed", b"Hi\n"), ("", "boundary-missing", 1))
        self.assert_finds(typed(b"multipart/mixed; boundary=sep", b"Hi\n"), ("1", "boundary-not-found", 1))
        self.assert_finds(typed(b"text/plain; boundary=sep", b"Hi\n"), ("", "boundary-on-other-type", 1))
        long = b"s" * 71
        self.assert_finds(typed(b"multipart/mixed; boundary=" + long,
                                b"--" + long + b"\n\nHi\n--" + long + b"--\n"), ("", "bad-boundary", 1))
        self.assert_finds(typed(b"nonsense", b"Hi\n"), ("", "bad-content-type", 1))

    def test_boundary_that_begins_like_an_outer_one(self):
        inner = b'Content-Type: multipart/mixed; boundary="sep-2"\n\n--sep-2\n\nHi\n--sep-2--\n'
        self.assert_finds(mixed(inner), ("1", "ambiguous-boundary", 1))
        self.assert_finds(mixed(inner.replace(b"sep-2", b"other")))

    def test_lines_like_delimiters(self):
        self.assert_finds(mixed(b"\nHi\n--sepia\n--sep x\n--other"), ("1", "loose-delimiter", 2))
        self.assert_finds(mixed(b"\nHi", end=b"--sep--\n--sep\n"),
                          ("", "text-after-closing-delimiter", 5), ("", "loose-delimiter", 1))

    def test_nesting_without_end(self):
        data = MIME + b"".join(b"Content-Type: multipart/mixed; boundary=b%d\n\n--b%d\n" % (n, n)
                               for n in range(200)) + b"\nHi\n"
        self.assertIn(("", "too-deep", 1), self.findings(data))


class Encodings(Check):
    def test_base64(self):
        self.assert_finds(encoded(b"base64", b"AAEC\nAwQ=\n"))
        self.assert_finds(encoded(b"base64", b"AA*C\n-AQA=\n"), ("1", "base64-invalid", 2),
                          ("1", "base64-cut", 1))
        self.assert_finds(encoded(b"base64", b"AAE=\nAAEC\n"), ("1", "base64-after-padding", 4))
        self.assert_finds(encoded(b"base64", b"AAECAw\n"), ("1", "base64-cut", 1))
        self.assert_finds(encoded(b"base64", b"A===\n"), ("1", "base64-cut", 1))
        self.assert_finds(encoded(b"base64", b"A" * 80 + b"\n"), ("1", "base64-long-line", 1))

    def test_quoted_printable(self):
        self.assert_finds(encoded(b"quoted-printable", b"a=3D=c3=\nb\tc= \nd\n"))
        self.assert_finds(encoded(b"quoted-printable", b"a=ZZ =4 =\n==41\n"), ("1", "qp-invalid", 3))
        self.assert_finds(encoded(b"quoted-printable", b"a\xff\x01\n"), ("1", "qp-raw-byte", 2))
        self.assert_finds(encoded(b"quoted-printable", b"a \nb\t\n"), ("1", "qp-trailing-blank", 2))
        self.assert_finds(encoded(b"quoted-printable", b"x" * 77 + b"\n"), ("1", "qp-long-line", 1))

    def test_bytes_beyond_ascii(self):
        self.assert_finds(encoded(b"8bit", b"\xc3\x9c\n"))
        self.assert_finds(encoded(b"7bit", b"\xc3\x9c\n"), ("1", "body-8bit", 2))
        self.assert_finds(GOOD + b"\xc3\x9c\n", ("1", "body-8bit", 2))

    def test_encodings_that_nobody_knows_or_that_may_not_be(self):
        self.assert_finds(encoded(b"x-uuencode", b"Hi\n"), ("", "unknown-encoding", 1))
        inner = b"Content-Type: message/rfc822\nContent-Transfer-Encoding: base64\n\nU3ViamVjdDogYQoKSGkK"
        self.assert_finds(mixed(inner), ("1", "encoded-composite", 1))


class Garbage(Check):
    def test_is_looked_at_without_a_failure(self):
        garbage = bytes((7 * n * n + 13 * n) % 256 for n in range(5000))
        self.assertNotEqual(self.findings(garbage), [])

    def test_file_stays(self):
        path = self.file("m.eml", GOOD, mode=0o400)
        self.zevka("check", path)
        self.assertEqual(path.read_bytes(), GOOD)
        self.assertEqual(os.listdir(self.folder), ["m.eml"])
