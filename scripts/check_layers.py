#!/usr/bin/env python3
"""Checks the law of the tree: an include points to the same folder or to a lower one, never upward.

    check_layers.py ROOT

Library folders stand in ranks; host/ and examples/ see the public headers and themselves only
(examples/ also host/); tests are free. The floors of host/ are the loader and kit/, safe_edit/ above
them and cli/ on top. Inside a folder the headers form no circle. Fails on the first breach and names
its file and line.
"""

import pathlib
import re
import sys

RANKS = {
    "include/zevka": 0,
    "fileio": 1,
    "codec": 2,
    "mime": 3,
    "footer": 4,
    "plugin": 5,
}
# Folders outside the library, and the folders whose quoted includes they may use.
OUTSIDE = {
    "host": {"host"},
    "examples": {"examples", "host"},
}
# The floors of host/, from the ground up; the loader's files stand with the first.
HOST_FLOORS = ["host/kit", "host/safe_edit", "host/cli"]
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def fail(path, line, reason):
    print(f"{path}:{line}: {reason}", file=sys.stderr)
    sys.exit(1)


def includes_of(file):
    """Line number, bracket and target of each include."""
    for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), start=1):
        match = INCLUDE.match(line)
        if match:
            yield number, match.group(1), match.group(2)


def sources(root, folder):
    return sorted(p for p in (root / folder).rglob("*") if p.suffix in (".h", ".cpp"))


def folder_of(target):
    """The folder of a quoted target that is written from the root."""
    return target.split("/", 1)[0]


def check_target(root, path, line, bracket, target, allowed):
    """One include of a file that may use the folders `allowed`."""
    if target.startswith("zevka/"):
        if bracket == '"':
            fail(path, line, f"a public header is included as <{target}>")
        if not (root / "include" / target).is_file():
            fail(path, line, f"there is no public header <{target}>")
        return
    if bracket == "<":
        if folder_of(target) in set(RANKS) | set(OUTSIDE) | {"tests"}:
            fail(path, line, f'<{target}> is ours: write it in quotes')
        return
    if not (root / target).is_file():
        fail(path, line, f'"{target}" is not written from the root of the tree')
    if folder_of(target) not in allowed:
        fail(path, line, f'"{target}" is out of reach from here')


def host_floor(path):
    """The floor that a file of host/ stands on."""
    folder = path.rsplit("/", 1)[0]
    return HOST_FLOORS.index(folder) if folder in HOST_FLOORS else 0


def check_host_floor(path, line, target):
    if path.startswith("host/") and target.startswith("host/") and (
            host_floor(target) > host_floor(path)):
        fail(path, line, f'"{target}" is on a higher floor')


def check_folder(root, folder, allowed):
    """All includes of a folder; gives the graph of its headers with the line of each edge."""
    graph = {}
    for file in sources(root, folder):
        path = file.relative_to(root).as_posix()
        edges = graph.setdefault(path, []) if file.suffix == ".h" else []
        for line, bracket, target in includes_of(file):
            check_target(root, path, line, bracket, target, allowed)
            check_host_floor(path, line, target)
            edges.append((line, f"include/{target}" if target.startswith("zevka/") else target))
    return graph


def check_circles(graph):
    """Walks the headers of one folder depth first; an edge back into the walk is a circle."""
    done = set()
    walk = []

    def visit(header):
        walk.append(header)
        for line, target in graph[header]:
            if target in walk:
                circle = " -> ".join(walk[walk.index(target):] + [target])
                fail(header, line, f"the headers stand in a circle: {circle}")
            if target in graph and target not in done:
                visit(target)
        walk.pop()
        done.add(header)

    for header in sorted(graph):
        if header not in done:
            visit(header)


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: check_layers.py ROOT")
    root = pathlib.Path(sys.argv[1])
    files = 0
    for folder, rank in RANKS.items():
        if not (root / folder).is_dir():
            fail(folder, 0, "the folder is missing")
        allowed = {name for name, other in RANKS.items() if 0 < other <= rank}
        graph = check_folder(root, folder, allowed)
        check_circles(graph)
        files += len(sources(root, folder))
    for folder, allowed in OUTSIDE.items():
        check_circles(check_folder(root, folder, allowed))
        files += len(sources(root, folder))
    print(f"{files} files keep the layers")


main()
