#!/usr/bin/env python3
"""The pictures of the pages: sessions with the examples, typed at a real prompt.

usage: captures.py [--update] CLI_SHELL ROUTER_HANDLERS SWITCH_HANDLERS SOURCE_DIR

Compares what the screen shows with the blocks ```text NAME of the router's page and with the picture of the front page,
in colour, or writes it there; and what the front page quotes of the switch with the example's files."""
import os
import re
import sys
import tempfile
from html import escape

import pexpect

# Keys by picture. Each picture goes on where the one before it ended.
ROUTER = [
    ("prompt", ["enable\r", "configure terminal\r", "hostname edge1\r", "vlan 20\r", "name staff\r", "vlan 30\r",
                "name guests\r", "end\r"]),
    ("error", ["conf t\r", "vlan 20 stat\r", "vlan 4095\r"]),
    ("help", ["vlan ?", "20\r", "s?", "tate ?", "suspend\r", "end\r"]),
    ("table", ["sh vlan br\r", "show running-config | include ^vlan|name\r"]),
]
SWITCH = [("switch", ["port 2\r", "sp 10\r", "speed ?", "1000\r", "sh po\r"])]
PROMPT = re.compile(r"(?:cli|edge1|switch)(?:\([\w-]+\))?[>#] ")

COLOURS = {31: "#ff7b72", 32: "#7ee787", 33: "#e3b341", 34: "#79c0ff", 35: "#d2a8ff", 36: "#56d4dd"}
TEXT, TYPED, GROUND = "#c9d1d9", "#ffffff", "#0d1117"
COLUMN, ROW, EDGE = 8.4, 19, 16  # pixels


class Screen:
    """As much of a terminal as the line editor needs: lines of (character, colour)."""

    def __init__(self):
        self.lines, self.column, self.colour = [[]], 0, TEXT

    def feed(self, text):
        for sequence, count, kind, char in re.findall(r"(\x1b\[[?]?(\d*)[0-9;]*([A-Za-z]))|(.)", text, re.DOTALL):
            if not sequence:
                self.put(char)
            elif kind == "G":
                self.column = int(count or 1) - 1
            elif kind == "K":
                del self.lines[-1][self.column:]
            elif kind == "m":
                self.colour = COLOURS.get(int(count or 0), TEXT)

    def put(self, char):
        if char == "\n":
            self.lines.append([])
        elif char == "\r":
            self.column = 0
        elif char == "\b":
            self.column -= 1
        else:
            line = self.lines[-1]
            line += [(" ", TEXT)] * (self.column + 1 - len(line))
            line[self.column] = (char, self.colour)
            self.column += 1

    def text(self):
        return "".join("".join(char for char, _ in line) + "\n" for line in self.lines)

    def svg(self):
        """The screen as a picture; what was typed behind a prompt stands out."""
        width = 2 * EDGE + COLUMN * 64
        height = 2 * EDGE + ROW * len(self.lines)
        rows = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width:.0f}" height="{height}" '
                f'viewBox="0 0 {width:.0f} {height}">',
                f'<rect width="100%" height="100%" rx="8" fill="{GROUND}"/>',
                '<g font-family="ui-monospace,Menlo,Consolas,\'DejaVu Sans Mono\',monospace" font-size="14">']
        for number, line in enumerate(self.lines):
            prompt = PROMPT.match("".join(char for char, _ in line))
            for column, text, colour in runs_of(line, prompt.end() if prompt else 0):
                rows.append(f'<text x="{EDGE + COLUMN * column:.1f}" y="{EDGE + ROW * number + 14}" fill="{colour}" '
                            f'textLength="{COLUMN * len(text):.1f}">{escape(text, quote=False)}</text>')
        return "\n".join([*rows, "</g>", "</svg>"]) + "\n"


def runs_of(line, prompt):
    """The words of a line with their columns, tabs as columns of eight; what follows a prompt was typed."""
    column, run = 0, None
    for index, (char, colour) in enumerate(line):
        if char in " \t":
            if run:
                yield run
            run = None
            column += 8 - column % 8 if char == "\t" else 1
            continue
        colour = TYPED if prompt and index >= prompt and colour == TEXT else colour
        if run and run[2] != colour:
            yield run
            run = None
        run = (run[0], run[1] + char, colour) if run else (column, char, colour)
        column += 1
    if run:
        yield run


def coloured(typed):
    """What shows a line that was typed: the editor may colour its words."""
    colours = r"(?:\x1b\[[0-9;]*m)*"
    return colours + "".join(re.escape(char) + colours for char in typed)


def captures(command, pictures):
    """The screen of each picture, by name."""
    with tempfile.TemporaryDirectory() as home:
        environment = {"PATH": os.environ["PATH"], "HOME": home, "XDG_STATE_HOME": home, "TERM": "xterm",
                       "LC_ALL": "C.UTF-8", **{k: v for k, v in os.environ.items() if k.endswith("SAN_OPTIONS")}}
        child = pexpect.spawn(command[0], ["--no-more", *command[1:]], env=environment, timeout=60,
                              dimensions=(50, 100), encoding="utf-8")
        child.delaybeforesend = None
        pending = ""
        for name, steps in pictures:
            screen = Screen()
            screen.feed(pending)
            typed = ""
            for keys in [None, *steps]:
                if keys:
                    child.send(keys)
                    typed = (typed + keys).rstrip("?")
                    if keys.endswith("\r"):
                        typed = ""
                if keys or not pending:
                    # The end of a step is the prompt with what stands in the line again.
                    child.expect(r"\x1b\[\?2004h(?:\r\x1b\[[JK])?(" + PROMPT.pattern + coloured(typed) + r")(?![^\x1b])")
                    screen.feed(child.before + child.after)
            pending = "".join(char for char, _ in screen.lines.pop())
            yield name, screen
        child.sendeof()
        child.expect(pexpect.EOF)


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def put(path, wanted, update):
    """Says what is missing in a file, or writes it."""
    present = read(path) if os.path.exists(path) else ""
    if update:
        with open(path, "w", encoding="utf-8") as file:
            file.write(wanted)
    elif present != wanted:
        shown = [line for line in wanted.splitlines() if line not in present.splitlines()]
        sys.exit(f"{path} is not what the screen shows:\n" + "\n".join(shown))


def put_router(shell, handlers, folder, update):
    page = os.path.join(folder, "README.md")
    text = read(page)
    command = [shell, "--handlers", handlers, "--privileges", folder + "/privileges.json", "--color=never",
               folder + "/router.json"]
    for name, screen in captures(command, ROUTER):
        text, count = re.subn(rf"(^```text {name}\n).*?(?=^```$)", lambda m, s=screen: m[1] + s.text(), text,
                              flags=re.MULTILINE | re.DOTALL)
        if count != 1:
            sys.exit(f"{page} has no place for the picture {name!r}")
    put(page, text, update)


def put_switch(shell, handlers, source, update):
    folder = source + "/examples/switch"
    command = [shell, "--handlers", handlers, "--name=switch", folder + "/switch.json"]
    for name, screen in captures(command, SWITCH):
        put(f"{source}/docs/{name}.svg", screen.svg(), update)
    for name, quoted in re.findall(r"^```\w+ (switch\.\w+)\n(.*?)^```$", read(source + "/README.md"),
                                   re.MULTILINE | re.DOTALL):
        if quoted not in read(os.path.join(folder, name)):
            sys.exit(f"README.md: that is not in {folder}/{name}:\n{quoted}")


def main(arguments):
    update = arguments[:1] == ["--update"]
    shell, router, switch, source = arguments[update:]
    put_router(shell, router, source + "/examples/router", update)
    put_switch(shell, switch, source, update)


main(sys.argv[1:])
