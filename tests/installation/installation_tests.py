"""Tests of an installed and moved prefix, of programs that use it, and of the packages.

Usage: installation_tests.py TEST_CLASS; the environment names PREFIX (moved), SAMPLE (volume), BUILD (the prefix's build tree),
SOURCE, CXX and CXXFLAGS.
"""

import gzip
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

# Not the configuration of the developer.
os.environ["QUARN_CONFIG"] = ""
PREFIX = pathlib.Path(os.environ["PREFIX"])
SAMPLE = pathlib.Path(os.environ["SAMPLE"])
BUILD = pathlib.Path(os.environ["BUILD"])
SOURCE = pathlib.Path(os.environ["SOURCE"])
QUARN = PREFIX / "bin" / "quarn"


def run(*words, status=0, **options):
    """The output of a command. Fails the test with that output if the exit status is unexpected."""
    done = subprocess.run([str(word) for word in words], capture_output=True, text=True, check=False, **options)
    if done.returncode != status:
        raise AssertionError(f"{words} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
    return done.stdout + (done.stderr if status else "")


class TestCase(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        holder = tempfile.TemporaryDirectory(prefix="quarn-installed-")
        cls.addClassCleanup(holder.cleanup)
        cls.folder = pathlib.Path(holder.name)


def on_sample(*words):
    return run(QUARN, "--volume", SAMPLE, "--home", "/Users/ann", *words)


class Layout(TestCase):
    def test_the_command_finds_its_resources_in_a_moved_prefix(self):
        profiles = [json.loads(file.read_text()) for file in (SOURCE / "QuarnCore/vendors/resources/vendors").glob("*.json")]
        shipped = {(profile["id"], profile["displayName"]) for profile in profiles}
        lines = [json.loads(line) for line in run(QUARN, "vendors", "--ndjson").splitlines()]
        found = {(profile["id"], profile["displayName"]) for profile in lines}
        self.assertEqual(found, shipped)
        signatures = json.loads(on_sample("storage", "--json"))["categories"]["games"]
        self.assertGreater(signatures["allocatedBytes"], 0)

    def test_the_command_finds_its_resources_through_a_symbolic_link(self):
        link = self.folder / "linked"
        link.symlink_to(QUARN)
        self.assertEqual(run(link, "vendors", "--ndjson"), run(QUARN, "vendors", "--ndjson"))

    def test_the_german_texts_are_installed(self):
        words = ["plan", "Lumen Notes", "--locale"]
        self.assertNotEqual(on_sample(*words, "de_DE"), on_sample(*words, "en_US"))

    def test_the_command_lists_no_vendors_without_resources(self):
        alone = self.folder / "alone" / "bin" / "quarn"
        alone.parent.mkdir(parents=True)
        shutil.copy(QUARN, alone)
        self.assertEqual(run(alone, "vendors", "--ndjson"), "")

    def test_manual_and_completions_match_the_command(self):
        share = PREFIX / "share"
        with gzip.open(share / "man/man1/quarn.1.gz", "rt", encoding="utf-8") as page:
            self.assertEqual(page.read(), run(QUARN, "manual"))
        places = {"bash": "bash-completion/completions/quarn", "zsh": "zsh/site-functions/_quarn",
                  "fish": "fish/vendor_completions.d/quarn.fish"}
        for shell, place in places.items():
            self.assertEqual((share / place).read_text(encoding="utf-8"), run(QUARN, "completions", shell), shell)

    def test_the_types_of_the_interface_match_the_command(self):
        types = PREFIX / "share/quarn/rpc"
        for language, name in {"typescript": "quarn.d.ts", "python": "quarn_rpc.py"}.items():
            self.assertEqual((types / name).read_text(encoding="utf-8"), run(QUARN, "rpc", "--types", language), language)

    def test_links_between_installed_pages_and_examples_work(self):
        pages = list((PREFIX / "share/doc/quarn").rglob("*.md"))
        self.assertGreater(len(pages), 10)
        for page in pages:
            for target in re.findall(r"\]\(([^)#: ]+)(?:#[^)]*)?\)", page.read_text(encoding="utf-8")):
                self.assertTrue((page.parent / target).exists(), f"{page.name}: {target}")

    def test_no_file_contains_the_build_folder_or_the_first_prefix(self):
        files = [file for file in PREFIX.rglob("*") if file.suffix in (".cmake", ".pc", ".h")]
        self.assertGreater(len(files), 40)
        for file in files:
            text = file.read_text(encoding="utf-8")
            for place in (str(BUILD), str(SOURCE), "first place"):
                self.assertNotIn(place, text, file.name)

    def test_destdir_precedes_the_prefix(self):
        place = self.folder / "staged"
        environment = {**os.environ, "DESTDIR": str(place)}
        run("cmake", "--install", BUILD, "--prefix", "/opt/quarn", "--component", "runtime", env=environment)
        self.assertEqual([item.name for item in place.iterdir()], ["opt"])
        self.assertEqual(run(place / "opt/quarn/bin/quarn", "vendors", "--ndjson"), run(QUARN, "vendors", "--ndjson"))
        self.assertFalse((place / "opt/quarn/include").exists())


class Headers(TestCase):
    def test_public_headers_compile_without_other_libraries(self):
        headers = sorted(file.relative_to(PREFIX / "include/quarncore") for file in PREFIX.rglob("*.h"))
        self.assertEqual({header.parts[0] for header in headers},
                         {"QuarnPlatform", "QuarnModels", "QuarnSystem", "QuarnCore"})
        unit, read = self.folder / "all.cpp", self.folder / "all.d"
        unit.write_text("".join(f'#include "{header}"\n' for header in headers), encoding="utf-8")
        run(os.environ["CXX"], "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wshadow", "-Werror",
            "-I", PREFIX / "include/quarncore", "-MD", "-MF", read, unit)
        others = r"/(nlohmann|unicode|plist|spdlog|fmt|CLI)[/.]"
        self.assertEqual(re.findall(others, read.read_text(encoding="utf-8")), [])


class Consumers(TestCase):
    """Builds the example project with the moved prefix and runs it on the sample volume."""

    def expected(self):
        found = json.loads(on_sample("inspect", "Lumen Notes", "--json"))["artifacts"]
        artifacts = [f"{item['size']['allocatedBytes']:10}  {item['riskLevel']:<8} {item['title']}" for item in found]
        sizes = json.loads(on_sample("storage", "--json"))["categories"]
        storage = [f"{size['allocatedBytes']:10}  {category}" for category, size in sizes.items()]
        return f"Lumen Notes: {len(found)} artifacts", artifacts, storage

    def check(self, program):
        lines = run(program, SAMPLE, "/Users/ann", "Lumen Notes").splitlines()
        title, artifacts, storage = self.expected()
        self.assertGreater(len(artifacts), 20)
        self.assertEqual(lines[0], title)
        self.assertCountEqual(lines[1 : len(artifacts) + 1], artifacts)
        self.assertEqual(lines[len(artifacts) + 1 :], ["", "Storage", *storage])

    def test_a_cmake_project_finds_the_package_builds_and_runs(self):
        build = self.folder / "build"
        run("cmake", "-S", SOURCE / "examples/cpp", "-B", build, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={PREFIX}")
        run("cmake", "--build", build)
        program = build / "inspect_app"
        self.check(program)
        missing = run(program, SAMPLE, "/Users/ann", "No Such", status=3)
        self.assertEqual(missing, 'inspect_app: no app "No Such"\n')
        nowhere = run(program, self.folder / "nowhere", "/Users/ann", "Lumen Notes", status=1)
        self.assertEqual(nowhere, f"inspect_app: open volume {self.folder}/nowhere: No such file or directory\n")

    def test_a_makefile_finds_the_library_through_pkg_config(self):
        folder = self.folder / "make"
        shutil.copytree(SOURCE / "examples/cpp", folder)
        # $(pkg-config …) in a makefile cannot hold a path with spaces, and the build may be below one.
        prefix = self.folder / "prefix"
        prefix.symlink_to(PREFIX)
        [file] = prefix.glob("lib/**/quarncore.pc")
        run("make", "-C", folder, f"PKG_CONFIG_PATH={file.parent}", f"CXXFLAGS=-O0 {os.environ['CXXFLAGS']}")
        self.check(folder / "inspect_app")

    def test_an_unavailable_version_is_refused(self):
        folder = self.folder / "later"
        folder.mkdir()
        (folder / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.25)\nproject(later LANGUAGES CXX)\nfind_package(QuarnCore 99 REQUIRED)\n")
        said = run("cmake", "-S", folder, "-B", folder / "build", "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={PREFIX}", status=1)
        self.assertIn('compatible with requested version "99"', re.sub(r"\s+", " ", said))


class Packages(TestCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        config = BUILD / "CPackConfig.cmake"
        run("cpack", "--config", config, "-B", cls.folder, "-D", "CPACK_DEBIAN_COMPRESSION_TYPE=none")
        cls.packages = {file.name.split("_")[0]: file for file in cls.folder.glob("*.deb")}

    def test_there_is_a_package_for_users_and_one_for_developers(self):
        self.assertEqual(set(self.packages), {"quarn", "libquarncore-dev"})

    def test_the_packages_declare_their_dependencies(self):
        needs = run("dpkg", "-f", self.packages["quarn"], "Depends")
        for library in ("libc6", "libicu", "libplist", "libspdlog", "libstdc++6"):
            self.assertIn(library, needs)
        version = run("dpkg", "-f", self.packages["quarn"], "Version").strip()
        needs = run("dpkg", "-f", self.packages["libquarncore-dev"], "Depends")
        for package in (f"quarn (= {version})", "libicu-dev", "libplist-dev", "libspdlog-dev", "libfmt-dev"):
            self.assertIn(package, needs)

    def test_all_files_are_below_usr_and_belong_to_root(self):
        for package in self.packages.values():
            for line in run("dpkg", "-c", package).splitlines():
                mode, owner, *_ = line.split()
                self.assertEqual(owner, "root/root", line)
                self.assertNotIn("w", mode[4:], line)
                self.assertIn(" ./usr/", line)

    def test_the_unpacked_command_works(self):
        place = self.folder / "unpacked"
        for package in self.packages.values():
            run("dpkg", "-x", package, place)
        self.assertEqual(run(place / "usr/bin/quarn", "vendors", "--ndjson"), run(QUARN, "vendors", "--ndjson"))
        for package in self.packages:
            for file in ("copyright", "changelog.gz"):
                self.assertTrue((place / "usr/share/doc" / package / file).is_file(), f"{package}: {file}")
        [description] = place.glob("usr/lib/**/quarncore.pc")
        flags = run("pkg-config", "--cflags-only-I", "quarncore", env={**os.environ, "PKG_CONFIG_PATH": str(description.parent)})
        self.assertTrue((pathlib.Path(flags.split()[0][2:]) / "QuarnCore/inspection/AppsService.h").is_file(), flags)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[1:]])
