#!/usr/bin/env python3
"""Tests of `macho.py check`: each rule is broken once in a copy of a program that was built for macOS.

  macho_tests.py PROGRAM

PROGRAM is a file for both processors, as build/macos/universal/quarn.
"""
import contextlib
import io
import pathlib
import struct
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "cmake/macos"))
sys.dont_write_bytecode = True
import macho

PROGRAM = None  # set by the words of the command
LIBSYSTEM = "/usr/lib/libSystem.B.dylib"


class Check(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory(prefix="quarn macho ")
        self.addCleanup(holder.cleanup)
        self.folder = pathlib.Path(holder.name)
        self.parts = [macho.Image(part) for part in macho.slices(PROGRAM.read_bytes())]

    def verdict(self, content):
        """Whether `check` accepts a file with this content, and what it says."""
        file = self.folder / "program"
        file.write_bytes(content)
        output, errors = io.StringIO(), io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(errors):
            is_accepted = macho.check(str(file))
        return is_accepted, output.getvalue() + errors.getvalue()

    def refuses(self, change, message):
        """For both processors; `change` is done to the image."""
        for image in self.parts:
            with self.subTest(image.processor):
                changed = macho.Image(image.bytes)
                change(changed)
                is_accepted, said = self.verdict(changed.bytes)
                self.assertFalse(is_accepted, said)
                self.assertIn(message, said)

    @staticmethod
    def place(image, *kinds, text=None):
        """Where the first command of these kinds begins, with this text in it."""
        for kind, at, size in image.commands:
            if kind in kinds and (text is None or image.text(at, size) == text):
                return at
        raise AssertionError(f"no such command: {kinds} {text}")

    def renames(self, image, kind, old, new):
        """In place: both names have one length."""
        self.assertEqual(len(old), len(new))
        at = self.place(image, kind, text=old)
        start = image.bytes.index(old.encode(), at)
        image.bytes[start : start + len(new)] = new.encode()

    def test_the_program_as_it_was_built_is_accepted_for_each_processor(self):
        self.assertEqual(sorted(image.processor for image in self.parts), ["arm64", "x86_64"])
        for image in self.parts:
            is_accepted, said = self.verdict(image.bytes)
            self.assertTrue(is_accepted, said)
            self.assertIn(f"{image.processor}, macOS 15.0, {len(image.bytes)} bytes, signed, imports ", said)

    def test_both_processors_in_one_file_are_accepted(self):
        is_accepted, said = self.verdict(PROGRAM.read_bytes())
        self.assertTrue(is_accepted, said)

    def test_a_universal_file_without_a_processor_is_refused(self):
        for image in self.parts:
            single = self.folder / image.processor
            single.write_bytes(image.bytes)
            joined = self.folder / "joined"
            macho.join(joined, [single])
            is_accepted, said = self.verdict(joined.read_bytes())
            self.assertFalse(is_accepted)
            self.assertIn("it does not hold each processor once", said)

    def test_a_changed_byte_of_any_page_spoils_the_signature(self):
        for part_of_file in (0.1, 0.5, 0.9):
            def change(image, share=part_of_file):
                limit, _ = struct.unpack_from("<2I", image.bytes, self.place(image, macho.LC_CODE_SIGNATURE) + 8)
                image.bytes[int(limit * share)] ^= 1
            self.refuses(change, "it has no valid signature")

    def test_a_program_without_a_signature_is_refused(self):
        def change(image):
            struct.pack_into("<I", image.bytes, self.place(image, macho.LC_CODE_SIGNATURE), 0x26)
        self.refuses(change, "it has no valid signature")

    def test_an_older_and_a_newer_system_are_refused(self):
        for major, minor in ((14, 0), (15, 1), (26, 0)):
            def change(image, version=major << 16 | minor << 8):
                struct.pack_into("<I", image.bytes, self.place(image, macho.LC_BUILD_VERSION) + 12, version)
            self.refuses(change, f"it is for macOS {major}.{minor} and not for macOS 15.0")

    def test_another_system_is_refused(self):
        def change(image):
            struct.pack_into("<I", image.bytes, self.place(image, macho.LC_BUILD_VERSION) + 8, 2)
        self.refuses(change, "it is for platform 2 15.0 and not for macOS 15.0")

    def test_a_program_that_names_no_system_is_refused(self):
        def change(image):
            struct.pack_into("<I", image.bytes, self.place(image, macho.LC_BUILD_VERSION), 0x2A)
        self.refuses(change, "it is for an unknown system")

    def test_any_other_library_is_refused_however_it_is_imported(self):
        other = LIBSYSTEM.replace("System", "Cursed")
        for kind in macho.IMPORTING:
            self.refuses(lambda image, marked=kind: self.import_instead(image, marked, other), f"it imports {other}")

    def import_instead(self, image, kind, other):
        self.renames(image, macho.LC_LOAD_DYLIB, LIBSYSTEM, other)
        struct.pack_into("<I", image.bytes, self.place(image, macho.LC_LOAD_DYLIB, text=other), kind)

    def test_a_program_that_does_not_look_beside_itself_is_refused(self):
        self.refuses(lambda image: self.renames(image, macho.LC_RPATH, "@loader_path/../lib", "@loader_path/../bin"),
                     "it does not look for libplist beside itself")

    def test_a_folder_of_the_build_machine_is_refused(self):
        self.refuses(lambda image: self.renames(image, macho.LC_RPATH, "@loader_path", "/opt/library"),
                     "it looks for libraries in /opt/library")


if __name__ == "__main__":
    PROGRAM = pathlib.Path(sys.argv[1]).resolve()
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]])
