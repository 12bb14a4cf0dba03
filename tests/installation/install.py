"""Installs a build, moves the prefix, and writes a sample volume with the moved command, for the tests that follow.

Usage: install.py BUILD PREFIX SAMPLE
"""

import pathlib
import shutil
import subprocess
import sys

build, prefix, sample = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
first = prefix.parent / "first place"
for folder in (first, prefix, sample):
    shutil.rmtree(folder, ignore_errors=True)
command = ["cmake", "--install", build, "--prefix", str(first), "--strip"]
subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
first.rename(prefix)
subprocess.run([prefix / "bin" / "quarn", "sample", sample], check=True, stdout=subprocess.DEVNULL)
