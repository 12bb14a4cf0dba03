"""Checks the include edges: a wing may include itself and the wings on lower floors, nothing else.

Usage: include_edges.py ROOT. Prints one line for each forbidden edge and for each cycle of headers, and exits with 1 if
there is one.
"""

import pathlib
import re
import sys

# From the lowest floor to the highest. Wings on the same floor must not include each other. The wing of a file is the
# longest matching folder; a room without wings is one wing.
FLOORS = [
    ["QuarnPlatform/base"],
    ["QuarnPlatform/paths"],
    ["QuarnPlatform/text"],
    ["QuarnPlatform/json"],
    ["QuarnPlatform/resources"],
    ["QuarnPlatform/files"],
    ["QuarnPlatform/walking"],
    ["QuarnModels", "QuarnBuilders"],
    ["QuarnSystem/formats"],
    ["QuarnSystem"],
    ["QuarnCore/vendors", "QuarnCore/planning", "QuarnCore/folders"],
    ["QuarnCore/discovery", "QuarnCore/storage"],
    ["QuarnCore/inspection", "QuarnCore/ownership"],
    ["QuarnCore/scans"],
    ["quarn/services", "quarn/sample", "quarn/terminal", "quarn/wire"],
    ["quarn/report", "quarn/browse"],
    ["quarn/rpc"],
    ["quarn/commands"],
    ["quarn"],
]
FLOOR_OF = {wing: floor for floor, wings in enumerate(FLOORS) for wing in wings}
# Wings that only the listed wings may include, because they contain test data.
RESERVED = {"QuarnBuilders": {"quarn/sample"}}
# Header prefixes of libraries, and the only files that may include them.
DOORS = {
    "unicode/": r"QuarnPlatform/text/Text\w*\.(cpp|h)",
    "plist/": r"QuarnSystem/formats/\w+\.cpp",
    "spdlog/": r"QuarnSystem/DiagnosticsLogger\.cpp",
    "curses.h": r"quarn/browse/CursesScreen\.cpp",
    "sqlite3.h": r"QuarnCore/scans/Database\.cpp",
    "CLI/": r"quarn/commands/Arguments\.cpp",
    "toml++/": r"quarn/commands/ConfigurationFile\.cpp",
    "nlohmann/json.hpp": r"QuarnPlatform/json/JSONLibrary\.h",
}
# CMake writes these into the build folder.
GENERATED = {"quarn/services/Version.h"}

INCLUDE = re.compile(r'^\s*#\s*include\s*["<]([^">]+)[">]')


def wing_of(path):
    """The wing of a path, or None for a path outside the rooms."""
    wings = [wing for wing in FLOOR_OF if path == wing or path.startswith(wing + "/")]
    return max(wings, key=len) if wings else None


def is_allowed(source, target):
    if source == target:
        return True
    if target in RESERVED:
        return source in RESERVED[target]
    return FLOOR_OF[target] < FLOOR_OF[source]


def includes_of(file):
    """Line number and path of each #include in a file."""
    for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
        if found := INCLUDE.match(line):
            yield number, found.group(1)


def sources(root):
    """Path below the root, and the file, of each header and source in a room."""
    rooms = sorted({wing.split("/")[0] for wing in FLOOR_OF})
    for file in (file for room in rooms for file in sorted((root / room).rglob("*"))):
        if file.suffix in (".h", ".cpp"):
            yield file.relative_to(root).as_posix(), file


def forbidden_edges(root):
    for name, file in sources(root):
        source = wing_of(name)
        if source is None:
            yield f"{name}: not in a wing that cmake/include_edges.py lists"
            continue
        for number, included in includes_of(file):
            target = wing_of(included)
            if target is not None and not is_allowed(source, target):
                yield f"{name}:{number}: {source} must not include {target}"
            if target is not None and included not in GENERATED and not (root / included).is_file():
                yield f"{name}:{number}: {included} does not exist"
            for prefix, door in DOORS.items():
                if included.startswith(prefix) and not re.fullmatch(door, name):
                    yield f"{name}:{number}: only {door} may include <{prefix}>"


def header_cycles(root):
    """Cycles of includes. A header and its sources (A.h, A.cpp, A_linux.cpp) are one unit."""
    def unit(path):
        return re.sub(r"(_linux|_darwin)?\.(h|cpp)$", "", path)

    edges = {}
    for name, file in sources(root):
        targets = edges.setdefault(unit(name), set())
        targets.update(unit(path) for _, path in includes_of(file) if wing_of(path) and unit(path) != unit(name))
    done, path = set(), []

    def visit(node):
        if node in path:
            yield "cycle: " + " > ".join(path[path.index(node):] + [node])
            return
        if node in done:
            return
        path.append(node)
        for target in sorted(edges.get(node, ())):
            yield from visit(target)
        path.pop()
        done.add(node)

    for node in sorted(edges):
        yield from visit(node)


def main():
    root = pathlib.Path(sys.argv[1])
    found = [*forbidden_edges(root), *header_cycles(root)]
    for problem in found:
        print(problem)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
