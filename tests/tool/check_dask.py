#!/usr/bin/env python3
"""Runs the Dask example with two workers on the loopback address, of which one is killed inside of its first task: the
report must be what the tool prints for the whole folder. Ends with 77 where python3-distributed is not installed.

usage: check_dask.py QUORV EXAMPLE SAMPLE
"""

import importlib.util
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

FILES = 70
LIMIT = 120  # seconds, for what takes five

# Called first, it kills the worker that called it, and never answers.
WRAPPER = """#!/bin/sh
if mkdir '{folder}/killed' 2>/dev/null; then
  kill -9 $PPID
  exit 1
fi
exec '{quorv}' "$@"
"""


def fill(archive, sample):
    for number in range(FILES):
        folder = archive / str(number % 7)
        folder.mkdir(parents=True, exist_ok=True)
        cut = 30000 if number % 5 == 0 else len(sample)
        (folder / f"film {number}\n.avi").write_bytes(sample[:cut])


def address_in(path):
    end = time.monotonic() + LIMIT
    while time.monotonic() < end:
        try:
            return json.loads(path.read_text(encoding="utf-8"))["address"]
        except (OSError, ValueError):
            time.sleep(0.05)
    raise TimeoutError("the scheduler has not come up")


def check(quorv, example, sample, folder, started):
    archive = folder / "archive"
    fill(archive, pathlib.Path(sample).read_bytes())
    wrapper = folder / "bin" / "quorv"
    wrapper.parent.mkdir()
    wrapper.write_text(WRAPPER.format(folder=folder, quorv=quorv), encoding="utf-8")
    wrapper.chmod(0o755)
    environment = {**os.environ, "PATH": f"{wrapper.parent}:{os.environ['PATH']}"}

    def start(module, *arguments):
        command = [sys.executable, "-m", "distributed.cli." + module, "--host", "127.0.0.1", "--no-dashboard"]
        log = open(folder / f"log{len(started)}", "wb")
        started.append(subprocess.Popen(command + list(arguments), env=environment, stdout=log, stderr=log, cwd=folder))

    start("dask_scheduler", "--port", "0", "--scheduler-file", "scheduler.json")
    address = address_in(folder / "scheduler.json")
    for name in ("first", "second"):
        start("dask_worker", address, "--nthreads", "1", "--no-nanny", "--name", name)
    report = subprocess.run([sys.executable, example, address, archive], stdout=subprocess.PIPE, timeout=LIMIT, check=True)
    whole = subprocess.run([quorv, "check", "--json", archive], stdout=subprocess.PIPE, check=False)
    dead = [worker.poll() for worker in started[1:]]
    assert sorted(dead, key=str) == [-9, None], f"workers ended with {dead}"
    assert len(whole.stdout.splitlines()) == FILES
    assert report.stdout == whole.stdout, f"{len(report.stdout.splitlines())} lines of {FILES}, or others"
    assert b'"damaged"' in whole.stdout and b'"sound"' in whole.stdout


def main():
    if importlib.util.find_spec("distributed") is None:
        sys.exit(77)
    started = []
    with tempfile.TemporaryDirectory() as folder:
        try:
            check(*sys.argv[1:], pathlib.Path(folder), started)
        except BaseException:
            for log in sorted(pathlib.Path(folder).glob("log*")):
                print(log.name, log.read_text(encoding="utf-8")[-2000:])
            raise
        finally:
            for process in started:
                process.kill()
                process.wait()


if __name__ == "__main__":
    main()
