"""Makes the scans of a fleet: two of each Mac, a week apart.

Usage: make_scans.py --quarn PROGRAM --macs N FOLDER

quarn scans the sample volume once. The scans of each Mac are copies with content of its own: more apps, other versions,
leftovers of some apps, and folders that grow between the two. Writes FOLDER/macs/MAC/old.quarn and new.quarn. The result
is deterministic except for times.
"""

import argparse
import pathlib
import random
import shutil
import sqlite3
import subprocess

FORMER = [("Sketch Box", "com.sketchbox.editor"), ("Photo Lab", "com.photolab.app"), ("Old Chat", "org.oldchat.client"),
          ("Torrenta", "net.torrenta.mac"), ("Fast VPN", "com.fastvpn.helper"), ("Mind Maps", "com.mindmaps.studio")]
MEGABYTE = 1_000_000


def grow(scan, folder, size):
    """Adds bytes to a folder and to all folders around it."""
    while True:
        scan.execute("UPDATE folders SET allocated = allocated + ?, logical = logical + ?, files = files + 1 WHERE id = ?", (size, size, folder))
        if folder == 0:
            return
        folder = scan.execute("SELECT parent FROM folders WHERE id = ?", (folder,)).fetchone()[0]


def install(scan, name, identifier, version, size):
    number = scan.execute("SELECT max(id) + 1 FROM apps").fetchone()[0]
    scan.execute("INSERT INTO apps VALUES (?, ?, ?, ?, 1, ?, ?, ?, ?, 1700000000)",
                 (number, name, identifier, f"/Applications/{name}.app", identifier, version, size, size))


def leave(scan, name, identifier, size):
    number = scan.execute("SELECT coalesce(max(id), 0) + 1 FROM leftovers").fetchone()[0]
    scan.execute("INSERT INTO leftovers VALUES (?, ?, ?, 1600000000, ?, ?)", (number, name, identifier, size, size))
    scan.execute("INSERT INTO leftover_items VALUES (?, ?, 1, 'Application Support', 'applicationSupport', 'user', 'userData', 'caution', "
                 "'Named by an identifier that no installed app has.', 1600000000, ?, ?)",
                 (number, f"/Users/ann/Library/Application Support/{identifier}", size, size))


def make(base, folder, number):
    rng = random.Random(number)
    folder.mkdir(parents=True)
    old, new = folder / "old.quarn", folder / "new.quarn"
    shutil.copyfile(base, old)
    scan = sqlite3.connect(old)
    folders = scan.execute("SELECT count(*) FROM folders").fetchone()[0]
    for i in rng.sample(range(200), rng.randint(5, 25)):
        install(scan, f"Tool {i}", f"com.tools.tool{i}", f"{rng.randint(1, 9)}.{rng.randint(0, 9)}", rng.randint(1, 90) * MEGABYTE)
    for name, identifier in rng.sample(FORMER, rng.randint(0, 3)):
        leave(scan, name, identifier, rng.randint(1, 40) * MEGABYTE)
    for _ in range(rng.randint(20, 60)):
        grow(scan, rng.randrange(1, folders), rng.randint(1, 50) * 4096)
    scan.commit()
    scan.close()
    shutil.copyfile(old, new)
    scan = sqlite3.connect(new)
    for _ in range(rng.randint(0, 3)):
        grow(scan, rng.randrange(1, folders), int(2 ** rng.uniform(0, 14)) * MEGABYTE)
    if rng.random() < 0.1:
        leave(scan, "Latest", "com.latest.app", MEGABYTE)
    scan.execute("UPDATE scan SET started_at = started_at + 604800, finished_at = finished_at + 604800")
    scan.commit()
    scan.close()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--quarn", required=True, type=pathlib.Path)
    parser.add_argument("--macs", type=int, default=1_000)
    parser.add_argument("folder", type=pathlib.Path)
    options = parser.parse_args()
    folder = options.folder.resolve()
    shutil.rmtree(folder, ignore_errors=True)
    (folder / "macs").mkdir(parents=True)
    quarn, volume, base = str(options.quarn.resolve()), str(folder / "volume"), folder / "base.quarn"
    subprocess.run([quarn, "sample", volume], check=True, stdout=subprocess.DEVNULL)
    subprocess.run([quarn, "--volume", volume, "--home", "/Users/ann", "scan", "-o", base], check=True, stdout=subprocess.DEVNULL)
    for number in range(options.macs):
        make(base, folder / "macs" / f"mac{number:04}", number)


if __name__ == "__main__":
    main()
