"""Reads what bench/run measured and prints it as a table.

  report.py times|instructions RESULTS
  report.py check|bound RESULTS BOUNDS
  report.py figures RESULTS PAGE        rewrites the part of the page that the marks enclose
"""

import datetime
import json
import os
import pathlib
import re
import sys

SPARE = 1.10


class Row:
    """One path: a figure for each size."""

    def __init__(self, path):
        self.path = path
        self.figures = {}
        self.units = {}
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
            row.units[int(size)] = entry["units"]
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


# ---- The page ----

PAGE_BEGIN = "<!-- bench/run --figures writes what follows -->"
PAGE_END = "<!-- bench/run --figures wrote this -->"

LINES = ["execute/one_word", "execute/two_words", "execute/three_words", "lines/abbreviation", "lines/do",
         "lines/enclosing", "lines/mode_entry", "lines/extra_word", "lines/invalid_argument", "lines/missing_argument",
         "lines/ambiguous_word", "lines/unknown_word"]
LOADS = ["load/siblings", "load/privileges", "load/aliases", "load/modes", "load/depth", "load/arguments"]
QUERIES = ["query/find", "query/miss", "query/value", "query/condition"]


def markdown(header, rows):
    """Lines of a table; all columns but the first one are numbers."""
    return ["| " + " | ".join(header) + " |", "|---|" + "---:|" * (len(header) - 1),
            *("| " + " | ".join(row) + " |" for row in rows), ""]


def figures_table(rows, unit):
    sizes = sorted({size for row in rows.values() for size in row.figures})
    header = [unit + " at", *(grouped(size) for size in sizes), "growth"]
    return markdown(header, ([f"`{row.path}`", *(cell(row.figures.get(size)) for size in sizes), f"{row.growth():.2f}"]
                             for row in rows.values()))


def worst(rows, paths, size=None):
    """The largest figure of the paths, at the size or at the largest one, and its path."""
    return max((rows[path].figures[size or max(rows[path].figures)], f"`{path}`") for path in paths)


def short(value):
    return grouped(value) if value >= 100 else f"{value:.3g}"


def limits_table(times, counts, router):
    lines = []

    def limit(what, most, unit, measured, path=""):
        lines.append([what, f"{short(most)} {unit}", f"{short(measured)} {unit}", path])

    for size, allowed in ((100, 3500), (100000, 5250)):
        limit(f"a line, {grouped(size)} siblings", allowed, "instructions", *worst(counts, LINES, size))
    for size, allowed in ((100, 600), (10000, 1000), (100000, 2000)):
        limit(f"a line, {grouped(size)} siblings", allowed, "ns", *worst(times, LINES, size))
    for name, path, allowed in (("completion", "interactive/complete", (3000, 5000)),
                                ("help", "interactive/help", (6000, 9000))):
        for size, ns in zip((100, 100000), allowed):
            limit(f"{name} of ten words, {grouped(size)} siblings", ns, "ns", *worst(times, [path], size))
    growth = max((counts[path].growth(), f"`{path}`") for path in QUERIES)
    limit("a query, 100 000 siblings against 100", 1, "times the instructions", *growth)
    limit("a replayed line of configuration", 500, "ns", *worst(times, ["replay/lines"]))
    limit("loading, for each node", 1500, "ns", *worst(times, LOADS))
    reading, both = times["load/read_alone"], times["load/read_and_load"]
    ratio = max(both.figures[size] / reading.figures[size] for size in both.figures)
    limit("reading and loading against reading alone", 1.6, "times", ratio, "`load/read_and_load`")
    def against(path, other):
        return max(times[path].figures[size] / times[other].figures[size] for size in times[other].figures)

    limit("a language from text to its first line against Jansson's reading alone", 0.35, "times",
          against("text/routing_first_line", "text/routing_jansson"), "`text/routing_first_line`")
    limit("a node of a language from text, all included", 300, "bytes",
          float(times["text/routing_first_line"].memory()[1]), "`text/routing_first_line`")
    limit("a further engine on a language", 30000, "ns", *worst(times, ["language/engine"]))
    limit("a further engine on a language", 65536, "bytes", max(times["language/engine"].whole.values()),
          "`language/engine`")
    limit("a line after a change of engine against one without", 1.5, "times",
          against("language/line_after_change", "language/line"), "`language/line_after_change`")
    limit("a cell, built and drawn", 333, "ns", *worst(times, ["table/build_and_draw"]))
    limit("a node without its texts", 208, "bytes", float(times["load/siblings"].memory()[0]), "`load/siblings`")
    limit("a line in the pager beyond its text", 96, "bytes", float(times["pager/feed_anew"].memory()[0]),
          "`pager/feed_anew`")
    limit("a cell beyond its text", 112, "bytes", float(times["table/build_and_draw"].memory()[0]),
          "`table/build_and_draw`")
    limit("the stripped shared library", 131072, "bytes", router["library"])
    limit("start of the router example", 10, "ms", router["start_up"])
    return markdown(["", "at most", "measured", "the worst of its paths"], lines)


def memory_table(times):
    rows = []
    for path in [*LOADS, "pager/feed_anew", "table/build_and_draw"]:
        row = times[path]
        size = max(row.bytes)
        command = f"{row.whole[size] * row.units[size] / size:.0f}" if path == "load/siblings" else ""
        rows.append([f"`{path}`", *row.memory(), command])
    return markdown(["bytes", "for each", "with its texts", "for each command, whole"], rows)


def read_router(results):
    """What was measured of whole programs; see measure_router in bench/run."""
    footprint = (results / "footprint.txt").read_text()
    start_up, start_up_processor = map(float, (results / "start-up.txt").read_text().split())
    return {
        "library": int((results / "library.txt").read_text()),
        "library_minsize": int((results / "library-minsize.txt").read_text()),
        "nodes": re.search(r"^(\d+) nodes", footprint, re.M)[1],
        "node": re.search(r"(\d+) each", footprint)[1],
        "record": re.search(r"record holds (\d+)", footprint)[1],
        "start_up": start_up,
        "start_up_processor": start_up_processor,
    }


def router_table(router):
    return markdown(["", "measured"], [
        ["the stripped shared library, preset `release`", f"{grouped(router['library'])} bytes"],
        ["the stripped shared library, preset `minsize`", f"{grouped(router['library_minsize'])} bytes"],
        ["the engine record", f"{router['record']} bytes"],
        [f"a node of the router language ({router['nodes']} nodes) with its texts", f"{router['node']} bytes"],
        ["the router example from its start to the end of an empty input", f"{router['start_up']:.1f} ms"],
        ["processor time of that", f"{router['start_up_processor']:.1f} ms"],
    ])


def processor():
    names = re.findall(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.M)
    return f"{len(names)} processors ({names[0]})" if names else "an unknown processor"


def write_page(results, page):
    times, counts, router = read_times(results), read_instructions(results), read_router(results)
    lines = [
        PAGE_BEGIN, "",
        f"Measured on {datetime.date.today()} on {processor()}. The load of the machine was {os.getloadavg()[2]:.1f} in the",
        "last quarter of an hour; the benchmarks alone make 1.", "",
        "### Limits", "", "Those on times are meant for a machine that has nothing else to do.", "", *limits_table(times, counts, router),
        "### Instructions", "", *figures_table(counts, "instructions"),
        "### Times", "", *figures_table(times, "nanoseconds"),
        "### Memory", "", *memory_table(times),
        "### Whole programs", "", *router_table(router),
        PAGE_END,
    ]
    before, rest = page.read_text().split(PAGE_BEGIN)
    page.write_text(before + "\n".join(lines) + rest.split(PAGE_END)[1])


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
        write_page(results, pathlib.Path(rest[0]))
    else:
        return {"check": check, "bound": bound}[what](read_instructions(results), pathlib.Path(rest[0]))
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
