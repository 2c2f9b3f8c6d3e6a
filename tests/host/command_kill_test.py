"""Adding a footer in place, killed at every system call: the message is the old or the new one.

ZEVKA_KILL_EVERY_CALL=1 plays every scene at every call; without it one scene is played, which is what
a change needs. Without strace nothing is killed, and the output says so.
"""

import os
import shutil
import unittest

import killing
from support import BIN, LIBRARY, CommandTest

FOOTER = "Checked by the gate"
# printf 'Checked by the gate' | sha256sum
DIGEST = "sha256=" + "d34062c002bbab87645e8a5074b1f4a99b6436630446fd7655cecea81d98a743"
OLD = b"From: ada@example.org\nSubject: Hi\n\nHello.\n"
NEW = (b"From: ada@example.org\nSubject: Hi\nX-Zevka-Footer: " + DIGEST.encode() +
       b"\n\nHello.\n\nChecked by the gate\n\n")
OLD_MIXED = (
    b"From: ada@example.org\nContent-Type: multipart/mixed; boundary=b\n\n"
    b"--b\n\nHello.\n--b\nContent-Type: application/octet-stream\n"
    b"Content-Transfer-Encoding: base64\n\nAAECAwQ=\n--b--\nAn epilogue.\n")
NEW_MIXED = (
    b"From: ada@example.org\nContent-Type: multipart/mixed; boundary=b\nX-Zevka-Footer: " +
    DIGEST.encode() + b"\n\n"
    b"--b\n\nHello.\n--b\nContent-Type: application/octet-stream\n"
    b"Content-Transfer-Encoding: base64\n\nAAECAwQ=\n"
    b'--b\nContent-Type: text/plain; name="Quernstaple.txt"; charset="utf-8"\n'
    b'Content-Disposition: inline; filename="Quernstaple.txt"\n\nChecked by the gate\n\n'
    b"--b--\nAn epilogue.\n")
EVERY_SCENE = os.environ.get("ZEVKA_KILL_EVERY_CALL") == "1"
RANDOM_KILLS = int(os.environ.get("ZEVKA_KILLS", "40"))


class CommandKillTest(CommandTest):
    def scene(self, name, old, new):
        scratch = self.folder / "scratch"
        scratch.mkdir(exist_ok=True)
        os.environ["TMPDIR"] = os.fspath(scratch)
        self.addCleanup(os.environ.pop, "TMPDIR", None)
        self.addCleanup(shutil.rmtree, scratch, True)
        return killing.MessageScene(
            self, self.folder / "mail", name, old, new,
            lambda path: [BIN / "zevka", "--library", LIBRARY, "footer", "--jobs", "1", "--text",
                          FOOTER, path])

    def kill_everywhere(self, name, old, new):
        refusal = killing.strace_refusal()
        if refusal:
            print(f"NO KILLS WERE TRIED: {refusal}", flush=True)
            self.skipTest(refusal)
        scene = self.scene(name, old, new)
        kills = killing.kill_at_every_call(scene)
        self.assertEqual(self.names(self.folder / "scratch"), [], "the last run clears away for all")
        print(f"{self.id()}: {kills} kills survived", flush=True)

    def test_at_every_call(self):
        self.kill_everywhere("mail.eml", OLD, NEW)

    @unittest.skipUnless(EVERY_SCENE, "played on demand")
    def test_at_every_call_in_a_maildir(self):
        self.kill_everywhere("cur/1.M2P3.host:2,S", OLD_MIXED, NEW_MIXED)

    def test_at_random_moments(self):
        old = OLD + b"Hello again, and again.\n" * 40_000
        new = NEW.replace(b"Hello.\n", b"Hello.\n" + b"Hello again, and again.\n" * 40_000)
        for name in ("mail.eml", "cur/1.M2P3.host:2,S"):
            with self.subTest(name=name):
                scene = self.scene(name, old, new)
                shutil.rmtree(scene.folder)
                scene = self.scene(name, old, new)
                runs = killing.kill_at_random_moments(scene, RANDOM_KILLS, 7)
                print(f"{self.id()}: {RANDOM_KILLS} kills in {runs} runs survived", flush=True)


if __name__ == "__main__":
    unittest.main()
