"""All the sample mail through the command in batches: nothing may crash, nothing may be lost.

ZEVKA_CORPUS names the folder of sample mail; without it these tests are skipped.
"""

import json
import os
import pathlib
import shutil
import sys
import unittest

from support import CommandTest, leaves

CORPUS = pathlib.Path(os.environ.get("ZEVKA_CORPUS", "/nowhere"))
FOOTER = "Checked by the gate"
BAD_DATA = 65


def plain(text):
    return text.replace(b"\r\n", b"\n").replace(b"\r", b"\n").strip()


def without_mark(data):
    return data.removeprefix(b"\xef\xbb\xbf")


@unittest.skipUnless(CORPUS.is_dir(), "no sample mail on this machine")
class CorpusBatch(CommandTest):
    def setUp(self):
        super().setUp()
        self.mail = self.folder / "mail"
        self.mail.mkdir()
        self.originals = {}
        for number, path in enumerate(sorted(CORPUS.rglob("*.eml"))):
            name = f"{number:03}-{path.name}"
            shutil.copy(path, self.mail / name)
            self.originals[name] = path.read_bytes()
        self.assertGreater(len(self.originals), 300)

    def batch(self, *words):
        result = self.zevka(*words)
        self.assertIn(result.status, (0, 1, BAD_DATA), result.err)
        for line in result.err.splitlines():
            # The one empty file, and the summary.
            self.assertRegex(line, r"empty\.eml: is empty$|^zevka: \d+ messages: ")
        return result

    def test_every_message_is_shown_and_checked_and_left_as_it_is(self):
        files = [self.mail / name for name in self.originals]
        for words in (["show", "--json"], ["check", "--json"]):
            shown = {}
            for line in self.batch(*words, *files).out.splitlines():
                entry = json.loads(line)
                shown[pathlib.Path(entry["file"]).name] = entry
            missing = set(self.originals) - set(shown)
            self.assertEqual({self.originals[name] for name in missing}, {b""}, words)
        for name, data in self.originals.items():
            self.assertEqual((self.mail / name).read_bytes(), data)
        self.assertEqual(len(self.names(self.mail)), len(self.originals))

    def test_every_leaf_is_extracted_into_the_folder_and_nowhere_else(self):
        out = self.folder / "out"
        self.batch("extract", "-o", out, *(self.mail / name for name in self.originals))
        entries = [json.loads(line) for line in (out / "manifest.jsonl").read_text().splitlines()]
        saved = {entry["saved_as"]: entry for entry in entries}
        self.assertEqual(len(saved), len(entries))
        self.assertEqual(sorted([*saved, "manifest.jsonl"]), self.names(out))
        for name, entry in saved.items():
            self.assertEqual((out / name).stat().st_size, entry["bytes"])
        self.assertEqual(sorted(self.names()), ["mail", "out"])

    def test_a_footer_loses_nothing_and_comes_once(self):
        self.batch("footer", "--text", FOOTER, self.mail)
        changed = {}
        for name, before in self.originals.items():
            after = (self.mail / name).read_bytes()
            if after != before:
                changed[name] = after
                with self.subTest(message=name):
                    self.assert_nothing_lost(name, before, after)
        self.assertEqual(len(self.names(self.mail)), len(self.originals))
        again = self.batch("footer", "--text", FOOTER, self.mail)
        self.assertNotIn("footer added", again.out)
        for name, after in changed.items():
            self.assertEqual((self.mail / name).read_bytes(), after)
        print(f"{len(changed)} of {len(self.originals)} messages got the footer", file=sys.stderr)
        self.assertGreater(len(changed), len(self.originals) // 2)

    def assert_nothing_lost(self, name, before, after):
        """By another reader of mail than both of ours."""
        # Readers differ in whether a delimiter with nothing behind it begins a part.
        old = [(kind, plain(body)) for kind, body in leaves(without_mark(before)) if plain(body)]
        new = [(kind, plain(body)) for kind, body in leaves(without_mark(after)) if plain(body)]
        footer = FOOTER.encode()
        if len(new) == len(old) + 1:
            self.assertEqual(new[-1][1], footer, name)
            new.pop()
        elif len(new) == len(old) == 1:
            self.assertTrue(new[0][1].endswith(footer), name)
            new = [(new[0][0], plain(new[0][1].removesuffix(footer)))]
        self.assertEqual(new, old, name)


if __name__ == "__main__":
    unittest.main()
