"""Writes the blocks of results into docs/performance.md, between the marks that name them:

    <!-- results: full -->
    ...
    <!-- end -->

Everything else in the document is written by people, and stays.
"""

import re
import sys

MARKED = re.compile(r"(<!-- results: ([a-z]+) -->\n).*?(<!-- end -->\n)", re.DOTALL)


def write(path, blocks, results):
    text = path.read_text(encoding="utf-8")
    unknown = {match[2] for match in MARKED.finditer(text)} - set(blocks)
    if unknown:
        sys.exit(f"bench: {path.name} has marks that nothing writes: {', '.join(sorted(unknown))}")
    path.write_text(MARKED.sub(
        lambda match: match[1] + "\n".join(["", *blocks[match[2]](results), "", ""]) + match[3],
        text), encoding="utf-8")
