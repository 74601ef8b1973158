#!/usr/bin/env python3
"""Turns the plain comments of a public header into those that Doxygen reads. The line numbers stay.

A comment at the beginning of a line documents what follows it, the first one the file; a comment behind code documents
what stands before it. "---- Heading ----" begins nothing and is left alone."""
import os
import re
import sys

COMMENT = re.compile(r"/\*(?!\*)(.*?)\*/", re.DOTALL)


def filtered(text, name):
    def replace(comment):
        body = comment[1]
        if body.lstrip().startswith("----"):
            return comment[0]
        # What looks like a command or a link to Doxygen, but is none.
        body = re.sub(r"([\\@<>])", r"\\\1", body)
        if comment.start() == 0:
            return "/** @file " + name + body + "*/"
        line = text[text.rfind("\n", 0, comment.start()) + 1:comment.start()]
        return ("/**<" if line.strip() else "/**") + body + "*/"

    return COMMENT.sub(replace, text)


name = os.path.join(*os.path.abspath(sys.argv[1]).split(os.sep)[-2:])
with open(sys.argv[1], encoding="utf-8") as file:
    sys.stdout.write(filtered(file.read(), name))
