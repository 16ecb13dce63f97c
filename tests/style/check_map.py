#!/usr/bin/env python3
"""Checks that docs/map.md names every unit of the source tree once, and nothing that does not exist.

usage: check_map.py PROJECT_DIR

A unit is a .cpp, a .h or a pair of them. Below a heading that is a folder of them ("## `src/platform`"), the names in the
last column of the table are its units.
"""
import pathlib
import re
import sys

ROOTS = ("src", "tools/quorv", "tests/support")


def units_of(project):
    for root in ROOTS:
        for path in (project / root).rglob("*"):
            if path.suffix in {".cpp", ".h"}:
                yield path.parent.relative_to(project).as_posix(), path.stem


def named_units(text):
    for section in re.split(r"^## ", text, flags=re.M)[1:]:
        heading = re.match(r"`([^`]+)`\n", section)
        held = heading and heading[1].startswith(ROOTS)
        for row in re.findall(r"^\|.*\| (.*) \|$", section, re.M) if held else ():
            yield from ((heading[1], name) for name in re.findall(r"`([^`]+)`", row))


def main():
    project = pathlib.Path(sys.argv[1])
    units, named = {*units_of(project)}, [*named_units((project / "docs/map.md").read_text(encoding="utf-8"))]
    errors = [f"{folder}/{name}: not in docs/map.md" for folder, name in sorted(units - {*named})]
    errors += [f"docs/map.md: there is no {folder}/{name}" for folder, name in sorted({*named} - units)]
    errors += [f"docs/map.md: {folder}/{name} stands twice" for folder, name in sorted({*named}) if named.count((folder, name)) > 1]
    print("\n".join(errors) or f"docs/map.md names {len(units)} units")
    return bool(errors) or not units


sys.exit(main())
