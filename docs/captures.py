#!/usr/bin/env python3
"""The pictures of README.md: sessions with the router example, typed at a real prompt.

usage: captures.py [--update] CLI_SHELL HANDLERS ROUTER_DIR PAGE

Compares what the screen shows with the blocks ```text NAME of the page, or writes it there."""
import os
import re
import sys
import tempfile

import pexpect

# Keys by picture. Each picture goes on where the one before it ended.
PICTURES = [
    ("prompt", ["enable\r", "configure terminal\r", "hostname edge1\r", "vlan 20\r", "name staff\r", "vlan 30\r",
                "name guests\r", "end\r"]),
    ("error", ["conf t\r", "vlan 20 stat\r", "vlan 4095\r"]),
    ("help", ["vlan ?", "20\r", "s?", "tate ?", "suspend\r", "end\r"]),
    ("table", ["sh vlan br\r", "show running-config | include ^vlan|name\r"]),
]
PROMPT = re.compile(r"(?:cli|edge1)(?:\([\w-]+\))?[>#] ")


class Screen:
    """As much of a terminal as the line editor needs."""

    def __init__(self):
        self.lines, self.column = [""], 0

    def feed(self, text):
        for sequence, count, kind, char in re.findall(r"(\x1b\[[?]?(\d*)[0-9;]*([A-Za-z]))|(.)", text, re.DOTALL):
            if not sequence:
                self.put(char)
            elif kind == "G":
                self.column = int(count or 1) - 1
            elif kind == "K":
                self.lines[-1] = self.lines[-1][:self.column]

    def put(self, char):
        if char == "\n":
            self.lines.append("")
        elif char == "\r":
            self.column = 0
        elif char == "\b":
            self.column -= 1
        else:
            line = self.lines[-1].ljust(self.column)
            self.lines[-1] = line[:self.column] + char + line[self.column + 1:]
            self.column += 1


def captures(shell, handlers, router):
    with tempfile.TemporaryDirectory() as home:
        environment = {"PATH": os.environ["PATH"], "HOME": home, "XDG_STATE_HOME": home, "TERM": "xterm",
                       "LC_ALL": "C.UTF-8", **{k: v for k, v in os.environ.items() if k.endswith("SAN_OPTIONS")}}
        child = pexpect.spawn(shell, ["--handlers", handlers, "--privileges", router + "/privileges.json",
                                      "--color=never", "--no-more", router + "/router.json"],
                              env=environment, timeout=60, dimensions=(50, 100), encoding="utf-8")
        child.delaybeforesend = None
        pending = ""
        for name, steps in PICTURES:
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
                    child.expect(r"\x1b\[\?2004h(?:\r\x1b\[[JK])?(" + PROMPT.pattern + re.escape(typed) + r")(?![^\x1b])")
                    screen.feed(child.before + child.after)
            pending = screen.lines.pop()
            yield name, "\n".join(screen.lines) + "\n"
        child.send("exit\r")
        child.expect(pexpect.EOF)


def main(arguments):
    update = arguments[:1] == ["--update"]
    shell, handlers, router, page = arguments[update:]
    with open(page, encoding="utf-8") as file:
        text = file.read()
    changed = text
    for name, picture in captures(shell, handlers, router):
        changed, count = re.subn(rf"(^```text {name}\n).*?(?=^```$)", lambda m, p=picture: m[1] + p, changed,
                                 flags=re.MULTILINE | re.DOTALL)
        if count != 1:
            sys.exit(f"{page} has no place for the picture {name!r}")
    if update:
        with open(page, "w", encoding="utf-8") as file:
            file.write(changed)
    elif changed != text:
        shown = [line for line in changed.splitlines() if line not in text.splitlines()]
        sys.exit(f"{page} is not what the screen shows:\n" + "\n".join(shown))


main(sys.argv[1:])
