"""Replacing a file survives a kill at every system call, and each failure of one."""

import os
import re
import signal
import subprocess
import time
import unittest

import killing
from support import BIN, CommandTest

LINE = "A line that is added."
OLD = b"From: ada@example.org\nSubject: Hi\n\nHello.\n"
NEW = OLD + LINE.encode() + b"\n"
THEIRS = b"From: ada@example.org\nSubject: Hi\n\nSomebody else's.\n"
MAILDIR_NAME = "cur/1.M2P3.host:2,S"


def append_line(path):
    return [BIN / "append_line", path, LINE]


def setUpModule():
    refusal = killing.strace_refusal()
    if refusal:
        reason = f"NO KILLS WERE TRIED: {refusal}"
        print(reason, flush=True)
        raise unittest.SkipTest(reason)


class ReplaceKillTest(CommandTest):
    def scene(self, name="mail.eml"):
        return killing.MessageScene(self, self.folder, name, OLD, NEW, append_line)

    def report(self, count, what):
        print(f"{self.id()}: {count} {what}", flush=True)

    def test_in_a_folder(self):
        kills = killing.kill_at_every_call(self.scene())
        self.report(kills, "kills survived")
        self.assertGreater(kills, 50)

    def test_in_a_maildir(self):
        kills = killing.kill_at_every_call(self.scene(MAILDIR_NAME))
        self.report(kills, "kills survived")
        self.assertGreater(kills, 50)

    def test_where_files_cannot_be_exchanged(self):
        kills = killing.kill_at_every_call(self.scene(MAILDIR_NAME),
                                           ["inject=renameat2:error=EINVAL"])
        self.report(kills, "kills survived")
        self.assertGreater(kills, 50)

    def test_when_a_call_fails(self):
        for name in ("mail.eml", MAILDIR_NAME):
            for error in ("EIO", "ENOSPC"):
                with self.subTest(name=name, error=error):
                    failures = killing.fail_at_every_call(self.scene(name), error)
                    self.report(failures, "failures survived")
                    self.assertGreater(failures, 50)


class ReplaceRaceTest(CommandTest):
    """Somebody else comes between the last look at the file and the exchange."""

    DELAY_US = 1_500_000

    def run_with(self, scene, interfere, *expressions, held="renameat2", number=1, hyphens=3):
        """Holds the command up before a call, when its file has a name with so many hyphens.

        By default that is the exchange, before which the file gets a name of its own.
        """
        scene.prepare()
        traced = killing.Traced(scene.command())
        words = traced.words(os.devnull, [
            f"inject={held}:delay_enter={self.DELAY_US}:when={number}", *expressions])
        with subprocess.Popen(words, env=killing.environment(), stdin=subprocess.DEVNULL,
                              stderr=subprocess.PIPE) as process:
            while process.poll() is None and not any(path.name.count("-") == hyphens
                                                     for path in scene.files()):
                time.sleep(0.001)
            # The command still looks at the files between the name and the held call.
            time.sleep(self.DELAY_US / 4e6)
            interfere()
            error = process.communicate(timeout=killing.LONGEST_RUN_S)[1].decode()
        return process.returncode, error

    def scene(self, name="mail.eml"):
        return killing.MessageScene(self, self.folder, name, OLD, NEW, append_line)

    def test_a_newer_version_goes_back_to_its_place(self):
        scene = self.scene()

        def interfere():
            theirs = self.file("theirs", THEIRS)
            theirs.rename(scene.message)

        status, error = self.run_with(scene, interfere)
        self.assertEqual(error, "append_line: was changed by somebody else meanwhile\n")
        self.assertEqual(status, 75)
        self.assertEqual(scene.message.read_bytes(), THEIRS)
        self.assertEqual(scene.files(), [scene.message])

    def test_what_was_written_into_the_file_goes_back_to_its_place(self):
        scene = self.scene()

        def interfere():
            with scene.message.open("ab") as file:
                file.write(b"More.\n")

        status, _ = self.run_with(scene, interfere)
        self.assertEqual(status, 75)
        self.assertEqual(scene.message.read_bytes(), OLD + b"More.\n")
        self.assertEqual(scene.files(), [scene.message])

    def test_a_removed_message_does_not_come_back(self):
        scene = self.scene(MAILDIR_NAME)
        status, _ = self.run_with(scene, scene.message.unlink)
        self.assertEqual(status, 75)
        self.assertEqual(scene.files(), [])

    def test_a_message_with_new_flags_is_followed(self):
        scene = self.scene(MAILDIR_NAME)
        flagged = scene.message.with_name("1.M2P3.host:2,RS")
        status, error = self.run_with(scene, lambda: scene.message.rename(flagged))
        self.assertEqual((status, error), (0, ""))
        self.assertEqual(scene.files(), [flagged])
        self.assertEqual(flagged.read_bytes(), NEW)

    def test_another_run_leaves_the_files_of_a_living_one(self):
        scene = self.scene()
        other = self.folder / "other"

        def interfere():
            # Also removes leftovers in that folder.
            other.write_bytes(OLD)
            subprocess.run(append_line(other), check=True)

        status, error = self.run_with(scene, interfere)
        self.assertEqual((status, error), (0, ""))
        self.assertEqual(scene.message.read_bytes(), NEW)
        self.assertEqual(sorted(scene.files()), [scene.message, other])

    def test_a_file_that_was_not_locked_yet_may_go(self):
        scene = self.scene()
        other = self.folder / "other"

        def interfere():
            other.write_bytes(OLD)
            subprocess.run(append_line(other), check=True)
            self.assertEqual(sorted(scene.files()), [scene.message, other])

        # The first lock is that of the message.
        status, error = self.run_with(scene, interfere, held="flock", number=2, hyphens=1)
        self.assertEqual((status, error), (0, ""))
        self.assertEqual(scene.message.read_bytes(), NEW)
        self.assertEqual(sorted(scene.files()), [scene.message, other])

    def test_a_foreign_version_is_not_taken_for_a_leftover(self):
        """Two coincidences: it slipped in, and the run was killed before it went back."""
        scene = self.scene()
        scene.prepare()
        status, _ = self.run_with(scene, lambda: self.file("theirs", THEIRS).rename(scene.message),
                                  self.first_call_after_the_exchange(scene))
        self.assertEqual(status, -signal.SIGKILL)
        self.assertEqual(scene.message.read_bytes(), NEW)
        subprocess.run(append_line(scene.message), check=True)
        leftover, = set(scene.files()) - {scene.message}
        self.assertRegex(leftover.name, killing.LEFTOVER)
        self.assertEqual(leftover.read_bytes(), THEIRS)

    def first_call_after_the_exchange(self, scene):
        _, lines = killing.Traced(scene.command()).run()
        kinds = [match.group(1) for match in
                 (re.match(r"\d+ +([a-z_0-9]+)\(", line) for line in lines) if match]
        after = kinds.index("renameat2") + 1
        return f"inject={kinds[after]}:signal=KILL:when={kinds[:after + 1].count(kinds[after])}"


if __name__ == "__main__":
    unittest.main()
