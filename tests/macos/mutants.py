#!/usr/bin/env python3
"""Breaks one rule of the files for macOS at a time and looks whether their tests see it.

  mutants.py BUILD

Run it in a tree without changes of your own: each mutant is written into the source, built and taken back. Prints each
mutant and those that survived; a survivor that EXPECTED does not list fails the run, and so does an expected one that was
seen.
"""
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
FILES = ROOT / "QuarnPlatform/files"
TESTS = ("DirectoryReader*:FolderOpen*:VolumeGroup*:OnlyInCloud*:PrivacyProtection*:FileManager*:PathWalk*:Packages*:"
         "RunningSystem*:ReadReport*:EachDeviceCheck*:*FolderOpening*")

# file, what is there, what is put in its place
MUTANTS = [
    ("DirectoryReader_darwin.cpp", "S_ISLNK(mode) ? FileType::symbolicLink", "S_ISLNK(mode) ? FileType::other"),
    ("DirectoryReader_darwin.cpp", "case VLNK: return FileType::symbolicLink;", "case VLNK: return FileType::other;"),
    ("DirectoryReader_darwin.cpp", "::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0",
     "::fstatat(folder, name, &status, 0) == 0"),
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
    ("Volume_darwin.cpp", "!S_ISLNK(status.st_mode) || links == Links::doNotFollow", "true"),
    ("Volume_darwin.cpp", "::geteuid() == 0 ? std::getenv(\"SUDO_UID\") : nullptr", "nullptr"),
    ("Volume_darwin.cpp", "end != caller && *end == '\\0'", "end != caller"),
    ("Volume_darwin.cpp", "if (error == 0 && !S_ISLNK(status.st_mode)) return std::string(path);",
     "if (error == 0) return std::string(path);"),
    ("FinderInfo_darwin.cpp", "kFlagsOffset = 8", "kFlagsOffset = 9"),
    ("FinderInfo_darwin.cpp", "kBundleBitInFirstByte = 0x20", "kBundleBitInFirstByte = 0x40"),
    ("ProcessPolicies_darwin.cpp", "IOPOL_MATERIALIZE_DATALESS_FILES_OFF) == 0", "0) == 0"),
    ("UnreadableCause_darwin.cpp", "case EPERM: return UnreadableCause::privacy;", "case EPERM: return UnreadableCause::permission;"),
    ("UnreadableCause_darwin.cpp", "case EDEADLK: return UnreadableCause::onlyInCloud;", ""),
]
# What no test here can see, each with the reason.
EXPECTED = {
    "nameOf(*place), flags | O_NOFOLLOW": "shows only when a link takes the item's place between two calls",
}


def is_seen(build):
    built = subprocess.run(["cmake", "--build", build, "--target", "darwin_platform_tests"], capture_output=True, text=True,
                           check=False)
    if built.returncode != 0:
        print(built.stdout[-800:])
        return True, "does not compile"
    program = pathlib.Path(build) / "bin/darwin_platform_tests"
    try:
        done = subprocess.run([program, "--gtest_brief=1", f"--gtest_filter={TESTS}"], capture_output=True, text=True,
                              timeout=300, check=False)
    except subprocess.TimeoutExpired:
        return True, "a test did not end"
    failed = [line.split()[3] for line in done.stdout.splitlines() if line.startswith("[  FAILED  ]") and "(" in line]
    return done.returncode != 0, failed[0] if failed else f"ended with {done.returncode}"


def main(build):
    surprises = survivors = 0
    for name, old, new in MUTANTS:
        file = FILES / name
        original = file.read_text(encoding="utf-8")
        if original.count(old) != 1:
            print(f"{name}: {old!r} is there {original.count(old)} times", file=sys.stderr)
            return 2
        try:
            file.write_text(original.replace(old, new), encoding="utf-8")
            seen, how = is_seen(build)
        finally:
            file.write_text(original, encoding="utf-8")
        survivors += not seen
        surprises += seen == (old in EXPECTED)
        print(f"{'seen    ' if seen else 'SURVIVED'} {name}: {old} -> {new or 'nothing'}: {how}", flush=True)
    print(f"{len(MUTANTS)} mutants, {survivors} survived")
    return 1 if surprises else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
