#!/usr/bin/env python3
"""Does what the tutorial says and compares what it shows.

usage: tutorial.py [--update] PAGE CLI_SHELL LIBRARY HEADERS

A block ```KIND NAME is written as a file; of a block ```console each line "$ COMMAND" is run, and what follows it is
what the command prints. --update writes what is printed now into the page."""
import os
import re
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"^```(?P<kind>\w+)(?: (?P<name>\S+))?\n(?P<text>.*?)^```$", re.MULTILINE | re.DOTALL)
STEP = re.compile(r"^\$ (?P<command>.*)\n(?:(?!\$ ).*\n)*", re.MULTILINE)


def run(step, folder, environment):
    done = subprocess.run(["sh", "-c", step["command"]], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=120)
    printed = re.sub(r"[ \t]+$", "", done.stdout, flags=re.MULTILINE)
    return f"$ {step['command']}\n{printed}"


def play(block, folder, environment):
    if block["name"]:
        with open(os.path.join(folder, block["name"]), "w", encoding="utf-8") as file:
            file.write(block["text"])
    if block["kind"] != "console":
        return block[0]
    return "```console\n" + STEP.sub(lambda step: run(step, folder, environment), block["text"]) + "```"


def main(arguments):
    update = arguments[:1] == ["--update"]
    page, shell, library, headers = arguments[update:]
    with open(page, encoding="utf-8") as file:
        text = file.read()
    with tempfile.TemporaryDirectory() as folder:
        environment = dict(os.environ, PATH=os.path.dirname(shell) + ":" + os.environ["PATH"], CPATH=headers,
                           LIBRARY_PATH=os.path.dirname(library), PKG_CONFIG_PATH=os.path.dirname(library) + "/..",
                           XDG_STATE_HOME=folder, LC_ALL="C.UTF-8")
        played = BLOCK.sub(lambda block: play(block, folder, environment), text)
    if "```console\n" not in text:
        sys.exit(f"{page} has no commands")
    if update:
        with open(page, "w", encoding="utf-8") as file:
            file.write(played)
    for said, done in zip(text.splitlines(), played.splitlines()):
        if said != done and not update:
            sys.exit(f"{page} says\n{said}\nand what is printed is\n{done}")
    if text != played and not update:
        sys.exit(f"{page}: the output of its last commands differs")


main(sys.argv[1:])
