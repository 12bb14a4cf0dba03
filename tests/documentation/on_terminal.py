"""Runs a command that takes over the terminal, as a page shows it: on a terminal of its own, until its first whole picture; then
presses "q".

Usage: on_terminal.py PROGRAM [ARGUMENT…]. Exits with the program's status, and with its output if it fails.
"""

import os
import pty
import select
import sys
import time

READY = b"q leaves"
PATIENCE = 60


def main():
    child, terminal = pty.fork()
    if child == 0:
        os.environ.update(TERM="xterm", LINES="24", COLUMNS="80")
        os.execv(sys.argv[1], sys.argv[1:])
    output, has_quit, end = b"", False, time.monotonic() + PATIENCE
    while time.monotonic() < end:
        if not select.select([terminal], [], [], 1)[0]:
            continue
        try:
            piece = os.read(terminal, 65536)
        except OSError:  # the program has closed the terminal
            break
        if not piece:
            break
        output += piece
        if READY in output and not has_quit:
            os.write(terminal, b"q")
            has_quit = True
    status = os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
    if status != 0 or not has_quit:
        sys.stdout.buffer.write(output)
    return status if has_quit or status != 0 else 1


if __name__ == "__main__":
    sys.exit(main())
