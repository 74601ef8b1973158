#!/usr/bin/env python3
"""Writes cli_engine_flat.h: what the public headers declare, in one text that needs no preprocessor, for foreign-function
interfaces that read C declarations. Constants are numbers, Jansson's values are opaque, and an argument of type va_list
is a pointer, as which every calling convention passes it.

usage: flat_header.py OUTPUT HEADER..."""
import os
import re
import sys

PREFACE = """/* The public declarations of libcli_engine {version}, for foreign-function interfaces that read C. Programs in C and C++
 * include cli_engine/cli_engine.h, which says what each of them means. Before this come stddef.h and stdint.h, or what
 * the reader has in their place. */
"""
NUMBER = re.compile(r"^#define (CLI_ENGINE_(?:VERSION_\w+|LAYOUT)) (\d+)\b", re.MULTILINE)


def closing(text, start):
    """The offset behind the brace that closes the one at `start`."""
    depth = 0
    for place in range(start, len(text)):
        depth += {"{": 1, "}": -1}.get(text[place], 0)
        if depth == 0:
            return place + 1
    sys.exit("a brace is not closed")


def plain(text):
    """A header's text without comments, preprocessor lines, attributes and C++'s part."""
    text = re.sub(r"/\*.*?\*/", " ", text, flags=re.DOTALL)
    text = re.sub(r"#ifdef __cplusplus\n.*?#endif\n", "", text, flags=re.DOTALL)
    text = re.sub(r"^#.*\n", "", text, flags=re.MULTILINE)
    text = re.sub(r"__attribute__\(\(.*?\)\)|CLI_PRINTF\([^)]*\)|\bCLI_API\b|\b__extension__\b", "", text)
    return text.replace("va_list", "void *")


def declarations(text):
    """The declarations in the order of the text; functions with a body are not the library's."""
    start = place = 0
    while place < len(text):
        if text[place] == "{":
            is_function = text[start:place].rstrip().endswith(")")
            place = closing(text, place)
            if is_function:
                start = place
        elif text[place] == ";":
            yield " ".join(text[start:place].split())
            start = place = place + 1
        else:
            place += 1


def number(expression):
    if not re.fullmatch(r"[\w<+() -]+", expression):
        sys.exit(f"{expression}: not a constant")
    return eval(re.sub(r"\b(0x[0-9a-fA-F]+|\d+)U\b", r"\1", expression), {"__builtins__": {}})


def with_numbers(declaration):
    """An enumeration with the number of each constant."""
    head, body, tail = re.fullmatch(r"([^{]*\{)(.*)(\}.*)", declaration).groups()
    value, rows = -1, []
    for name, given in re.findall(r"(\w+)(?: = ([^,]+))?,?", body):
        value = number(given) if given else value + 1
        rows.append(f"  {name} = {value}")
    return head + "\n" + ",\n".join(rows) + "\n" + tail


def laid_out(declaration):
    if re.match(r"(typedef )?enum\b", declaration):
        return with_numbers(declaration) + ";\n"
    text, depth = "", 0
    for piece in re.split(r"(?<=[{;])\s*|(?=\})", declaration + ";"):
        depth -= piece.startswith("}")
        text += "  " * depth + piece.strip() + "\n" if piece else ""
        depth += piece.endswith("{")
    return text


def main(output, headers):
    texts = {}

    def take(header):  # what it includes comes first
        if header in texts:
            return
        with open(header, encoding="utf-8") as file:
            text = file.read()
        for included in re.findall(r'^#include "(\w+/\w+\.h)"', text, re.MULTILINE):
            take(next(other for other in headers if other.endswith(included)))
        texts[header] = text

    for header in headers:
        if not header.endswith("/prefixed.h"):  # other names for the same
            take(header)
    whole = "\n".join(texts.values())
    version = re.search(r'#define CLI_ENGINE_VERSION "(.*)"', whole)[1]
    constants = ",\n".join(f"  {name} = {value}" for name, value in NUMBER.findall(whole))
    found = ["typedef struct json_t json_t"] + [item for text in texts.values() for item in declarations(plain(text))]
    temporary = output + ".new"
    with open(temporary, "w", encoding="utf-8") as file:
        file.write(PREFACE.format(version=version) + f"enum {{\n{constants}\n}};\n")
        file.writelines(laid_out(item) for item in dict.fromkeys(found))
    os.replace(temporary, output)


main(sys.argv[1], sys.argv[2:])
