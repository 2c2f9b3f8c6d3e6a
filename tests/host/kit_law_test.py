"""What the host kit promises never to do, looked up in its sources."""

import pathlib
import re
import unittest

from support import ROOT


def calls(name):
    """Every call of a slot in host/ and examples/: its file and its arguments."""
    found = []
    for folder in ("host", "examples"):
        for path in sorted(pathlib.Path(ROOT, folder).rglob("*.cpp")):
            text = re.sub(r"//[^\n]*", "", path.read_text(encoding="utf-8"))
            for match in re.finditer(r"(?:\.|->)\s*" + name + r"\s*\(", text):
                found.append((path.relative_to(ROOT).as_posix(), arguments(text, match.end())))
    return found


def arguments(text, begin):
    """The arguments of a call, split at the commas that are not inside of brackets."""
    words, depth, word = [], 0, ""
    for character in text[begin:]:
        if character == ")" and depth == 0:
            break
        depth += (character in "([{<") - (character in ")]}>")
        if character == "," and depth == 0:
            words.append(word.strip())
            word = ""
        else:
            word += character
    return [*words, word.strip()]


class KitLaw(unittest.TestCase):
    def test_messages_from_memory_are_copied(self):
        found = calls("OpenMessageFromMemory")
        self.assertEqual([file for file, _ in found], ["host/kit/message.cpp"])
        for _, words in found:
            self.assertEqual(words[-1], "true")

    def test_no_attachment_name_is_ever_given(self):
        found = calls("CommitMessageW?")
        self.assertEqual([file for file, _ in found], ["host/kit/message.cpp"])
        for _, words in found:
            self.assertEqual(words[2:], ["nullptr", "nullptr"])
        for slot in ("SaveAndCloseW?", "WriteMessageW?"):
            self.assertEqual(calls(slot), [])

    def test_only_the_kit_ends_messages(self):
        for slot in ("CloseMessage", "ReleaseControl"):
            self.assertEqual({file for file, _ in calls(slot)}, {"host/kit/message.cpp"})
