#!/usr/bin/env python3
"""Keeps what bench.sh prints, and compares what was kept.

  bench_ratios.py keep RUNS.json < MARKDOWN   adds one run to the file, and prints its ratios in one table
  bench_ratios.py compare OLD.json NEW.json   tells which ratios became worse, and which better, by more
                                              than the noise; ends with 1 when some became worse

A file holds the runs of one state of the code; a second and third run of the same state tell how much its
ratios vary by themselves. Only ratios are compared, for they are of things measured by turns in one run.
"""
import json
import re
import statistics
import sys

# The columns that compare us with somebody; less is better in all of them.
RATIO = re.compile(r"\bratio\b|\bto it$|\bshare$")
# What two runs may differ by, even if those that were kept agree better.
LEAST_NOISE = 0.05


def cells(line):
    return [cell.strip() for cell in line.strip().strip("|").split("|")]


def number(text):
    """The value of a cell, or None for a text."""
    match = re.fullmatch(r"-?[\d,]*\.?\d+(?:e[+-]?\d+)?", text)
    return float(text.replace(",", "")) if match else None


def tables(lines):
    """The Markdown tables, each with the last line of text above it."""
    title, table = "", []
    for line in list(lines) + [""]:
        if line.startswith("|"):
            table.append(cells(line))
            continue
        if len(table) > 2:
            yield title, table[0], [row for row in table[2:] if len(row) == len(table[0])]
        table = []
        if line.strip() and not line.startswith("```"):
            title = line.strip().rstrip(":")


def parse(lines):
    run = []
    for title, head, rows in tables(lines):
        for row in rows:
            values = {name: number(cell) for name, cell in zip(head, row)}
            texts = [cell for cell in row if cell and number(cell) is None]
            run.append({"table": title, "row": " ".join(texts) or row[0],
                        "values": {name: value for name, value in values.items() if value is not None}})
    return run


def ratios(run):
    found = {}
    for row in run:
        for name, value in row["values"].items():
            if RATIO.search(name):
                key = (row["table"], row["row"], name)
                while key in found:
                    key = (key[0], key[1] + "'", key[2])
                found[key] = value
    return found


def load(path):
    try:
        with open(path, encoding="utf-8") as file:
            return json.load(file)
    except FileNotFoundError:
        return []


def print_table(head, rows):
    print("| " + " | ".join(head) + " |")
    print("| " + " | ".join("---" for _ in head) + " |")
    for row in rows:
        print("| " + " | ".join(row) + " |")


def keep(path):
    run = parse(sys.stdin.read().splitlines())
    if not run:
        sys.exit("bench_ratios.py: no table in what came in")
    runs = load(path)
    runs.append(run)
    with open(path, "w", encoding="utf-8") as file:
        json.dump(runs, file, indent=1)
    print_table(["measured", "against", "ratio"],
                [[table, row, f"{value:.3f}"] for (table, row, _), value in ratios(run).items()])


def spread(values):
    middle = statistics.median(values)
    return max(abs(value - middle) for value in values) / middle if middle > 0 else 0


def compare(old_path, new_path):
    old, new = load(old_path), load(new_path)
    if not old or not new:
        sys.exit("bench_ratios.py: nothing kept in " + (new_path if old else old_path))
    before, after = [ratios(run) for run in old], [ratios(run) for run in new]
    worse, rows = 0, []
    for key in before[0]:
        was = [run[key] for run in before if key in run]
        now = [run[key] for run in after if key in run]
        if not now or statistics.median(was) <= 0:
            continue
        noise = max(LEAST_NOISE, 2 * spread(was), 2 * spread(now))
        change = statistics.median(now) / statistics.median(was) - 1
        if abs(change) <= noise:
            continue
        worse += change > 0
        rows.append([key[0], key[1], f"{statistics.median(was):.3f}", f"{statistics.median(now):.3f}",
                     f"{100 * change:+.0f} %", f"{100 * noise:.0f} %"])
    if rows:
        print_table(["measured", "against", "was", "is", "change", "noise"], rows)
    same = len(before[0]) - len(rows)
    print(f"\n{worse} worse, {len(rows) - worse} better, {same} the same or not in both.")
    sys.exit(1 if worse else 0)


def main():
    words = sys.argv[1:]
    if len(words) == 2 and words[0] == "keep":
        keep(words[1])
    elif len(words) == 3 and words[0] == "compare":
        compare(words[1], words[2])
    else:
        sys.exit(__doc__.strip())


main()
