#!/usr/bin/env python3
"""Mutation testing: changes QuarnCore in one place at a time and runs its tests. A change that no test detects is a rule without a test.

Usage: tests/mutation/mutate.py [--count N] [--seed N] [--only PART_OF_PATH] [--build FOLDER] [--list]

Run it by hand, not in CI. It changes the source tree that contains it and restores each file; build the tests there first. Each
mutant costs one object file, one link and the tests: those of the changed file's wing first, then the others. A mutant that does
not compile is replaced by the next one. Survivors are printed at once. A survivor either lacks a test or has no observable effect;
a person must decide which.
"""

import argparse
import pathlib
import random
import re
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
SUITES = re.compile(r"^\s*(?:TEST|TEST_F|TEST_P|INSTANTIATE_TEST_SUITE_P)\((\w+)", re.M)
SECONDS = 300  # a mutant may loop forever

# Replacements of code. Operators must have spaces around them, so that template brackets, arrows and streams do not match.
RULES = [
    ("comparison", r" == ", [" != "]), ("comparison", r" != ", [" == "]),
    ("comparison", r" < ", [" <= ", " > "]), ("comparison", r" > ", [" >= ", " < "]),
    ("comparison", r" <= ", [" < "]), ("comparison", r" >= ", [" > "]),
    ("logic", r" && ", [" || "]), ("logic", r" \|\| ", [" && "]),
    ("negation", r"(?<=[( ])!(?=[\w(])", [""]), ("negation", r"(?<=if \()(?=[a-z])", ["!"]),
    ("constant", r"\btrue\b", ["false"]), ("constant", r"\bfalse\b", ["true"]),
    ("constant", r"(?<![\w.'\"])\d+(?![\w.'\"])", ["+1"]), ("arithmetic", r" \+ ", [" - "]), ("arithmetic", r" - ", [" + "]),
    ("flow", r"\bcontinue;", ["break;"]), ("flow", r"\bbreak;", ["continue;"]),
    ("sort", r"std::stable_sort\(", ["std::sort("]),
]
STATEMENT = re.compile(r"^ +(?!return\b|const\b|using\b|static\b|case\b|default\b|[}{)]|for\b|else\b|#|//|/\*)"
                       r"[\w:.>\-\[\]*()]+(?:\(.*\)| [+|&]?= [^;{]*);$")


def code_lines(text):
    """Numbers and texts of the lines of code, without comments, includes, assertions and rows of tables."""
    for number, line in enumerate(text.split("\n")):
        stripped = line.strip()
        if not stripped or stripped.startswith(("//", "#", "static_assert", "namespace", "using", "/*")):
            continue
        if re.match(r"\w+\{\.\w+ = ", stripped):
            continue
        yield number, line.split(" // ")[0]


def mutants_of(path):
    text = path.read_text(encoding="utf-8")
    for number, line in code_lines(text):
        quoted = [match.span() for match in re.finditer(r'"(?:[^"\\]|\\.)*"', line)]
        for kind, pattern, replacements in RULES:
            for match in re.finditer(pattern, line):
                if any(start < match.end() and match.start() < end for start, end in quoted):
                    continue
                for new in replacements:
                    value = str(int(match.group()) + 1) if new == "+1" else new
                    yield path, number, kind, line[: match.start()] + value + line[match.end() :]
        if STATEMENT.match(line):
            yield path, number, "statement", ""


class Mutation:
    def __init__(self, build):
        self.build = build
        self.program = build / "bin" / "core_tests"
        self.suites = {}
        for source in (ROOT / "tests/QuarnCore").rglob("*.cpp"):
            wing = source.relative_to(ROOT / "tests/QuarnCore").parts[0]
            self.suites.setdefault(wing, set()).update(SUITES.findall(source.read_text(encoding="utf-8")))

    def compile(self):
        done = subprocess.run(["cmake", "--build", self.build, "--target", "core_tests"], capture_output=True, check=False)
        return done.returncode == 0

    def tests_pass(self, pattern):
        command = [self.program, "--gtest_brief=1", "--gtest_fail_fast", f"--gtest_filter={pattern}"]
        try:
            return subprocess.run(command, capture_output=True, check=False, timeout=SECONDS).returncode == 0
        except subprocess.TimeoutExpired:
            return False

    def outcome(self, mutant):
        """"killed" or "survived"; "void" if the mutant does not compile."""
        path, number, _, line = mutant
        original = path.read_text(encoding="utf-8")
        lines = original.split("\n")
        lines[number] = line
        try:
            path.write_text("\n".join(lines), encoding="utf-8")
            if not self.compile():
                return "void"
            wing = path.relative_to(ROOT / "QuarnCore").parts[0]
            near = ":".join(f"*{suite}.*" for suite in sorted(self.suites.get(wing, {"*"})))
            return "survived" if self.tests_pass(near) and self.tests_pass("*") else "killed"
        finally:
            path.write_text(original, encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--count", type=int, default=100, help="mutants that are run (100)")
    parser.add_argument("--seed", type=int, default=1, help="which of them (1)")
    parser.add_argument("--only", default="", help="only sources whose path holds this")
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/dev")
    parser.add_argument("--list", action="store_true", help="print all mutants and run none")
    options = parser.parse_args()

    sources = sorted(path for path in (ROOT / "QuarnCore").rglob("*.cpp") if options.only in str(path))
    mutants = [mutant for path in sources for mutant in mutants_of(path)]
    random.Random(options.seed).shuffle(mutants)
    print(f"{len(mutants)} mutants in {len(sources)} files", flush=True)
    if options.list:
        for path, number, kind, line in mutants:
            print(f"{path.relative_to(ROOT)}:{number + 1}: {kind}: {line.strip()}")
        return 0
    mutation = Mutation(options.build)
    if not mutation.compile() or not mutation.tests_pass("*"):
        print("without any change the tests have to build and pass", file=sys.stderr)
        return 1
    counts = {"killed": 0, "survived": 0, "void": 0}
    started = time.monotonic()
    try:
        while mutants and counts["killed"] + counts["survived"] < options.count:
            mutant = mutants.pop()
            result = mutation.outcome(mutant)
            counts[result] += 1
            path, number, kind, line = mutant
            if result == "survived":
                print(f"survived: {path.relative_to(ROOT)}:{number + 1}: {kind}: {line.strip() or '(removed)'}", flush=True)
    finally:
        print(f"{counts} in {time.monotonic() - started:.0f} s, seed {options.seed}", flush=True)
        mutation.compile()
    return 0


if __name__ == "__main__":
    sys.exit(main())
