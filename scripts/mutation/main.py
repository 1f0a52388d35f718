"""Changes the text logic and the operations one small piece at a time, and looks whether a
test notices. See scripts/mutants --help."""

import argparse
import collections
import concurrent.futures
import hashlib
import json
import os
import queue
import random
import sys
import threading
import time

import page
import places
import tree

NOTICED = ("failed", "no end")
COLUMNS = ("mutants", "noticed", "same code", "explained", "UNEXPLAINED")


class Records:
    """What became of each mutant, kept in the tree so that a run can be resumed."""

    def __init__(self, path):
        self.path, self.lock, self.known = path, threading.Lock(), {}
        if os.path.exists(path):
            for line in open(path, encoding="utf-8"):
                record = json.loads(line)
                self.known[record["key"]] = record

    def add(self, key, source, outcome):
        record = {"key": key, "source": source, "outcome": outcome}
        with self.lock:
            self.known[key] = record
            with open(self.path, "a", encoding="utf-8") as file:
                file.write(json.dumps(record, ensure_ascii=False) + "\n")

    def get(self, key, source):
        record = self.known.get(key)
        return record["outcome"] if record and record["source"] == source else None


def all_mutants(built, wanted):
    found = []
    for file in sorted(built.arguments):
        if not wanted or file in wanted:
            reader = places.Reader(built.root, file, built.reader_arguments(file))
            found += reader.mutants(file in built.operations)
    return found


def run(built, mutants, records, workers, seconds):
    """Finds each mutant's outcome; not of all when the time is over."""
    texts = {m.file: open(f"{built.root}/{m.file}", "rb").read() for m in mutants}
    folders = queue.Queue()
    for number in range(workers):
        folder = f"{built.scratch}/worker{number}"
        os.makedirs(folder, exist_ok=True)
        folders.put(folder)
    started, done, lock = time.monotonic(), [0], threading.Lock()

    def is_over():
        return seconds and time.monotonic() - started > seconds

    def batch_of(file):
        inside = [m for m in mutants if m.file == file and m.body]
        return tree.Batch(built, file, inside) if inside and not is_over() else None

    def one(mutant, batches):
        if is_over():
            return
        folder = folders.get()
        try:
            if not mutant.body:
                outcome = built.outcome_alone(folder, mutant, texts[mutant.file])
            elif batches[mutant.file]:
                outcome = batches[mutant.file].outcome(folder, mutant)
            else:
                return
        finally:
            folders.put(folder)
        records.add(mutant.key, hash_of(texts[mutant.file]), outcome)
        with lock:
            done[0] += 1
            if done[0] % 100 == 0:
                print(f"{done[0]} of {len(mutants)} in {time.monotonic() - started:.0f} s",
                      file=sys.stderr, flush=True)

    with concurrent.futures.ThreadPoolExecutor(workers) as pool:
        files = sorted(texts)
        batches = dict(zip(files, pool.map(batch_of, files)))
        for future in [pool.submit(one, mutant, batches) for mutant in mutants]:
            future.result()


def hash_of(text):
    return hashlib.sha256(text).hexdigest()[:16]


def table(rows):
    lines = [("file", *COLUMNS)] + rows
    widths = [max(len(str(row[i])) for row in lines) for i in range(len(lines[0]))]
    for row in lines:
        print("  ".join(str(cell).ljust(widths[0]) if i == 0 else str(cell).rjust(widths[i])
                        for i, cell in enumerate(row)))


def report(built, chosen, records, complete):
    """Prints the table and what is open; true when nothing is."""
    reasons = page.explained(built.root)
    texts = {m.file: hash_of(open(f"{built.root}/{m.file}", "rb").read()) for m in chosen}
    counts, sorts, open_ones = collections.defaultdict(collections.Counter), collections.Counter(), []
    stale = []
    for mutant in chosen:
        outcome = records.get(mutant.key, texts[mutant.file])
        if outcome is None:
            complete = False
        if outcome in (None, "not compiled"):
            continue
        counts[mutant.file]["mutants"] += 1
        sorts[mutant.sort] += 1
        if outcome in NOTICED:
            counts[mutant.file]["noticed"] += 1
        elif outcome == "same code":
            counts[mutant.file]["same code"] += 1
        elif mutant.key in reasons:
            counts[mutant.file]["explained"] += 1
        else:
            counts[mutant.file]["UNEXPLAINED"] += 1
            open_ones.append(mutant)
        if mutant.key in reasons and outcome != "survived":
            stale.append(mutant.key)
    rows = [(file, *(count[c] for c in COLUMNS)) for file, count in sorted(counts.items())]
    table(rows + [("all", *(sum(count[c] for count in counts.values()) for c in COLUMNS))])
    print(", ".join(f"{count} {sort}" for sort, count in sorts.most_common()))
    for mutant in open_ones:
        print(f"\n{mutant.file}:{mutant.line} survived, {mutant.sort}:\n{mutant.key}")
    if complete:
        keys = {mutant.key for mutant in chosen}
        stale += [key for key in reasons if key not in keys and key.split(" :: ")[0] in texts]
    for key in stale:
        print(f"\n{page.PAGE} explains what does not survive:\n{key}")
    return not open_ones and not stale


def main():
    parser = argparse.ArgumentParser(prog="scripts/mutants")
    parser.add_argument("--file", action="append")
    parser.add_argument("--sample", type=int)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--sort")
    parser.add_argument("--resume", action="store_true")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--workers", type=int, default=2)
    parser.add_argument("--seconds", type=int)
    parser.add_argument("--root", required=True)
    parser.add_argument("--tree", required=True)
    options = parser.parse_args()

    built = tree.Tree(options.root, options.tree)
    unknown = set(options.file or ()) - set(built.arguments)
    if unknown:
        raise SystemExit(f"Neither text logic nor operation: {', '.join(sorted(unknown))}")
    chosen = [m for m in all_mutants(built, options.file)
              if not options.sort or m.sort == options.sort]
    complete = not options.sample and not options.sort
    if options.sample:
        chosen = random.Random(options.seed).sample(chosen, min(options.sample, len(chosen)))
    if options.list:
        for mutant in chosen:
            print(f"{mutant.file}:{mutant.line} {mutant.sort}: {mutant.what}")
        return 0
    path = f"{built.scratch}/records.jsonl"
    if not options.resume and os.path.exists(path):
        os.remove(path)
    records = Records(path)
    hashes = {m.file: hash_of(open(f"{built.root}/{m.file}", "rb").read()) for m in chosen}
    # A survivor is tried again: a test may have come since.
    todo = [m for m in chosen if records.get(m.key, hashes[m.file]) in (None, "survived")]
    built.survivors = {m.key for m in todo if records.get(m.key, hashes[m.file])}
    # Survivors first; then the files mixed, so that a run that is cut short has seen
    # something of each.
    random.Random(options.seed).shuffle(todo)
    todo.sort(key=lambda m: records.get(m.key, hashes[m.file]) is None)
    started = time.monotonic()
    run(built, todo, records, options.workers, options.seconds)
    good = report(built, chosen, records, complete)
    left = sum(records.get(m.key, hashes[m.file]) is None for m in chosen)
    print(f"\n{len(todo) - left} mutants were tried in {time.monotonic() - started:.0f} s.")
    if left:
        print(f"{left} were not tried: the time was over. Go on with --resume.")
    return 0 if good and not left else 1


if __name__ == "__main__":
    sys.exit(main())
