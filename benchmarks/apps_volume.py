"""Writes a Mac volume with many apps and a big Library, to measure inspections.

Usage: apps_volume.py FOLDER [--apps N] [--entries N]

Each app has a bundle with an Info.plist, a receipt, a container, caches, support files and settings in the home folder;
every fourth has a launch agent. There are about N entries below ~/Library, within one per app. The result is
deterministic.
"""

import argparse
import pathlib
import plistlib

HOME = "Users/ann"
WORDS = ["Amber", "Birch", "Cedar", "Delta", "Ember", "Flint", "Grove", "Heron", "Iris", "Juniper"]
THINGS = ["Notes", "Studio", "Player", "Sketch", "Mail", "Tasks", "Maps", "Scan", "Chat", "Board"]


def app_name(index):
    return f"{WORDS[index % 10]} {THINGS[index // 10 % 10]} {index}"


def identifier(index):
    return f"com.example-{WORDS[index % 10].lower()}.{THINGS[index // 10 % 10]}{index}"


class Folder:
    """Creates and counts items."""

    def __init__(self, path):
        self.path = path
        self.entries = 0

    def make(self, name):
        folder = self.path / name
        for part in [folder, *folder.parents]:
            if part == self.path or part.exists():
                break
            self.entries += 1
        folder.mkdir(parents=True, exist_ok=True)
        return folder

    def file(self, name, content=b""):
        file = self.make(str(pathlib.PurePath(name).parent)) / pathlib.PurePath(name).name
        file.write_bytes(content)
        self.entries += 1

    def plist(self, name, root, binary=False):
        self.file(name, plistlib.dumps(root, fmt=plistlib.FMT_BINARY if binary else plistlib.FMT_XML))


def write_bundle(volume, index):
    name, bundle = app_name(index), identifier(index)
    contents = f"Applications/{name}.app/Contents"
    volume.plist(f"{contents}/Info.plist", {
        "CFBundleIdentifier": bundle, "CFBundleName": name, "CFBundleExecutable": name,
        "CFBundleShortVersionString": f"{index % 9}.{index % 7}", "CFBundlePackageType": "APPL",
        "CFBundleDocumentTypes": [{"CFBundleTypeName": thing, "CFBundleTypeRole": "Editor"} for thing in THINGS],
    }, binary=index % 2 == 0)
    volume.file(f"{contents}/MacOS/{name}", b"#!/bin/sh\n")
    volume.plist(f"private/var/db/receipts/{bundle}.pkg.plist", {
        "PackageIdentifier": f"{bundle}.pkg", "PackageVersion": "1.0", "InstallPrefixPath": "/",
    }, binary=True)
    if index % 4 == 0:
        volume.plist(f"{'Library' if index % 8 else HOME + '/Library'}/LaunchAgents/{bundle}.helper.plist", {
            "Label": f"{bundle}.helper", "ProgramArguments": [f"/{contents}/MacOS/{name}", "--helper"], "RunAtLoad": True,
        })


def write_data(library, index, entries):
    """Writes about `entries` items of one app below ~/Library, distributed as real apps do."""
    name, bundle = app_name(index), identifier(index)
    end = library.entries + entries
    library.file(f"Preferences/{bundle}.plist")
    library.file(f"HTTPStorages/{bundle}/httpstorages.sqlite")
    library.file(f"Logs/{name}/{name}.log")
    library.file(f"Saved Application State/{bundle}.savedState/windows.plist")
    for part in ("Caches", "Preferences", "Application Support", "WebKit"):
        library.file(f"Containers/{bundle}/Data/Library/{part}/state.db")
    turn = 0
    while library.entries < end:
        library.file(f"Application Support/{name}/{THINGS[turn % 10]}/set-{turn // 40}/item-{turn}.dat")
        if turn < 23:
            library.file(f"Application Support/{name}/resource-{turn}.json")
        library.file(f"Caches/{bundle}/fsCachedData/{turn:08X}")
        library.file(f"Containers/{bundle}/Data/Documents/{THINGS[turn % 7]}/page-{turn}")
        turn += 1


def write_volume(folder, apps, entries):
    folder.mkdir(parents=True, exist_ok=True)
    volume = Folder(folder)
    library = Folder(volume.make(f"{HOME}/Library"))
    volume.make("Library/LaunchDaemons")
    for index in range(apps):
        write_bundle(volume, index)
        write_data(library, index, entries // apps)
    for index in range(0, apps, 5):
        volume.file(f"{HOME}/Documents/{app_name(index)} Projects/plan-{index}.txt")
        volume.file(f"Library/Application Support/{app_name(index)}/shared.db")
        volume.file(f"Library/Logs/{identifier(index)}.log")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--apps", type=int, default=1_000)
    parser.add_argument("--entries", type=int, default=300_000)
    options = parser.parse_args()
    write_volume(options.folder, options.apps, options.entries)


if __name__ == "__main__":
    main()
