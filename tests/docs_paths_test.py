#!/usr/bin/env python3
"""Finds links and file names in the Markdown pages that lead nowhere.

usage: docs_paths_test.py SOURCE_DIR PAGE..."""
import os
import re
import sys

source, pages = sys.argv[1], sys.argv[2:]
PLACES = ["", "cli_engine", "cli_shell", "cli_shell/output"]  # a bare source name is one of these folders'
FILE_NAME = re.compile(r"[\w./-]+/|[\w./-]*\w\.(?:c|h|cpp|hpp|md|py|json|txt|cmake)")


def anchors_of(text):
    headings = re.findall(r"^#+ (.*)$", text, re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def broken_links(page, text):
    folder = os.path.dirname(page)
    for target in re.findall(r"\]\(([^)\s]+)\)", text):
        path, _, anchor = target.partition("#")
        file = os.path.join(folder, path) if path else page
        if not os.path.exists(file) or (anchor and anchor not in anchors_of(read(file))):
            yield target


def unknown_files(page, text):
    without_samples = re.sub(r"^```.*?^```$", "", text, flags=re.MULTILINE | re.DOTALL)
    places = [os.path.join(source, place) for place in PLACES] + [os.path.dirname(page)]
    for name in re.findall(r"`([^`\n]+)`", without_samples):
        if FILE_NAME.fullmatch(name) and not name.startswith(("/", "build/", "NAME")) and not any(
                os.path.exists(os.path.join(place, name)) for place in places):
            yield name


faults = [f"{page}: {target} leads nowhere" for page in pages
          for target in [*broken_links(page, read(page)), *unknown_files(page, read(page))]]
sys.exit("\n".join(faults) if faults else 0)
