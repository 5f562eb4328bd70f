#!/usr/bin/env python3
"""Runs clang-tidy over every source file in a build folder's compile commands, and over every header.

  lint.py BUILD_FOLDER [JOBS]

clang's own warnings are among the checks, so this is the clang build without the code generation. A file whose
preprocessed text, flags and checks passed before is not looked at again.
"""
import concurrent.futures
import hashlib
import os
import pathlib
import subprocess
import sys

from compile_commands import ROOT, headers, sources

TIDY = "clang-tidy-19"
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME", pathlib.Path.home() / ".cache")) / "opcuaclient-lint"


def fingerprint(file, settings):
    """Names the question: same name, same answer. Comments count, since they can silence a check."""
    command = [file.compiler, *file.flags, "-E", "-C", str(file.path)]
    text = subprocess.run(command, cwd=file.folder, stdout=subprocess.PIPE, check=True).stdout
    text = text.replace(os.fsencode(ROOT), b"")
    flags = " ".join(command).replace(str(ROOT), "")
    return hashlib.sha256(settings + flags.encode() + text).hexdigest()


def lint(file, settings):
    """Returns what is wrong with one file, empty when nothing is."""
    stamp = CACHE / fingerprint(file, settings)
    if stamp.exists():
        return ""
    done = subprocess.run([TIDY, "--quiet", str(file.path), "--", *file.flags], cwd=file.folder,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if done.returncode == 0:
        stamp.touch()
        return ""
    return done.stdout or done.stderr


def main(build, jobs=os.cpu_count()):
    build = pathlib.Path(build).resolve()
    files = sources(build)
    for header in headers(build):
        header.flags = [*header.flags, "-x", "c++-header"]
        files.append(header)
    CACHE.mkdir(parents=True, exist_ok=True)
    settings = subprocess.run([TIDY, "--version"], stdout=subprocess.PIPE, check=True).stdout
    for checks in [ROOT / ".clang-tidy", *sorted(ROOT.glob("[a-z]*/.clang-tidy"))]:
        settings += checks.read_bytes()
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(int(jobs)) as pool:
        for complaints in pool.map(lambda file: lint(file, settings), files):
            if complaints:
                failed += 1
                print(complaints)
    if failed:
        sys.exit(f"lint: {failed} of {len(files)} files")
    print(f"lint: {len(files)} files")


main(*sys.argv[1:])
