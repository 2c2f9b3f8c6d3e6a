"""What the tests of the command share: a folder for each test, and the command as a process.

ZEVKA_BIN, ZEVKA_LIBRARY and ZEVKA_ROOT name the folder of the programs, the built library and the
tree; CTest sets them.
"""

import email
import email.policy
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

BIN = pathlib.Path(os.environ["ZEVKA_BIN"])
LIBRARY = pathlib.Path(os.environ["ZEVKA_LIBRARY"])
ROOT = pathlib.Path(os.environ["ZEVKA_ROOT"])
SAMPLES = ROOT / "examples" / "messages"

NOBODY = 65534
# The exit statuses of the command.
DONE, NOT_AS_ASKED = 0, 1
USAGE, BAD_DATA, NO_INPUT, UNAVAILABLE = 64, 65, 66, 69
CANNOT_CREATE, IO_ERROR, TRY_AGAIN = 73, 74, 75

PLAIN = b"From: ada@example.org\nSubject: Hi\n\nHello.\n"
SIGNED_MAIL = b"DKIM-Signature: v=1; d=example.org\nFrom: ada@example.org\nSubject: Hi\n\nHello.\n"
MIXED = (
    b"From: ada@example.org\n"
    b"Subject: Two parts\n"
    b'Content-Type: multipart/mixed; boundary="sep"\n'
    b"\n"
    b"--sep\n"
    b"Content-Type: text/plain\n"
    b"\n"
    b"See the file.\n"
    b"--sep\n"
    b'Content-Type: application/octet-stream; name="data.bin"\n'
    b"Content-Transfer-Encoding: base64\n"
    b'Content-Disposition: attachment; filename="data.bin"\n'
    b"\n"
    b"AAECAwQ=\n"  # 00 01 02 03 04
    b"--sep--\n"
)


class Result:
    """How a command ended: status, standard output (also its bytes) and standard error as text."""

    def __init__(self, process):
        self.status = process.returncode
        self.out_bytes = process.stdout or b""
        self.out = self.out_bytes.decode("utf-8", "surrogateescape")
        self.err = process.stderr.decode("utf-8", "surrogateescape")


class CommandTest(unittest.TestCase):
    """A test with a folder of its own, readable for everybody."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="zevka-host-"))
        self.folder.chmod(0o755)
        self.addCleanup(self.remove_folder)

    def remove_folder(self):
        for path in [self.folder, *self.folder.rglob("*")]:
            if path.is_dir() and not path.is_symlink():
                path.chmod(0o755)
        shutil.rmtree(self.folder)

    def file(self, name, data, mode=0o644):
        path = self.folder / name
        path.write_bytes(data)
        path.chmod(mode)
        return path

    def zevka(self, *arguments, **options):
        return self.run_program("zevka", *arguments, **options)

    def run_program(self, name, *arguments, **options):
        """`input` are the bytes on standard input; other options go to subprocess.run."""
        words = [os.fspath(BIN / name), *(os.fspath(word) for word in arguments)]
        options.setdefault("stdout", subprocess.PIPE)
        if "input" not in options:
            options.setdefault("stdin", subprocess.DEVNULL)
        return Result(subprocess.run(words, cwd=self.folder, stderr=subprocess.PIPE, timeout=120,
                                     check=False, **options))

    def zevka_as_nobody(self, *arguments):
        """Runs a copy of the command without root's right to pass by file modes."""
        if os.geteuid() != 0:
            return self.zevka(*arguments)
        programs = pathlib.Path(tempfile.mkdtemp(prefix="zevka-programs-"))
        self.addCleanup(shutil.rmtree, programs)
        programs.chmod(0o755)
        for source in (BIN / "zevka", LIBRARY):
            shutil.copy(source, programs)
        words = [os.fspath(programs / "zevka"), *(os.fspath(word) for word in arguments)]
        return Result(subprocess.run(words, cwd="/", stdin=subprocess.DEVNULL,
                                     capture_output=True, timeout=120, check=False,
                                     user=NOBODY, group=NOBODY, extra_groups=[]))

    def assert_refused(self, result, file, reason, status=BAD_DATA):
        """One line on standard error that names file and reason, and nothing said to be done."""
        self.assertEqual(result.err, f"zevka: {file}: {reason}\n")
        self.assertEqual(result.status, status)
        self.assertEqual(result.out, "")

    def assert_done(self, result):
        self.assertEqual(result.err, "")
        self.assertEqual(result.status, DONE)

    def names(self, folder=None):
        """All that lies in a folder, hidden files too."""
        return sorted(path.name for path in (folder or self.folder).iterdir())


def leaves(data):
    """Decoded leaves by an independent reader: media type and bytes without line ends at the end."""
    message = email.message_from_bytes(data, policy=email.policy.default)
    result = []
    for part in message.walk():
        if not part.is_multipart():
            body = part.get_payload(decode=True) or b""
            result.append((part.get_content_type(), body.rstrip(b"\r\n")))
    return result
