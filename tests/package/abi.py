"""What hosts are bound to, as abidw sees it: soname, exported names, and the public types.

The types are read from a small library that is compiled from interface.cpp and the public headers
with debug information; the built library needs none. GCC compiles it whatever built the rest, so
that the same headers give the same text.
"""

import pathlib
import subprocess
import xml.etree.ElementTree

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
BASELINE = HERE / "libzevka.abi"

SONAME = "libzevka.so.1"
# interface.cpp has it and the library has not.
LEADS_TO_TYPES = "ReachedByCast"


def run(*words, **options):
    return subprocess.run([str(word) for word in words], check=True, text=True,
                          stdout=subprocess.PIPE, **options).stdout


def compile_interface(output, root=ROOT, soname=SONAME):
    """The interface of the headers in `root`/include as a library without anything behind it."""
    run("g++", "-std=c++20", "-g", "-O0", "-fPIC", "-shared", "-fvisibility=hidden",
        "-femit-class-debug-always", "-Iinclude", "tests/package/interface.cpp",
        f"-Wl,-soname,{soname}", "-o", output, cwd=root)
    return output


def describe(library):
    """abidw's description of a library, without anything that depends on where it was built."""
    return run("abidw", "--exported-interfaces-only", "--no-corpus-path", "--no-comp-dir-path",
               "--no-show-locs", "--no-elf-needed", "--no-parameter-names", library)


def soname_of(description):
    return xml.etree.ElementTree.fromstring(description).get("soname")


def names_of(description):
    """The exported names, those of variables too."""
    tree = xml.etree.ElementTree.fromstring(description)
    return sorted(symbol.get("name") for symbol in tree.iter("elf-symbol"))
