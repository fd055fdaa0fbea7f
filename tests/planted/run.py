#!/usr/bin/env python3
"""Plants the faults of faults.tsv one by one in a copy of the sources and tells which the tests see.

  run.py [--scratch DIR] [--check] [NAME...]

NAME is a shell pattern over the names of faults. --check only looks whether every fault still finds its place.
A row names the programs that should see its fault, each perhaps with a filter, apart by semicolons.
"""
import argparse
import csv
import fnmatch
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[2]
BUILD = "build/planted"


def faults(patterns):
    with open(SOURCES / "tests/planted/faults.tsv", newline="") as file:
        rows = list(csv.DictReader(file, delimiter="\t", quoting=csv.QUOTE_NONE))
    return [r for r in rows if not patterns or any(fnmatch.fnmatch(r["name"], p) for p in patterns)]


def misplaced(fault):
    return (SOURCES / fault["file"]).read_text().count(fault["old"]) != 1


def prepare(copy):
    """The sources as they are now, changed files only, and a build of one CPU level that compiles fast."""
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=SOURCES, capture_output=True, text=True,
                            check=True).stdout
    names = set(listed.splitlines())
    for old in [path for path in copy.rglob("*") if path.is_file() and path.relative_to(copy).parts[0] != "build"]:
        if str(old.relative_to(copy)) not in names:
            old.unlink()  # tests are found by pattern
    for name in names:
        source, target = SOURCES / name, copy / name
        if source.exists() and not (target.exists() and target.read_bytes() == source.read_bytes()):
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, target)
    subprocess.run(["cmake", "-S", copy, "-B", copy / BUILD, "-G", "Ninja", "-DQZIL_LEVELS=baseline",
                    "-DCMAKE_BUILD_TYPE=RelWithDebInfo", "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -DNDEBUG",
                    "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON"], check=True, stdout=subprocess.DEVNULL)


def build(copy, targets):
    return subprocess.run(["ninja", "-C", copy / BUILD, "-j2", *targets], stdout=subprocess.DEVNULL).returncode == 0


def programs_of(tests):
    return {"qzil_command" if t == "command" else t.partition(" ")[0] for t in tests}


def passes(copy, test):
    """True when a program passes; what hangs or crashes does not."""
    program, _, pattern = test.partition(" ")
    if program == "command":
        command = [sys.executable, copy / "tests/tools/command_test.py", copy / BUILD / "tools/qzil/qzil", copy]
    else:
        command = [copy / BUILD / "tests" / program, "--gtest_brief=1", f"--gtest_filter={pattern or '*'}"]
    environment = dict(os.environ, QZIL_TEST_SCENES="6000", GTEST_FAIL_FAST="1")
    try:
        return subprocess.run(command, cwd=copy, env=environment, timeout=600, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL).returncode == 0
    except subprocess.TimeoutExpired:
        return False


def outcome(copy, fault, failing):
    tests = [t for t in fault["tests"].split(";") if t not in failing]
    place = copy / fault["file"]
    sound = place.read_text()
    place.write_text(sound.replace(fault["old"], fault["new"]))
    try:
        if not build(copy, programs_of(tests)):
            return "DOES NOT BUILD"
        seer = next((t for t in tests if not passes(copy, t)), None)
        return f"seen by {seer}" if seer else "NOT SEEN"
    finally:
        place.write_text(sound)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--scratch", type=Path, default=Path(tempfile.gettempdir()) / "qzil-planted")
    parser.add_argument("--check", action="store_true")
    parser.add_argument("names", nargs="*")
    arguments = parser.parse_args()
    chosen = faults(arguments.names)
    lost = [f["name"] for f in chosen if misplaced(f)]
    if lost or arguments.check:
        print(f"{len(chosen)} faults", "without one place in its file: " + " ".join(lost) if lost else "in place")
        return bool(lost)
    prepare(arguments.scratch)
    tests = {t for f in chosen for t in f["tests"].split(";")}
    if not build(arguments.scratch, programs_of(tests)):
        return "does not build without a fault"
    failing = {t for t in sorted(tests) if not passes(arguments.scratch, t)}
    if failing:
        print("fail without a fault, and see none: " + ", ".join(sorted(failing)))
    missed = 0
    for fault in chosen:
        result = outcome(arguments.scratch, fault, failing)
        missed += not result.startswith("seen")
        print(f"{fault['name']:20} {result}: {fault['meaning']}", flush=True)
    print(f"{len(chosen) - missed} of {len(chosen)} seen")
    return missed != 0


if __name__ == "__main__":
    sys.exit(main())
