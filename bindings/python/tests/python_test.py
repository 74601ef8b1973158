#!/usr/bin/env python3
"""The package cli_engine against the library: records, lines, handlers, documents with faults, and the README's host.

usage: CLI_ENGINE_LIBRARY=FILE PYTHONPATH=DIR python_test.py LAYOUT_LIST"""
import ctypes
import os
import re
import subprocess
import sys
import tempfile
import threading
import unittest

from cli_engine import DocumentError, Engine, Error, Flag, Kind, Language, Table, _native

HERE = os.path.dirname(os.path.abspath(__file__))
DOCUMENT = {
    "say": {"#help": "Say", "#handler": "say", "#args": [
        {"#type": "string", "#name": "what-for", "#help": "h"},
        {"#type": "container", "#optional": True, "#args": [
            {"#type": "key", "#name": "in", "#help": "h", "#optional": True,
             "#args": [{"#type": "int", "#name": "n", "#help": "h"}]},
            {"#type": "key", "#name": "loud", "#help": "h", "#optional": True}]}]},
    "even": {"#help": "Even", "#handler": "*any", "#args": [{"#type": "even", "#name": "n", "#help": "h"}]},
    "fail": {"#help": "Fail", "#handler": "fail"}, "table": {"#help": "Table", "#handler": "table"},
    "later": {"#help": "Later", "#handler": "later"}, "nest": {"#help": "Nest", "#handler": "nest"},
    "port": {"#help": "Port", "#handler": "enter", "#prompt": "port",
             "#args": [{"#type": "int", "#name": "id", "#help": "h"}],
             "#commands": {"show": {"#help": "Show", "#handler": "show"}}},
}
RAN, FAILED = Kind.RAN, Kind.FAILED


def fail(engine):
    print("before", file=engine)
    raise LookupError("no")


def table(engine):
    rows = Table(["Port", "State"], show_total=0, pad_left=0, pad_right=1)
    rows.add(10, "up")
    rows.add(9, label="x")
    rows.sort(0, key=int)
    engine.write_table(rows)


def later(engine):
    engine.write("now")
    engine.defer()


HANDLERS = {
    "say": lambda engine, **given: engine.write(repr(given)), "fail": fail, "table": table, "later": later,
    "nest": lambda engine: engine.run("say x"), "enter": lambda engine, id: id == 13,
    "show": lambda engine: print(engine.argument("port id"), engine.argument("port x", "-"), file=engine),
    "*": lambda engine, n: -int(n),
}


def even(text):
    return None if text == "" else text[-1] in "02468" if text != "0/0" else 1 // 0


class PythonTest(unittest.TestCase):
    def setUp(self):
        self.language = Language(DOCUMENT, handlers=HANDLERS, types={"even": even})
        self.engine = Engine(self.language, flags=Flag.NO_COLOUR | Flag.NO_ECHO, complete=lambda name, text: [name, "a é"])

    def tearDown(self):
        self.engine.close()
        self.language.close()

    def test_records_are_those_of_the_library(self):
        seen = set()
        with open(sys.argv[1], encoding="utf-8") as layouts:
            for line in layouts:
                name, *numbers = line.split()
                if not line.startswith(" "):
                    record = getattr(_native, name, None)
                    seen |= {name} if record else set()
                    self.assertEqual(int(numbers[0]), ctypes.sizeof(record) if record else int(numbers[0]), name)
                elif record is not None:
                    offset, part = 0, record
                    for step in name.split("."):
                        place = getattr(part, step)
                        offset, part = offset + place.offset, dict(part._fields_).get(step)
                    self.assertEqual([offset, place.size], [int(number) for number in numbers], f"{record} {name}")
        self.assertLessEqual({"cli", "cli_node", "cli_outcome", "cli_fault", "table_style"}, seen)

    def test_lines(self):
        rows = [  # line, kind, error, result, column, length, output
            ("! x", Kind.SKIPPED, Error.OK, 0, 0, 0, ""),
            ("say 'é b' in 7", RAN, Error.OK, 29, 0, 0, "{'what_for': 'é b', 'in_': 7}\n"),
            ("sa x loud", RAN, Error.OK, 31, 0, 0, "{'what_for': 'x', 'loud': True}\n"),
            ("say é ö", FAILED, Error.EXTRA_INPUT, 0, 6, 1, None),
            ("even 44", RAN, Error.OK, -44, 0, 0, ""),
            ("even 45", FAILED, Error.INVALID_ARGUMENT, 0, 5, 2, None),
            ("say", FAILED, Error.INCOMPLETE, 0, 3, 0, None),
            ("port 13", Kind.REFUSED, Error.OK, 1, 0, 0, ""),
            ("port 4", Kind.ENTERED, Error.OK, 0, 0, 0, ""),
            ("show", RAN, Error.OK, 0, 0, 0, "4 -\n"),
            ("exit", RAN, Error.OK, 0, 0, 0, ""),
            ("table", RAN, Error.OK, 0, 0, 0, "  :Port :State\n--+-----+-----\nx :9    :     \n  :10   :up   \n"),
        ]
        for line, *wanted, output in rows:
            with self.subTest(line):
                seen = self.engine.run(line)
                self.assertEqual([seen.kind, seen.error, seen.result, seen.column, seen.length], wanted)
                self.assertEqual(output if output is not None else seen.output, seen.output)
        self.engine.flags |= Flag.DATA
        self.assertEqual(self.engine.run("table").data["tables"][0]["rows"][1]["State"], "up")

    def test_what_is_raised_is_raised_after_the_line(self):
        for line, raised in (("fail", LookupError), ("even 0/0", ZeroDivisionError), ("nest", RuntimeError)):
            with self.assertRaises(raised, msg=line):
                self.engine.run(line)
            self.assertEqual(self.engine.run("even 2").output, "", "nothing is left over")
        seen = []
        with self.assertRaises(LookupError):
            self.engine.replay("even 2\nfail\neven 4\n", report=lambda *row: seen.append(row))
        self.assertEqual([(number, outcome.result) for number, _, outcome in seen], [(1, -2), (2, -1), (3, 0)])
        with Engine(self.language, output=lambda text: 1 // 0) as closed, self.assertRaises(ZeroDivisionError):
            closed.run("say x")
        self.assertRaises(ValueError, self.engine.run, "a\0b")
        self.assertRaises(RuntimeError, self.language.close)

    def test_help_completion_and_explanations(self):
        self.assertIn("say", self.engine.help("sa"))
        start, choices = self.engine.complete("say ä")
        self.assertEqual((start, choices), (4, []))
        start, choices = self.engine.complete("say a loud", 5)
        self.assertEqual((start, [(c.text, c.kind) for c in choices]), (4, [('"a é"', "value")]))
        self.engine.run("tabel")
        self.assertEqual(self.engine.explain(), ['did you mean "table"?'])

    def test_lines_that_end_later_and_interrupts(self):
        printed = []
        with Engine(self.language, output=printed.append, flags=Flag.NO_COLOUR | Flag.NO_ECHO) as engine:
            self.assertEqual(engine.run("later").kind, Kind.PENDING)
            self.assertEqual(engine.run("say x").kind, Kind.BUSY)
            self.assertTrue(engine.flush())
            thread = threading.Thread(target=engine.interrupt)
            thread.start()
            thread.join()
            self.assertFalse(engine.flush())
            outcome = engine.finish(3)
            self.assertEqual((outcome.kind, outcome.result, outcome.interrupted), (RAN, 3, True))
        self.assertEqual("".join(printed), "now\n")

    def test_documents(self):
        rows = [
            ('{"a": 1,\n "b": {"#help": "h", "#handler": "x"}}', ["<definitions>:1:7", "<definitions>:2:34"]),
            ('{"a":', ["<definitions>:1:6"]), ({"a": 1}, ["error"]), ("/nonexistent/file", ["/nonexistent/file"]),
        ]
        for document, places in rows:
            with self.subTest(document), self.assertRaises(DocumentError) as caught:
                Language(document)
            for fault, place in zip(caught.exception.faults, places):
                self.assertTrue(str(fault).startswith(place), str(fault))
            self.assertEqual(len(caught.exception.faults), len(places))
        privileges = {"1": {"Name": "fail", "Prompt": "", "Level": 9}}
        with Engine(DOCUMENT, privileges, handlers=HANDLERS, types={"even": even}) as engine:
            self.assertTrue(engine.run("fail").failed)
            engine.privilege = 9
            self.assertRaises(LookupError, engine.run, "fail")

    def test_the_host_of_the_readme(self):
        with open(os.path.join(HERE, "..", "README.md"), encoding="utf-8") as file:
            page = file.read()
        host, document = (re.search(rf"^```{kind}\n(.*?)^```$", page, re.M | re.S)[1]
                          for kind in ("python", "json greet.json"))
        session = re.sub("^    ", "", re.search(r"^    cli>(.|\n)*?\n(?=\n)", page, re.M)[0], flags=re.M)
        typed = re.findall(r"^cli> (.*\n)", session, re.M)
        with tempfile.TemporaryDirectory() as folder:
            with open(os.path.join(folder, "greet.json"), "w", encoding="utf-8") as file:
                file.write(document)
            done = subprocess.run([sys.executable, "-c", host], input="".join(typed) + "\n", text=True, cwd=folder,
                                  stdout=subprocess.PIPE, check=True)
        self.assertEqual(done.stdout, re.sub(r"^(cli> ).*\n", r"\1", session, flags=re.M) + "cli> ")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
