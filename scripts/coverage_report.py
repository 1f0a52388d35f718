"""What scripts/coverage compares: the places of the product that no test ran, read from
llvm-cov's export, and those that docs/coverage.md names.

usage: coverage_report.py ROOT EXPORT.json COMPILE_COMMANDS.json

A place is a piece of code that never ran, or a condition that was never true or never
false. Clang counts by the source: a branch that the compiler adds for an exception or a
destructor is none. Exit code 1 when the places and the page differ.
"""

import collections
import json
import os
import re
import sys

LIBRARIES = ("kov_text.dir", "kov_card_text.dir", "kov_operations.dir")
CODE_REGION = 0
PAGE = "docs/coverage.md"


def product_files(root, commands):
    """The sources of the text logic and the operations, with the headers beside them."""
    files = set()
    for entry in json.load(open(commands, encoding="utf-8")):
        if any(library in entry.get("output", entry["command"]) for library in LIBRARIES):
            source = os.path.relpath(entry["file"], root)
            files.add(source)
            header = os.path.splitext(source)[0] + ".h"
            if os.path.exists(os.path.join(root, header)):
                files.add(header)
    return files


class Source:
    """A file's text by llvm-cov's places: lines from 1, columns in bytes from 1."""

    def __init__(self, path):
        self.lines = open(path, "rb").read().split(b"\n")

    def text(self, begin_line, begin, end_line, end):
        if begin_line == end_line:
            piece = self.lines[begin_line - 1][begin - 1:end - 1]
        else:
            piece = b"\n".join([self.lines[begin_line - 1][begin - 1:]]
                               + self.lines[begin_line:end_line - 1]
                               + [self.lines[end_line - 1][:end - 1]])
        return re.sub(r"\s+", " ", piece.decode("utf-8")).strip()

    def first_line(self, begin_line, begin, end_line, end):
        text = self.text(begin_line, begin, end_line, end)
        if begin_line == end_line:
            return text
        return self.lines[begin_line - 1].decode("utf-8").strip()


Counts = collections.namedtuple("Counts", "regions branches")


def counts_of(export, root, files):
    """For each file the highest count of each region and branch over all instantiations."""
    found = {file: Counts({}, {}) for file in files}
    for function in export["data"][0]["functions"]:
        names = [os.path.relpath(name, root) for name in function["filenames"]]
        for *place, count, file_id, _, kind in function["regions"]:
            if kind == CODE_REGION and names[file_id] in found:
                regions = found[names[file_id]].regions
                regions[tuple(place)] = max(regions.get(tuple(place), 0), count)
        for *place, taken, not_taken, file_id, _, _ in function.get("branches", []):
            if names[file_id] in found:
                branches = found[names[file_id]].branches
                old = branches.get(tuple(place), (0, 0))
                branches[tuple(place)] = (max(old[0], taken), max(old[1], not_taken))
    return found


def holds(outer, inner):
    return outer != inner and outer[:2] <= inner[:2] and inner[2:4] <= outer[2:4]


def uncovered(counts, source):
    """(line, text, what never happened) of each place; of code that never ran the
    outermost piece, by its first line."""
    dead = [place for place, count in counts.regions.items() if count == 0]
    for place in sorted(dead):
        if not any(holds(other, place) for other in dead):
            yield place[0], source.first_line(*place), "run"
    for place, (taken, not_taken) in sorted(counts.branches.items()):
        # Neither: its code never ran, which the region says; or it is a constant.
        if taken == 0 and not_taken > 0:
            yield place[0], source.text(*place), "true"
        if not_taken == 0 and taken > 0:
            yield place[0], source.text(*place), "false"


def named_places(root):
    """The rows of the page's table: file, text, never what."""
    page = os.path.join(root, PAGE)
    rows = set()
    if os.path.exists(page):
        for line in open(page, encoding="utf-8"):
            match = re.match(r"\| `([^`]+)` \| ``?(.+?)``? \| (run|true|false) \| [^|]+ \|$", line)
            if match:
                rows.add((match[1], match[2].strip().replace("\\|", "|"), match[3]))
    return rows


def main(root, export_path, commands):
    files = product_files(root, commands)
    found = counts_of(json.load(open(export_path, encoding="utf-8")), root, files)
    named, seen, failed = named_places(root), set(), False
    totals = collections.Counter()
    for file in sorted(files):
        source = Source(os.path.join(root, file))
        counts = found[file]
        lines = {line for (begin, _, end, _) in counts.regions for line in range(begin, end + 1)}
        totals["lines"] += len(lines)
        totals["regions"] += len(counts.regions)
        totals["branches"] += 2 * sum(taken + other > 0 for taken, other in counts.branches.values())
        for line, text, never in uncovered(counts, source):
            seen.add((file, text, never))
            if (file, text, never) not in named:
                failed = True
                print(f"{file}:{line}: never {never}: {text}")
    for file, text, never in sorted(named - seen):
        failed = True
        print(f"{PAGE}: this happens now, or is gone: {file}: never {never}: {text}")
    print(f"{len(files)} files, {totals['lines']} lines, {totals['regions']} regions, "
          f"{totals['branches']} branches; {len(seen)} places never reached, "
          f"{len(seen & named)} of them named on {PAGE}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(os.path.realpath(sys.argv[1]), sys.argv[2], sys.argv[3]))
