#!/usr/bin/env python3
"""Runs clang-tidy over every source file in a build folder's compile commands.

  lint.py BUILD_FOLDER [JOBS]

clang's own warnings are among the checks, so this is the clang build without the code generation. A file whose
preprocessed text, flags and checks passed before is not looked at again.
"""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TIDY = "clang-tidy-14"
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME", pathlib.Path.home() / ".cache")) / "opcuaclient-lint"


def fingerprint(entry, settings):
    """Names the question: same name, same answer. Comments count, since they can silence a check."""
    command = shlex.split(entry["command"])
    command = command[:command.index("-o")] + ["-E", "-C", entry["file"]]
    while pathlib.Path(command[0]).name == "ccache":
        command = command[1:]
    text = subprocess.run(command, cwd=entry["directory"], stdout=subprocess.PIPE, check=True).stdout
    text = text.replace(os.fsencode(ROOT), b"")
    flags = " ".join(command).replace(str(ROOT), "")
    return hashlib.sha256(settings + flags.encode() + text).hexdigest()


def lint(entry, build, settings):
    """Returns what is wrong with one file, empty when nothing is."""
    stamp = CACHE / fingerprint(entry, settings)
    if stamp.exists():
        return ""
    done = subprocess.run([TIDY, "-p", str(build), "--quiet", entry["file"]], cwd=ROOT,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if done.returncode == 0:
        stamp.touch()
        return ""
    return done.stdout or done.stderr


def main(build, jobs=os.cpu_count()):
    build = pathlib.Path(build).resolve()
    entries = [entry for entry in json.loads((build / "compile_commands.json").read_text())
               if not entry["file"].startswith(str(build))]
    if not entries:
        sys.exit("lint: no source files in the compile commands")
    CACHE.mkdir(parents=True, exist_ok=True)
    settings = subprocess.run([TIDY, "--version"], stdout=subprocess.PIPE, check=True).stdout
    for checks in [ROOT / ".clang-tidy", *sorted(ROOT.glob("[a-z]*/.clang-tidy"))]:
        settings += checks.read_bytes()
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(int(jobs)) as pool:
        for complaints in pool.map(lambda entry: lint(entry, build, settings), entries):
            if complaints:
                failed += 1
                print(complaints)
    if failed:
        sys.exit(f"lint: {failed} of {len(entries)} files")
    print(f"lint: {len(entries)} files")


main(*sys.argv[1:])
