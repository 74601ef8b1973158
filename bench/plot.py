"""Draws the growth curves of what bench/run measured as an SVG picture on standard output: plot.py RESULTS"""

import math
import pathlib
import sys

import report

PANELS = [
    ("Lines, nanoseconds", ["execute/one_word", "execute/two_words", "execute/three_words", "lines/abbreviation",
                            "lines/do", "lines/enclosing", "lines/alias", "lines/extra_word"]),
    ("Completion and help, nanoseconds", ["interactive/complete", "interactive/complete_entries", "interactive/help"]),
    ("Queries, nanoseconds", ["query/find", "query/miss", "query/value", "query/condition"]),
    ("Loading, nanoseconds per node", ["load/siblings", "load/privileges", "load/aliases", "load/modes"]),
    ("Replay, nanoseconds per line", ["replay/lines", "replay/settings"]),
    ("Pager and tables, nanoseconds per line or cell", ["pager/feed", "pager/feed_anew", "pager/show",
                                                        "table/build_and_draw", "table/draw"]),
]
COLOURS = ["#1b6ca8", "#d1495b", "#2e933c", "#b07d00", "#7d3cb5", "#00838f", "#7a5230", "#555555"]
WIDTH, HEIGHT = 460, 300
LEFT, RIGHT, TOP, BOTTOM = 60, 20, 34, 40
COLUMNS = 2


def nice_ceiling(value):
    """The next 1, 2 or 5 times a power of ten."""
    power = 10 ** math.floor(math.log10(value))
    return next(step * power for step in (1, 2, 5, 10) if step * power >= value)


def text(x, y, words, anchor="start", size=11, colour="#222222", weight="normal"):
    return (f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" text-anchor="{anchor}" fill="{colour}" '
            f'font-weight="{weight}">{words}</text>')


def line(points, colour, width=1.0):
    path = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
    return f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="{width}"/>'


class Panel:
    """One diagram: sizes on a logarithmic axis, time on a linear one that begins at 0."""

    def __init__(self, title, rows):
        self.title = title
        self.rows = rows
        sizes = [size for row in rows for size in row.figures]
        self.first, self.last = math.log10(min(sizes)), math.log10(max(sizes))
        self.top = nice_ceiling(1.05 * max(max(row.figures.values()) for row in rows))

    def x(self, size):
        share = (math.log10(size) - self.first) / (self.last - self.first)
        return LEFT + share * (WIDTH - LEFT - RIGHT)

    def y(self, value):
        return HEIGHT - BOTTOM - value / self.top * (HEIGHT - TOP - BOTTOM)

    def axes(self):
        out = [text(LEFT, 20, self.title, size=13, weight="bold")]
        for i in range(5):
            value = self.top * i / 4
            out.append(line([(LEFT, self.y(value)), (WIDTH - RIGHT, self.y(value))], "#dddddd"))
            out.append(text(LEFT - 6, self.y(value) + 4, f"{value:g}", "end"))
        for exponent in range(math.ceil(self.first), math.floor(self.last) + 1):
            out.append(text(self.x(10**exponent), HEIGHT - BOTTOM + 16, report.grouped(10**exponent), "middle"))
        return out

    def curves(self):
        out = []
        for i, row in enumerate(self.rows):
            points = [(self.x(size), self.y(value)) for size, value in sorted(row.figures.items())]
            out.append(line(points, COLOURS[i], 2.0))
            out += [f'<circle cx="{x:.1f}" cy="{y:.1f}" r="2.5" fill="{COLOURS[i]}"/>' for x, y in points]
            out.append(text(LEFT + 8, TOP + 12 + 13 * i, row.path, colour=COLOURS[i], size=10))
        return out

    def draw(self):
        return self.axes() + self.curves()


def main(results):
    rows = report.read_times(pathlib.Path(results))
    panels = [Panel(title, [rows[path] for path in paths if path in rows]) for title, paths in PANELS]
    lines = math.ceil(len(panels) / COLUMNS)
    print(f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH * COLUMNS}" height="{HEIGHT * lines}" '
          f'font-family="sans-serif">')
    print('<rect width="100%" height="100%" fill="white"/>')
    for i, panel in enumerate(panels):
        print(f'<g transform="translate({i % COLUMNS * WIDTH},{i // COLUMNS * HEIGHT})">')
        print("\n".join(panel.draw()))
        print("</g>")
    print("</svg>")
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
