#!/usr/bin/env python3
"""Breaks one line at a time and tells whether a test notices.

  mutate.py [--list] [--jobs N] [--copy FOLDER] [FILTER...]

The tables are mutations/*.toml. Each entry says in its name what it breaks, the file, the old text, the new text,
and the suites that must fail; `folder` and `suites` at the head of a table hold for the entries that name none:

  [[mutation]]
  name = "an expired list counts"
  file = "revocation_check.cpp"        # below `folder`
  after = "ListTime time ="            # optional: the old text is the first one behind this
  old = "time != ListTime::Current"    # otherwise it stands in the file exactly once
  new = "false"
  suites = ["pki_test:Store*:Key*"]    # the program, and its --gtest_filter

What a program needs (an environment, files made once) stands in suites.toml, beside the tables.

FILTERs choose the entries whose table, path or name contains one of them. --list only names them, and says which do
not apply. All of it happens in a copy, a git worktree
of what is checked out with the changes of tracked files, in a temporary directory that is removed in the end; --copy
names one to keep, so that the next run need not build anew. First every suite has to pass as it is. Then, for each
entry, the programs are built with it and the suites run to the first failing test. Result, a line each:

  killed          a test failed, or came to no end; the line says which
  SURVIVED        all passed: a test is missing, or the line makes no difference
  does not apply  the old text is not where the entry says, or the new one does not compile

The exit status is 0 when all were killed. --jobs works with so many copies at once. Changes of tracked files go into
the copy, new files do not until git knows them.
"""
import argparse
import contextlib
import os
import pathlib
import queue
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import tomllib
import zlib
from dataclasses import dataclass

ROOT = pathlib.Path(__file__).resolve().parent.parent
TABLES = ROOT / "scripts" / "mutations"
PRESET = "dev"


class DoesNotApply(Exception):
    """An entry is wrong, not the code."""


class Stopped(Exception):
    """Somebody asked for an end."""


@dataclass(frozen=True)
class Mutation:
    table: str
    name: str
    file: str
    old: str
    new: str
    after: str
    suites: tuple

    def matches(self, filters):
        text = f"{self.table} {self.file} {self.name}"
        return not filters or any(wanted in text for wanted in filters)

    def apply(self, text):
        """Returns the file's text with the line broken."""
        start = 0
        if self.after:
            if text.count(self.after) != 1:
                raise DoesNotApply(f"{text.count(self.after)} times in {self.file}: {self.after}")
            start = text.index(self.after) + len(self.after)
        elif text.count(self.old) != 1:
            raise DoesNotApply(f"{text.count(self.old)} times in {self.file}: {self.old}")
        place = text.find(self.old, start)
        if place < 0:
            raise DoesNotApply(f"not behind that place in {self.file}: {self.old}")
        return text[:place] + self.new + text[place + len(self.old):]


def read_table(path):
    with path.open("rb") as source:
        table = tomllib.load(source)
    folder = pathlib.PurePosixPath(table.get("folder", ""))
    return [Mutation(path.stem, entry["name"], str(folder / entry["file"]), entry["old"], entry["new"],
                     entry.get("after", ""), tuple(entry.get("suites") or table["suites"]))
            for entry in table["mutation"]]


def read_tables():
    """All mutations, and what the programs of the suites need."""
    mutations = []
    for path in sorted(TABLES.glob("*.toml")):
        if path.stem != "suites":
            mutations += read_table(path)
    names = set()
    for mutation in mutations:
        if mutation.name in names:
            sys.exit(f"mutate: two entries are named \"{mutation.name}\"")
        names.add(mutation.name)
        if mutation.old == mutation.new or "\n" in mutation.old + mutation.new:
            sys.exit(f"mutate: \"{mutation.name}\" does not change one line")
    with (TABLES / "suites.toml").open("rb") as source:
        return mutations, tomllib.load(source)


def git(*arguments):
    return subprocess.run(["git", *arguments], cwd=ROOT, check=True, stdout=subprocess.PIPE, text=True).stdout.strip()


def program_of(suite):
    return suite.partition(":")[0]


def first_error(output):
    return next((line for line in output.splitlines() if " error: " in line), output[-500:])


class Copy:
    """A tree of its own to break things in, with its own build folder."""

    def __init__(self, folder, needs):
        self.folder = folder
        self.needs = needs
        self.build_folder = folder / "build" / PRESET
        self.scratch = folder / "build" / "mutate"
        self.child = None
        self.is_stopped = False
        self.limits = {}

    def call(self, command, environment=None, limit=None):
        """Returns the exit status, None after `limit` seconds, and what was said."""
        if self.is_stopped:
            raise Stopped
        with tempfile.TemporaryFile("w+", errors="replace") as output:
            self.child = subprocess.Popen(command, cwd=self.folder, env={**os.environ, **(environment or {})},
                                          stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT,
                                          start_new_session=True)
            try:
                status = self.child.wait(limit)
            except subprocess.TimeoutExpired:
                status = None
            finally:
                with contextlib.suppress(ProcessLookupError):
                    os.killpg(self.child.pid, signal.SIGKILL)  # also what a program has left behind
                self.child.wait()
            if self.is_stopped:
                raise Stopped
            output.seek(0)
            return status, output.read()

    def stop(self):
        self.is_stopped = True
        child = self.child
        if child is not None:
            with contextlib.suppress(ProcessLookupError):
                os.killpg(child.pid, signal.SIGKILL)

    def demand(self, command):
        status, output = self.call(["bash", "-c", f". scripts/use-ccache.sh && {command}"])
        if status != 0:
            sys.exit(f"mutate: {command}\n{output}")

    def prepare(self, suites):
        """Builds everything as it is; each suite has to pass, and its time is what others are measured by."""
        programs = sorted(set(map(program_of, suites)))
        # A program needs no new link when a library changes inside.
        self.demand(f"cmake --preset {PRESET} -DCMAKE_LINK_DEPENDS_NO_SHARED=ON -DOPCUACLIENT_BUILD_BENCH=OFF")
        self.demand(f"cmake --build {self.build_folder} --target {' '.join(programs)}")
        self.scratch.mkdir(exist_ok=True)
        for program in programs:
            self.make_files(program)
        patience = 300  # s; other work on the machine is no test that fails
        for suite in suites:
            start = time.monotonic()
            failure = self.failure_of(suite, None)
            if failure:
                sys.exit(f"mutate: {suite} fails as it is: {failure}")
            self.limits[suite] = patience + 10 * (time.monotonic() - start)

    def make_files(self, program):
        made = self.made(program)
        if not made.exists():
            unfinished = made.with_suffix(".unfinished")
            self.demand(" ".join(self.needs[program]["make"]).replace("{made}", str(unfinished)))
            unfinished.rename(made)

    def made(self, program):
        """Where the program's files are. Another script makes others."""
        command = self.needs.get(program, {}).get("make")
        if not command:
            return self.scratch
        return self.scratch / f"{program}-{zlib.crc32((self.folder / command[0]).read_bytes()):x}"

    def failure_of(self, suite, limit):
        """Names the first test that fails; empty when all pass."""
        program, _, tests = suite.partition(":")
        command = [str(self.build_folder / "bin" / program), "--gtest_fail_fast", "--gtest_color=no",
                   f"--gtest_filter={tests or '*'}"]
        environment = {name: value.replace("{made}", str(self.made(program)))
                       for name, value in self.needs.get(program, {}).get("environment", {}).items()}
        status, output = self.call(command, environment, limit)
        if re.search(r"^\[=+\] Running 0 tests", output, re.MULTILINE):
            sys.exit(f"mutate: {suite} holds no test")
        if status == 0:
            return ""
        if status is None:
            return f"{program} comes to no end"
        failed = re.search(r"^\[  FAILED  \] ([\w/]+\.[\w/]+)", output, re.MULTILINE)
        started = re.findall(r"^\[ RUN      \] (\S+)", output, re.MULTILINE)
        return failed[1] if failed else f"{started[-1] if started else program} ends with status {status}"

    def try_out(self, mutation):
        """Returns the verdict and what there is to say about it."""
        path = self.folder / mutation.file
        if not path.exists():
            raise DoesNotApply(f"there is no {mutation.file}")
        original = path.read_text()
        path.write_text(mutation.apply(original))
        try:
            programs = " ".join(sorted(set(map(program_of, mutation.suites))))
            status, output = self.call(["bash", "-c", ". scripts/use-ccache.sh && "
                                        f"cmake --build {self.build_folder} --target {programs}"])
            if status != 0:
                raise DoesNotApply(f"it does not build: {first_error(output)}")
            for suite in mutation.suites:
                failure = self.failure_of(suite, self.limits[suite])
                if failure:
                    return "killed", failure
            return "SURVIVED", " ".join(mutation.suites)
        finally:
            path.write_text(original)


@contextlib.contextmanager
def copy_in(folder, needs):
    """A copy in `folder`, or, without one, in a temporary directory that is removed in the end."""
    commit = git("stash", "create") or "HEAD"
    kept = folder is not None
    folder = folder if kept else pathlib.Path(tempfile.mkdtemp(prefix="mutate-")) / "tree"
    if kept and (folder / ".git").exists():
        subprocess.run(["git", "checkout", "--quiet", "--force", "--detach", git("rev-parse", commit)], cwd=folder,
                       check=True)
    else:
        git("worktree", "add", "--quiet", "--detach", str(folder), commit)
    try:
        yield Copy(folder, needs)
    finally:
        if not kept:
            git("worktree", "remove", "--force", str(folder))
            shutil.rmtree(folder.parent)


def work(copy, suites, waiting, report):
    try:
        copy.prepare(suites)
        while True:
            mutation = waiting.get_nowait()
            start = time.monotonic()
            try:
                verdict, why = copy.try_out(mutation)
            except DoesNotApply as problem:
                verdict, why = "does not apply", str(problem)
            report(mutation, verdict, why, time.monotonic() - start)
    except (queue.Empty, Stopped):
        pass


def run(mutations, needs, jobs, folder):
    """Returns how often each verdict was reached."""
    suites = sorted({suite for mutation in mutations for suite in mutation.suites})
    waiting = queue.Queue()
    for mutation in mutations:
        waiting.put(mutation)
    counts = {"killed": 0, "SURVIVED": 0, "does not apply": 0}
    problems = []
    lock = threading.Lock()

    def report(mutation, verdict, why, seconds):
        with lock:
            counts[verdict] += 1
            print(f"{verdict:14}  {mutation.table}: {mutation.name} [{why}, {seconds:.0f} s]", flush=True)

    def guarded(copy):
        try:
            work(copy, suites, waiting, report)
        except BaseException as problem:  # told by the main thread
            problems.append(problem)

    with contextlib.ExitStack() as copies:
        trees = [copies.enter_context(copy_in(folder, needs)) for _ in range(jobs)]
        threads = [threading.Thread(target=guarded, args=(copy,)) for copy in trees]
        # A handler that threw would make join() believe that its thread has ended.
        asked_to_stop = []
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            signal.signal(number, lambda *_: asked_to_stop.append(True))
        for thread in threads:
            thread.start()
        while any(thread.is_alive() for thread in threads) and not (asked_to_stop or problems):
            time.sleep(0.2)
        while any(thread.is_alive() for thread in threads):
            for copy in trees:
                copy.stop()
            time.sleep(0.2)
    if problems:
        raise problems[0]
    if asked_to_stop:
        sys.exit("mutate: stopped")
    return counts


def list_all(mutations):
    """Returns the exit status: 0 when all apply."""
    wrong = 0
    for mutation in mutations:
        print(f"{mutation.table}: {mutation.name} ({mutation.file}; {' '.join(mutation.suites)})")
        try:
            mutation.apply((ROOT / mutation.file).read_text())
        except (DoesNotApply, FileNotFoundError) as problem:
            wrong += 1
            print(f"  does not apply: {problem}")
    print(f"{len(mutations)} mutations, {wrong} of them do not apply")
    return 1 if wrong else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("filters", nargs="*", metavar="FILTER")
    parser.add_argument("--list", action="store_true", help="name the mutations, run nothing")
    parser.add_argument("--jobs", type=int, default=1, help="so many copies at once")
    parser.add_argument("--copy", type=pathlib.Path, help="work in this copy, and keep it")
    options = parser.parse_args()
    if options.jobs < 1 or (options.copy and options.jobs > 1):
        parser.error("at least one copy, and only one where it is named")
    mutations, needs = read_tables()
    mutations = [mutation for mutation in mutations if mutation.matches(options.filters)]
    if not mutations:
        parser.error("no mutation matches")
    if options.list:
        return list_all(mutations)
    counts = run(mutations, needs, options.jobs, options.copy and options.copy.resolve())
    print(", ".join(f"{count} {verdict}" for verdict, count in counts.items()))
    return 0 if counts["killed"] == len(mutations) else 1


if __name__ == "__main__":
    sys.exit(main())
