#!/usr/bin/env python3
"""Runs the test programs of a build where the system gives less, and prints a table.

Usage: run.py --build BUILD_FOLDER [--ways NAMES] [--programs NAMES] [--filter GTEST_FILTER]

The ways: `enosys` (openat2 answers ENOSYS, as on kernels before 5.6 and in some sandboxes), `user` (an ordinary user;
needs root to change to it), `descriptors` (20 of them), `memory` (256 MiB of data). Names are separated by commas.
A way applies to the test program and to the commands that it starts. Exits with 1 if a test fails.
"""

import argparse
import ctypes
import os
import pathlib
import re
import resource
import struct
import subprocess
import sys
import tempfile
import time

PROGRAMS = ["models_tests", "platform_tests", "system_tests", "core_tests", "corpora_tests", "quarn_tests_program"]
NOBODY = 65534
DESCRIPTORS = 20
DATA_BYTES = 256 << 20

PR_SET_NO_NEW_PRIVS, PR_SET_SECCOMP, SECCOMP_MODE_FILTER = 38, 22, 2
OPENAT2, ENOSYS = 437, 38


def without_openat2():
    """Installs a filter that answers ENOSYS to openat2, for this process and all that it starts."""
    library = ctypes.CDLL(None, use_errno=True)
    lines = [(0x20, 0, 0, 0),                    # load the call's number
             (0x15, 0, 1, OPENAT2),              # is it openat2?
             (0x06, 0, 0, 0x00050000 | ENOSYS),  # answer ENOSYS
             (0x06, 0, 0, 0x7FFF0000)]           # allow all others
    code = ctypes.create_string_buffer(b"".join(struct.pack("HBBI", *line) for line in lines))
    program = struct.pack("HxxxxxxQ", len(lines), ctypes.addressof(code))
    if library.prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) or library.prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, program):
        raise OSError(ctypes.get_errno(), "cannot install the filter")


def as_ordinary_user():
    os.setgroups([])
    os.setgid(NOBODY)
    os.setuid(NOBODY)


def with_few_descriptors():
    resource.setrlimit(resource.RLIMIT_NOFILE, (DESCRIPTORS, DESCRIPTORS))


def with_little_memory():
    resource.setrlimit(resource.RLIMIT_DATA, (DATA_BYTES, DATA_BYTES))


WAYS = {"enosys": without_openat2, "user": as_ordinary_user, "descriptors": with_few_descriptors,
        "memory": with_little_memory}
# Tests that cannot run in a way, whatever the command does.
LEFT_OUT = {
    "descriptors": {"ReportInBrowser.*": "a browser needs more descriptors"},
    "memory": {"ReportInBrowser.*": "a browser needs more memory",
               "Transport.ALineOf*": "the test itself holds the largest allowed line several times",
               "Transport.ABatchWhose*": "passes alone; after 700 tests the test program itself is too large"},
}


def run(program, way, sample, arguments):
    """The numbers of passed, skipped and failed tests, and the names of the failed ones."""
    environment = {**os.environ, "QUARN_TEST_SAMPLE": sample, "QUARN_CONFIG": ""}
    chosen = ":-".join([arguments.filter, ":".join(LEFT_OUT.get(way, {}))]).removesuffix(":-")
    command = [str(program), "--gtest_filter=" + chosen, "--gtest_color=no"]
    try:
        found = subprocess.run(command, env=environment, capture_output=True, preexec_fn=WAYS[way], cwd="/", check=False)
    except PermissionError:
        return 0, 0, [f"{program} cannot be started in this way: it lies below a folder that is closed to the user"], ""
    text = found.stdout.decode(errors="replace")

    def number(state):
        match = re.search(rf"^\[\s*{state}\s*\] (\d+) test", text, re.MULTILINE)
        return int(match.group(1)) if match else 0

    failed = sorted(set(re.findall(r"^\[  FAILED  \] (\S+\.\S+?)(?:,| \(|$)", text, re.MULTILINE)))
    if found.returncode != 0 and not failed:
        lines = re.findall(r"^\[ RUN      \] (\S+)", text, re.MULTILINE) or ["start"]
        failed = [f"{lines[-1]} (ended with {found.returncode})"]
    return number("PASSED"), number("SKIPPED"), failed, text


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", required=True, type=pathlib.Path)
    parser.add_argument("--ways", default=",".join(WAYS))
    parser.add_argument("--programs", default=",".join(PROGRAMS))
    parser.add_argument("--filter", default="*")
    arguments = parser.parse_args()
    build = arguments.build.resolve()
    logs = build / "confined"
    logs.mkdir(exist_ok=True)
    any_failed = False
    with tempfile.TemporaryDirectory(prefix="quarn-confined-") as folder:
        os.chmod(folder, 0o755)
        sample = folder + "/sample"
        subprocess.run([build / "bin" / "quarn", "sample", sample], check=True, stdout=subprocess.DEVNULL)
        print(f"{'way':<14}{'program':<22}{'passed':>8}{'skipped':>9}{'failed':>8}{'time':>9}", flush=True)
        for way in arguments.ways.split(","):
            if way == "user" and os.geteuid() != 0:
                print(f"{way:<14}all tests of this run are an ordinary user's")
                continue
            for tests, reason in LEFT_OUT.get(way, {}).items():
                print(f"{way:<14}without {tests}: {reason}")
            for name in arguments.programs.split(","):
                started = time.monotonic()
                passed, skipped, failed, text = run(build / "bin" / name, way, sample, arguments)
                (logs / f"{way}-{name}.log").write_text(text)
                seconds = time.monotonic() - started
                print(f"{way:<14}{name:<22}{passed:>8}{skipped:>9}{len(failed):>8}{seconds:>7.0f} s", flush=True)
                for test in failed:
                    print("   ", test, flush=True)
                any_failed = any_failed or bool(failed) or passed == 0
    return 1 if any_failed else 0


if __name__ == "__main__":
    sys.exit(main())
