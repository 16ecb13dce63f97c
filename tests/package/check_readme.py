#!/usr/bin/env python3
"""Checks that the commands shown in README.md print what it shows.

usage: check_readme.py README QUORV PROJECT_DIR

In each block marked ```console, a line "$ quorv ARGUMENTS" is run in the project's folder by the built tool and
must print the lines that follow; "..." as the last of them leaves the rest open.
"""
import pathlib
import re
import shlex
import subprocess
import sys


def examples(text):
    for block in re.findall(r"^```console\n(.*?)^```$", text, re.S | re.M):
        for example in re.split(r"^\$ ", block, flags=re.M)[1:]:
            command, _, shown = example.partition("\n")
            yield command, shown.splitlines()


def main():
    readme, quorv, folder = sys.argv[1:]
    failures = count = 0
    for command, shown in examples(pathlib.Path(readme).read_text(encoding="utf-8")):
        count += 1
        program, *arguments = shlex.split(command)
        assert program == "quorv", f"only the tool is run, not {program}"
        done = subprocess.run([quorv, *arguments], cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        printed = done.stdout.splitlines()
        if shown[-1:] == ["..."]:
            shown.pop()
            printed = printed[:len(shown)]
        if not shown or [line.rstrip() for line in printed] != shown:
            failures += 1
            print(f"$ {command}", "--- shown", *shown, "--- printed", *printed, sep="\n")
    print(f"{count} examples, {failures} of them wrong")
    return failures > 0 or count == 0


sys.exit(main())
