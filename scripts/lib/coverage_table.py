"""Prints gcovr's per-file CSV as scripts/coverage shows it: every file, then
every folder of src/, then the total, each weakest first (lines, then
branches), and last the files below the bar.

Usage: coverage_table.py COVERAGE.csv MIN_LINE_PERCENT MIN_BRANCH_PERCENT
"""

import csv
import sys
from collections import defaultdict


def percent(covered, total):
    return 100.0 * covered / total if total else None


def ranked(covered, total):
    # A file without branches has none to miss: it sorts and passes as full.
    return 100.0 * covered / total if total else 100.0


def cell(covered, total):
    share = percent(covered, total)
    if share is None:
        return f"{'-':>7} {'':>11}"
    return f"{share:6.1f}% {f'{covered}/{total}':>11}"


def weakest_first(rows):
    def key(item):
        _, (lines, lines_total, branches, branches_total) = item
        return (ranked(lines, lines_total), ranked(branches, branches_total), item[0])

    return sorted(rows, key=key)


def table(title, rows):
    width = max([len(title)] + [len(name) for name, _ in rows])
    print(f"{title:<{width}}  {'lines':>19}  {'branches':>19}")
    for name, (lines, lines_total, branches, branches_total) in rows:
        print(f"{name:<{width}}  {cell(lines, lines_total)}  {cell(branches, branches_total)}")
    print()


def main():
    path, min_lines, min_branches = sys.argv[1], float(sys.argv[2]), float(sys.argv[3])
    files = {}
    with open(path, newline="") as handle:
        for row in csv.DictReader(handle):
            files[row["filename"]] = tuple(
                int(row[column]) for column in ("line_total", "line_covered", "branch_total", "branch_covered")
            )
    # (covered, total) pairs, in the order the table shows them.
    files = {name: (lc, lt, bc, bt) for name, (lt, lc, bt, bc) in files.items()}
    folders = defaultdict(lambda: [0, 0, 0, 0])
    total = [0, 0, 0, 0]
    for name, counts in files.items():
        folder = "/".join(name.split("/")[:2])
        for i, count in enumerate(counts):
            folders[folder][i] += count
            total[i] += count

    table("file", weakest_first(files.items()))
    table("folder", weakest_first(folders.items()) + [("total", tuple(total))])

    weak = [
        (name, counts)
        for name, counts in weakest_first(files.items())
        if ranked(counts[0], counts[1]) < min_lines or ranked(counts[2], counts[3]) < min_branches
    ]
    print(f"Below {min_lines:g} % lines or {min_branches:g} % branches: {len(weak)} of {len(files)} files")
    for name, (lines, lines_total, branches, branches_total) in weak:
        print(f"  {name}: lines {cell(lines, lines_total).split()[0]}, branches {cell(branches, branches_total).split()[0]}")


if __name__ == "__main__":
    main()
