#!/usr/bin/env python3
"""Checks what the shared library shows, needs, keeps and runs.

usage: check_library.py INCLUDE_DIR EXPORTS_MAP DEBIAN_SYMBOLS LIBRARY ARCHIVE NM READELF OBJDUMP

Four sets of names must be equal: functions marked QUORV_API in the public headers, names in the exports
map (which must be sorted, one a line), symbols that the library defines, and those that Debian's package lists. It may need no other library
than libc. The objects of the archive may have no symbols in writable sections, thread-local ones included,
and no constructors and destructors of globals, those for some processors no functions that others share. Constant data that the loader relocates is fine.
"""
import itertools
import pathlib
import re
import subprocess
import sys

LIBC = re.compile(r"libc\.so\.\d+")
# The one variable there is: the process-wide context that MPlatInitialize makes.
ALLOWED = re.compile(r"\bg_platform_context\b")
WRITABLE = re.compile(r"\.(data|bss|tdata|tbss)(?!\.rel\.ro)(\.|$)|^\*COM\*$")
RUN_AT_LOAD = re.compile(r"^\s*\d+ (\.(?:preinit_array|init_array|fini_array|ctors|dtors)\S*)")
# Compiled for more than every processor has: a function that other objects share could take the place of theirs.
WIDE_OBJECTS = re.compile(r"(Sse2|Avx2|Neon)\.cpp\.o")
SHARED_FUNCTION = re.compile(r"^[0-9a-f]+  w....F \S+\s+[0-9a-f]+\s+(.+)$")
SYMBOL = re.compile(r"^[0-9a-f]+ .{7} (\S+)\s+([0-9a-f]+)\s+(.+)$", re.M)


def declared_names(include_dir):
    names = set()
    for header in include_dir.rglob("*.h"):
        text = re.sub(r"/\*.*?\*/|//[^\n]*|^\s*#(?:\\\n|[^\n])*", "", header.read_text(), flags=re.S | re.M)
        names.update(re.findall(r"\bQUORV_API\b[^;()]*?\b(\w+)\s*\(", text))
    return names


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def global_state(listing):
    """Yields what the objects keep and run; the listing is objdump's."""
    member = ""
    for line in listing.splitlines():
        if ":     file format " in line:
            member = line.split(":")[0]
        elif match := RUN_AT_LOAD.match(line):
            yield f"{member}: code runs when the library is loaded or unloaded ({match[1]})"
        elif WIDE_OBJECTS.match(member) and (match := SHARED_FUNCTION.match(line)):
            yield f"{member}: {match[1]} is shared with objects for any processor"
        elif match := SYMBOL.match(line):
            section, size, name = match.groups()
            if WRITABLE.search(section) and int(size, 16) > 0 and not ALLOWED.search(name):
                yield f"{member}: {name} is writable ({section})"


def main():
    include_dir, exports_map, debian_symbols, library, archive, nm, readelf, objdump = sys.argv[1:]
    lines = [line.strip() for line in pathlib.Path(exports_map).read_text().splitlines()]
    mapped = [line.rstrip(";") for line in lines[lines.index("global:") + 1:lines.index("local:")] if line]
    defined = {line.split()[-1] for line in output_of(nm, "-D", "--defined-only", library).splitlines()}
    needed = re.findall(r"\(NEEDED\).*\[(.*)\]", output_of(readelf, "-dW", library))
    listing = output_of(objdump, "-h", "-t", "-C", archive)

    listed = re.findall(r"^ (\w+)@Base ", pathlib.Path(debian_symbols).read_text(), re.M)

    names = {"the headers": declared_names(pathlib.Path(include_dir)), "the exports map": {*mapped}, "the library": defined,
             "the symbols file": {*listed}}
    errors = [f"{name}: in {what}, not in {of}" for what, of in itertools.permutations(names, 2)
              for name in sorted(names[what] - names[of])]
    errors += global_state(listing)
    errors += [f"{b}: stands after {a} in the exports map" for a, b in zip(mapped, mapped[1:]) if a >= b]
    errors += [f"the library needs {name}" for name in needed if not LIBC.fullmatch(name)]
    print("\n".join(errors) or f"{len(mapped)} names, the same in the headers, the maps and the library")
    return bool(errors) or not mapped or not SYMBOL.search(listing)


sys.exit(main())
