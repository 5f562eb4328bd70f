#!/usr/bin/env python3
"""Makes sure that every header compiles alone: includes what it needs, whatever is included before it.

  check-headers.py BUILD_FOLDER [JOBS [FOLDER...]]     with folders those below them alone
"""
import concurrent.futures
import os
import pathlib
import subprocess
import sys

from compile_commands import ROOT, headers


def complaints_about(header):
    done = subprocess.run([header.compiler, *header.flags, "-fsyntax-only", "-x", "c++", "-include", header.path,
                           os.devnull], cwd=header.folder, stderr=subprocess.PIPE, text=True)
    return done.stderr if done.returncode else ""


def main(build, jobs=os.cpu_count(), *folders):
    files = [file for file in headers(pathlib.Path(build).resolve())
             if not folders or any(file.path.is_relative_to(ROOT / folder) for folder in folders)]
    if not files:
        sys.exit("check-headers: no headers in " + " ".join(folders))
    failed = []
    with concurrent.futures.ThreadPoolExecutor(int(jobs)) as pool:
        for header, complaints in zip(files, pool.map(complaints_about, files)):
            if complaints:
                failed.append(str(header.path.relative_to(ROOT)))
                print(complaints, file=sys.stderr)
    if failed:
        sys.exit("check-headers: not complete: " + " ".join(failed))
    print(f"check-headers: {len(files)} headers compile alone")


main(*sys.argv[1:])
