"""Reads what bench/run measured and prints it as a table.

  report.py times|instructions|figures RESULTS
  report.py check|bound RESULTS BOUNDS
"""

import json
import pathlib
import re
import sys

SPARE = 1.10


class Row:
    """One path: a figure for each size."""

    def __init__(self, path):
        self.path = path
        self.figures = {}
        self.bytes = {}
        self.whole = {}

    def memory(self):
        """Bytes for a unit at the largest size, and with its texts."""
        return [f"{kind[max(kind)]:.0f}" if kind else "" for kind in (self.bytes, self.whole)]

    def growth(self):
        sizes = sorted(self.figures)
        return self.figures[sizes[-1]] / self.figures[sizes[0]]


def read_times(results):
    """Nanoseconds of processor time for one unit; the median where a path was measured several times."""
    rows = {}
    for file in sorted(results.glob("*.json")):
        for entry in json.loads(file.read_text())["benchmarks"]:
            if entry.get("aggregate_name", "median") != "median":
                continue
            if entry.get("run_type") == "iteration" and entry.get("repetitions", 1) > 1:
                continue
            path, size = entry["run_name"].rsplit("/", 1)
            row = rows.setdefault(path, Row(path))
            row.figures[int(size)] = entry["cpu_time"] / entry["units"]
            for kind, values in (("bytes", row.bytes), ("whole", row.whole)):
                if entry[kind]:
                    values[int(size)] = entry[kind]
    return rows


def read_instructions(results):
    """Instructions for one unit, from the parts of the profiles that the benchmarks named."""
    rows = {}
    for file in results.glob("callgrind.*"):
        text = file.read_text()
        label = re.search(r"^desc: Trigger: Client Request: (\S+) (\d+) (\S+)$", text, re.M)
        count = re.search(r"^(?:totals|summary): (\d+)$", text, re.M)
        if label and count:
            path, size, units = label.groups()
            row = rows.setdefault(path, Row(path))
            row.figures[int(size)] = int(count.group(1)) / float(units)
    return dict(sorted(rows.items()))


def grouped(value):
    return f"{value:,.0f}".replace(",", " ")


def show_table(rows, unit):
    if not rows:
        sys.exit("report.py: nothing was measured")
    sizes = sorted({size for row in rows.values() for size in row.figures})
    print(f"{unit + ' at':26}" + "".join(f"{grouped(size):>11}" for size in sizes) + f"{'growth':>9}{'bytes':>7}{'whole':>7}")
    for row in rows.values():
        cells = "".join(f"{cell(row.figures.get(size)):>11}" for size in sizes)
        memory = "".join(f"{value:>7}" for value in row.memory())
        print(f"{row.path:26}{cells}{row.growth():9.2f}{memory}".rstrip())


def cell(value):
    if value is None:
        return ""
    return grouped(value) if value >= 100 else f"{value:.1f}"


def show_markdown(rows, unit):
    sizes = sorted({size for row in rows.values() for size in row.figures})
    print(f"| {unit} at | " + " | ".join(grouped(size) for size in sizes) + " | growth | bytes | with texts |")
    print("|---|" + "---:|" * (len(sizes) + 3))
    for row in rows.values():
        cells = " | ".join(cell(row.figures.get(size)) for size in sizes)
        print(f"| {row.path} | {cells} | {row.growth():.2f} | {' | '.join(row.memory())} |")
    print()


def read_bounds(file):
    bounds = []
    for line in file.read_text().splitlines():
        if line and not line.startswith("#"):
            path, size, bound = line.split()
            bounds.append((path, int(size), int(bound)))
    return bounds


def check(rows, file):
    exceeded = False
    for path, size, bound in read_bounds(file):
        count = rows[path].figures[size]
        allowed = bound * SPARE
        verdict = "" if count <= allowed else "  EXCEEDED"
        exceeded = exceeded or count > allowed
        print(f"{path:26}{grouped(size):>9}{grouped(count):>9} of {grouped(allowed):>7}{verdict}")
    return 1 if exceeded else 0


def bound(rows, file):
    comments = [line for line in file.read_text().splitlines() if line.startswith("#")]
    lines = [f"{path} {size} {rows[path].figures[size]:.0f}" for path, size, _ in read_bounds(file)]
    file.write_text("\n".join(comments + lines) + "\n")
    return 0


def main(what, results, *rest):
    results = pathlib.Path(results)
    if what == "times":
        show_table(read_times(results), "nanoseconds")
    elif what == "instructions":
        show_table(read_instructions(results), "instructions")
    elif what == "figures":
        show_markdown(read_times(results), "nanoseconds")
        show_markdown(read_instructions(results), "instructions")
    else:
        return {"check": check, "bound": bound}[what](read_instructions(results), pathlib.Path(rest[0]))
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
