#!/usr/bin/env python3
"""Checks that #include lines keep the layers of the project and that no source file grows beyond 400 lines.

usage: check_sources.py PROJECT_DIR MODULES_TXT

A file of src/MODULE includes by "module/File.h" from its own module and the modules that its module names
in its CMakeLists.txt (MODULES_TXT holds them: a line a module, its name first, lowest layer first). The
tool and the examples, which are built with the public headers alone, include files beside them only. Files
of pure data, in folders named tables, may be longer.
"""
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.M)
LIMIT = 400
FOLDERS = ("src", "include", "tools", "tests", "fuzz", "benchmarks", "samples", "examples", "scripts", "cmake")
CODE = {".c", ".cpp", ".h"}


def sources(folder, suffixes):
    return sorted(p for p in folder.rglob("*") if p.suffix in suffixes)


def includes(folder):
    for path in sources(folder, CODE):
        text = path.read_text(encoding="utf-8")
        for match in INCLUDE.finditer(text):
            line = text.count("\n", 0, match.start(1)) + 1
            yield f"{path}:{line}: \"{match[1]}\"", path.relative_to(folder).parts[0], match[1]


def read_modules(path):
    """Returns what each module may use; a module may only name modules of the layers below it."""
    uses, errors = {}, []
    for line in path.read_text().splitlines():
        name, *used = line.split()
        errors += [f"src/{name}: uses '{m}', which is not a module of a lower layer" for m in used if m not in uses]
        uses[name] = {name, *used}
    return uses, errors


def main():
    project = pathlib.Path(sys.argv[1])
    uses, errors = read_modules(pathlib.Path(sys.argv[2]))
    for where, module, name in includes(project / "src"):
        if name.split("/")[0] not in uses.get(module, ()):
            errors.append(f"{where}: not of a module that '{module}' may use")
    for client in ("tools/quorv", "examples"):
        errors += [f"{where}: not beside it" for where, _, name in includes(project / client) if "/" in name]
    for path in (p for folder in FOLDERS for p in sources(project / folder, CODE | {".py", ".sh", ".cmake"})):
        count = len(path.read_text(encoding="utf-8").splitlines())
        if count > LIMIT and "tables" not in path.parts:
            errors.append(f"{path}: {count} lines, more than {LIMIT}")
    print("\n".join(errors) or f"the rules hold in {len(uses)} modules")
    return bool(errors) or not uses


sys.exit(main())
