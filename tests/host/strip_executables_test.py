"""The example that takes executable attachments out of a message."""

import os
import subprocess

from support import BIN, MIXED, PLAIN, CommandTest, leaves


def message(*parts, extra=b""):
    """A multipart/mixed message; each part is its header block and its body."""
    text = b"From: ada@example.org\nSubject: Files\n" + extra
    text += b'Content-Type: multipart/mixed; boundary="sep"\n\n'
    for header, body in ((b"Content-Type: text/plain\n", b"See the files.\n"), *parts):
        text += b"--sep\n" + header + b"\n" + body
    return text + b"--sep--\n"


def named(header):
    return (b"Content-Type: application/octet-stream\nContent-Transfer-Encoding: base64\n" + header,
            b"TVqQAA==\n")


class StripExecutables(CommandTest):
    def strip(self, data, status=0):
        """The result and the lines on standard error."""
        process = subprocess.run([os.fspath(BIN / "strip_executables")], input=data,
                                 capture_output=True, cwd=self.folder, timeout=60, check=False)
        self.assertEqual(process.returncode, status, process.stderr)
        self.assertEqual(self.names(), [])
        return process.stdout, process.stderr.decode().splitlines()

    def assert_stripped(self, header, what):
        result, lines = self.strip(message(named(header)))
        self.assertEqual(leaves(result), [("text/plain", b"See the files.")], header)
        self.assertEqual(lines, [f"removed 2: {what}"])

    def test_message_without_executables_passes_as_it_is(self):
        for data in (PLAIN, MIXED, PLAIN.replace(b"\n", b"\r\n"), b"\n", b"no message at all"):
            self.assertEqual(self.strip(data), (data, []))

    def test_suffixes_are_found_in_any_case(self):
        for suffix in ("exe", "com", "scr", "bat", "cmd", "js", "vbs", "ps1", "jar", "lnk", "msi",
                       "dll", "EXE", "Js"):
            self.assert_stripped(b'Content-Disposition: attachment; filename="a.%s"\n'
                                 % suffix.encode(), f"a.{suffix}")

    def test_last_suffix_counts_and_blanks_and_dots_behind_it_do_not_hide_it(self):
        self.assert_stripped(b'Content-Disposition: attachment; filename="bill.pdf.exe"\n',
                             "bill.pdf.exe")
        self.assert_stripped(b'Content-Disposition: attachment; filename="bill.exe. ."\n',
                             "bill.exe. .")
        data = message(named(b'Content-Disposition: attachment; filename="exe.pdf"\n'))
        self.assertEqual(self.strip(data), (data, []))

    def test_encoded_names_are_read(self):
        caf = "caf\u00e9.exe"
        self.assert_stripped(b'Content-Disposition: attachment; '
                             b'filename="=?utf-8?b?Y2Fmw6kuZXhl?="\n', caf)
        self.assert_stripped(b'Content-Disposition: attachment; '
                             b'filename="=?iso-8859-1?q?caf=E9=2Eexe?="\n', caf)
        self.assert_stripped(b'Content-Disposition: attachment; '
                             b'filename="=?x-nobody-knows-it?q?a=2Eexe?="\n', "a.exe")
        self.assert_stripped(b"Content-Disposition: attachment; filename*=utf-8''caf%C3%A9%2Eexe\n",
                             caf)
        self.assert_stripped(b"Content-Disposition: attachment;\n filename*0*=utf-8''caf%C3%A9;\n"
                             b' filename*1=".e"; filename*2="xe"\n', caf)

    def test_every_name_of_a_part_counts(self):
        self.assert_stripped(b'Content-Disposition: attachment; filename="a.txt";'
                             b" filename*=utf-8''a%2Eexe\n", "a.exe")
        result, _ = self.strip(message((
            b'Content-Type: application/octet-stream; name="a.exe"\n'
            b'Content-Disposition: attachment; filename="a.txt"\n', b"MZ\n")))
        self.assertEqual(leaves(result), [("text/plain", b"See the files.")])

    def test_media_type_is_enough(self):
        result, lines = self.strip(message((b"Content-Type: Application/X-MSDownload\n", b"MZ\n")))
        self.assertEqual(leaves(result), [("text/plain", b"See the files.")])
        self.assertEqual(lines, ["removed 2: application/x-msdownload"])

    def test_other_attachments_stay_byte_for_byte(self):
        good = named(b'Content-Disposition: attachment; filename="a.bin"\n')
        bad = named(b'Content-Disposition: attachment; filename="a.exe"\n')
        result, lines = self.strip(message(bad, good, bad))
        self.assertEqual(leaves(result), [("text/plain", b"See the files."),
                                          ("application/octet-stream", b"MZ\x90\x00")])
        self.assertEqual(lines, ["removed 2: a.exe", "removed 4: a.exe"])

    def test_part_inside_another_multipart_is_found(self):
        inner = (b'Content-Type: multipart/mixed; boundary="in"\n',
                 b"--in\nContent-Type: text/plain\n\nkept\n"
                 b'--in\nContent-Type: a/b; name="a.exe"\n\nMZ\n--in--\n')
        result, lines = self.strip(message(inner))
        self.assertEqual(leaves(result), [("text/plain", b"See the files."),
                                          ("text/plain", b"kept")])
        self.assertEqual(lines, ["removed 2.2: a.exe"])

    def test_message_that_carries_one_goes_as_a_whole(self):
        inner = message(named(b'Content-Disposition: attachment; filename="a.exe"\n'))
        result, lines = self.strip(message((b"Content-Type: message/rfc822\n",
                                            inner.replace(b"sep", b"in"))))
        self.assertEqual(leaves(result), [("text/plain", b"See the files.")])
        self.assertEqual(lines, ["removed 2: a message with a.exe"])

    def test_signed_message_is_left_alone_and_reported(self):
        bad = named(b'Content-Disposition: attachment; filename="a.exe"\n')
        data = message(bad, extra=b"DKIM-Signature: v=1; d=example.org\n")
        self.assertEqual(self.strip(data, status=1), (data, ["left 2: a.exe", "because: dkim"]))

    def test_message_that_is_an_executable_itself_is_left_and_reported(self):
        data = b'Content-Type: a/b; name="a.exe"\n\nMZ\n'
        result, lines = self.strip(data, status=1)
        self.assertEqual(result, data)
        self.assertEqual(lines[0], "left the message itself: a.exe")

    def test_names_do_not_steer_the_terminal(self):
        self.assert_stripped(b'Content-Disposition: attachment; filename="\x1b[2J.exe"\n',
                             "?[2J.exe")
