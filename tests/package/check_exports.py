#!/usr/bin/env python3
"""Checks what the shared library shows and needs.

usage: check_exports.py INCLUDE_DIR EXPORTS_MAP LIBRARY NM READELF

Three sets of names must be equal: functions marked QUORV_API in the public headers, names in the exports
map (which must be sorted, one a line) and symbols that the library defines. It may need no other library
than libc.
"""
import pathlib
import re
import subprocess
import sys

LIBC = re.compile(r"libc\.so\.\d+")


def declared_names(include_dir):
    names = set()
    for header in include_dir.rglob("*.h"):
        text = re.sub(r"/\*.*?\*/|//[^\n]*|^\s*#(?:\\\n|[^\n])*", "", header.read_text(), flags=re.S | re.M)
        names.update(re.findall(r"\bQUORV_API\b[^;()]*?\b(\w+)\s*\(", text))
    return names


def mapped_names(exports_map):
    """Returns the names between "global:" and "local:" in file order."""
    lines = [line.strip() for line in exports_map.read_text().splitlines()]
    return [line.rstrip(";") for line in lines[lines.index("global:") + 1:lines.index("local:")] if line]


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def defined_names(library, nm):
    return {line.split()[-1] for line in output_of(nm, "-D", "--defined-only", library).splitlines()}


def needed_libraries(library, readelf):
    return re.findall(r"\(NEEDED\).*\[(.*)\]", output_of(readelf, "-dW", library))


def differences(what, names, of, others):
    return [f"{name}: in {what}, not in {of}" for name in sorted(set(names) - set(others))]


def main():
    include_dir, exports_map, library, nm, readelf = sys.argv[1:]
    declared = declared_names(pathlib.Path(include_dir))
    mapped = mapped_names(pathlib.Path(exports_map))
    defined = defined_names(library, nm)

    errors = differences("the headers", declared, "the exports map", mapped)
    errors += differences("the exports map", mapped, "the headers", declared)
    errors += differences("the exports map", mapped, "the library", defined)
    errors += differences("the library", defined, "the exports map", mapped)
    errors += [f"{b}: stands after {a} in the exports map" for a, b in zip(mapped, mapped[1:]) if a >= b]
    errors += [f"the library needs {name}" for name in needed_libraries(library, readelf) if not LIBC.fullmatch(name)]
    print("\n".join(errors) or f"{len(mapped)} names, the same in the headers, the map and the library")
    return bool(errors) or not mapped


sys.exit(main())
