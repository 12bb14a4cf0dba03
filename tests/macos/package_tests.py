#!/usr/bin/env python3
"""Tests of the package for macOS: what the archive holds, whether it works from another place, and the Homebrew formula.

  package_tests.py BUILD NATIVE LOADER

BUILD is build/macos with `package` in it, NATIVE the command built for this system, LOADER the macho_run of this system, which runs
what is for x86_64. The archive is unpacked below a folder with a space in its name. Programs for arm64 are linked and checked only.
"""
import contextlib
import gzip
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tarfile
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
MACHO = ROOT / "cmake/macos/macho.py"
sys.path.insert(0, str(MACHO.parent))
sys.dont_write_bytecode = True
import macho

PROCESSORS = ["arm64", "x86_64"]
LIBRARIES = ["libQuarnCore.a", "libQuarnModels.a", "libQuarnPlatform.a", "libQuarnSystem.a"]
LIBPLIST = "lib/libplist-2.0.3.dylib"
COMPLETIONS = {"bash": "bash-completion/completions/quarn", "zsh": "zsh/site-functions/_quarn",
               "fish": "fish/vendor_completions.d/quarn.fish"}
ENVIRONMENT = {"LC_ALL": "C", "PATH": os.environ["PATH"], "HOME": "/root", "QUARN_CONFIG": ""}
BUILD = NATIVE = LOADER = None  # set by the words of the command


def run(*words, **options):
    """The output of a program; fails the test with all that it printed when it ends with an error."""
    done = subprocess.run([str(word) for word in words], capture_output=True, check=False, **options)
    if done.returncode != 0:
        raise AssertionError(f"{words} ended with {done.returncode}:\n{done.stdout.decode()}{done.stderr.decode()}")
    return done.stdout


def in_loader(program, *words):
    return run(LOADER, "--with", BUILD / "x86_64/lib/libloader_unwinder.dylib", program, *words, env=ENVIRONMENT)


def native(*words):
    return run(NATIVE, *words, env=ENVIRONMENT)


@contextlib.contextmanager
def only_x86_64(*files):
    """Replaces programs for both processors by their part for x86_64 for a while: the loader reads no others."""
    whole = {file: file.read_bytes() for file in files}
    try:
        for file, content in whole.items():
            [part] = [part for part in macho.slices(content) if macho.PROCESSORS[macho.processor_of(part)] == "x86_64"]
            file.write_bytes(part)
        yield
    finally:
        for file, content in whole.items():
            file.write_bytes(content)


class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        holder = tempfile.TemporaryDirectory(prefix="quarn package ")
        cls.addClassCleanup(holder.cleanup)
        cls.folder = pathlib.Path(holder.name)
        [cls.archive] = (BUILD / "package").glob("quarn-*-macos.tar.gz")
        cls.prefix = cls.folder / cls.archive.name.removesuffix(".tar.gz")
        with tarfile.open(cls.archive) as archive:
            cls.members = archive.getmembers()
            archive.extractall(cls.folder)
        cls.sample = cls.folder / "mac"
        native("sample", cls.sample)

    def on_sample(self, *words):
        return ["--volume", self.sample, "--home", "/Users/ann", *words]

    def test_the_archive_holds_one_folder_of_plain_files_that_belong_to_root(self):
        self.assertGreater(len(self.members), 100)
        for member in self.members:
            self.assertEqual(pathlib.PurePath(member.name).parts[0], self.prefix.name)
            self.assertTrue(member.isfile() or member.isdir(), member.name)
            self.assertEqual((member.uid, member.gid), (0, 0), member.name)
            self.assertEqual(member.mode & 0o7022, 0, f"{member.name}: {member.mode:o}")

    def test_programs_and_libraries_serve_both_processors(self):
        libraries = sorted(file.name for file in (self.prefix / "lib").glob("*.a"))
        self.assertEqual(libraries, LIBRARIES)
        for name in ["bin/quarn", LIBPLIST, *(f"lib/{library}" for library in LIBRARIES)]:
            parts = macho.slices((self.prefix / name).read_bytes())
            self.assertEqual(sorted(macho.PROCESSORS[macho.processor_of(part)] for part in parts), PROCESSORS, name)

    def test_programs_are_signed_and_import_nothing_but_the_system_and_libplist(self):
        checked = run(MACHO, "check", self.prefix / "bin/quarn", self.prefix / LIBPLIST).decode()
        self.assertEqual(checked.count(", signed, imports "), 4)

    def test_the_command_finds_its_resources_in_the_unpacked_folder(self):
        quarn = self.prefix / "bin/quarn"
        with only_x86_64(quarn, self.prefix / LIBPLIST):
            for words in (["vendors", "--ndjson"], self.on_sample("plan", "Lumen Notes", "--locale", "de_DE"),
                          self.on_sample("storage", "games"), ["--version"]):
                self.assertEqual(in_loader(quarn, *words), native(*words), words)

    def test_the_manual_page_and_the_completions_are_those_of_the_command(self):
        share = self.prefix / "share"
        with gzip.open(share / "man/man1/quarn.1.gz") as page:
            self.assertEqual(page.read(), native("manual"))
        for shell, place in COMPLETIONS.items():
            self.assertEqual((share / place).read_bytes(), native("completions", shell), shell)

    def test_every_installed_file_of_this_system_is_in_the_package(self):
        """But for the library's own place and pkg-config's file, which is not for macOS."""
        installed = self.folder / "native"
        run("cmake", "--install", NATIVE.parents[1], "--prefix", installed)
        skipped = re.compile(r"^(lib/.*\.(a|pc)|lib/(.*/)?cmake/.*|bin/.*)$")
        names = [str(file.relative_to(installed)) for file in installed.rglob("*") if file.is_file()]
        expected = {name for name in names if not skipped.match(name)}
        self.assertGreater(len(expected), 100)
        for name in sorted(expected):
            self.assertTrue((self.prefix / name).is_file(), name)

    def test_licences_are_in_the_package(self):
        documents = self.prefix / "share/doc"
        self.assertEqual((documents / "quarn/LICENSE").read_bytes(), (ROOT / "LICENSE").read_bytes())
        for library in ("libplist", "ncurses"):
            self.assertTrue(list((documents / library).iterdir()), library)

    def test_no_file_names_the_build_folder(self):
        places = [str(BUILD).encode(), str(ROOT).encode()]
        for file in self.prefix.rglob("*"):
            if file.is_file():
                content = file.read_bytes()
                for place in places:
                    self.assertNotIn(place, content, f"{file.name} names {place.decode()}")

    def test_a_cmake_project_finds_the_package_and_is_linked_for_each_processor(self):
        for processor in PROCESSORS:
            with self.subTest(processor):
                program = self.built_example(processor)
                [part] = macho.slices(program.read_bytes())
                image = macho.Image(part)
                self.assertEqual(image.processor, processor)
                self.assertTrue(set(image.libraries()) <= set(macho.ALLOWED))

    def test_the_example_for_x86_64_finds_what_the_command_finds(self):
        example = self.built_example("x86_64")
        with only_x86_64(self.prefix / LIBPLIST):
            lines = in_loader(example, self.sample, "/Users/ann", "Lumen Notes").decode().splitlines()
        found = json.loads(native(*self.on_sample("inspect", "Lumen Notes", "--json")))["artifacts"]
        self.assertGreater(len(found), 20)
        self.assertEqual(lines[0], f"Lumen Notes: {len(found)} artifacts")
        titles = sorted(f"{item['size']['allocatedBytes']:10}  {item['riskLevel']:<8} {item['title']}" for item in found)
        self.assertEqual(sorted(lines[1 : len(found) + 1]), titles)

    def built_example(self, processor):
        build = self.folder / f"example {processor}"
        # The system's ICU and SQLite are the stubs here that the library itself was linked with.
        flags = f"-s -L'{ROOT}/cmake/macos' -Wl,-rpath,'{self.prefix}/lib'"
        if not build.exists():
            run("cmake", "-S", ROOT / "examples/cpp", "-B", build, "-G", "Ninja", "--toolchain", ROOT / "cmake/macos/toolchain.cmake",
                f"-DQUARN_MACOS_ARCHITECTURE={processor}", "-DCMAKE_BUILD_TYPE=Release", f"-DCMAKE_EXE_LINKER_FLAGS={flags}",
                f"-DQuarnCore_DIR={self.prefix}/lib/cmake/QuarnCore")
        run("cmake", "--build", build)
        return build / "inspect_app"

    def test_the_formula_names_the_archive_its_hash_and_its_version(self):
        formula = (BUILD / "package/quarn.rb").read_text(encoding="utf-8")
        self.assertIn(f'sha256 "{hashlib.sha256(self.archive.read_bytes()).hexdigest()}"', formula)
        version = native("--version").decode().split()[-1]
        self.assertIn(f'version "{version}"', formula)
        self.assertIn(version, self.archive.name)
        self.assertRegex(formula, r'url "(file|https)://[^"]*"')
        self.assertNotIn("@", formula)
        if shutil.which("ruby"):
            run("ruby", "-c", BUILD / "package/quarn.rb")


if __name__ == "__main__":
    BUILD, NATIVE, LOADER = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
