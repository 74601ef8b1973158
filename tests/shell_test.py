"""cli-shell as its users run it: options, lines from all sides, filters, and what reaches a terminal."""

import os
import re
import signal
import subprocess
import tempfile
import unittest

import pexpect

SHELL = os.environ["CLI_SHELL"]
HANDLERS = os.environ["SHELL_HANDLERS"]
PRELOADED = {"LD_PRELOAD": os.environ["FAULTS"],  # which a sanitizer would have after itself
             "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"}
DATA = os.environ["TEST_DATA"]
LANGUAGE = DATA + "/shell.json"
ENVIRONMENT = {**{k: v for k, v in os.environ.items() if k not in ("NO_COLOR", "PAGER", "CLI_SHELL_PAGER", "LINES")},
               "TERM": "xterm", "LC_ALL": "C"}


def run(*arguments, text=b"", language=(LANGUAGE,), env=None, **options):
    """Output, messages and exit status of a run; what the handlers library prints at its start and stop is taken off."""
    done = subprocess.run([SHELL, "--handlers", HANDLERS, *language, *arguments], input=text, capture_output=True,
                          timeout=120, env={**ENVIRONMENT, **(env or {})}, **options)
    out = done.stdout
    if out.startswith(b"started\n") and out.endswith(b"stopped\n"):
        out = out[len(b"started\n"):-len(b"stopped\n")]
    return out.decode("utf-8", "surrogateescape"), done.stderr.decode(), done.returncode


class Case(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def file(self, name, content):
        path = os.path.join(self.folder, name)
        with open(path, "wb") as out:
            out.write(content if isinstance(content, bytes) else content.encode())
        return path


class Options(Case):
    def test_what_cannot_be_done_is_one_line_and_status_2(self):
        broken = self.file("broken.json", b'{\n  "show": {"#help": }\n}')
        twice = self.file("twice.json", b'{"a": {"#help": "A"},\n "a": {"#help": "B"}}')
        unreadable = self.folder + "/missing"
        cases = [
            ([], "the definition document is missing; see cli-shell --help"),
            ([LANGUAGE, "extra"], "unexpected argument 'extra'"),
            (["--frobnicate", LANGUAGE], "unknown option --frobnicate; see cli-shell --help"),
            (["--dump=1", LANGUAGE], "option --dump takes no value"),
            ([LANGUAGE, "--level"], "option --level needs a value"),
            (["--level", "16", LANGUAGE], "--level takes a number from 0 to 15, not '16'"),
            (["--level=1x", LANGUAGE], "--level takes a number from 0 to 15, not '1x'"),
            (["--end", "ab", LANGUAGE], "--end takes one printable character, not 'ab'"),
            (["--color=pink", LANGUAGE], "--color takes auto, always or never, not 'pink'"),
            ([unreadable], unreadable + ": No such file or directory"),
            ([self.folder], self.folder + ": Is a directory"),
            ([broken], broken + ":2:21: unexpected token near '}'"),
            ([twice], twice + ":2:4: duplicate object key near '\"a\"'"),
            ([self.file("text", b"hello")], self.folder + "/text:1:5: '[' or '{' expected near 'hello'"),
            ([self.file("array", b"[]")], self.folder + "/array: the document is not a JSON object"),
            ([LANGUAGE, "--privileges", unreadable], unreadable + ": No such file or directory"),
            ([LANGUAGE, "-c", "level", "-f", unreadable], unreadable + ": No such file or directory"),
            ([LANGUAGE, "-c", "level", "-f", self.folder], self.folder + ": Is a directory"),
            ([LANGUAGE, "-c", "level", "--handlers", broken], re.compile("cannot load handlers: .*(file too short|invalid ELF)")),
        ]
        for arguments, message in cases:
            with self.subTest(arguments):
                out, err, status = run(*arguments, language=())
                self.assertEqual(("", 2), (out, status))
                self.assertEqual(1, err.count("\n"), err)
                if isinstance(message, str):
                    self.assertEqual("cli-shell: " + message + "\n", err)
                else:
                    self.assertRegex(err, message)

    def test_without_a_document(self):
        out, err, status = run("--help", language=())
        self.assertEqual(("", 0), (err, status))
        for option in ("--privileges FILE", "-c LINE", "--color WHEN", "| include REGEX"):
            self.assertIn(option, out)
        self.assertRegex(run("--version", language=())[0], r"^cli-shell \d+\.\d+\.\d+\n$")
        with open(os.environ["PROJECT_DIR"] + "/docs/man/cli-shell.1", encoding="utf-8") as file:
            page = file.read()
        for tool, rows in re.findall(r"^Options(?: of (\w+))?:\n((?:  .*\n)+)", out, re.M):
            described = page.split(f".It Cm {tool}\n")[1].split("\n.It Cm ")[0] if tool else page.split(".Ss Tools")[0]
            for option in re.findall(r"^  -(\S+)", rows, re.M):
                self.assertIn("Fl " + re.sub("^-", "\\\\-", option), described, tool)

    def test_a_fault_in_the_document_is_shown(self):
        bad = self.file("bad.json", b'{"x": {"#help": "X", "#handler": "no_\\u001bsuch"}}')
        for arguments in ([], ["--color=always"]):
            out, err, status = run(*arguments, language=(bad,))
            self.assertEqual(("", 1), (err, status))
            self.assertIn("' for command 'x': ", out)

    def test_the_level_decides_what_is_visible(self):
        table = ["--privileges", DATA + "/shell_privileges.json", "-c", "secret-command"]
        self.assertIn("Extra input", run(*table)[0])
        self.assertEqual("secret-command \nlevel 15\n", run(*table, "--level", "15")[0])

    def test_dump_needs_no_handlers(self):
        done = subprocess.run([SHELL, "--dump", LANGUAGE], capture_output=True, env=ENVIRONMENT, check=False)
        self.assertEqual((b"", 2), (done.stdout, done.returncode))
        self.assertIn(b'there is no type "pin"', done.stderr)
        out, err, status = run("--dump")
        self.assertEqual(("", 0), (err, status))
        self.assertIn("interface <port> address <address>", out.splitlines())
        absent = self.file("absent.json", b'{"m": {"#help": "M", "#prompt": "m", "#commands": {"x": {"#help": "X", '
                                          b'"#handler": "nowhere"}}}}')
        done = subprocess.run([SHELL, "--dump", absent], capture_output=True, env=ENVIRONMENT, check=False)
        self.assertIn(b"m x\n", done.stdout)


class Check(Case):
    def check(self, *arguments):
        done = subprocess.run([SHELL, "check", *arguments], capture_output=True, timeout=120, env=ENVIRONMENT)
        return done.stdout.decode(), done.stderr.decode(), done.returncode

    def test_the_status_tells_faults_from_what_could_not_run(self):
        good = self.file("good.json", b'{"a": {"#help": "A", "#handler": "shell_test_lines"}}')
        odd = self.file("odd.json", b'{"a": {"#help": "", "#handler": "shell_test_lines"}}')
        bad = self.file("bad.json", b'{"a": {"#help": "A", "#handler": "nowhere"}, "a": {}}')
        cases = [
            ([good], "", "", 0),
            ([good, "--format=json"], "[]\n", "", 0),
            ([odd], odd + ':1:17: warning: "a": the help text is empty [help-text]\n', "", 0),
            ([odd, "--strict"], re.compile("help-text"), "", 1),
            ([bad], bad + ':1:46: error: an earlier member of this object is named "a" [repeated-member]\n', "", 1),
            ([bad, "--handlers", HANDLERS], re.compile('.*bad.json:1:34: error: "a": there is no handler "nowhere".*\\[unknown-handler\\]\n'
                                                       '.*repeated-member', re.DOTALL), "", 1),
            ([self.file("libc.json", b'{"a": {"#help": "A", "#handler": "write"}}'), "--handlers", HANDLERS],
             re.compile('warning: "a": the handler "write" is no function .*foreign-handler'), "", 0),
            ([good, "--privileges", good], "", "", 0),
            ([self.file("binary", b"{\0}")], "", self.folder + "/binary: is not a text", 2),
            ([self.folder], "", self.folder + ": Is a directory", 2),
            ([good, "--format=xml"], "", "--format takes text, json, sarif or github, not 'xml'", 2),
            ([], "", "the definition document is missing; see cli-shell --help", 2),
        ]
        for arguments, out, message, status in cases:
            with self.subTest(arguments):
                said, complaint, left_with = self.check(*arguments)
                self.assertEqual((complaint, left_with), ("cli-shell: " + message + "\n" if message else "", status))
                if isinstance(out, str):
                    self.assertEqual(said, out)
                else:
                    self.assertRegex(said, out)


class Lines(Case):
    def test_actions_run_in_the_order_given(self):
        first = self.file("first", b"show text one\n")
        second = self.file("second", b"show text three")
        out = run("-f", first, "-c", "show text two", "-f", second)[0]
        self.assertEqual(["one", "two", "three"], out.splitlines()[1::2])

    def test_secret_words_are_never_shown(self):
        lines = [("user bob password hush", "user bob password *** \nlevel 1\n"),
                 ("user bob password 'hush, hush' x", f"user bob password *** *** \n{22 * ' '}^\n"),
                 ("user bob passwrod hush", f"user bob passwrod *** \n{9 * ' '}^\n"), ("usr bob pas hush", "usr bob pas *** \n"),
                 ("user bob pin hush", f"user bob pin *** \n{13 * ' '}^\nInvalid argument at '***'")]
        for line, shown in lines:
            with self.subTest(line):
                out = run("-c", line)[0]
                self.assertTrue(out.startswith(shown), out)
                self.assertNotIn("hush", out)

    def test_line_ends(self):
        long_word = "x" * 300000
        lines = [(b"show text a\n", ["a"]), (b"show text a\r\nshow text b\r\n", ["a", "b"]), (b"show text a", ["a"]),
                 (b"show text a\r", ["a"]), (b"!show text a\nshow text b", ["b"]),
                 (b"show text " + long_word.encode() + b"\nshow text b", [long_word, "b"])]
        for text, expected in lines:
            with self.subTest(text[:40]):
                self.assertEqual(expected, run(text=text)[0].splitlines()[1::2])
                self.assertEqual(expected, run("-f", self.file("lines", text))[0].splitlines()[1::2])
        self.assertIn("Extra input", run(text=b"level\0hidden\n")[0])

    def test_answers_arrive_before_the_next_line_is_typed(self):
        for colour in ("never", "always"):
            with subprocess.Popen([SHELL, "--handlers", HANDLERS, LANGUAGE, "--color", colour], stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE, env=ENVIRONMENT) as shell:
                for word in (b"one", b"two"):
                    shell.stdin.write(b"show text " + word + b"\n")
                    shell.stdin.flush()
                    while shell.stdout.readline() != word + b"\n":
                        pass
                shell.stdin.close()
                self.assertEqual(b"stopped\n", shell.stdout.read())

    def test_leaving(self):
        text = b"interface e\nunit\nexit\naddress 192.0.2.1\nunit\nend\nlevel\nexit\nquit\nlevel\n"
        out = run(text=text)[0]
        self.assertEqual(2, out.count("level 1\n"), out)
        self.assertNotIn("at 'exit'", out)  # there is no such command at the top, and nothing to leave
        self.assertTrue(out.endswith("quit \n"), out)

    def test_blocks_are_kept_together(self):
        cases = [  # lines; what is printed, echo included; what is told at the end
            ("interface e extra\n address 192.0.2.1\n exit\nlevel\n", ["level ", "level 1"], "4 lines, 3 failed: 1, 2, 3"),
            ("interface e\n unit x\n  level\n  exit\n address 192.0.2.1\nlevel\nexit\nlevel\n",
             ["address 192.0.2.1 ", "level 1", "level ", "level 1", "level ", "level 1"], "8 lines, 3 failed: 2, 3, 4"),
            ("\n  ! a comment\nlevel\n", ["level ", "level 1"], ""),
        ]
        for text, printed, told in cases:
            with self.subTest(text):
                out, err, status = run(text=text.encode())
                self.assertEqual(printed, [line for line in out.splitlines() if re.match(r"(level|address)\b", line)])
                self.assertEqual(("cli-shell: standard input: " + told + "\n" if told else "", 0), (err, status))

    def test_the_first_failed_line_ends_a_strict_run(self):
        for arguments, text in ([["-c", "nothing", "-c", "level"], b""], [["-c", "level | nothing", "-c", "level"], b""],
                                [["-c", "system false", "-c", "level"], b""],
                                [["-f", self.file("lines", b"nothing\nlevel\n")], b""], [[], b"nothing\nlevel\n"]):
            out, _, status = run("--strict", *arguments, text=text)
            self.assertEqual((0, 1), (out.count("level 1\n"), status))
            self.assertEqual(0, run(*arguments, text=text)[2])

    def test_memory_that_is_gone_is_told_in_one_line(self):
        lines = self.file("lines", b"level\nshow lines 9\n")
        for arguments in (["-f", lines], ["-c", "level | count"], ["--dump"]):
            for number in range(1, 2000, 17):
                _, err, status = run(*arguments, env={**PRELOADED, "FAULT": f"malloc {number}"})
                if "not reached" in err:  # a sanitizer has an allocator of its own
                    break
                self.assertEqual((1, 2), (err.count("\n"), status), (arguments, number, err))

    def test_what_cannot_be_read_is_told(self):
        lines = self.file("lines", b"level\n" * 20000 + b"x" * 1100000 + b"\nlevel\n")
        out, err, status = run("-f", lines)
        self.assertEqual((20001, 0), (out.count("level 1\n"), status))
        self.assertRegex(err, "a line is longer than 1048576 bytes and is not run\n.*20002 lines, 1 failed: 20001")

    def test_programs_that_handlers_start_print_in_place(self):
        for arguments in ([], ["--color=always"]):
            out = run("-c", "system 'echo between'", "-c", "system 'yes | head -1'", *arguments)[0]
            lines = re.sub("\x1b[^m]*m", "", out).splitlines()
            self.assertEqual(["before", "between", "after"], lines[1:4])
            self.assertEqual(["before", "y", "after"], lines[5:])

    def test_memory_stays_flat(self):
        text = b"".join(b"interface e%d\naddress 192.0.2.%d\nend\n" % (i % 50, i % 250) for i in range(4000))
        few, many = self.file("few", text), self.file("many", text * 10)

        def peak(path):
            shell = os.posix_spawn(SHELL, [SHELL, "--handlers", HANDLERS, LANGUAGE, "-f", path], ENVIRONMENT,
                                   file_actions=[(os.POSIX_SPAWN_OPEN, 1, "/dev/null", os.O_WRONLY, 0)])
            return os.wait4(shell, 0)[2].ru_maxrss

        with open(SHELL, "rb") as program:
            if b"__asan_init" in program.read():
                self.skipTest("the sanitizer keeps freed memory")
        self.assertLess(peak(many), peak(few) + 512)


def end(shell):
    """Leaves pexpect no wait of its own: the memory of a shell with millions of lines takes longer to go."""
    if shell.isalive():
        shell.kill(signal.SIGKILL)
        shell.wait()
    shell.close()


class Lost(Case):
    def test_output_that_cannot_be_written_is_said_once(self):
        for arguments in (["--color=never"], ["--color=always"]):
            for line in ("show lines 100000", "show lines 3 | count", "show text x"):
                with self.subTest(arguments=arguments, line=line), open("/dev/full", "wb") as full:
                    done = subprocess.run([SHELL, "--handlers", HANDLERS, LANGUAGE, *arguments, "-c", line, "-c", line],
                                          stdout=full, stderr=subprocess.PIPE, env=ENVIRONMENT, check=False)
                    self.assertEqual((b"cli-shell: cannot write standard output: No space left on device\n", 1),
                                     (done.stderr, done.returncode))
            read, write = os.pipe()
            os.close(read)
            done = subprocess.run([SHELL, "--handlers", HANDLERS, LANGUAGE, *arguments, "-c", "level"], stdout=write,
                                  stderr=subprocess.PIPE, env=ENVIRONMENT, check=False)
            os.close(write)
            self.assertEqual((b"cli-shell: cannot write standard output: Broken pipe\n", 1),
                             (done.stderr, done.returncode))


class Filters(Case):
    def output(self, line, *arguments):
        out, err, status = run("-c", line, *arguments)
        self.assertEqual(("", 0), (err, status))
        return out.splitlines()

    def test_large_patterns(self):  # small ones stand in data/filters.session
        too_long = "% The regular expression is too long: at most 1024 bytes"
        cases = [("(" * 500 + "mtu 9" + ")" * 500, "show config \n mtu 9000$"), ("(" * 1025, re.escape(too_long)),
                 (r"'(\w|\b)*a(\w| ){200}'", "show config $"), ("(" * 500, r"% Invalid regular expression '.*': missing \)"),
                 (".{1000}" * 100, "% Invalid regular expression '.*': pattern too large")]
        for pattern, expected in cases:
            with self.subTest(pattern):
                self.assertRegex("\n".join(self.output("show config | include " + pattern)), "^" + expected)

    def test_save(self):
        path = self.folder + "/my file"
        self.assertEqual(["show config "], self.output("show config | exclude mtu | save '%s'" % path, "--color=never"))
        with open(path, encoding="utf-8") as saved:
            self.assertEqual(["interface eth0", " address 192.0.2.1", "  secondary", "interface eth1", "end"],
                             saved.read().splitlines())
        for name in (path, "/dev/full", self.folder):
            before = set(os.listdir(self.folder))
            out, err, status = run("-c", "show lines 9 | save '%s'" % name, env={**PRELOADED, "FAULT": "fsync 1"})
            self.assertEqual(before, set(os.listdir(self.folder)))
            if name == path:
                self.assertEqual(("cli-shell: Cannot write '%s': Input/output error\n" % path, 1), (err, status))
            else:
                self.assertRegex(out, "^% Cannot write '.*': (Not a regular file|Is a directory)\n$")
        with open(path, encoding="utf-8") as saved:
            self.assertIn("interface eth0", saved.read())
        self.assertEqual(0o600, os.stat(path).st_mode & 0o777)

    def test_only_prompt_and_c_have_filters(self):
        line = b"show lines 1 | count\n"
        for out in (run(text=line)[0], run("-f", self.file("lines", line))[0]):
            self.assertIn("Extra input at end of command at '|'", out)

    def test_endless_output_ends_with_the_filter(self):
        self.assertEqual(["before", "y"], self.output("system yes | head 2")[1:])


class Display(Case):
    HOSTILE = "1b5d303b780700800d1b5b324a1b5b33316d72c3a9c29b33316d1b5b6d09fff0288cbc7fe280aef3a080a10a"

    def test_colours_off_removes_sequences(self):
        for arguments, env in ([], None), (["--color=never"], None), ([], {"NO_COLOR": "1"}):
            self.assertNotIn("\x1b", run("-c", "show config", "-c", "show bytes " + self.HOSTILE, *arguments, env=env)[0])
        out = run("-c", "show bytes 611b5b333b346d621b5b324b631b64", "--color=never")[0]
        self.assertEqual("abc\\x1bd", out.splitlines()[1])

    def test_colours_always_changes_nothing(self):
        out = run("-c", "show bytes " + self.HOSTILE, "--color=always")[0]
        self.assertIn(bytes.fromhex(self.HOSTILE), out.encode("utf-8", "surrogateescape"))

    def terminal(self, *arguments, env=None, lines=24):
        shell = pexpect.spawn(SHELL, ["--handlers", HANDLERS, LANGUAGE, *arguments], env={**ENVIRONMENT, **(env or {})},
                              timeout=60, dimensions=(lines, 80), encoding="utf-8", codec_errors="replace")
        self.addCleanup(end, shell)
        return shell

    def screen(self, *arguments, env=None):
        shell = self.terminal(*arguments, env=env)
        shell.expect(pexpect.EOF)
        return shell.before.replace("\r\n", "\n")

    def test_nothing_drives_the_terminal(self):
        shown = r"\x1b]0;x\x07\x00\x80\x0d\x1b[2J%sré\xc2\x9b31m%s" + "\t" + r"\xff\xf0(\x8c\xbc\x7f\xe2\x80\xae\xf3\xa0\x80\xa1" + "\n"
        line = ["-c", "show bytes " + self.HOSTILE]
        self.assertIn(shown % ("\x1b[31m", "\x1b[m"), self.screen(*line))
        for arguments, env in (["--color=never"], None), ([], {"NO_COLOR": "1"}), ([], {"TERM": "dumb"}):
            out = self.screen(*line, *arguments, env=env)
            self.assertIn(shown % ("", ""), out)
            self.assertNotIn("\x1b", out)
        self.assertIn(r"é\x1b]0;x\x07", self.screen("-c", r"system 'printf \"é\\033]0;x\\007\" >&2'"))
        cut = self.file("cut", b"show bytes c3\nshow bytes a9\nshow bytes 1b5b\n")
        self.assertIn("show bytes 1b5b", self.screen("-f", cut, "--color=never"))

    def test_long_output_is_paged(self):
        pager = self.file("pager", b"#!/bin/sh\necho PAGER BEGINS\ncat\necho PAGER ENDS\n")
        os.chmod(pager, 0o755)
        env = {"CLI_SHELL_PAGER": pager, "PAGER": "/bin/false"}
        for arguments, extra, paged in [
                (["-c", "show lines 100"], {}, True),
                (["-c", "show lines 5"], {}, False),
                (["-c", "show lines 100 | head 5"], {}, False),
                (["-c", "show lines 200 | exclude x"], {}, True),
                (["-c", "show lines 100", "--no-more"], {}, False),
                (["-c", "terminal 0", "-c", "show lines 100"], {}, False),
                (["--no-more", "-c", "terminal 1", "-c", "show lines 100"], {}, True),
                (["-c", "show lines 100"], {"TERM": "dumb"}, False),
                (["-c", "show lines 100"], {"CLI_SHELL_PAGER": "/nowhere/pager"}, False),
                (["-f", self.file("lines", b"show lines 100\n")], {}, False),
        ]:
            with self.subTest(arguments=arguments, extra=extra):
                out = self.screen(*arguments, env={**env, **extra})
                self.assertEqual(paged, "PAGER BEGINS" in out and "PAGER ENDS" in out)
                if "100" in str(arguments) and "head" not in str(arguments):
                    self.assertTrue("line 1\n" in out and "line 100\n" in out, out)

    def test_only_a_command_is_paged_and_nothing_while_input_waits(self):
        pager = self.file("pager", b"#!/bin/sh\necho PAGER BEGINS\ncat\n")
        os.chmod(pager, 0o755)
        shell = self.terminal("--color=never", env={"CLI_SHELL_PAGER": pager}, lines=5)
        for lines in (["zz"], ["show "], ["show lines 9", "level"]):
            shell.expect("cli> ")
            shell.send("".join(line + "\r" for line in lines))
        shell.expect("level 1\r\n.*cli> ")
        self.assertNotIn("PAGER", shell.before)

    def test_leaving_the_pager_early_is_no_loss(self):
        pager = self.file("pager", b"#!/bin/sh\nread line\necho SEEN\n")
        os.chmod(pager, 0o755)
        shell = self.terminal("-c", "show lines 1000000", "-c", "level", env={"CLI_SHELL_PAGER": pager})
        shell.expect("SEEN")
        shell.expect("level 1\r\n")
        shell.expect(pexpect.EOF)
        shell.close()
        self.assertEqual(0, shell.exitstatus)

    def test_interrupts_end_the_output_only(self):
        shell = self.terminal("--color=never", "--no-more")
        shell.expect("cli> ")
        for line, running in [("show lines 4000000", "line 5"), ("show lines 4000000 | include 7", "line 7"),
                              ("system 'echo going; exec sleep 1000'", "going\r\n"),
                              ("system 'echo going; exec sleep 1000' | include g", "going\r\n")]:
            shell.sendline(line)
            shell.expect(re.escape(running))
            shell.sendintr()
            shell.expect("cli> ")
            shell.sendline("level")
            shell.expect("level 1\r\n")
            shell.expect("cli> ")


if __name__ == "__main__":
    unittest.main(verbosity=2)
