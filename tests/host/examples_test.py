"""The examples and the code in the README run as they say."""

import os
import subprocess

from support import BIN, MIXED, PLAIN, ROOT, SIGNED_MAIL, CommandTest, leaves


class Examples(CommandTest):
    def add_footer(self, data):
        process = subprocess.run([os.fspath(BIN / "add_footer"), "Checked."], input=data,
                                 capture_output=True, cwd=self.folder, timeout=60, check=True)
        self.assertEqual(self.names(), [])
        return process.stdout

    def test_list_parts_prints_types_and_decoded_sizes(self):
        self.file("m.eml", MIXED)
        result = self.run_program("list_parts", "m.eml")
        self.assert_done(result)
        self.assertEqual(result.out, "multipart/mixed\n"
                                     "  text/plain (14 bytes)\n"
                                     "  application/octet-stream (5 bytes)\n")
        self.assertEqual(self.names(), ["m.eml"])

    def test_add_footer_filters_a_message(self):
        self.assertEqual(self.add_footer(PLAIN), PLAIN + b"\nChecked.\n\n")
        self.assertEqual(leaves(self.add_footer(MIXED))[-1], ("text/plain", b"Checked."))

    def test_add_footer_lets_a_signed_message_pass(self):
        self.assertEqual(self.add_footer(SIGNED_MAIL), SIGNED_MAIL)

    def test_host_of_twenty_lines_changes_a_file(self):
        path = self.file("m.eml", PLAIN)
        self.assert_done(self.run_program("twenty_lines", "m.eml", "Checked."))
        self.assertEqual(path.read_bytes(),
                         b"From: ada@example.org\nSubject: Hi\nX-Checked: yes\n\nHello.\n"
                         b"\nChecked.\n\n")
        self.assertEqual(self.names(), ["m.eml"])

    def test_readme_shows_the_host_of_twenty_lines_as_it_is(self):
        code = (ROOT / "examples" / "twenty_lines.cpp").read_text(encoding="utf-8")
        self.assertIn(f"```cpp\n{code}```\n", (ROOT / "README.md").read_text(encoding="utf-8"))
