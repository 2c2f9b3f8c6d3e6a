"""A tree installed component by component, and hosts of somebody else's built against it.

ZEVKA_BUILD, ZEVKA_ROOT, ZEVKA_CMAKE and ZEVKA_CXX name the build, the sources, CMake and the
compiler; CTest sets them.
"""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

BUILD = pathlib.Path(os.environ["ZEVKA_BUILD"])
ROOT = pathlib.Path(os.environ["ZEVKA_ROOT"])
CMAKE = os.environ["ZEVKA_CMAKE"]
CXX = os.environ["ZEVKA_CXX"]
FOREIGN = pathlib.Path(__file__).resolve().parent / "foreign"

COMPONENTS = ("runtime", "development", "command")
MESSAGE = b"From: ada@example.org\nSubject: Hi\n\nHello.\n"
MARKED = b"From: ada@example.org\nSubject: Hi\nX-Checked: yes\n\nHello.\n"


class InstalledTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="zevka-installed-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.prefix = cls.folder / "prefix"
        cls.files = {}
        before = set()
        for component in COMPONENTS:
            cls.run_in(cls.folder, CMAKE, "--install", BUILD, "--prefix", cls.prefix,
                       "--component", component)
            after = {str(path.relative_to(cls.prefix)) for path in cls.prefix.rglob("*")
                     if not path.is_dir()}
            cls.files[component] = after - before
            before = after
        cls.library_folder = next(cls.prefix.rglob("libzevka.so.1")).parent
        cls.plugin = cls.library_folder / "libzevka.so.1"

    @staticmethod
    def run_in(folder, *words, **options):
        """Standard output of a program; its standard error is in what a failure says."""
        result = subprocess.run([str(word) for word in words], cwd=folder, check=False, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=240,
                                **options)
        if result.returncode != 0:
            raise AssertionError(f"{words[0]} ended with {result.returncode}: {result.stdout}")
        return result.stdout

    def new_folder(self):
        return pathlib.Path(tempfile.mkdtemp(dir=self.folder))

    def assert_marks(self, *words, **options):
        """The host, called with a message at the end of its words, changes it as expected."""
        message = self.new_folder() / "message.eml"
        message.write_bytes(MESSAGE)
        self.run_in(message.parent, *words, message, **options)
        self.assertEqual(message.read_bytes(), MARKED)


class Components(InstalledTest):
    def names(self, component):
        """What the component has, written without the folder of libraries."""
        libraries = str(self.library_folder.relative_to(self.prefix))
        return {name.replace(libraries, "LIB", 1) if name.startswith(libraries + "/") else name
                for name in self.files[component]}

    def test_the_runtime_is_the_library_under_its_soname(self):
        names = self.names("runtime")
        self.assertIn("LIB/libzevka.so.1", names)
        names.remove("LIB/libzevka.so.1")
        self.assertEqual(len(names), 1)
        self.assertRegex(names.pop(), r"^LIB/libzevka\.so\.1\.\d+\.\d+$")
        self.assertEqual(self.plugin.resolve().parent, self.library_folder.resolve())

    def test_the_development_files_are_headers_link_kit_and_packages(self):
        headers = {f"include/zevka/{path.name}" for path in (ROOT / "include" / "zevka").iterdir()}
        self.assertEqual(
            {name for name in self.names("development") if not name.startswith("LIB/cmake/zevka/")},
            headers | {"LIB/libzevka.so", "LIB/libzevka_host.a", "LIB/pkgconfig/zevka.pc",
                       "LIB/pkgconfig/zevka-host.pc"})

    def test_the_command_comes_with_completions_and_its_page(self):
        page = {"share/man/man1/zevka.1"} if (BUILD / "zevka.1").exists() else set()
        self.assertEqual(
            self.names("command"),
            page | {"bin/zevka", "share/bash-completion/completions/zevka",
                    "share/zsh/vendor-completions/_zevka",
                    "share/fish/vendor_completions.d/zevka.fish"})

    def test_no_text_names_the_build_or_brings_our_warnings(self):
        for path in self.prefix.rglob("*"):
            if path.suffix in (".cmake", ".pc", ".h"):
                text = path.read_text(encoding="utf-8")
                for unwanted in (str(BUILD), str(ROOT), "-Werror", "-Wall", "zevka_options"):
                    self.assertNotIn(unwanted, text, path)

    def test_no_program_looks_for_libraries_in_the_build(self):
        for path in (self.prefix / "bin" / "zevka", self.plugin):
            dynamic = self.run_in(self.folder, "readelf", "--dynamic", path)
            self.assertNotIn("RPATH", dynamic)
            self.assertNotIn("RUNPATH", dynamic)


class Hosts(InstalledTest):
    def pkg_config(self, *words):
        environment = dict(os.environ, PKG_CONFIG_PATH=str(self.library_folder / "pkgconfig"))
        return self.run_in(self.folder, "pkg-config", *words, env=environment).split()

    def test_pkg_config_has_the_headers_and_where_the_library_is(self):
        host = self.new_folder() / "loads"
        self.run_in(host.parent, CXX, "-std=c++20", "-Wall", "-Wextra", "-Werror",
                    *self.pkg_config("--cflags", "--libs", "zevka"), FOREIGN / "loads.cpp",
                    "-o", host)
        plugin, = self.pkg_config("--variable=plugin", "zevka")
        self.assertEqual(pathlib.Path(plugin).resolve(), self.plugin.resolve())
        self.assert_marks(host, plugin)

    def test_pkg_config_has_the_kit(self):
        host = self.new_folder() / "owns"
        self.run_in(host.parent, CXX, "-std=c++20", FOREIGN / "owns.cpp",
                    *self.pkg_config("--cflags", "--libs", "zevka-host"), "-o", host)
        self.assert_marks(host, self.plugin)

    def test_cmake_finds_headers_library_and_kit(self):
        build = self.new_folder()
        self.run_in(build, CMAKE, "-S", FOREIGN, "-B", build, f"-DCMAKE_PREFIX_PATH={self.prefix}",
                    f"-DCMAKE_CXX_COMPILER={CXX}", "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror")
        self.run_in(build, CMAKE, "--build", build)
        plugin = (build / "plugin").read_text(encoding="utf-8")
        self.assertEqual(pathlib.Path(plugin).resolve(), self.plugin.resolve())
        self.assert_marks(build / "loads", plugin)
        self.assert_marks(build / "owns", plugin)
        self.assert_marks(build / "links")


class Command(InstalledTest):
    def test_it_finds_the_library_where_the_loader_does(self):
        environment = dict(os.environ, LD_LIBRARY_PATH=str(self.library_folder))
        (self.library_folder / "libzevka.so").unlink()  # as without the development files
        message = self.new_folder() / "message.eml"
        message.write_bytes(MESSAGE)
        shown = self.run_in(message.parent, self.prefix / "bin" / "zevka", "headers", message,
                            env=environment)
        self.assertIn("Subject: Hi", shown)


if __name__ == "__main__":
    unittest.main()
