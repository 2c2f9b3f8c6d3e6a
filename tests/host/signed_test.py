"""Signed and encrypted mail, made by other programs, through every changing command: it must come
out as it went in, and still verify.

S/MIME by openssl (smime and cms; detached, opaque, encrypted), DKIM by Debian's python3-dkim. Each
message in LF and CR LF, with an inner multipart that ends in a line end in front of the outer
delimiter or not, alone, inside a multipart/mixed and embedded in another message.
"""

import functools
import itertools
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

from support import CommandTest

try:
    import dkim
except ImportError:  # another interpreter than Debian's own
    sys.path.append("/usr/lib/python3/dist-packages")
    import dkim

NOT_AS_ASKED = 1

PLAIN = b"Content-Type: text/plain\n\nPay 100 to Ada.\n"
# The line end in front of a delimiter is the delimiter's; with a second one the part ends in its own.
MULTIPART = (
    b'Content-Type: multipart/mixed; boundary="inner"\n\n'
    b"--inner\nContent-Type: text/plain\n\nPay 100 to Ada.\n"
    b"--inner\nContent-Type: application/octet-stream\nContent-Transfer-Encoding: base64\n\nAAECAwQ=\n"
    b"--inner--\n"
)
MULTIPART_WITHOUT_END = MULTIPART[:-1]
MULTIPART_WITH_EPILOGUE = MULTIPART + b"\nAn epilogue.\n"

CONTENTS = {
    "plain": PLAIN,
    "multipart": MULTIPART,
    "multipart-no-end": MULTIPART_WITHOUT_END,
    "multipart-epilogue": MULTIPART_WITH_EPILOGUE,
}

LINE_ENDS = {"lf": b"\n", "crlf": b"\r\n"}

HEAD = b"From: ada@example.org\nTo: ben@example.org\nSubject: Signed\nMIME-Version: 1.0\n"

OPERATIONS = {
    "footer": ["footer", "--text", "Checked"],
    "footer in UTF-8": ["footer", "--text", "Gepr\u00fcft"],
    "set-header": ["set-header", "Subject", "Other"],
    "set-header --add": ["set-header", "--add", "X-Checked", "yes"],
    "remove-part": ["remove-part", "--part", "1"],
}


def with_line_ends(text, line_end):
    return text.replace(b"\r\n", b"\n").replace(b"\n", line_end)


def run(*words, data=None):
    process = subprocess.run(words, input=data, capture_output=True, check=False)
    return process.returncode, process.stdout, process.stderr


class Smime:
    """A certificate of its own, and openssl with it."""

    def __init__(self, folder):
        self.key = folder / "key.pem"
        self.certificate = folder / "certificate.pem"
        status, _, reason = run(
            "openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
            "-subj", "/CN=ada/emailAddress=ada@example.org",
            "-keyout", self.key, "-out", self.certificate)
        if status != 0:
            raise RuntimeError(reason.decode())

    def sign(self, tool, content, opaque):
        words = ["openssl", tool, "-sign", "-signer", self.certificate, "-inkey", self.key]
        if opaque:
            words.append("-nodetach")
        return self.checked(words, content)

    def encrypt(self, tool, content):
        return self.checked(["openssl", tool, "-encrypt", "-aes256", self.certificate],
                            content)

    @staticmethod
    def checked(words, content):
        status, result, reason = run(*words, data=content)
        if status != 0:
            raise RuntimeError(reason.decode())
        return result

    def verifies(self, tool, message):
        status, _, _ = run("openssl", tool, "-verify", "-CAfile", self.certificate,
                           "-purpose", "any", data=message)
        return status == 0

    def decrypts(self, tool, message):
        status, _, _ = run("openssl", tool, "-decrypt", "-recip", self.certificate,
                           "-inkey", self.key, data=message)
        return status == 0


class Dkim:
    """A key of its own, and python3-dkim with it."""

    def __init__(self, folder):
        key = folder / "dkim.pem"
        run("openssl", "genrsa", "-traditional", "-out", key, "2048")
        status, public, _ = run("openssl", "rsa", "-in", key, "-pubout", "-outform", "DER")
        assert status == 0
        self.private = key.read_bytes()
        encoded = subprocess.run(["openssl", "base64", "-A"], input=public, capture_output=True,
                                 check=True).stdout
        self.record = b"v=DKIM1; k=rsa; p=" + encoded

    def sign(self, message, canonicalize):
        field = dkim.sign(message, b"sel", b"example.org", self.private, canonicalize=canonicalize,
                          include_headers=[b"from", b"to", b"subject"])
        line_end = b"\r\n" if b"\r\n" in message else b"\n"
        return with_line_ends(field, line_end) + message

    def verifies(self, message):
        return dkim.verify(message, dnsfunc=lambda name, timeout=5: self.record)


def nested(entity, line_end):
    """The signed entity as the second part of a multipart/mixed."""
    return with_line_ends(HEAD + b'Content-Type: multipart/mixed; boundary="outer"\n\n'
                          b"--outer\nContent-Type: text/plain\n\nSee below.\n--outer\n", line_end) + (
        entity) + with_line_ends(b"\n--outer--\n", line_end)


def embedded(message, line_end):
    """The signed message as an attachment of another."""
    return with_line_ends(HEAD + b'Content-Type: multipart/mixed; boundary="outer"\n\n'
                          b"--outer\nContent-Type: text/plain\n\nFwd.\n"
                          b"--outer\nContent-Type: message/rfc822\n\n", line_end) + (
        message) + with_line_ends(b"\n--outer--\n", line_end)


class SignedMail(CommandTest):
    """Every fixture through every operation."""

    @classmethod
    def setUpClass(cls):
        keys = pathlib.Path(tempfile.mkdtemp(prefix="zevka-keys-"))
        cls.addClassCleanup(shutil.rmtree, keys)
        cls.fixtures = {}  # name: (bytes, question whether it still verifies)
        cls.make_smime(Smime(keys))
        cls.make_dkim(Dkim(keys))

    @classmethod
    def make_smime(cls, smime):
        for tool, (end_name, line_end), (name, content) in itertools.product(
                ("smime", "cms"), LINE_ENDS.items(), CONTENTS.items()):
            entity = with_line_ends(content, line_end)
            forms = {
                "detached": (smime.sign(tool, entity, False), smime.verifies),
                "opaque": (smime.sign(tool, entity, True), smime.verifies),
                "encrypted": (smime.encrypt(tool, entity), smime.decrypts),
            }
            for form, (signed, question) in forms.items():
                # openssl ends its own lines in LF; the digest is that of CR LF lines either way.
                signed = with_line_ends(signed, line_end).removeprefix(
                    with_line_ends(b"MIME-Version: 1.0\n", line_end))
                cls.add(f"{tool}-{form}-{end_name}-{name}", with_line_ends(HEAD, line_end), signed,
                        line_end, functools.partial(question, tool))

    @classmethod
    def add(cls, name, head, entity, line_end, question):
        """The message itself and the message in others; for each how to ask for its signature."""
        message = head + entity
        outer = {"": (message, message), "-embedded": (embedded(message, line_end), message)}
        if head:
            outer["-nested"] = (nested(entity, line_end), entity)
        for around, (whole, inner) in outer.items():
            begin = whole.index(inner)
            end = begin + len(inner)

            def holds(data, begin=begin, end=end):
                return question(data[begin:end])

            assert holds(whole), f"{name}{around} does not verify before anything was done"
            cls.fixtures[name + around] = (whole, holds)

    @classmethod
    def make_dkim(cls, signer):
        for (end_name, line_end), (name, content), canonical in itertools.product(
                LINE_ENDS.items(), CONTENTS.items(),
                ((b"relaxed", b"relaxed"), (b"simple", b"simple"))):
            message = with_line_ends(HEAD + content, line_end)
            signed = signer.sign(message, canonical)
            cls.add(f"dkim-{canonical[0].decode()}-{end_name}-{name}", b"", signed, line_end,
                    signer.verifies)

    def test_it_stays_as_it_is_and_verifies_after_every_operation(self):
        tried = 0
        for operation, words in OPERATIONS.items():
            folder = self.folder / operation.replace(" ", "-")
            folder.mkdir()
            for name, (message, _) in self.fixtures.items():
                (folder / f"{name}.eml").write_bytes(message)
            result = self.zevka(*words, folder)
            self.assertEqual(result.status, NOT_AS_ASKED, result.err)
            for name, (message, question) in self.fixtures.items():
                with self.subTest(operation=operation, fixture=name):
                    data = (folder / f"{name}.eml").read_bytes()
                    self.assertEqual(data, message)
                    self.assertTrue(question(data))
                    tried += 1
            self.assertEqual(len(self.names(folder)), len(self.fixtures), "something was left behind")
        print(f"{len(self.fixtures)} signed messages, {tried} times verified", file=sys.stderr)

    def test_a_filter_passes_it_on(self):
        for name in list(self.fixtures)[::7]:
            message, question = self.fixtures[name]
            with self.subTest(fixture=name):
                process = subprocess.run(
                    [os.fspath(pathlib.Path(os.environ["ZEVKA_BIN"]) / "zevka"), "footer", "--text",
                     "Checked", "-"], input=message, capture_output=True, check=False)
                self.assertEqual(process.returncode, NOT_AS_ASKED)
                self.assertEqual(process.stdout, message)
                self.assertTrue(question(process.stdout))


if __name__ == "__main__":
    unittest.main()
