"""The recipes for administrators do what they say.

All blocks of docs/recipes.md that are marked `sh` are run in their order, in a folder that is empty
at first and is the home of whoever runs them:

 - A block that begins with "#!" is saved as a program under the name that its second line begins
   with, as in "# nightly-footer: ...".
 - Every other one is run by bash and must end with 0. A block marked `text` right below it is what
   it prints, standard error included. "/HOME" stands for the folder there.
 - Those marked otherwise (`ini`) and other texts are only shown.
"""

import os
import re
import shutil
import subprocess
import unittest

from support import BIN, LIBRARY, ROOT, SAMPLES, CommandTest

PAGE = ROOT / "docs" / "recipes.md"
BLOCK = re.compile(r"^```(\w+)\n(.*?)^```\n(\n(?=```text\n))?", re.MULTILINE | re.DOTALL)
NEEDED = ("bash", "jq", "dkimsign", "openssl", "flock", "find", "setpriv")


def blocks():
    """Language, text, and the output that stands below, if any, of each block."""
    result = []
    expects_output = False
    for match in BLOCK.finditer(PAGE.read_text(encoding="utf-8")):
        language, text, has_output = match.groups()
        if expects_output:
            result[-1][2] = text
        else:
            result.append([language, text, None])
        expects_output = not expects_output and has_output is not None and language == "sh"
    return result


class Recipes(CommandTest):
    maxDiff = None

    def setUp(self):
        super().setUp()
        self.programs = self.folder / "programs"
        self.home = self.folder / "home"
        scratch = self.folder / "scratch"
        for folder in (self.programs, self.home, scratch):
            folder.mkdir()
        # As it is installed: the command in PATH, the library where it looks for it.
        for source in (BIN / "zevka", LIBRARY):
            shutil.copy(source, self.programs)
        self.environment = {
            "PATH": f"{self.programs}:{os.environ.get('PATH', os.defpath)}",
            "HOME": os.fspath(self.home),
            "TMPDIR": os.fspath(scratch),
            "SAMPLES": os.fspath(SAMPLES),
            "LC_ALL": "C.UTF-8",
            **{name: value for name, value in os.environ.items() if "SAN_OPTIONS" in name},
        }

    def save(self, text):
        name = re.match(r"#!.*\n# ([a-z-]+): ", text)
        self.assertIsNotNone(name, text)
        path = self.programs / name.group(1)
        path.write_text(text, encoding="utf-8")
        path.chmod(0o755)

    def run_block(self, text):
        process = subprocess.run(["bash", "-euc", text], cwd=self.home, env=self.environment,
                                 stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                 stderr=subprocess.STDOUT, timeout=120, check=False)
        output = process.stdout.decode("utf-8").replace(os.fspath(self.home), "/HOME")
        self.assertEqual(process.returncode, 0, output)
        return output

    def test_every_block_runs_and_prints_what_stands_below_it(self):
        missing = [name for name in NEEDED if shutil.which(name) is None]
        if missing:
            self.skipTest("needs " + ", ".join(missing))
        ran = 0
        for language, text, output in blocks():
            if language != "sh":
                continue
            with self.subTest(block=text):
                if text.startswith("#!"):
                    self.save(text)
                    continue
                printed = self.run_block(text)
                if output is not None:
                    self.assertEqual(printed, output)
                ran += 1
        self.assertGreater(ran, 15)


class Reasons(unittest.TestCase):
    def test_every_reason_has_its_row(self):
        header = (ROOT / "include" / "zevka" / "safe_edit.h").read_text(encoding="utf-8")
        reasons = re.findall(r'^  k\w+,\s+// "([a-z-]+)"', header, re.MULTILINE)
        self.assertIn("verify-failed", reasons)
        page = PAGE.read_text(encoding="utf-8")
        chapter = page[page.index("\n## What stays as it is"):page.index("\n## Mail that is signed")]
        rows = [line.split("|")[1] for line in chapter.splitlines() if line.startswith("| `")]
        self.assertEqual(sorted(re.findall(r"`([a-z-]+)`", " ".join(rows))), sorted(reasons))


if __name__ == "__main__":
    unittest.main()
