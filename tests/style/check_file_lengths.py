#!/usr/bin/env python3
"""Checks that no source file grows beyond 600 lines; files of pure data, in folders named tables, may.

usage: check_file_lengths.py PROJECT_DIR
"""
import pathlib
import sys

LIMIT = 600
FOLDERS = ("src", "include", "tools", "tests", "fuzz", "benchmarks", "samples", "examples", "scripts", "cmake")
SUFFIXES = {".c", ".cpp", ".h", ".py", ".sh", ".cmake"}


def main():
    project = pathlib.Path(sys.argv[1])
    files = [p for folder in FOLDERS for p in (project / folder).rglob("*")
             if p.suffix in SUFFIXES and "tables" not in p.parts]
    lengths = {p: len(p.read_text(encoding="utf-8").splitlines()) for p in files}
    too_long = [f"{p}: {n} lines, more than {LIMIT}" for p, n in sorted(lengths.items()) if n > LIMIT]
    print("\n".join(too_long) or f"{len(files)} files, the longest has {max(lengths.values())} lines")
    return bool(too_long) or not files


sys.exit(main())
