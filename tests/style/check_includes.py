#!/usr/bin/env python3
"""Checks that #include lines keep the layers of the project.

usage: check_includes.py PROJECT_DIR MODULES_TXT

A file of src/MODULE includes by "module/File.h" from its own module and the modules that its module names
in its CMakeLists.txt (MODULES_TXT holds them: a line a module, its name first, lowest layer first). The
tool and the examples see the library only through <quorv/...>.
"""
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)', re.M)
SUFFIXES = {".c", ".cpp", ".h"}


def sources(folder):
    return sorted(p for p in folder.rglob("*") if p.suffix in SUFFIXES)


def includes(path):
    text = path.read_text(encoding="utf-8")
    for match in INCLUDE.finditer(text):
        line = text.count("\n", 0, match.start(1) if match[1] else match.start(2)) + 1
        yield line, match[1], match[2]


def read_modules(path):
    """Returns what each module may use; a module may only name modules of the layers below it."""
    uses, errors = {}, []
    for line in path.read_text().splitlines():
        name, *used = line.split()
        errors += [f"src/{name}: uses '{m}', which is not a module of a lower layer" for m in used if m not in uses]
        uses[name] = {name, *used}
    return uses, errors


def check_library(src, uses):
    for path in sources(src):
        module = path.relative_to(src).parts[0]
        for line, quoted, angled in includes(path):
            where = f"{path}:{line}"
            if module not in uses:
                yield f"{where}: '{module}' is not a module of the build"
            elif quoted and not (src / quoted).is_file():
                yield f"{where}: \"{quoted}\" is not a path from src/"
            elif quoted and quoted.split("/")[0] not in uses[module]:
                yield f"{where}: module '{module}' may not use '{quoted.split('/')[0]}'"
            elif angled and angled.startswith("quorv/") and not (src.parent / "include" / angled).is_file():
                yield f"{where}: <{angled}> is not a public header"


def check_clients(folder, project):
    for path in sources(folder):
        for line, quoted, angled in includes(path):
            own = quoted and any((base / quoted).resolve().is_relative_to(folder.resolve()) and (base / quoted).is_file()
                                 for base in (path.parent, folder))
            if quoted and not own:
                yield f"{path}:{line}: \"{quoted}\" is not a file of {folder.name}/"
            elif angled and (project / "src" / angled).is_file():
                yield f"{path}:{line}: <{angled}> is a header of the library's inside"


def main():
    project = pathlib.Path(sys.argv[1])
    uses, errors = read_modules(pathlib.Path(sys.argv[2]))
    errors += check_library(project / "src", uses)
    for client in ("tools/quorv", "examples"):
        errors += check_clients(project / client, project)
    print("\n".join(errors) or f"include rules hold in {len(uses)} modules")
    return bool(errors)


sys.exit(main())
