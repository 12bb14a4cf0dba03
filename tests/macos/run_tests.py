#!/usr/bin/env python3
"""Runs test programs that were built for macOS on x86_64, in the loader, and says of each how many tests ran.

  run_tests.py [--filter TESTS] [--part N/M] [--seconds N] BUILD LOADER PROGRAM...

BUILD is the build folder for x86_64, LOADER the macho_run of this system. A program runs in parts of about a hundred tests, one after
another, each with a limit of time (--seconds, by default 1,200); --part 2/8 runs the second of eight parts of each program. Fails when
a test fails, is skipped, does not run or does not end, and when a program has no tests. BUILD/PROGRAM.log has what the tests printed.
"""
import argparse
import collections
import os
import pathlib
import re
import signal
import subprocess
import sys
import time

TESTS_PER_PART = 100
NAMED_SLOW = 3
# Tests that cannot pass in the loader, each with what is missing there. What they test is not proven for macOS.
LEFT_OUT = {}
EVENT = re.compile(r"\[ +(RUN|OK|FAILED|SKIPPED) +\] ([^\s,]+)(?:, .*?)?(?: \((\d+) ms\))?$", re.MULTILINE)

Part = collections.namedtuple("Part", "passed failed skipped unfinished status milliseconds log")


def without_left_out(tests):
    return f"{tests}:-{':'.join(LEFT_OUT)}" if LEFT_OUT else tests


def listed_tests(start, tests):
    """Their full names, as the program lists them."""
    listed = subprocess.run([*start, "--gtest_list_tests", f"--gtest_filter={tests}"], capture_output=True, text=True, check=True)
    names, suite = [], ""
    for line in listed.stdout.splitlines():
        word = line.split("#")[0].strip()
        if line.startswith("  "):
            names.append(suite + word)
        elif word.endswith("."):
            suite = word
    return names


def run_part(start, tests, index, count, seconds):
    environment = {**os.environ, "GTEST_TOTAL_SHARDS": str(count), "GTEST_SHARD_INDEX": str(index)}
    program = subprocess.Popen([*start, "--gtest_color=no", f"--gtest_filter={tests}"], env=environment, stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT, start_new_session=True)
    try:
        log, _ = program.communicate(timeout=seconds)
    except subprocess.TimeoutExpired:
        os.killpg(program.pid, signal.SIGKILL)
        log, _ = program.communicate()
    return read_part(log.decode(errors="replace"), program.returncode)


def read_part(log, status):
    """What the log says of each test: the last event counts, and a test without one did not end."""
    states, milliseconds = {}, {}
    for event, name, took in EVENT.findall(log):
        if event == "RUN" or (took and states.get(name) == "RUN"):
            states[name] = event
            milliseconds[name] = int(took or 0)
    of = lambda *wanted: [name for name, state in states.items() if state in wanted]
    return Part(of("OK"), of("FAILED"), of("SKIPPED"), of("RUN"), status, milliseconds, log)


def describe(program, index, count, part, seconds):
    slowest = sorted(part.milliseconds, key=part.milliseconds.get, reverse=True)[:NAMED_SLOW]
    times = ", ".join(f"{name} {part.milliseconds[name] / 1000:.1f} s" for name in slowest)
    print(f"{program}, part {index + 1} of {count}: {len(part.passed)} passed in {seconds:.0f} s; slowest: {times or 'none'}", flush=True)
    for what, names in (("failed", part.failed), ("skipped", part.skipped), ("did not end", part.unfinished)):
        for name in names:
            print(f"  {what}: {name}", flush=True)


def run_program(program, arguments):
    """Whether all tests passed."""
    build = pathlib.Path(arguments.build).resolve()
    start = [os.path.realpath(arguments.loader), "--with", build / "lib/libloader_unwinder.dylib", build / "bin" / program]
    tests = without_left_out(arguments.filter)
    everything = listed_tests(start, tests)
    only, count = arguments.part or (None, max(1, -(-len(everything) // TESTS_PER_PART)))
    passed, is_good = 0, bool(everything)
    with open(build / f"{program}.log", "w", encoding="utf-8") as log:
        for index in range(count) if only is None else [only - 1]:
            started = time.monotonic()
            part = run_part(start, tests, index, count, arguments.seconds)
            describe(program, index, count, part, time.monotonic() - started)
            log.write(part.log)
            log.flush()
            passed += len(part.passed)
            is_good &= part.status == 0 and not (part.failed or part.skipped or part.unfinished)
    expected = len(everything) if only is None else len(everything[only - 1 :: count])
    print(f"{program} for macOS: {passed} of {expected} passed", flush=True)
    return is_good and passed == expected


def part_of(text):
    number, count = (int(word) for word in text.split("/"))
    if not 1 <= number <= count:
        raise ValueError(text)
    return number, count


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--filter", default="*")
    parser.add_argument("--part", type=part_of)
    parser.add_argument("--seconds", type=int, default=1200)
    parser.add_argument("build")
    parser.add_argument("loader")
    parser.add_argument("programs", nargs="+")
    arguments = parser.parse_args()
    for name, why in LEFT_OUT.items():
        print(f"not run in the loader: {name}: {why}")
    results = [run_program(program, arguments) for program in arguments.programs]
    return 0 if all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
