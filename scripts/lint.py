#!/usr/bin/env python3
"""Runs clang-tidy over every source file in a build folder's compile commands, and over every header.

  lint.py BUILD_FOLDER [JOBS [TEXT...]]     with texts: only files whose names hold one of them

clang's own warnings are among the checks, so this is the clang build without the code generation. scripts/lint_passed.txt
remembers what passed: a file is looked at again when it, the code of a header of ours that it includes, its flags or the
checks have changed. That list is written anew here and committed with the change.
"""
import concurrent.futures
import functools
import hashlib
import os
import pathlib
import re
import signal
import subprocess
import sys

from compile_commands import ROOT, headers, sources

TIDY = "clang-tidy-19"
PASSED = ROOT / "scripts" / "lint_passed.txt"
COMMENT = re.compile(rb"^\s*//(?!.*NOLINT).*\n", re.MULTILINE)
INCLUDE = re.compile(rb'^\s*#\s*include\s*["<]([^">]+)[">]', re.MULTILINE)


@functools.cache
def contents(path):
    return path.read_bytes() if path.is_file() else None


def texts(file):
    """The file and the code of all of ours that it includes, whatever the preprocessor would leave out."""
    folders = [pathlib.Path(flag[2:]) for flag in file.flags if flag.startswith("-I")]
    found, waiting = {}, [file.path]
    while waiting:
        path = waiting.pop()
        if path in found:
            continue
        found[path] = contents(path)
        for name in INCLUDE.findall(found[path]):
            candidates = (folder / os.fsdecode(name) for folder in (path.parent, *folders))
            included = next((candidate for candidate in candidates if contents(candidate) is not None), None)
            if included:
                waiting.append(included.resolve())
    return [found[path] if path == file.path else COMMENT.sub(b"", found[path]) for path in sorted(found)]


def fingerprint(file, settings):
    """Names the question: same name, same answer."""
    question = hashlib.sha256(settings + " ".join(file.flags).replace(str(ROOT), "").encode())
    for text in texts(file):
        question.update(hashlib.sha256(text).digest())
    return question.hexdigest()


def complaints(file):
    done = subprocess.run([TIDY, "--quiet", str(file.path), "--", *file.flags], cwd=file.folder,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    return "" if done.returncode == 0 else done.stdout or done.stderr or f"{file.path}: {TIDY} failed\n"


def all_settings():
    version = subprocess.run([TIDY, "--version"], stdout=subprocess.PIPE, check=True, text=True).stdout
    settings = re.search(r"version \d+", version)[0].encode()
    for checks in [ROOT / ".clang-tidy", *sorted(ROOT.glob("[a-z]*/.clang-tidy"))]:
        settings += checks.read_bytes()
    return settings


def remembered():
    return dict(line.split()[::-1] for line in PASSED.read_text().splitlines()) if PASSED.exists() else {}


def remember(passed):
    PASSED.write_text("".join(f"{passed[name]} {name}\n" for name in sorted(passed)))


def main(build, jobs=os.cpu_count(), *texts_of_names):
    build = pathlib.Path(build).resolve()
    files = {}
    for file in sources(build): # some are compiled for several targets
        files.setdefault(str(file.path.relative_to(ROOT)), file)
    for header in headers(build):
        header.flags = [*header.flags, "-x", "c++-header"]
        files[str(header.path.relative_to(ROOT))] = header
    settings = all_settings()
    asked = {name: fingerprint(file, settings) for name, file in files.items()}
    passed = {name: known for name, known in remembered().items() if asked.get(name) == known}
    open_ones = [name for name in files if name not in passed and
                 (not texts_of_names or any(text in name for text in texts_of_names))]
    print(f"lint: {len(open_ones)} of {len(files)} files to look at", flush=True)
    failed = 0
    pool = concurrent.futures.ThreadPoolExecutor(int(jobs))
    try:
        for name, found in zip(open_ones, pool.map(lambda name: complaints(files[name]), open_ones)):
            if found:
                failed += 1
                print(found, flush=True)
            else:
                passed[name] = asked[name]
    finally: # what was found out until then holds
        pool.shutdown(cancel_futures=True)
        remember(passed)
    if failed:
        sys.exit(f"lint: {failed} of {len(files)} files")
    print(f"lint: {len(passed)} of {len(files)} files have passed")


signal.signal(signal.SIGTERM, signal.default_int_handler)
main(*sys.argv[1:])
