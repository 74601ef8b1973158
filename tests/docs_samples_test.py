#!/usr/bin/env python3
"""Compiles and runs the programs of a Markdown page and compares what they print.

usage: docs_samples_test.py [--update] PAGE... -- COMPILER [FLAG...]

A program is a fenced block ```c with a main function. Before it may stand ```json NAME blocks, the files that it reads;
after it ```text input, what it reads from standard input, and ```text, what it prints, colour sequences left out.
--update writes what the programs print into the pages. The flags hold what to link; SOURCE stands for the program."""
import os
import re
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"^```(?P<kind>\w+)(?: (?P<name>\S+))?\n(?P<text>.*?)^```$", re.MULTILINE | re.DOTALL)
WARNINGS = ["-std=c11", "-Wall", "-Wextra", "-Wpedantic", "-Werror"]


class Sample:
    def __init__(self, program):
        self.program = program
        self.input = ""
        self.expected = None  # the block, as a match


def samples_of(text, folder):
    """The programs of a page, in order; its JSON files are written into the folder."""
    samples = []
    for block in BLOCK.finditer(text):
        kind, name = block["kind"], block["name"]
        if kind == "json" and name:
            with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                file.write(block["text"])
        elif kind == "c" and re.search(r"^int main\(", block["text"], re.MULTILINE):
            samples.append(Sample(block))
        elif kind == "text" and samples and not samples[-1].expected:
            if name == "input":
                samples[-1].input = block["text"]
            else:
                samples[-1].expected = block
    return samples


def output_of(sample, folder, compiler):
    source, binary = os.path.join(folder, "host.c"), os.path.join(folder, "host")
    with open(source, "w", encoding="utf-8") as file:
        file.write(sample.program["text"])
    command = [compiler[0], *WARNINGS, *[source if flag == "SOURCE" else flag for flag in compiler[1:]], "-o", binary]
    built = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if built.returncode != 0:
        return built.stdout
    done = subprocess.run([binary], cwd=folder, input=sample.input, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, timeout=60)
    status = f"(exit status {done.returncode})\n" if done.returncode != 0 else ""
    output = re.sub(r"\033\[[0-9;]*m", "", done.stdout) + status
    return output if output.endswith("\n") else output + "\n"


def check(page, compiler, update):
    with open(page, encoding="utf-8") as file:
        text = file.read()
    faults, count, changed = [], 0, text
    with tempfile.TemporaryDirectory() as folder:
        for sample in reversed(samples_of(text, folder)):  # from the end, so that an update moves no earlier block
            line = text.count("\n", 0, sample.program.start()) + 1
            if not sample.expected:
                faults.append(f"{page}:{line}: the program's output is missing")
                continue
            count += 1
            output = output_of(sample, folder, compiler)
            if output != sample.expected["text"]:
                faults.append(f"{page}:{line}: the program prints\n{output}instead of\n{sample.expected['text']}")
                changed = changed[:sample.expected.start("text")] + output + changed[sample.expected.end("text"):]
    if update and changed != text:
        with open(page, "w", encoding="utf-8") as file:
            file.write(changed)
    return faults, count


arguments = sys.argv[1:]
update = arguments[:1] == ["--update"]
separator = arguments.index("--")
total = 0
for page in arguments[update:separator]:
    faults, count = check(page, arguments[separator + 1:], update)
    total += count
    if faults:
        sys.exit("\n".join(reversed(faults)))
if total == 0:
    sys.exit("there are no programs")
print(f"{total} programs print what the pages say")
