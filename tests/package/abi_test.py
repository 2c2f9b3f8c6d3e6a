"""The interface stays what hosts were compiled for; scripts/update_abi_baseline renews the baseline.

ZEVKA_LIBRARY names the built library; CTest sets it.
"""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

import abi


class AbiTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="zevka-abi-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def compare(self, library):
        """abidiff's status and report for a library against the baseline; status 0: no change."""
        result = subprocess.run(["abidiff", abi.BASELINE, library], check=False, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return result.returncode, result.stdout

    def copy_of_tree(self):
        """The public headers and the interface source, to change them."""
        root = self.folder / "root"
        shutil.copytree(abi.ROOT / "include", root / "include")
        (root / "tests" / "package").mkdir(parents=True)
        shutil.copy(abi.HERE / "interface.cpp", root / "tests" / "package")
        return root

    def replace(self, path, *pairs):
        """Replaces texts that must be there, all at once."""
        text = path.read_text(encoding="utf-8")
        for number, (old, _) in enumerate(pairs):
            self.assertEqual(text.count(old), 1, old)
            text = text.replace(old, f"\0{number}\0")
        for number, (_, new) in enumerate(pairs):
            text = text.replace(f"\0{number}\0", new)
        path.write_text(text, encoding="utf-8")

    def assert_changed(self, root, *reasons):
        status, report = self.compare(abi.compile_interface(self.folder / "changed.so", root))
        self.assertNotEqual(status, 0)
        for reason in reasons:
            self.assertIn(reason, report)


class Baseline(AbiTest):
    def test_the_public_types_are_those_of_the_baseline(self):
        status, report = self.compare(abi.compile_interface(self.folder / "interface.so"))
        self.assertEqual(status, 0, report)

    def test_the_library_has_the_soname_of_the_baseline(self):
        built = abi.soname_of(abi.describe(os.environ["ZEVKA_LIBRARY"]))
        self.assertEqual(built, abi.SONAME)
        self.assertEqual(abi.soname_of(abi.BASELINE.read_text(encoding="utf-8")), built)

    def test_the_library_exports_the_names_of_the_baseline_and_no_other(self):
        built = abi.names_of(abi.describe(os.environ["ZEVKA_LIBRARY"]))
        recorded = abi.names_of(abi.BASELINE.read_text(encoding="utf-8"))
        recorded.remove(abi.LEADS_TO_TYPES)
        self.assertEqual(built, recorded)
        self.assertEqual(len(built), 12)

    def test_the_baseline_names_no_folder(self):
        for line in abi.BASELINE.read_text(encoding="utf-8").splitlines():
            self.assertNotIn("='/", line)


class Changes(AbiTest):
    """The comparison sees what would break a host."""

    def test_another_soname(self):
        changed = abi.compile_interface(self.folder / "changed.so", soname="libzevka.so.2")
        status, report = self.compare(changed)
        self.assertNotEqual(status, 0)
        self.assertIn("SONAME changed from 'libzevka.so.1' to 'libzevka.so.2'", report)
        self.assertEqual(abi.soname_of(abi.describe(changed)), "libzevka.so.2")

    def test_one_more_export(self):
        root = self.copy_of_tree()
        with open(root / "tests" / "package" / "interface.cpp", "a", encoding="utf-8") as source:
            source.write('extern "C" ZEVKA_EXPORT int xAnother() {\n  return 0;\n}\n')
        self.assert_changed(root, "xAnother")
        self.assertIn("xAnother", abi.names_of(abi.describe(self.folder / "changed.so")))

    def test_a_missing_export(self):
        root = self.copy_of_tree()
        self.replace(root / "include" / "zevka" / "exports.h",
                     ("ZEVKA_EXPORT int xUnregisterW();", "int xUnregisterW();"))
        self.assert_changed(root, "xUnregisterW")

    def test_other_arguments(self):
        root = self.copy_of_tree()
        old, new = "xRegisterA(const char* ", "xRegisterA(const wchar_t* "
        self.replace(root / "include" / "zevka" / "exports.h", (old, new))
        self.replace(root / "tests" / "package" / "interface.cpp", (old, new))
        self.assert_changed(root, "xRegisterA")

    def test_two_slots_of_a_part_in_another_order(self):
        root = self.copy_of_tree()
        first, second = "virtual int RemovePart()", "virtual int RewindHeaders()"
        self.replace(root / "include" / "zevka" / "part.h", (first, second), (second, first))
        self.assert_changed(root, "vtable offset", "RewindHeaders() changed from 6 to 5")

    def test_two_slots_of_the_packer_in_another_order(self):
        root = self.copy_of_tree()
        first, second = "virtual int QueryControl(", "virtual int ReleaseControl("
        self.replace(root / "include" / "zevka" / "packer.h", (first, second), (second, first))
        self.assert_changed(root, "vtable offset", "ReleaseControl(int, ...) changed from 8 to 7")

    def test_another_number_for_a_code(self):
        root = self.copy_of_tree()
        self.replace(root / "include" / "zevka" / "packer.h",
                     ("kReleaseBuffer = 3", "kReleaseBuffer = 7"))
        self.assert_changed(root, "kReleaseBuffer")


if __name__ == "__main__":
    unittest.main()
