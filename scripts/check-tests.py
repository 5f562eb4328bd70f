#!/usr/bin/env python3
"""Makes sure that no test goes missing unnoticed.

  check-tests.py listed PRESET    the tests that CTest knows are exactly the expected ones, none disabled
  check-tests.py results PRESET   each of them has run in the last run, none was skipped
  check-tests.py update           writes the list of expected tests anew, from the preset `dev` and, for the window
                                  panel's, from the preset `window` where that was built
"""
import json
import pathlib
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

ROOT = pathlib.Path(__file__).resolve().parent.parent
EXPECTED = ROOT / "tests" / "expected_tests.txt"


def fail(title, lines):
    print(f"check-tests: {title}", *(f"  {line}" for line in lines), sep="\n", file=sys.stderr)
    sys.exit(1)


def cases_of(entry, command):
    """The cases of an entry that stands for a whole suite, "program/Suite.*"; of any other itself."""
    if not entry.endswith(".*"):
        return [entry]
    listing = subprocess.run([command[0], "--gtest_list_tests", command[1]], check=True, text=True,
                             stdout=subprocess.PIPE).stdout
    return [entry[:-1] + line.split()[0] for line in listing.splitlines() if line.startswith("  ")]


def known_tests(preset):
    """Name -> labels of the cases that this preset would run."""
    answer = subprocess.run(["ctest", "--preset", preset, "--show-only=json-v1"], cwd=ROOT, check=True,
                            stdout=subprocess.PIPE).stdout
    tests, disabled = {}, []
    for test in json.loads(answer)["tests"]:
        properties = {p["name"]: p["value"] for p in test.get("properties", [])}
        for name in cases_of(test["name"], test["command"]):
            if properties.get("DISABLED") or "DISABLED_" in name:
                disabled.append(name)
            if name in tests:
                fail("a test name stands twice", [name])
            tests[name] = sorted(properties.get("LABELS", []))
    if disabled:
        fail("disabled tests; mend them or delete them", disabled)
    return tests


def expected_tests(preset):
    """What the list holds for the preset: tests labelled `plain` look at the ordinary build alone, three presets look
    at one label alone, and the window panel is in no other preset's build."""
    only = {"tsan": "threads", "fuzz": "fuzz", "window": "window"}.get(preset)
    tests = {}
    for line in EXPECTED.read_text().splitlines():
        name, _, labels = line.rpartition(" : ")
        tests[name] = labels.split()
    return {name: labels for name, labels in tests.items() if ("window" in labels) == (preset == "window")
            and (preset == "dev" or ("plain" not in labels and (only is None or only in labels)))}


def check_listed(preset):
    known, expected = known_tests(preset), expected_tests(preset)
    vanished = sorted(expected.keys() - known.keys())
    unlisted = sorted(known.keys() - expected.keys())
    relabelled = sorted(name for name in known.keys() & expected.keys() if known[name] != expected[name])
    if vanished:
        fail(f"tests of preset {preset} that are gone (if on purpose: scripts/check-tests.py update)", vanished)
    if unlisted or relabelled:
        fail(f"tests of preset {preset} that the list does not show so (scripts/check-tests.py update)",
             unlisted + relabelled)
    print(f"check-tests: {len(known)} tests of preset {preset}, as listed")


def check_results(preset):
    results = {}
    for case in ElementTree.parse(ROOT / "build" / preset / "results.xml").iter("testcase"):
        results[case.get("name")] = case.get("status")
    not_run = [f"{name}: {status}" for name, status in results.items() if status != "run"]
    not_run += [f"{name}: no result" for name in expected_tests(preset)
                if name not in results and name.rpartition(".")[0] + ".*" not in results]
    if not_run:
        fail(f"tests of preset {preset} that did not run", sorted(not_run))


def update():
    window_is_built = (ROOT / "build" / "window" / "CTestTestfile.cmake").exists()
    tests = {**known_tests("dev"), **(known_tests if window_is_built else expected_tests)("window")}
    lines = [f"{name} : {' '.join(labels)}\n" for name, labels in sorted(tests.items())]
    EXPECTED.write_text("".join(lines))
    print(f"check-tests: {len(lines)} tests written to {EXPECTED.relative_to(ROOT)}")


def main(arguments):
    if arguments == ["update"]:
        update()
    elif len(arguments) == 2 and arguments[0] == "listed":
        check_listed(arguments[1])
    elif len(arguments) == 2 and arguments[0] == "results":
        check_results(arguments[1])
    else:
        sys.exit(__doc__)


main(sys.argv[1:])
