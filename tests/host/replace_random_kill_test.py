"""Replacing a file survives kills at random moments. ZEVKA_KILLS and ZEVKA_SEED set how many."""

import os
import random
import unittest

import killing
from support import BIN, CommandTest

KILLS = int(os.environ.get("ZEVKA_KILLS", "60"))
LINE = "A line that is added."
# Large enough that writing takes its time.
OLD = b"From: ada@example.org\nSubject: Hi\n\n" + b"Hello again, and again.\n" * 40_000
NEW = OLD + LINE.encode() + b"\n"


class ReplaceRandomKillTest(CommandTest):
    def kill(self, name):
        seed = int(os.environ.get("ZEVKA_SEED", random.randrange(1 << 32)))
        scene = killing.MessageScene(self, self.folder, name, OLD, NEW,
                                     lambda path: [BIN / "append_line", path, LINE])
        runs = killing.kill_at_random_moments(scene, KILLS, seed)
        print(f"{self.id()}: {KILLS} kills in {runs} runs survived, seed {seed}", flush=True)

    def test_in_a_folder(self):
        self.kill("mail.eml")

    def test_in_a_maildir(self):
        self.kill("cur/1.M2P3.host:2,")


if __name__ == "__main__":
    unittest.main()
