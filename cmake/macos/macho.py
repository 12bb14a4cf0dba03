#!/usr/bin/env python3
"""Signs, joins and checks Mach-O files, as far as building for macOS on another system needs it.

  macho.py sign FILE...          gives each file an ad-hoc signature, unless it has one
  macho.py join OUTPUT FILE...   makes one universal file of files for different processors (archives too)
  macho.py check FILE...         prints what each file is and imports; fails unless it is for macOS 15.0, has a valid signature, imports
                                 nothing but libSystem, the system's ICU and SQLite, and libplist beside it, and searches no other
                                 folder; a universal file must hold both processors
"""
import hashlib
import os
import pathlib
import struct
import sys

MAGIC_64, MAGIC_UNIVERSAL, MAGIC_ARCHIVE = 0xFEEDFACF, 0xCAFEBABE, b"!<arch>\n"
PROCESSORS = {0x01000007: "x86_64", 0x0100000C: "arm64"}
LOG2_ALIGNMENT = {"x86_64": 12, "arm64": 14}
EXECUTABLE = 2
LC_LOAD_DYLIB, LC_SEGMENT_64, LC_CODE_SIGNATURE, LC_RPATH, LC_BUILD_VERSION = 0x0C, 0x19, 0x1D, 0x8000001C, 0x32
LC_LOAD_WEAK_DYLIB, LC_REEXPORT_DYLIB, LC_LAZY_LOAD_DYLIB, LC_LOAD_UPWARD_DYLIB = 0x80000018, 0x8000001F, 0x20, 0x80000023
IMPORTING = (LC_LOAD_DYLIB, LC_LOAD_WEAK_DYLIB, LC_REEXPORT_DYLIB, LC_LAZY_LOAD_DYLIB, LC_LOAD_UPWARD_DYLIB)
MACOS = 1
SUPER_BLOB, CODE_DIRECTORY = 0xFADE0CC0, 0xFADE0C02
AD_HOC_BY_LINKER = 0x20002
LOG2_PAGE = 12
ALLOWED = ("/usr/lib/libSystem.B.dylib", "/usr/lib/libicucore.A.dylib", "/usr/lib/libsqlite3.dylib",
           "@rpath/libplist-2.0.3.dylib")
RUN_PATHS = ("@loader_path/../lib", "@loader_path")


class Image:
    """One Mach-O for one processor."""

    def __init__(self, content):
        self.bytes = bytearray(content)
        magic, cpu, _, self.kind, count, size, _, _ = struct.unpack_from("<8I", self.bytes)
        if magic != MAGIC_64:
            raise ValueError("not a Mach-O of 64 bits")
        self.processor = PROCESSORS[cpu]
        self.end_of_commands = 32 + size
        self.commands = []  # kind, offset, size
        at = 32
        for _ in range(count):
            kind, length = struct.unpack_from("<2I", self.bytes, at)
            self.commands.append((kind, at, length))
            at += length

    def all(self, kind):
        return [(at, size) for found, at, size in self.commands if found == kind]

    def text(self, at, size):
        (offset,) = struct.unpack_from("<I", self.bytes, at + 8)
        return bytes(self.bytes[at + offset : at + size]).split(b"\0")[0].decode()

    def texts(self, *kinds):
        return [self.text(at, size) for kind, at, size in self.commands if kind in kinds]

    def libraries(self):
        """What it imports, however the import is marked."""
        return self.texts(*IMPORTING)

    def segments(self):
        """Name, offset of its command, offset and size in the file."""
        for at, _ in self.all(LC_SEGMENT_64):
            name = bytes(self.bytes[at + 8 : at + 24]).rstrip(b"\0").decode()
            offset, size = struct.unpack_from("<2Q", self.bytes, at + 40)
            yield name, at, offset, size

    def first_section(self):
        """Where in the file the first section begins."""
        first = len(self.bytes)
        for at, _ in self.all(LC_SEGMENT_64):
            (count,) = struct.unpack_from("<I", self.bytes, at + 64)
            for section in range(count):
                (offset,) = struct.unpack_from("<I", self.bytes, at + 72 + section * 80 + 48)
                if offset != 0:
                    first = min(first, offset)
        return first

    def system(self):
        """The system and its oldest version that the file is for."""
        versions = self.all(LC_BUILD_VERSION)
        if not versions:
            return "an unknown system"
        platform, version = struct.unpack_from("<2I", self.bytes, versions[0][0] + 8)
        name = "macOS" if platform == MACOS else f"platform {platform}"
        return f"{name} {version >> 16}.{version >> 8 & 0xFF}"


def page_hashes(content, page):
    return [hashlib.sha256(content[at : at + page]).digest() for at in range(0, len(content), page)]


def signature(image, identifier, limit):
    """The signature of the first `limit` bytes; only its length matters before they are final."""
    name = identifier.encode() + b"\0"
    hashes = page_hashes(bytes(image.bytes[:limit]), 1 << LOG2_PAGE)
    text_size = next(size for segment, _, _, size in image.segments() if segment == "__TEXT")
    hash_offset = 88 + len(name)
    directory = struct.pack(
        ">9I4B2I2I3Q", CODE_DIRECTORY, hash_offset + 32 * len(hashes), 0x20400, AD_HOC_BY_LINKER, hash_offset, 88, 0,
        len(hashes), limit, 32, 2, 0, LOG2_PAGE, 0, 0, 0, 0, 0, 0, text_size)
    directory += struct.pack(">Q", 1 if image.kind == EXECUTABLE else 0)
    directory += name + b"".join(hashes)
    return struct.pack(">5I", SUPER_BLOB, 20 + len(directory), 1, 0, 20) + directory


def sign(path):
    with open(path, "rb") as file:
        image = Image(file.read())
    if image.all(LC_CODE_SIGNATURE):
        return
    if image.first_section() - image.end_of_commands < 16:
        raise ValueError("no room for a load command")
    identifier = os.path.basename(path)
    limit = (len(image.bytes) + 15) // 16 * 16
    image.bytes.extend(bytes(limit - len(image.bytes)))
    size = (len(signature(image, identifier, limit)) + 15) // 16 * 16
    struct.pack_into("<4I", image.bytes, image.end_of_commands, LC_CODE_SIGNATURE, 16, limit, size)
    struct.pack_into("<2I", image.bytes, 16, len(image.commands) + 1, image.end_of_commands - 32 + 16)
    for name, at, offset, _ in image.segments():
        if name == "__LINKEDIT":
            in_file = limit + size - offset
            struct.pack_into("<Q", image.bytes, at + 32, (in_file + 0x3FFF) // 0x4000 * 0x4000)
            struct.pack_into("<Q", image.bytes, at + 48, in_file)
    blob = signature(image, identifier, limit)
    mode = os.stat(path).st_mode
    with open(path + ".signed", "wb") as file:
        file.write(image.bytes + blob.ljust(size, b"\0"))
    os.chmod(path + ".signed", mode)
    os.rename(path + ".signed", path)


def is_signed(image):
    """Whether there is a signature and every page is as it says."""
    commands = image.all(LC_CODE_SIGNATURE)
    if not commands:
        return False
    offset, size = struct.unpack_from("<2I", image.bytes, commands[0][0] + 8)
    magic, _, count = struct.unpack_from(">3I", image.bytes, offset)
    if magic != SUPER_BLOB or offset + size > len(image.bytes):
        return False
    for index in range(count):
        _, at = struct.unpack_from(">2I", image.bytes, offset + 12 + index * 8)
        at += offset
        fields = struct.unpack_from(">9I4B", image.bytes, at)
        if fields[0] != CODE_DIRECTORY:
            continue
        hashes_at, slots, limit, hash_kind, log2_page = at + fields[4], fields[7], fields[8], fields[10], fields[12]
        if hash_kind != 2 or limit != offset:
            return False
        expected = page_hashes(bytes(image.bytes[:limit]), 1 << log2_page)
        stored = [bytes(image.bytes[hashes_at + 32 * i : hashes_at + 32 * i + 32]) for i in range(slots)]
        return stored == expected
    return False


def slices(content):
    """The Mach-O files in a file: itself, or those of a universal one."""
    magic, count = struct.unpack_from(">2I", content)
    if magic != MAGIC_UNIVERSAL:
        return [content]
    found = []
    for index in range(count):
        _, _, offset, size, _ = struct.unpack_from(">5I", content, 8 + index * 20)
        found.append(content[offset : offset + size])
    return found


def processor_of(content):
    """Of an archive: that of its first Mach-O member."""
    if not content.startswith(MAGIC_ARCHIVE):
        return struct.unpack_from("<2I", content)[1]
    at = len(MAGIC_ARCHIVE)
    while at < len(content):
        header = content[at : at + 60]
        size = int(header[48:58])
        name_size = int(header[3:16]) if header.startswith(b"#1/") else 0
        body = at + 60 + name_size
        if struct.unpack_from("<I", content, body)[0] == MAGIC_64:
            return struct.unpack_from("<2I", content, body)[1]
        at += 60 + size + size % 2
    raise ValueError("an archive without a Mach-O")


def join(output, paths):
    contents = [pathlib.Path(path).read_bytes() for path in paths]
    header, body = struct.pack(">2I", MAGIC_UNIVERSAL, len(paths)), b""
    at = 8 + 20 * len(paths)
    for content in contents:
        cpu = processor_of(content)
        log2 = LOG2_ALIGNMENT[PROCESSORS[cpu]]
        padding = -at % (1 << log2)
        at += padding
        variant = 3 if PROCESSORS[cpu] == "x86_64" else 0
        header += struct.pack(">5I", cpu, variant, at, len(content), log2)
        body += bytes(padding) + content
        at += len(content)
    with open(output, "wb") as file:
        file.write(header + body)
    os.chmod(output, os.stat(paths[0]).st_mode)


def problems_of(image):
    problems = []
    if image.system() != "macOS 15.0":
        problems.append(f"it is for {image.system()} and not for macOS 15.0")
    if not is_signed(image):
        problems.append("it has no valid signature")
    run_paths = image.texts(LC_RPATH)
    if image.kind == EXECUTABLE and RUN_PATHS[0] not in run_paths:
        problems.append("it does not look for libplist beside itself")
    problems += [f"it looks for libraries in {path}" for path in run_paths if path not in RUN_PATHS]
    problems += [f"it imports {library}" for library in image.libraries() if library not in ALLOWED]
    return problems


def check(path):
    with open(path, "rb") as file:
        content = file.read()
    parts = slices(content)
    images = [Image(part) for part in parts]
    problems = []
    for image in images:
        print(f"{path}: {image.processor}, {image.system()}, {len(image.bytes)} bytes, "
              f"{'signed' if is_signed(image) else 'NOT SIGNED'}, imports {', '.join(image.libraries())}")
        problems += problems_of(image)
    if parts != [content] and sorted(image.processor for image in images) != sorted(LOG2_ALIGNMENT):
        problems.append("it does not hold each processor once")
    for problem in problems:
        print(f"macho.py: {path}: {problem}", file=sys.stderr)
    return not problems


def main(words):
    if len(words) >= 2 and words[0] == "sign":
        for path in words[1:]:
            sign(path)
        return 0
    if len(words) >= 3 and words[0] == "join":
        join(words[1], words[2:])
        return 0
    if len(words) >= 2 and words[0] == "check":
        return 0 if all([check(path) for path in words[1:]]) else 1
    print(__doc__, file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
