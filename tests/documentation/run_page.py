"""Runs the examples of a documentation page and compares their output with the page.

Usage: run_page.py --prefix PREFIX [--update] [--on-the-mac SAMPLE] PAGE

PREFIX is an installation; its command is the `quarn` of the page. Everything runs in a new folder. The language of a block
determines what to do with it:

  sh         commands; each must exit with status 0, the output is not compared
  console    "$ command" ("> " continues it), then its exact output, including standard error. A line "…" matches any
             lines. A command that fails must be followed by "$ echo $?".
  jsonrpc    a conversation with `quarn rpc` on the sample volume: "> " is sent, "< " is the expected response
  LANG FILE  the content of that file, for the following commands; blocks with the same file are concatenated

"<!-- run: COMMAND -->" runs a command that the page does not show. Errors: any other block, a dead link, and a page without
blocks that is not listed in PAGES_WITHOUT_BLOCKS. --update replaces the output of console blocks without "…".

--on-the-mac: the page is written for a Mac. The sample volume at SAMPLE replaces its disk and the volume at /mnt/mac.
"""

import argparse
import base64
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

# Pages without examples.
PAGES_WITHOUT_BLOCKS = {"CHANGELOG.md", "CONTRIBUTING.md", "SECURITY.md", "architecture.md", "comparison.md", "decisions.md",
                        "dependencies.md", "macos.md", "measurements.md", "performance.md", "recall.md", "security.md"}

FENCE = re.compile(r"^```(\S*) ?(.*)$")
PREPARATION = re.compile(r"^<!-- run: (.*) -->$")
DATE = re.compile(r'"inspectedAt":"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ"')
# 141: SIGPIPE, because `head` closed the pipe.
ENDED_WELL = (0, 141)
MARK = "\x1fend of command"

ON_THE_MAC = """#!/bin/bash
# Replaces quarn: inspects the sample volume as if it were the disk of a Mac.
words=() named=
for word in "$@"; do
  case $word in
    /mnt/mac) word=$SAMPLE ;;
    "$HOME") word=/Users/ann ;;
    "$HOME"/*) word=/Users/ann${word#"$HOME"} ;;
    --volume|--scan|diff) named=yes ;;
  esac
  words+=("$word")
done
home=(--home /Users/ann)
case " $* " in *" --all-users "*) home=() ;; esac
[ -n "$named" ] || [ "$1" = sample ] || words=(--volume "$SAMPLE" "${home[@]}" "${words[@]}")
case " $* " in *" --volume /mnt/mac "*) [[ " $* " = *" --home "* ]] || words+=("${home[@]}") ;; esac
case " $* " in *" browse "*) exec python3 "$ON_TERMINAL" "$QUARN" "${words[@]}" ;; esac
exec "$QUARN" "${words[@]}"
"""


class PageError(Exception):
    """The page is invalid; the message names the line."""


class Block:
    def __init__(self, line, language, name):
        self.line, self.language, self.name, self.lines = line, language, name, []


def blocks_of(text):
    """The blocks and hidden commands of a page, in order."""
    blocks, open_block, previous = [], None, ""
    for number, line in enumerate(text.splitlines(), 1):
        fence = FENCE.match(line)
        if open_block is not None:
            if line == "```":
                blocks.append(open_block)
                open_block = None
            else:
                open_block.lines.append(line)
        elif fence:
            open_block = Block(number, fence.group(1), fence.group(2))
        elif PREPARATION.match(line):
            blocks.append(Block(number, "run", ""))
            blocks[-1].lines.append(PREPARATION.match(line).group(1))
        elif line.lstrip().startswith(("```", "~~~")) or (line.startswith("    ") and previous == ""):
            raise PageError(f"line {number}: an indented block does not run; fence it at the beginning of the line")
        previous = line
    if open_block is not None:
        raise PageError(f"line {open_block.line}: the block is not closed")
    return blocks


def check_links(page, text):
    prose = re.sub(r"^```.*?^```$", "", text, flags=re.MULTILINE | re.DOTALL)
    for target in re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", prose):
        if not (page.parent / target).exists():
            raise PageError(f"dead link to {target}")


class Shell:
    """One bash for the whole page, so that folders and variables persist."""

    def __init__(self, folder, environment):
        self.process = subprocess.Popen(["bash", "--norc"], cwd=folder, env=environment, stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self._send("set -o pipefail; quarn_status=0")

    def _send(self, line):
        self.process.stdin.write(line.encode() + b"\n")
        self.process.stdin.flush()

    def run(self, command):
        """Runs a command and returns its output and its status."""
        coded = base64.b64encode(command.encode()).decode()
        self._send(f"quarn_command=$(base64 -d <<< {coded}); (exit $quarn_status); eval \"$quarn_command\" < /dev/null; "
                   f"quarn_status=$?; printf '\\n{MARK} %d\\n' $quarn_status")
        output = b""
        while not (end := re.search(b"\n" + MARK.encode() + rb" (\d+)\n$", output)):
            piece = self.process.stdout.readline()
            if not piece:
                raise PageError(f"the shell exited at: {command}")
            output += piece
        return output[: end.start()].decode(errors="replace"), int(end.group(1))

    def close(self):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.wait()


class Conversation:
    """One `quarn rpc` for the whole page, started on first use."""

    def __init__(self, command, folder, environment):
        words = [command, "--volume", "mac", "--home", "/Users/ann", "rpc"]
        self.process = subprocess.Popen(words, cwd=folder, env=environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE)

    def send(self, line):
        self.process.stdin.write(line.encode() + b"\n")
        self.process.stdin.flush()

    def receive(self):
        return self.process.stdout.readline().decode().rstrip("\n")

    def close(self):
        rest, _ = self.process.communicate()
        return rest.decode(), self.process.returncode


def commands_of(block):
    """The pairs (command, expected lines) of a console block."""
    commands = []
    for line in block.lines:
        if line.startswith("$ "):
            commands.append(([line[2:]], []))
        elif not commands:
            raise PageError(f"line {block.line}: the block must begin with a command")
        elif line.startswith("> ") and not commands[-1][1]:
            commands[-1][0].append(line[2:])
        else:
            commands[-1][1].append(line)
    if not commands:
        raise PageError(f"line {block.line}: the block is empty")
    return [("\n".join(command), expected) for command, expected in commands]


def matches(expected, output):
    pattern = "".join(r"(?:.*\n)*?" if line == "…" else re.escape(line) + r"\n" for line in expected)
    return re.fullmatch(pattern, output if output.endswith("\n") or not output else output + "\n") is not None


class PageRun:
    def __init__(self, page, prefix, sample, folder):
        self.page = page
        self.folder = pathlib.Path(folder) / "work"
        self.home = pathlib.Path(folder) / "home"
        self.program = str(prefix / "bin" / "quarn")
        self.problems, self.counts, self.files = [], {}, set()
        self.conversation = None
        (self.home / ".local/share/bash-completion/completions").mkdir(parents=True)
        self.folder.mkdir()
        self.environment = {
            "PATH": f"{prefix}/bin:{os.environ['PATH']}", "HOME": str(self.home), "LC_ALL": "C.UTF-8", "TERM": "dumb",
            "CMAKE_PREFIX_PATH": str(prefix), **{name: os.environ[name] for name in ("CXX", "CXXFLAGS") if name in os.environ},
            "PKG_CONFIG_PATH": ":".join(str(file.parent) for file in prefix.glob("lib/**/quarncore.pc")),
        }
        if sample:
            self.pretend(folder, sample)
        self.shell = Shell(self.folder, self.environment)

    def pretend(self, folder, sample):
        profiles = self.folder / "my-profiles"
        profiles.mkdir()
        shutil.copy(pathlib.Path(self.program).parent.parent / "share/quarn/vendors/slack.json", profiles)
        stand_in = pathlib.Path(folder) / "bin" / "quarn"
        stand_in.parent.mkdir()
        stand_in.write_text(ON_THE_MAC)
        stand_in.chmod(0o755)
        self.environment.update(SAMPLE=str(sample), QUARN=self.program,
                                ON_TERMINAL=str(pathlib.Path(__file__).resolve().parent / "on_terminal.py"),
                                PATH=f"{stand_in.parent}:{self.environment['PATH']}")

    def do(self, block):
        """Runs a block and returns the lines that it should contain."""
        self.counts[block.language] = self.counts.get(block.language, 0) + 1
        if block.name:
            self.write(block)
        elif block.language in ("sh", "run"):
            self.run(block)
        elif block.language == "console":
            return self.compare(block)
        elif block.language == "jsonrpc":
            self.converse(block)
        else:
            raise PageError(f'line {block.line}: "{block.language}" is an unknown language, and the block names no file')
        return block.lines

    def write(self, block):
        if "/" in block.name:
            raise PageError(f"line {block.line}: {block.name} must be a file name without a folder")
        with open(self.folder / block.name, "a" if block.name in self.files else "w", encoding="utf-8") as file:
            file.write("\n".join(block.lines) + "\n")
        self.files.add(block.name)

    def run(self, block):
        commands = "\n".join(block.lines).replace("\\\n", " ").splitlines()
        for command in filter(None, commands):
            output, status = self.shell.run(command)
            if status not in ENDED_WELL:
                self.fail(block, f"{command}\nexited with {status}:\n{output}")

    def compare(self, block):
        lines, commands = [], commands_of(block)
        for index, (command, expected) in enumerate(commands):
            output, status = self.shell.run(command)
            is_told = index + 1 < len(commands) and commands[index + 1][0] == "echo $?"
            if status not in ENDED_WELL and not is_told:
                self.fail(block, f"{command}\nexited with {status}, but the page does not show it:\n{output}")
            lines.append("$ " + command.replace("\n", "\n> "))
            lines += expected if "…" in expected else output.splitlines()
            if not matches(expected, output):
                self.fail(block, f"{command}\nshould print:\n" + "\n".join(expected) + f"\nbut prints:\n{output}")
        return lines

    def converse(self, block):
        if self.conversation is None:
            self.shell.run("[ -e mac ] || quarn sample mac")
            self.conversation = Conversation(self.program, self.folder, self.environment)
        for line in block.lines:
            if line.startswith("> "):
                self.conversation.send(line[2:])
            elif not line.startswith("< "):
                raise PageError(f"line {block.line}: expected "> " or "< ", got: {line}")
            elif (received := DATE.sub("a date", self.conversation.receive())) != DATE.sub("a date", line[2:]):
                self.fail(block, f"expected:\n{line[2:]}\nreceived:\n{received}")

    def fail(self, block, problem):
        self.problems.append(f"{self.page}:{block.line}: {problem}")

    def close(self):
        self.shell.close()
        if self.conversation is not None:
            rest, status = self.conversation.close()
            if rest or status != 0:
                self.problems.append(f"{self.page}: the conversation exited with {status} and: {rest}")


def updated(text, blocks, results):
    """The page with new console output."""
    lines = text.splitlines()
    for block, result in reversed(list(zip(blocks, results))):
        if block.language == "console":
            lines[block.line : block.line + len(block.lines)] = "\n".join(result).splitlines()
    return "\n".join(lines) + "\n"


def run_page(page, prefix, update=False, sample=None):
    """Returns the problems of the page and the number of blocks per language. Raises PageError."""
    text = page.read_text(encoding="utf-8")
    check_links(page, text)
    blocks = blocks_of(text)
    if any(block.language != "run" for block in blocks) == (page.name in PAGES_WITHOUT_BLOCKS):
        raise PageError("a page must have blocks or be listed in PAGES_WITHOUT_BLOCKS")
    with tempfile.TemporaryDirectory(prefix="quarn-page-") as folder:
        run = PageRun(page, prefix.resolve(), sample, folder)
        try:
            results = [run.do(block) for block in blocks]
        finally:
            run.close()
    if update:
        page.write_text(updated(text, blocks, results), encoding="utf-8")
    return [] if update else run.problems, run.counts


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--prefix", type=pathlib.Path, required=True)
    parser.add_argument("--update", action="store_true")
    parser.add_argument("--on-the-mac", type=pathlib.Path, metavar="SAMPLE")
    parser.add_argument("page", type=pathlib.Path)
    options = parser.parse_args()
    try:
        problems, counts = run_page(options.page, options.prefix, options.update, options.on_the_mac)
    except PageError as error:
        sys.exit(f"{options.page}: {error}")
    print("\n".join(problems) or f"{options.page}: {counts}")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
