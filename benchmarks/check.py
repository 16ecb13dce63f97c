#!/usr/bin/env python3
"""Compares the processor time of `quorv check` with that of reading the same file: all packets by the library, and all
bytes by dd; and with reading it and md5sum.

usage: check.py QUORV READ_ONCE FILE...     prints a table in Markdown; the files should fit into the page cache
"""

import os
import subprocess
import sys
import tempfile

ROUNDS = 9
BLOCK = "64K"


def seconds(command):
    """User and system time of one run."""
    before = os.times()
    subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
    after = os.times()
    return after.children_user + after.children_system - before.children_user - before.children_system


def main():
    quorv, read_once, *files = sys.argv[1:]
    print("| file | MB | check / library | check / dd | check --save / (library + md5sum) |")
    print("| --- | ---: | ---: | ---: | ---: |")
    for file in files:
        with tempfile.TemporaryDirectory() as folder:
            commands = [
                [read_once, "path", file],
                ["dd", "if=" + file, "of=/dev/null", "bs=" + BLOCK],
                [quorv, "check", file],
                ["md5sum", file],
                [quorv, "check", file, "--save", os.path.join(folder, "manifest")],
            ]
            rounds = [[seconds(command) for command in commands] for _ in range(ROUNDS)]
        reading, dd, check, md5sum, saving = map(min, zip(*rounds))
        size = os.path.getsize(file) / 1e6
        name = os.path.basename(file)
        print(f"| {name} | {size:.0f} | {check / reading:.2f} | {check / dd:.2f} | {saving / (reading + md5sum):.2f} |")


if __name__ == "__main__":
    main()
