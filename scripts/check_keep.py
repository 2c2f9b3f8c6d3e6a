#!/usr/bin/env python3
"""Checks that every oddity that is meant is named in code, documents and tests alike.

    check_keep.py ROOT

A tag KEEP(name) in library code needs a row in docs/oddities.md, whose first column is the tag in
backticks, and a test under tests/ that mentions KEEP(name); and each row and each mention in a test
needs its code.
"""

import pathlib
import re
import sys

LIBRARY = ("include/zevka", "fileio", "codec", "mime", "footer", "plugin")
TAG = re.compile(r"KEEP\(([^)]*)\)")
WELL_FORMED = re.compile(r"^[a-z0-9]+(-[a-z0-9]+)*$")
ROW = re.compile(r"^\|\s*`([^`]+)`\s*\|")


def tags_in(root, folders):
    """Each tag with the first place that mentions it."""
    places = {}
    for folder in folders:
        for file in sorted((root / folder).rglob("*")):
            if file.suffix not in (".h", ".cpp", ".py"):
                continue
            text = file.read_text(encoding="utf-8", errors="replace")
            for number, line in enumerate(text.splitlines(), start=1):
                for tag in TAG.findall(line):
                    places.setdefault(tag, f"{file.relative_to(root).as_posix()}:{number}")
    return places


def rows_in(root, problems):
    """Each tag of the table with its line."""
    document = root / "docs" / "oddities.md"
    if not document.is_file():
        problems.append("docs/oddities.md is missing")
        return {}
    rows = {}
    for number, line in enumerate(document.read_text(encoding="utf-8").splitlines(), start=1):
        match = ROW.match(line)
        if not match:
            continue
        place = f"docs/oddities.md:{number}"
        if match.group(1) in rows:
            problems.append(f"{place}: {match.group(1)} has a row already")
        rows.setdefault(match.group(1), place)
    return rows


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: check_keep.py ROOT")
    root = pathlib.Path(sys.argv[1])
    problems = []
    code = tags_in(root, LIBRARY)
    tests = tags_in(root, ("tests",))
    rows = rows_in(root, problems)
    for tag, place in code.items():
        if not WELL_FORMED.match(tag):
            problems.append(f"{place}: KEEP({tag}) is no name of small letters, digits and hyphens")
        if tag not in rows:
            problems.append(f"{place}: KEEP({tag}) has no row in docs/oddities.md")
        if tag not in tests:
            problems.append(f"{place}: KEEP({tag}) has no test")
    for tag, place in list(rows.items()) + list(tests.items()):
        if tag not in code:
            problems.append(f"{place}: no code is marked KEEP({tag})")
    for problem in problems:
        print(problem, file=sys.stderr)
    if problems:
        sys.exit(1)
    print(f"{len(code)} oddities are marked, described and tested")


main()
