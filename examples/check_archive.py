#!/usr/bin/env python3
"""Checks an archive on the workers of a Dask cluster, each of which sees it under the same path.

usage: check_archive.py SCHEDULER FOLDER >report.jsonl

Prints what `quorv check --json FOLDER` prints: an object a file, in the same order. Work that is lost with a worker is
done again by another one; a file is reported once.
"""

import os
import subprocess
import sys

from distributed import Client

# Small enough that little is lost with a worker, large enough that starting the tool does not count.
FILES_A_TASK = 20


def files_in(folder):
    """The regular files below a folder, in the order of the bytes of names, as the tool lists them."""
    with os.scandir(folder) as entries:
        for entry in sorted(entries, key=lambda entry: entry.name):
            if entry.is_dir(follow_symlinks=False):
                yield from files_in(entry.path)
            elif entry.is_file():
                yield entry.path


def check(names):
    """Runs on a worker. Returns a line of JSON for each file."""
    command = ["quorv", "check", "--json", "--null", "--files-from", "-"]
    run = subprocess.run(command, input=b"".join(name + b"\0" for name in names), stdout=subprocess.PIPE, check=False)
    lines = run.stdout.splitlines(keepends=True)
    if len(lines) != len(names):
        raise RuntimeError(f"{len(names)} files, {len(lines)} results, status {run.returncode}")
    return b"".join(lines)


def main():
    scheduler, folder = sys.argv[1:]
    names = list(files_in(os.fsencode(folder)))
    parts = [names[i : i + FILES_A_TASK] for i in range(0, len(names), FILES_A_TASK)]
    with Client(scheduler) as client:
        for future in client.map(check, parts, pure=False, retries=2):
            sys.stdout.buffer.write(future.result())
            sys.stdout.flush()


if __name__ == "__main__":
    main()
