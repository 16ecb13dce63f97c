#!/usr/bin/env python3
"""Checks that the library keeps no state of its own and runs nothing when it is loaded.

usage: check_global_state.py ARCHIVE OBJDUMP

Looks through the objects of the archive for symbols in writable sections, thread-local ones included, and
for constructors and destructors of globals. Constant data that the loader relocates is fine.
"""
import re
import subprocess
import sys

# The one variable there is: the process-wide context that MPlatInitialize makes.
ALLOWED = re.compile(r"\bg_platform_context\b")

WRITABLE = re.compile(r"\.(data|bss|tdata|tbss)(?!\.rel\.ro)(\.|$)|^\*COM\*$")
RUN_AT_LOAD = re.compile(r"^\s*\d+ (\.(?:preinit_array|init_array|fini_array|ctors|dtors)\S*)")
SYMBOL = re.compile(r"^[0-9a-f]+ .{7} (\S+)\s+([0-9a-f]+)\s+(.+)$")


def main():
    archive, objdump = sys.argv[1:]
    listing = subprocess.run([objdump, "-h", "-t", "-C", archive], check=True, capture_output=True, text=True).stdout
    member, symbols, errors = "", 0, []
    for line in listing.splitlines():
        if ":     file format " in line:
            member = line.split(":")[0]
        elif match := RUN_AT_LOAD.match(line):
            errors.append(f"{member}: code runs when the library is loaded or unloaded ({match[1]})")
        elif match := SYMBOL.match(line):
            section, size, name = match.groups()
            symbols += 1
            if WRITABLE.search(section) and int(size, 16) > 0 and not ALLOWED.search(name):
                errors.append(f"{member}: {name} is writable ({section})")
    print("\n".join(errors) or f"{symbols} symbols, no state")
    return bool(errors) or not symbols


sys.exit(main())
