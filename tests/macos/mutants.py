#!/usr/bin/env python3
"""Breaks one rule of the files for macOS at a time and looks whether their tests see it.

  mutants.py BUILD

BUILD is a build folder in which darwin_platform_tests is built. Prints for each mutant which test saw it, or that it survived. A
survivor that EXPECTED does not list fails the run, and so does an expected one that was seen.
"""
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
FILES = ROOT / "QuarnPlatform/files"
TESTS = ("DirectoryReader*:FolderOpen*:VolumeGroup*:OnlyInCloud*:PrivacyProtection*:FileManager*:PathWalk*:Packages*:"
         "RunningSystem*:ReadReport*:EachDeviceCheck*:*FolderOpening*:AccessTimes*:Listing*")

# file, what is there, what is put in its place
MUTANTS = [
    ("DirectoryReader_darwin.cpp", "S_ISLNK(mode) ? FileType::symbolicLink", "S_ISLNK(mode) ? FileType::other"),
    ("DirectoryReader_darwin.cpp", "case VLNK: return FileType::symbolicLink;", "case VLNK: return FileType::other;"),
    ("DirectoryReader_darwin.cpp", "return ::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW);", "return ::fstatat(folder, name, &status, 0);"),
    ("DirectoryReader_darwin.cpp", "errno == ENOENT ? std::nullopt", "errno == EIO ? std::nullopt"),
    ("DirectoryReader_darwin.cpp", "if ((flags & SF_DATALESS) != 0) allocated = 0;", ""),
    ("DirectoryReader_darwin.cpp", "place.attr_length - 1", "place.attr_length"),
    ("DirectoryReader_darwin.cpp", "fields.takeIf<std::uint32_t>(isReturned(ATTR_CMN_ERROR));", ""),
    ("DirectoryReader_darwin.cpp", "(flags & UF_HIDDEN) != 0 ? HiddenFlag::set", "false ? HiddenFlag::set"),
    ("DirectoryReader_darwin.cpp", "entry.sizes.reset();", ""),
    ("DirectoryReader_darwin.cpp", "facts == EnumeratedFacts::sizes ? kSizes : 0", "kSizes"),
    ("DirectoryReader_darwin.cpp", "count < 0 && errno == EACCES &&", "count < 0 && errno == EIO &&"),
    ("DirectoryReader_darwin.cpp", "if (count < 0) state_->error = errno;", ""),
    ("DirectoryReader_darwin.cpp", "if (!S_ISREG(status.st_mode) || !found) {", "if (!found) {"),
    ("FolderOpener_darwin.cpp", "O_RDONLY | O_DIRECTORY | O_NOFOLLOW |", "O_RDONLY | O_DIRECTORY |"),
    ("FolderOpener_darwin.cpp", "kSearchOnly = O_SEARCH |", "kSearchOnly = O_RDONLY |"),
    ("FolderOpener_darwin.cpp", "found.device != device_ ||", ""),
    ("FolderOpener_darwin.cpp", "realDeviceOf(parent) != realDeviceOf(folder)", "true"),
    ("FolderOpener_darwin.cpp", "inode == kRootOfVolume &&", ""),
    ("FolderOpener_darwin.cpp", "return inode == kRootOfVolume && realDeviceOf(parent) != realDeviceOf(folder);", "return false;"),
    ("Volume_darwin.cpp", "isOnlyInCloud ? 0 : static_cast", "false ? 0 : static_cast"),
    ("Volume_darwin.cpp", ".isOnlyInCloud = isOnlyInCloud", ".isOnlyInCloud = false"),
    ("Volume_darwin.cpp", "flags | O_NOFOLLOW_ANY", "flags"),
    ("Volume_darwin.cpp", "AT_SYMLINK_NOFOLLOW | AT_SYMLINK_NOFOLLOW_ANY", "AT_SYMLINK_NOFOLLOW"),
    ("Volume_darwin.cpp", "path.size() < kLongestSystemPath && path::isPlain(path)", "path::isPlain(path)"),
    ("Volume_darwin.cpp", "path.size() < kLongestSystemPath && path::isPlain(path)", "path.size() < kLongestSystemPath"),
    ("Volume_darwin.cpp", "nameOf(*place), flags | O_NOFOLLOW", "nameOf(*place), flags"),
    ("Volume_darwin.cpp", "accessTimes_ == AccessTimes::keepOrFail && !processKeepsAccessTimes()", "false"),
    ("Volume_darwin.cpp", "if (how.isReadOnly || how.keepsAccessTimes) accessTimes_ = AccessTimes::keepIfPermitted;", ""),
    ("Volume_darwin.cpp", "how.isReadOnly || how.keepsAccessTimes", "how.keepsAccessTimes"),
    ("Volume_darwin.cpp", "how.isReadOnly || how.keepsAccessTimes", "how.isReadOnly"),
    ("Volume_darwin.cpp", ".mayKeepAccessTimes = processKeepsAccessTimes()", ".mayKeepAccessTimes = true"),
    ("Volume_darwin.cpp", "if (found->type != FileType::regular) return {.descriptor = {}, .error = EINVAL};", ""),
    ("Volume_darwin.cpp", "if (found->type == FileType::directory) return {.descriptor = {}, .error = EISDIR};", ""),
    ("Volume_darwin.cpp", "status.st_ino == expected.inode) return file;", "true) return file;"),
    ("Volume_darwin.cpp", ".modifiedSeconds = status.st_mtime", ".modifiedSeconds = status.st_ctime"),
    ("Volume_darwin.cpp", "!S_ISLNK(status.st_mode) || links == Links::doNotFollow", "true"),
    ("Volume_darwin.cpp", "::geteuid() == 0 ? std::getenv(\"SUDO_UID\") : nullptr", "nullptr"),
    ("Volume_darwin.cpp", "end != caller && *end == '\\0'", "end != caller"),
    ("Volume_darwin.cpp", "if (error == 0 && !S_ISLNK(status.st_mode)) return std::string(path);",
     "if (error == 0) return std::string(path);"),
    ("FinderInfo_darwin.cpp", "kFlagsOffset = 8", "kFlagsOffset = 9"),
    ("FinderInfo_darwin.cpp", "kBundleBitInFirstByte = 0x20", "kBundleBitInFirstByte = 0x40"),
    ("ProcessPolicies_darwin.cpp", "IOPOL_ATIME_UPDATES_OFF) == 0", "0) == 0"),
    ("ProcessPolicies_darwin.cpp", "IOPOL_MATERIALIZE_DATALESS_FILES_OFF) == 0", "0) == 0"),
    ("UnreadableCause_darwin.cpp", "case EPERM: return UnreadableCause::privacy;", "case EPERM: return UnreadableCause::permission;"),
    ("UnreadableCause_darwin.cpp", "case EDEADLK: return UnreadableCause::onlyInCloud;", ""),
    ("UnreadableCause_darwin.cpp", "case EFBIG: return UnreadableCause::limit;", ""),
]
# What no test here can see, each with the reason.
EXPECTED = {
    "status.st_ino == expected.inode) return file;": "shows only when another item takes the place between two calls",
}


class Build:
    """Compiles a changed copy of one source and links the tests with it. The sources and the build stay as they are."""

    def __init__(self, folder, scratch):
        self.folder, self.scratch = pathlib.Path(folder).resolve(), scratch
        self.program = scratch / "tests"
        listed = subprocess.run(["ninja", "-C", self.folder, "-t", "commands", "bin/darwin_platform_tests"],
                                capture_output=True, text=True, check=True)
        self.commands = [line for line in listed.stdout.splitlines() if "darwin_platform_tests.dir" in line]

    def make(self, name, text):
        source, item = self.scratch / name, self.scratch / (name + ".o")
        source.write_text(text, encoding="utf-8")
        compiling = next(line for line in self.commands if f" -c " in line and line.endswith("/" + name))
        linking = self.commands[-1]
        normal = re.search(r" -o (\S+) -c (\S+)$", compiling)
        compiling = compiling.removesuffix(normal[0]) + f" -w -o {item} -c {source}"
        linking = linking.replace(f" {normal[1]} ", f" {item} ").replace("-o bin/darwin_platform_tests", f"-o {self.program}")
        for command in (compiling, linking):
            done = subprocess.run(command, shell=True, cwd=self.folder, capture_output=True, text=True, check=False)
            if done.returncode != 0:
                print(done.stderr[:800])
                return False
        return True


def is_seen(build, name, text):
    if not build.make(name, text):
        return False, "does not compile"
    try:
        done = subprocess.run([build.program, "--gtest_brief=1", "--gtest_fail_fast", f"--gtest_filter={TESTS}"],
                              capture_output=True, text=True, timeout=600, check=False)
    except subprocess.TimeoutExpired:
        return True, "a test did not end"
    failed = [line.split()[3] for line in done.stdout.splitlines() if line.startswith("[  FAILED  ]") and "(" in line]
    return done.returncode != 0, failed[0] if failed else f"ended with {done.returncode}"


def main(folder):
    surprises = survivors = 0
    with tempfile.TemporaryDirectory() as scratch:
        build = Build(folder, pathlib.Path(scratch))
        for name, old, new in MUTANTS:
            original = (FILES / name).read_text(encoding="utf-8")
            if original.count(old) != 1:
                print(f"{name}: {old!r} is there {original.count(old)} times", file=sys.stderr)
                return 2
            seen, how = is_seen(build, name, original.replace(old, new))
            survivors += not seen
            surprises += seen == (old in EXPECTED)
            print(f"{'seen    ' if seen else 'SURVIVED'} {name}: {old} -> {new or 'nothing'}: {how}", flush=True)
    print(f"{len(MUTANTS)} mutants, {survivors} survived")
    return 1 if surprises else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
