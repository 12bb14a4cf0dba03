#!/usr/bin/env python3
"""Attacks the command with the hostile volume and prints a table: attacks, cases, failures, peak memory, seconds.

Usage: run.py --quarn PROGRAM --shim FAULT_SHIM --folder NEW_FOLDER [--seconds N] [--names N] [--only NAME]

Every command runs over the hostile volume under limits of time and memory, in each of the ways of `ways()`, and while
another process swaps items of the volume (`races`). Other rows make one system call at a time fail (`faults`), and read
a folder of a million names (`names`). A case fails when the command is ended by a signal or by the time limit, uses more
memory than allowed, ends with an exit code that means nothing, has an internal error, changes the volume, or opens the
canary: a folder beside the volume. Links in the volume and the swaps try to lead to it.
"""

import argparse
import ctypes
import json
import os
import pathlib
import resource
import select
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import threading
import time

HOME = "/Users/ann"
MEBIBYTE = 1 << 20
MEMORY = 256 * MEBIBYTE
NO_MEMORY = b"not enough memory"
SECONDS = 180
NOBODY = 65534

COMMANDS = [
    ["apps"], ["apps", "--sizes"], ["inspect", "Good"], ["inspect", "--all", "--ndjson"], ["plan", "Good"], ["storage"],
    ["storage", "documents"], ["storage", "apps"], ["top"], ["top", "--children"], ["top", "--category", "systemData"],
    ["cloud"], ["jobs"], ["receipts"], ["receipts", "--of", "/Applications/Good.app"], ["kexts", "--include-macos"],
    ["leftovers"], ["owner", "/Users/ann/Library/Caches/com.example.good"], ["plan", "Good", "--whole-volume"],
    ["vendors", "--match", "Good"], ["report", "-o", "-"], ["report", "Good", "-o", "-"], ["apps", "--json"],
    ["storage", "--json"], ["jobs", "--json"], ["receipts", "--json"], ["inspect", "Good", "--json"],
    ["scan", "-o", "SCAN"],
]

# Asked after the scan, without the volume.
OF_SCAN = [["diff", "SCAN", "SCAN"]] + [[*words, "--scan", "SCAN"] for words in (
    ["apps", "--sizes"], ["storage"], ["top", "/", "--limit", "100"], ["top", "/", "--children"], ["leftovers", "--size"],
    ["inspect", "--all"], ["report", "-o", "-"])]

METHODS = [
    ("AppsService.discoverApps", {}), ("LaunchdScanner.scan", {}), ("ReceiptScanner.allReceipts", {}),
    ("StorageDashboardService.calculatePartitionedCategorySizes", {}), ("no such method", {}),
]


class Canary:
    """A folder that nothing may open: every opening and reading in it is recorded, with the process that did it.

    Root hears of the process (fanotify), so that another program which walks the disk meanwhile is no failure. An ordinary
    user hears of the item only (inotify), and every opening counts.
    """

    OPENED = 0x20 | 0x1  # FAN_OPEN and FAN_ACCESS; IN_OPEN and IN_ACCESS have the same values
    MARK_ADD, ON_FOLDERS_AND_CHILDREN, AT_WORKING_FOLDER = 1, 0x40000000 | 0x08000000, -100

    def __init__(self, folder):
        self.folder = folder
        (folder / "inner").mkdir(parents=True)
        (folder / "Info.plist").write_text("<plist><dict><key>CFBundleName</key><string>CANARY</string></dict></plist>")
        (folder / "inner" / "secret").write_text("CANARY" * 1000)
        self.library = ctypes.CDLL(None, use_errno=True)
        self.opened, self.lock = [], threading.Lock()
        self.notify = self.library.fanotify_init(0x1 | 0x2, os.O_RDONLY | os.O_CLOEXEC)
        self.names_processes = self.notify >= 0
        if not self.names_processes:
            self.notify = self.library.inotify_init1(os.O_NONBLOCK | os.O_CLOEXEC)
        for watched in (folder, folder / "inner"):
            self.watch(str(watched).encode())
        # At once, because a process that has ended can no longer be asked whose it was.
        threading.Thread(target=self.listen, daemon=True).start()

    def watch(self, path):
        if self.names_processes:
            mask = ctypes.c_uint64(self.OPENED | self.ON_FOLDERS_AND_CHILDREN)
            error = self.library.fanotify_mark(self.notify, self.MARK_ADD, mask, self.AT_WORKING_FOLDER, path)
        else:
            error = self.library.inotify_add_watch(self.notify, path, self.OPENED)
        if error < 0:
            sys.exit(f"the canary cannot be watched: {os.strerror(ctypes.get_errno())}")

    def listen(self):
        while True:
            select.select([self.notify], [], [])
            with self.lock:
                self.take_in()

    def take_in(self):
        while select.select([self.notify], [], [], 0)[0]:
            data = os.read(self.notify, 65536)
            while data:
                if self.names_processes:
                    length, _, _, _, _, descriptor, process = struct.unpack_from("=IBBHQii", data)
                    path = os.readlink(f"/proc/self/fd/{descriptor}")
                    os.close(descriptor)
                    self.opened.append((path, process, session_of(process)))
                else:
                    length = 16 + struct.unpack_from("iIII", data)[3]
                    self.opened.append((data[16:length].rstrip(b"\0").decode(), None, None))
                data = data[length:]

    def touched(self, process=None):
        """What `process`, which leads a session, or an unknown process has opened since the last call."""
        with self.lock:
            self.take_in()
            opened, self.opened = self.opened, []
        return [(path, by) for path, by, session in opened if session in (None, process)]


def session_of(process):
    """None for a process that has ended."""
    try:
        return os.getsid(process)
    except ProcessLookupError:
        return None


def limits(descriptors, data_bytes, user):
    def apply():
        os.setsid()
        if descriptors:
            resource.setrlimit(resource.RLIMIT_NOFILE, (descriptors, descriptors))
        if data_bytes:
            resource.setrlimit(resource.RLIMIT_DATA, (data_bytes, data_bytes))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        if user and os.geteuid() == 0:
            os.setgroups([])
            os.setgid(NOBODY)
            os.setuid(NOBODY)
    return apply


class Way:
    """How the command is run."""

    def __init__(self, name, environment=None, descriptors=None, data_bytes=None, user=False, options=()):
        self.name = name
        self.environment = environment or {}
        self.data_bytes = data_bytes
        self.prepare = limits(descriptors, data_bytes, user)
        self.options = list(options)


def ways(shim):
    return [
        Way("as it is"),
        Way("openat2 answers ENOSYS", {"LD_PRELOAD": shim, "QUARN_FAULT": "openat2:38:e1"}),
        Way("ordinary user", user=True),
        Way("20 descriptors", descriptors=20),
        Way("256 MiB of memory", data_bytes=MEMORY),
        Way("no further thread", {"LD_PRELOAD": shim, "QUARN_FAULT": "pthread_create:11:e1"}),
    ]


class Attacker:
    def __init__(self, quarn, shim, volume, canary):
        self.quarn, self.shim, self.volume, self.canary = quarn, shim, volume, canary
        self.table = []
        self.peak = 0

    def case(self, attack, words, way, problems, line=None, changes=False):
        volume = [] if words in OF_SCAN else ["--volume", str(self.volume), "--home", HOME]
        command = words[0]
        words = [str(self.quarn), *way.options, *volume, *self.with_scan(words)]
        environment = {"PATH": "/usr/bin:/bin", "LC_ALL": "C", "HOME": str(self.canary.folder.parent / "home"), **way.environment}
        before = None if changes else self.state()
        self.canary.touched()
        started = time.monotonic()
        with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
            process = subprocess.Popen(words, stdin=subprocess.PIPE, stdout=out, stderr=err, env=environment,
                                       preexec_fn=way.prepare, cwd="/")
            timer = threading.Timer(SECONDS, lambda: os.killpg(process.pid, signal.SIGKILL))
            timer.start()
            try:
                process.stdin.write(line or b"")
                process.stdin.close()
            except BrokenPipeError:
                pass
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
            timer.cancel()
            err.seek(0)
            out.seek(0)
            text = err.read().decode(errors="replace")
            self.peak = max(self.peak, usage.ru_maxrss // 1024)
            answers = out.read()
            found = self.problems_of(command, process, text, answers, usage, time.monotonic() - started)
            # A limit may cost some of the requests that run side by side.
            missing = text.encode().count(NO_MEMORY) + answers.count(NO_MEMORY)
            if missing > (len(line.splitlines()) // 10 if line and way.data_bytes else 0):
                found.append(f"no memory, {missing} times")
        if before is not None and self.state() != before:
            found.append("the volume changed")
        problems += [f"{attack}, {way.name}: {' '.join(words[1:])}: {problem}" for problem in found]
        return 1, min(len(found), 1)

    def with_scan(self, words):
        """In a folder that an ordinary user may write."""
        return [str(self.canary.folder.parent / "scans" / "scan") if word == "SCAN" else word for word in words]

    def problems_of(self, command, process, err, out, usage, seconds):
        found, code = [], process.returncode
        if code < 0 or seconds >= SECONDS:
            found.append(f"ended by signal {-code} after {seconds:.1f} s")
        elif code not in (0, 1, 3, 4):
            found.append(f"exit code {code}")
        if code == 1 and not err.startswith("quarn: "):
            found.append(f"no message: {err[:200]}")
        if code == 1 and command == "apps":
            found.append(f"it does not even list the apps: {err[:200]}")
        if "internal error" in err or b"internal error" in out:
            found.append(f"internal error: {err[:200]}")
        if b"CANARY" in out:
            found.append("the output holds the canary")
        if touched := self.canary.touched(process.pid):
            found.append(f"the canary was opened: {touched[:3]}")
        if usage.ru_maxrss * 1024 > MEMORY + 64 * MEBIBYTE:
            found.append(f"{usage.ru_maxrss // 1024} MiB of memory")
        return found

    def state(self):
        """What may not change: names, sizes and times of the volume's upper levels."""
        result = []
        for top in ("Applications", "Library", "private", "Users/ann", "Users/ann/Library"):
            for path in sorted((self.volume / top).iterdir()):
                facts = path.lstat()
                result.append((str(path), facts.st_ino, facts.st_size, facts.st_mtime_ns, facts.st_ctime_ns))
        return result

    def row(self, attack, run):
        problems = []
        cases = failures = 0
        self.peak = 0
        started = time.monotonic()
        for more, failed in run(problems):
            cases, failures = cases + more, failures + failed
        self.table.append((attack, cases, failures))
        print(f"{attack:<44}{cases:>6}{failures:>10}{self.peak:>8} MiB{time.monotonic() - started:>7.0f} s", flush=True)
        for problem in problems[:10]:
            print("   ", problem, flush=True)

    def commands(self, way):
        def run(problems):
            for words in COMMANDS + OF_SCAN:
                yield self.case("commands", words, way, problems)
        return run

    def requests(self, way):
        lines = [json.dumps({"jsonrpc": "2.0", "id": i, "method": method, "params": params})
                 for i, (method, params) in enumerate(METHODS)]
        batch = "[" + ",".join(lines[:3] * 300) + "]"
        everything = "\n".join([*lines, batch, "{", "[" * 100_000, "\x00\xff", '"' + "a" * 1_000_000]).encode() + b"\n"

        def run(problems):
            yield self.case("requests", ["rpc"], way, problems, line=everything)
        return run

    def faults(self, sample):
        """Each single failing call, further and further into the run, until a run comes through untouched."""
        calls = ["openat2:5", "open:5", "getdents64:5", "fstatat:5", "pread:5", "xattr:5", "malloc:12", "pthread_create:11"]
        commands = [["inspect", "Lumen Notes"], ["storage", "--ndjson"], ["top"], ["apps"],
                    ["report", "Lumen Notes", "-o", "/dev/null"], ["scan", "-o", "SCAN"]]

        def run(problems):
            for words in commands:
                whole = self.faulty(sample, words, "pread:5:n1000000000")[0]
                for call in calls:
                    n, isTouched = 1, True
                    while isTouched:
                        found, isTouched = self.faulty(sample, words, f"{call}:n{n}")
                        isGood = found.stdout == whole.stdout if found.returncode == 0 else (
                            found.returncode in (1, 3, 4) and found.stderr != b"")
                        if not isGood:
                            problems.append(f"{' '.join(words)}: {call}:n{n}: {found.returncode} {found.stderr[:200]}")
                        yield 1, 0 if isGood else 1
                        n += 1 + n // 4
        return run

    def faulty(self, sample, words, fault):
        mark = self.canary.folder.parent / "mark"
        mark.unlink(missing_ok=True)
        environment = {"LC_ALL": "C", "LD_PRELOAD": self.shim, "QUARN_FAULT": fault, "QUARN_FAULT_MARK": str(mark)}
        words = [str(self.quarn), "--no-sandbox", "--volume", str(sample), "--home", HOME, *self.with_scan(words)]
        found = subprocess.run(words, env=environment, capture_output=True, timeout=SECONDS, check=False)
        if not mark.exists():
            sys.exit("the fault shim was not loaded")
        return found, mark.exists() and mark.stat().st_size > 0

    def names(self, count):
        """One folder of many names."""
        def run(problems):
            folder = self.volume / HOME[1:] / "Documents" / "wide"
            folder.mkdir(parents=True, exist_ok=True)
            for i in range(count):
                os.close(os.open(folder / f"file {i:07}.txt", os.O_CREAT | os.O_WRONLY))
            for words in (["storage"], ["top"], ["top", "--children", "/Users/ann/Documents"], ["inspect", "Good"],
                          ["scan", "-o", "SCAN"]):
                started = time.monotonic()
                before = self.peak
                self.peak = 0
                result = self.case("names", words, Way("as it is"), problems, changes=True)
                print(f"    {' '.join(words):<40}{'':>14}{self.peak:>8} MiB{time.monotonic() - started:>7.1f} s", flush=True)
                self.peak = max(self.peak, before)
                yield result
        return run

    def races(self, seconds):
        """Commands run while items change their place and their type."""
        def run(problems):
            stop = threading.Event()
            swapper = threading.Thread(target=self.swap, args=(stop,))
            swapper.start()
            end = time.monotonic() + seconds
            enosys = Way("openat2 answers ENOSYS", {"LD_PRELOAD": self.shim, "QUARN_FAULT": "openat2:38:e1"})
            try:
                while time.monotonic() < end:
                    for words in (["apps"], ["inspect", "Good"], ["top"], ["jobs"], ["receipts"], ["scan", "-o", "SCAN"]):
                        for way in (Way("as it is"), enosys):
                            yield self.case("races", words, way, problems, changes=True)
            finally:
                stop.set()
                swapper.join()
        return run

    def swap(self, stop):
        caches = self.volume / HOME[1:] / "Library/Caches"
        swapped = [caches / "com.example.good", self.volume / "Applications/Good.app/Contents",
                   self.volume / "Library/LaunchAgents", self.volume / "private/var/db"]
        outside = self.canary.folder.parent / "away"
        while not stop.is_set():
            for item in swapped:
                try:
                    os.rename(item, outside)
                    os.symlink(self.canary.folder, item)
                    os.unlink(item)
                    os.mkfifo(item)
                    os.unlink(item)
                    os.rename(outside, item)
                except OSError as error:
                    print("    the swap itself failed:", error, flush=True)
                    return


def add_links_to(canary, volume):
    """Links that only a path on the host can make."""
    for folder in ("Applications", "Library/LaunchAgents", "private/var/db/receipts", "Users/ann/Library/Caches"):
        os.symlink(canary, volume / folder / "com.example.good.canary")
        os.symlink(canary / "Info.plist", volume / folder / "canary.plist")
        depth = len((volume / folder).parts)
        os.symlink("../" * depth + str(canary)[1:], volume / folder / "canary.app")


def parse():
    parser = argparse.ArgumentParser()
    parser.add_argument("--quarn", required=True, type=pathlib.Path)
    parser.add_argument("--shim", required=True)
    parser.add_argument("--folder", required=True, type=pathlib.Path)
    parser.add_argument("--seconds", type=int, default=30, help="of the races")
    parser.add_argument("--names", type=int, default=1_000_000, help="in one folder")
    parser.add_argument("--only", default="", help="rows that hold this text")
    return parser.parse_args()


def main():
    arguments = parse()
    folder = arguments.folder.resolve()
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    os.chmod(folder, 0o777)
    (folder / "scans").mkdir()
    os.chmod(folder / "scans", 0o777)
    (folder / "home").mkdir()  # of whoever runs the command: without configuration
    volume = folder / "volume"
    subprocess.run([arguments.quarn, "sample", "--hostile", volume], check=True, stdout=subprocess.DEVNULL)
    sample = folder / "sample"
    subprocess.run([arguments.quarn, "sample", sample], check=True, stdout=subprocess.DEVNULL)
    canary = Canary(folder / "canary")
    add_links_to(canary.folder, volume)
    attacker = Attacker(arguments.quarn.resolve(), os.path.abspath(arguments.shim), volume, canary)
    rows = [(f"commands: {way.name}", attacker.commands(way)) for way in ways(attacker.shim)]
    rows += [(f"requests: {way.name}", attacker.requests(way)) for way in ways(attacker.shim)]
    rows += [("races", attacker.races(arguments.seconds)), ("faults: one failing call at a time", attacker.faults(sample)),
             (f"names: {arguments.names:,} in one folder", attacker.names(arguments.names))]
    print(f"{'attack':<44}{'cases':>6}{'failures':>10}{'peak':>12}{'time':>9}")
    for name, run in rows:
        if arguments.only in name:
            attacker.row(name, run)
    failures = sum(row[2] for row in attacker.table)
    print(f"{'all':<44}{sum(row[1] for row in attacker.table):>6}{failures:>10}")
    subprocess.run(["rm", "-rf", folder], check=False)
    return 1 if failures or not attacker.table else 0


if __name__ == "__main__":
    sys.exit(main())
