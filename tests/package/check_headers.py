#!/usr/bin/env python3
"""Checks that every public header compiles on its own, twice in a row, as C99 and as C++17.

usage: check_headers.py INCLUDE_DIR C_COMPILER CXX_COMPILER
"""
import pathlib
import subprocess
import sys

WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wundef", "-Werror"]


def compiles(command, text):
    return subprocess.run(command + WARNINGS + ["-fsyntax-only", "-"], input=text, text=True).returncode == 0


def main():
    include_dir, c_compiler, cxx_compiler = sys.argv[1:]
    languages = {"C99": [c_compiler, "-x", "c", "-std=c99", "-Wstrict-prototypes"],
                 "C++17": [cxx_compiler, "-x", "c++", "-std=c++17", "-Wold-style-cast"]}
    headers = sorted(p.relative_to(include_dir) for p in pathlib.Path(include_dir).rglob("*.h"))
    failed = [f"<{header}> does not compile alone as {language}"
              for header in headers for language, command in languages.items()
              if not compiles(command + ["-I", include_dir], f"#include <{header}>\n" * 2 + "extern int not_empty;\n")]
    print("\n".join(failed) or f"{len(headers)} headers compile alone")
    return bool(failed) or not headers


sys.exit(main())
