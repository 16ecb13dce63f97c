#!/usr/bin/env python3
"""Writes the module _quorv, by which the package calls the library, from the public header.

usage: make_bindings.py INCLUDE_DIR FOLDER

cffi's out-of-line ABI mode: the module is Python text with the header's types in it, the same for every
architecture, and neither a compiler nor cffi's parser is needed where it is used.
"""
import pathlib
import re
import sys

import cffi


def declarations(name, include_dir, seen):
    """What a header and those that it includes declare, without comments, directives and the marks of a shared library."""
    if name in seen:
        return ""
    seen.add(name)
    text = re.sub(r"/\*.*?\*/|\\\n", "", (include_dir / name).read_text(encoding="utf-8"), flags=re.S)
    text = re.sub(r"^#include <(quorv/.*)>", lambda match: declarations(match[1], include_dir, seen), text, flags=re.M)
    text = re.sub(r'extern "C" \{|^\}$', "", text, flags=re.M)
    return re.sub(r"^\s*#.*|\bQUORV_API\b", "", text, flags=re.M)


def main():
    include_dir, folder = map(pathlib.Path, sys.argv[1:])
    ffi = cffi.FFI()
    ffi.cdef(declarations("quorv/quorv.h", include_dir, set()))
    ffi.set_source("_quorv", None)
    ffi.emit_python_code(str(folder / "_quorv.py"))


main()
