"""The subcommands of cli-shell for those who write a language: preview, test, reference, and the guide's samples.

With UPDATE=1 in the environment the guide's sessions and findings are rewritten to what is printed now."""

import os
import pathlib
import re
import shutil
import subprocess
import unittest

import shell_test
from shell_test import SHELL

PROJECT = pathlib.Path(os.environ["PROJECT_DIR"])
GUIDE = PROJECT / "docs/definitions.md"
CAMPUS = [str(PROJECT / "schema/samples/good/campus.json"),
          "--privileges", str(PROJECT / "schema/samples/good/campus.privileges.json")]


def run(*arguments, text=""):
    done = subprocess.run([SHELL, *map(str, arguments)], input=text, capture_output=True, text=True, timeout=120, check=False)
    return done.stdout, done.stderr, done.returncode


class Case(shell_test.Case):
    def file(self, name, content):
        return pathlib.Path(super().file(name, content))

    def script(self, body, header="definition: language.json\n"):
        self.file("language.json", '{"show": {"#help": "S", "#handler": "a"}, "%level": {"#help": "L", "#handler": "b"},'
                                   ' "quit": {"#help": "Q", "#handler": "cli_shell_exit"}}')
        return self.file("a.session", header + body)


class Preview(Case):
    def test_calls_and_levels(self):
        out, err, status = run("preview", *CAMPUS, text="configure\n%level 15\nconf\nip route 10.0.0.0/8 discard\n"
                               "interface 3\nshutdown\nend\n%level\n%level x\n%nothing\n")
        self.assertEqual(("cli-shell: standard input: 10 lines, 1 failed: 1\n", 0), (err, status))
        for expected in ("Extra input at end of command at 'configure'", "The level is 15\n",
                         "calls add_route\n  prefix = \"10.0.0.0/8\"\n  target discard = true\n",
                         "calls enter_interface\n  port = 3\n", "calls shut_down\n  / configure interface port = 3\n",
                         "% A level is a number from 0 to 15\n", "% Lines that begin with %"):
            self.assertIn(expected, out)

    def test_what_cannot_be_done_is_one_line_and_status_2(self):
        missing = self.folder + "/missing"
        self.script("")
        os.mkfifo(self.folder + "/pipe")
        cases = [(["preview", missing], "missing: No such file"), (["preview", self.folder], "Is a directory"),
                 (["check", missing], "missing: No such file"), (["reference", missing], "missing: No such file"),
                 (["preview", self.file("i", '{"a":')], "i:1:6: error: a value is due"),
                 (["reference", self.file("j", '{"a":\n 5, "b": 6}')], "[not-a-definition]; cli-shell check shows 1 more"),
                 (["reference", *CAMPUS, "--format=pdf"], "--format takes markdown or man, not 'pdf'"),
                 (["preview", "--update", *CAMPUS], "unknown option --update"), (["test"], "the script is missing"),
                 (["test", missing], "missing: No such file"), (["test", self.file("b", "show\n")], "b:1: expected 'NAME"),
                 (["test", self.file("c", "definition: nowhere\n> x\n")], "nowhere: No such file"),
                 (["test", self.file("d", "colour: red\n")], "d:1: 'colour' is none of"),
                 (["test", self.file("e", "definition: language.json\nlevel: 99\n")], "e:2: --level takes"),
                 (["test", self.file("f", "> show\n")], "f:1: the script names no 'definition: FILE'"),
                 (["test", self.file("g", "definition: language.json\n> show\n~(\n")], "g:3: invalid regular expression"),
                 (["test", self.file("h", "definition: language.json\nhandlers: no.so\n> x\n")], "--handlers must name"),
                 (["test", self.file("k", "definition: pipe\n> x\n")], "pipe: is not a file"),
                 (["preview", self.file("large", b" " * 2 ** 24 + b"{}")], "large: the file is larger than 16777216 bytes"),
                 (["test", "--trust", self.file("h", "definition: language.json\nhandlers: no.so\n> x\n")],
                  "cannot load handlers")]
        for arguments, message in cases:
            with self.subTest(arguments):
                out, err, status = run(*arguments)
                self.assertEqual((2, 1), (status, err.count("\n")), out + err)
                self.assertIn(message, err)


class Scripts(Case):
    def test_a_session_that_holds(self):
        script = self.script("# comment\n> show\n~sh(ow)?\ncalls a\n> s<tab>\nshow\n> show ?\n\\> [show ?]\n<cr>\n> x\n"
                             "x\n...\n> %level 5\nThe level is 5\n>\n\n^\n...\n> quit\nquit\ncalls cli_shell_exit\n> show\n"
                             "% The session has ended\n\n")
        self.assertEqual((f"{script}: 8 lines hold\n", "", 0), run("test", script))

    def test_differences_and_update(self):
        script = self.script("> show\n~s.*\n\n# kept\n\n> s<tab>\nshoe\nshow\nshown\n> quit\nquit\n")
        out, err, status = run("test", script)
        self.assertEqual(("", 1), (err, status))
        self.assertEqual([f"{script}:3: > show", "  ~s.*", "+ calls a", f"{script}:8: > s<tab>", "- shoe", "  show",
                          "- shown", f"{script}:12: > quit", "  quit", "+ calls cli_shell_exit",
                          f"{script}: 3 of 3 lines differ"], out.splitlines())
        self.assertEqual(0, run("test", "--update", script)[2])
        self.assertEqual("definition: language.json\n> show\n~s.*\ncalls a\n\n# kept\n\n> s<tab>\nshow\n> quit\nquit\n"
                         "calls cli_shell_exit\n", script.read_text())
        self.assertEqual(0, run("test", script)[2])

    def test_a_language_or_a_process_that_fails(self):
        script = self.script("> show\n")
        self.file("language.json", '{"a": {"#help": "A", "#alias": "a", "#handler": "x"}, "b": {"#help": "B", "#args": '
                                   '[{"#type": "none", "#name": "n", "#help": "N"}]}}')
        out, err, status = run("test", script)
        self.assertEqual(2, status, out)
        self.assertIn('cannot be loaded: ', err)
        self.assertIn('language.json:1:95: error: "b", argument "n": there is no type "none"', err)
        script = self.script("> show\n> quit\n", "definition: language.json\nhandlers: libshell_handlers.so\n")
        self.file("language.json", '{"show": {"#help": "S", "#handler": "abort"}, "quit": {"#help": "Q"}}')
        out, err, status = run("test", "--handlers", os.environ["SHELL_HANDLERS"], script)
        self.assertEqual(1, status, out + err)
        self.assertIn("+ % The process was ended: Aborted", out)
        self.assertIn("1 of 2 lines differ, 1 were not reached", out)


class Reference(Case):
    def test_every_line_of_the_dump_is_in_it(self):
        dump = run("--dump", *CAMPUS)[0].splitlines()
        reference = run("reference", *CAMPUS)[0]
        syntaxes = re.findall(r"^    (.*)$", reference, re.MULTILINE)
        own = [line for line in dump if not line.endswith((" exit", " end"))]
        self.assertEqual(len(own), len(syntaxes))
        for syntax, line in zip(sorted(syntaxes), sorted(own)):
            self.assertTrue(any(line.endswith(known) for known in syntaxes), line)
        self.assertIn("Change the configuration. Enters the mode config. Level 15.", reference)
        self.assertIn("| \\<bytes\\> | unsignedInt | 0x0 to 0x5DC | yes | Bytes in hexadecimal |", reference)
        self.assertNotIn("### configure", run("reference", *CAMPUS, "--level", "1")[0])

    @unittest.skipUnless(shutil.which("mandoc"), "there is no mandoc")
    def test_the_manual_page_is_well_formed(self):
        language = self.file("odd.json", '{".x": {"#help": "\'a\\\\b \\"c\\" -d", "#handler": "h"}, "y": {"#help": "", "#handler": "h"}}')
        for arguments in (CAMPUS, [language]):
            page = self.file("page.7", run("reference", "--format=man", *arguments)[0])
            done = subprocess.run(["mandoc", "-Tlint", "-W", "error", page], capture_output=True, text=True, check=False)
            self.assertEqual((0, ""), (done.returncode, done.stdout))


class Guide(Case):
    BLOCK = re.compile(r"^```(json|findings|session)(?: (\S+))?\n(.*?)^```$", re.MULTILINE | re.DOTALL)

    def test_its_samples(self):
        guide = GUIDE.read_text()
        sessions = 0

        def check(block):
            nonlocal sessions
            kind, name, content = block.groups()
            if kind == "json":
                self.file(name, content)
                if not name.endswith(".privileges.json") and not name.startswith("wrong"):
                    out, err, status = run("check", self.folder + "/" + name)
                    self.assertEqual(0, status, out + err)
                    if not name.startswith("pitfall"):
                        self.assertNotIn(" warning: ", out)
                return block.group(0)
            if kind == "findings":
                found = run("check", self.folder + "/" + name)[0].replace(f"{self.folder}/", "")
                if not os.environ.get("UPDATE"):
                    self.assertEqual(content, found)
                return f"```findings {name}\n{found}```"
            sessions += 1
            script = self.file("guide.session", content)
            out, err, status = run("test", *(["--update"] if os.environ.get("UPDATE") else []), script)
            line = guide.count("\n", 0, block.start()) + 1
            self.assertEqual(0, status, f"{GUIDE}, session at line {line}:\n{out}{err}")
            return "```session\n" + script.read_text() + "```"

        updated = self.BLOCK.sub(check, guide)
        self.assertGreater(sessions, 10)
        if updated != guide:
            GUIDE.write_text(updated)


if __name__ == "__main__":
    unittest.main()
