"""Applies each fault of mutations.py alone, rebuilds, runs the tests that
should notice it, and restores the file. Called by scripts/mutate inside a
Wine prefix; prints one line per fault and a summary."""
import os
import subprocess
import sys

sys.path.insert(0, os.path.dirname(__file__))
from mutations import MUTATIONS  # noqa: E402


def run(command):
    return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode


def try_fault(fault):
    path = fault["file"]
    with open(path, encoding="utf-8") as f:
        original = f.read()
    if original.count(fault["find"]) != 1:
        return "stale"  # the code moved on: the fault no longer applies once
    try:
        with open(path, "w", encoding="utf-8") as f:
            f.write(original.replace(fault["find"], fault["replace"]))
        if run(["cmake", "--build", "--preset", "test", "-j", str(os.cpu_count() or 2)]) != 0:
            return "caught by the compiler"
        tests = run(["ctest", "--preset", "test", "-j", "1", "--timeout", "300", "-R", fault["tests"]])
        return "caught" if tests != 0 else "SURVIVED"
    finally:
        with open(path, "w", encoding="utf-8") as f:
            f.write(original)


def main(args):
    if args[:1] == ["--list"]:
        for fault in MUTATIONS:
            print(f'{fault["name"]}: {fault["file"]} ({fault["tests"]})')
        return 0
    chosen = [m for m in MUTATIONS if not args or m["name"] in args]
    results = []
    for fault in chosen:
        verdict = try_fault(fault)
        if verdict == "SURVIVED" and "windows_only" in fault:
            verdict = "Windows only"
        results.append((fault, verdict))
        print(f'{verdict:>22}  {fault["name"]}', flush=True)
    # Leave the build as the source is.
    run(["cmake", "--build", "--preset", "test", "-j", str(os.cpu_count() or 2)])
    caught = sum(1 for _, v in results if v.startswith("caught"))
    windows = [f for f, v in results if v == "Windows only"]
    survived = [f for f, v in results if v == "SURVIVED"]
    stale = [f for f, v in results if v == "stale"]
    print(f"{len(results)} faults: {caught} caught, {len(survived)} survived, {len(windows)} only Windows can show, "
          f"{len(stale)} no longer apply")
    for fault in windows:
        print(f'  Windows only: {fault["name"]}: {fault["windows_only"]}')
    for fault in survived:
        print(f'  survived: {fault["name"]}: no test notices it: add one')
    for fault in stale:
        print(f'  stale: {fault["name"]}: update its text in scripts/lib/mutations.py')
    return 1 if survived or stale else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
