"""Checks the include edges of the house: a room may include itself and the rooms on lower floors, nothing else.

Usage: include_edges.py ROOT. Prints one line for each forbidden edge and ends with 1 if there is one.
"""

import pathlib
import re
import sys

# Floor by folder; the longest folder that holds a file is its room.
FLOORS = {
    "QuarnPlatform": 0,
    "QuarnModels": 1,
    "QuarnSystem/formats": 2,
    "QuarnSystem": 2,
    "QuarnCore/vendors": 3,
    "QuarnCore/planning": 3,
    "QuarnCore/folders": 3,
    "QuarnCore/discovery": 4,
    "QuarnCore/storage": 4,
    "QuarnCore/inspection": 5,
    "quarn": 6,
}
# The pure readers know no clients; the clients may use the readers.
WITHIN_FLOOR = {("QuarnSystem", "QuarnSystem/formats")}
# Libraries behind one door each: header prefix -> files that may include it.
DOORS = {
    "unicode/": r"QuarnPlatform/Text\w*\.(cpp|h)",
    "plist/": r"QuarnSystem/formats/\w+\.cpp",
    "spdlog/": r"QuarnSystem/DiagnosticsLogger\.cpp",
    "CLI/": r"quarn/commands/Arguments\.cpp",
    "nlohmann/json.hpp": r"QuarnPlatform/JSONLibrary\.h",
}

INCLUDE = re.compile(r'^\s*#\s*include\s*["<]([^">]+)[">]')


def room_of(path):
    """The room that holds a path, or None for what is outside the house."""
    rooms = [room for room in FLOORS if path == room or path.startswith(room + "/")]
    return max(rooms, key=len) if rooms else None


def is_allowed(source, target):
    if source == target or FLOORS[target] < FLOORS[source]:
        return True
    return (source, target) in WITHIN_FLOOR


def problems(root):
    top = {room.split("/")[0] for room in FLOORS}
    for file in sorted(file for room in top for file in (root / room).rglob("*")):
        name = file.relative_to(root).as_posix()
        source = room_of(name)
        if source is None or file.suffix not in (".h", ".cpp"):
            continue
        for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
            found = INCLUDE.match(line)
            if not found:
                continue
            target = room_of(found.group(1))
            if target is not None and not is_allowed(source, target):
                yield f"{name}:{number}: {source} must not include {target}"
            for prefix, door in DOORS.items():
                if found.group(1).startswith(prefix) and not re.fullmatch(door, name):
                    yield f"{name}:{number}: <{prefix}> has its door elsewhere"


def main():
    found = list(problems(pathlib.Path(sys.argv[1])))
    for problem in found:
        print(problem)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
