"""The prompt of cli-shell, driven as a user's hands drive it. Every step waits for text, never for time."""

import os
import re
import signal
import stat
import unittest

import pexpect

from shell_test import ENVIRONMENT, HANDLERS, LANGUAGE, SHELL, Case, end

COMMAND = [SHELL, "--handlers", HANDLERS, "--color=never", "--no-more", LANGUAGE]
CONTROL = re.compile(r"\x1b\[[0-9;?]*[A-Za-z]|\x1b[=>]|[\r\x08]")
UP, DOWN, LEFT, ESCAPE = "\x1b[A", "\x1b[B", "\x1b[D", "\x1b"
PASTE = "\x1b[200~%s\x1b[201~"


def ctrl(letter):
    return chr(ord(letter) & 0x1f)


class Prompt(Case):
    def setUp(self):
        super().setUp()
        self.history = self.folder + "/state/cli-engine/history"
        self.env = {**ENVIRONMENT, "HOME": self.folder, "XDG_STATE_HOME": self.folder + "/state",
                    "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":handle_segv=0"}
        self.env.pop("INPUTRC", None)

    def spawn(self, command, size=(24, 80), **env):
        child = pexpect.spawn(command[0], command[1:], env={**self.env, **env}, timeout=60, dimensions=size,
                              encoding="utf-8", codec_errors="replace", maxread=100000)
        child.delaybeforesend = None
        self.addCleanup(end, child)
        return child

    def shell(self, size=(24, 80), **env):
        shell = self.spawn(COMMAND, size, **env)
        self.prompt(shell)
        return shell

    def prompt(self, shell, mode="cli"):
        """Waits for a prompt; what stood before it, without control sequences."""
        shell.expect(r"\x1b\[\?2004h(\r\x1b\[[JK])?" + re.escape(mode + "> "))
        return CONTROL.sub("", shell.before)

    def type(self, shell, keys, mode="cli"):
        """Types keys that end in Enter or its like; what is shown up to the next prompt."""
        shell.send(keys)
        return self.prompt(shell, mode)

    def echo(self, shell, keys, mode="cli"):
        """Types keys and Enter; what the shell printed after the line, echo first."""
        return self.type(shell, keys + "\r", mode).split("\n", 1)[1]

    def leave(self, shell):
        shell.send(ctrl("D"))
        shell.expect(pexpect.EOF)
        shell.wait()
        shell.close()
        self.assertEqual((0, None), (shell.exitstatus, shell.signalstatus))

    def lines(self):
        with open(self.history, encoding="utf-8") as file:
            return file.read().splitlines()


class Keys(Prompt):
    def test_question_mark_and_tab(self):
        lines3 = "show lines 3 \nline 1\nline 2\nline 3\n"
        cases = [
            # keys, what is shown before the line is complete, the rest of the keys, what the line does
            ("sh?", "> [?]\nshow\tShow\n", "ow lines 3", lines3),
            ("show lines ?", "> [show lines ?]\ncount\tHow many\n", "3", lines3),
            ("show lines " + 11 * LEFT + "?", "> [?]\n", ctrl("E") + "3", lines3),
            ('show text "a?b', "", '"', 'show text a?b \na?b\n'),
            (r"show text a\?b", "", "", "show text a?b \na?b\n"),
            ('show text "x"?', "> [show text ?]\ntext\tText\n", "", "show text x \nx\n"),
            ("show lines 3 | c?", "count\tShow the number of lines\n", "ount", "show lines 3 \n3\n"),
            ("sh\tl\t", "", "3", lines3),
            ("show l\t" + 3 * LEFT, "", ctrl("E") + "3", lines3),
            ("SH\tL\t", "", "3", lines3),
            ("show  3" + 2 * LEFT + "l\t", "", "", lines3),
            ("show \t\t", "bytes   The bytes that hexadecimal digits stand for", "lines 3", lines3),
            ("show lines 3 | c\t", "", "", "show lines 3 \n3\n"),
            ("show lines \t", "count\tHow many\n", "3", lines3),
            ("nonsense \t", "% Unrecognized input\n", ctrl("U") + "show lines 3", lines3),
            (ctrl("V") + "?" + ctrl("U"), "", "show lines 3", lines3),
        ]
        shell = self.shell()
        for keys, shown, rest, result in cases:
            with self.subTest(keys):
                shell.send(keys)
                if shown:
                    shell.expect_exact(shown.replace("\n", "\r\n"))
                if shown.endswith("\n"):
                    shell.expect_exact("cli> ")
                got = self.type(shell, rest + "\r")
                if not shown:
                    self.assertNotIn("> [", got)
                self.assertTrue(got.endswith("\n" + result), got)

    def test_words_of_the_host_complete(self):
        shell = self.shell()
        self.type(shell, "int\te\t0\r", "cli(if)")
        self.assertIn("end ", self.type(shell, ctrl("Z")))
        shell.send("interface \t\t")
        shell.expect_exact('eth0       eth1       lo         "my port"')
        self.type(shell, "m\t\r", "cli(if)")
        self.leave_mode(shell)
        self.assertIn('interface "my port"', self.lines())

    def leave_mode(self, shell):
        self.assertIn("exit ", self.type(shell, ctrl("D")))
        self.leave(shell)

    def test_a_line_shows_what_its_words_are(self):
        shell = self.spawn(COMMAND + ["--color=always"])
        for keys, shown in [("sh", "\x1b[32msh\x1b[0;2mow"), ("ow te", "\x1b[0;2mxt"), ("xt x | co", "\x1b[0;2munt"),
                            (ctrl("U") + "show tx", "\x1b[31mtx"), (ctrl("U") + "s l 3", "\x1b[31ms l 3"),
                            ("\t", "Ambiguous word \"s\":")]:
            shell.send(keys)
            shell.expect_exact(shown)

    def test_questions(self):
        shell = self.shell()
        for keys, result in [("hush" + LEFT + "\r", "0 'hush'"), ("too long for it\r", "0 'too long'"),
                             ("half" + ctrl("C"), "1 ''"), ("half" + ctrl("D"), "1 ''"), (PASTE % "a\nlevel\n", "0 'a'")]:
            shell.send("ask\r")
            shell.expect_exact("ask \r\n\x1b[?2004hPassword:")
            self.assertRegex(self.type(shell, keys), f"^\x07*(\\^C)?\nasked {result}\n$")
        self.assertEqual(["ask"], self.lines())

    def test_keys_of_a_device(self):
        shell = self.shell()
        level = "level \nlevel 1\n"
        self.assertIn("^C", self.type(shell, "some text" + 4 * LEFT + ctrl("C")))
        for keys in ("level", "levXel" + 3 * LEFT + ctrl("D"), "junk" + ctrl("U") + "level", "level x" + ctrl("W")):
            self.assertEqual(level, self.echo(shell, keys))
        self.assertEqual("", self.type(shell, "\r").strip())
        self.type(shell, "interface x\r", "cli(if)")
        self.type(shell, "unit\r", "cli(unit)")
        self.assertIn("end \n", self.type(shell, "half a line" + 5 * LEFT + ctrl("Z")))
        self.type(shell, "interface x\r", "cli(if)")
        self.type(shell, "unit\r", "cli(unit)")
        self.assertIn("exit \n", self.type(shell, ctrl("D"), "cli(if)"))
        self.assertIn("exit \n", self.type(shell, ctrl("D")))
        self.assertEqual(level, self.echo(shell, ctrl("R") + "lev"))
        self.assertNotIn("end", self.lines())
        self.leave(shell)

    def test_up_and_down_search_by_what_is_typed(self):
        shell = self.shell()
        for line in ("show text 10.0", "show text 1x0", "level", "show lines 1", "user level"):
            self.echo(shell, line)
        for keys, line in [
                (UP, "user level"), (3 * UP, "level"), (5 * UP + 2 * DOWN, "level"), ("sh" + UP, "show lines 1"),
                ("le" + UP, "level"), ("show text 10." + UP, "show text 10.0"), ("level" + UP + DOWN, "level"),
                ("sh" + 9 * UP + "1", "show text 10.01"),
        ]:
            with self.subTest(keys=keys):
                # A line with a secret does not itself become one to be found.
                shown = self.type(shell, keys + ctrl("A") + 'user "' + ctrl("E") + '" pin 1\r')
                self.assertTrue(shown.endswith(f"\nuser {line} pin *** \nlevel 1\n"), shown)

    def test_inputrc_chooses_vi(self):
        rc = self.file("inputrc", b"set editing-mode vi\n")
        shell = self.shell(INPUTRC=rc)
        self.assertEqual("show text ab \nab\n", self.echo(shell, "show text b" + ESCAPE + "ia"))
        shell.send("sh?")
        self.prompt(shell)
        self.assertEqual("show text ab \nab\n", self.echo(shell, UP))
        self.assertEqual("show text x?y \nx?y\n", self.echo(shell, PASTE % "show text x?y"))
        self.type(shell, "x" + ESCAPE + ctrl("C"))
        self.leave(shell)


class Text(Prompt):
    def test_utf8_in_the_c_locale(self):
        shell = self.shell()
        for keys, text in [("größe", "größe"), ("aé\x7fb", "ab"), ("日本" + LEFT + "x", "日x本"), ("a\udcff\x7fb", "ab")]:
            with self.subTest(keys):
                shell.ptyproc.write(f"show text {keys}\r".encode("utf-8", "surrogateescape"))
                self.assertTrue(self.prompt(shell).endswith(f"\n{text}\n"))

    def test_paste(self):
        shell = self.shell()
        lines = [f'show text "{i}?\t"' for i in range(1000)]
        shell.send("show" + PASTE % (" text first\n" + "\r".join(lines) + "\r\nshow te"))
        shown = ""
        for _ in range(1001):
            shown += self.prompt(shell)
        self.assertNotIn("> [", shown)
        self.assertEqual(["first"] + [f"{i}?\t" for i in range(1000)],
                         re.findall(r"^(first|\d+\?\t)$", shown, re.MULTILINE))
        self.assertEqual("show text last \nlast\n", self.echo(shell, "xt la" + PASTE % "s\x1b\x01\x7ft"))
        self.assertEqual("show text x \nx\n", self.echo(shell, PASTE % "" + "show text x"))

    def test_an_interrupt_ends_all_of_a_paste(self):
        shell = self.shell()
        shell.send(PASTE % "show lines 4000000\nshow text never\nshow text half")
        shell.expect_exact("line 5")
        shell.send(ctrl("C"))
        self.prompt(shell)
        self.assertEqual("level \nlevel 1\n", self.echo(shell, "level"))
        shell.send(PASTE % "system 'echo going; exec sleep 1000'\nshow text never\nshow text half")
        shell.expect_exact("going\r\n")
        shell.send(ctrl("C"))
        shell.expect_exact("% The rest of the paste is dropped, 2 lines\r\n")
        self.prompt(shell)
        self.assertEqual("level \nlevel 1\n", self.echo(shell, "level"))

    def test_what_is_typed_ahead_is_kept(self):
        shell = self.shell()
        fifo = self.folder + "/fifo"
        os.mkfifo(fifo)
        self.type(shell, "interface x\r", "cli(if)")
        shell.send(f"do system 'cat {fifo}'\r")
        shell.expect_exact("before\r\n")
        shell.send("do show text ahead\r" + ctrl("Z") + "show text par")
        with open(fifo, "w", encoding="utf-8") as out:
            out.write("meanwhile\n")
        self.assertIn("after", self.prompt(shell, "cli(if)"))
        self.assertIn("\nahead\n", self.prompt(shell, "cli(if)"))
        self.assertIn("end", self.prompt(shell))
        self.assertEqual("show text partial \npartial\n", self.echo(shell, "tial"))

    def test_long_lines_and_windows_that_change(self):
        shell = self.shell(size=(10, 40))
        text = "".join(f"{i:04}" for i in range(0, 2000))
        shell.send("show text " + text[:100])
        shell.expect_exact(text[96:100])
        for size in ((10, 25), (30, 120), (5, 300)):
            shell.setwinsize(*size)
            self.prompt_redrawn(shell, text[96:100])
        self.assertTrue(self.type(shell, text[100:] + ctrl("A") + ctrl("E") + "\r").endswith("\n" + text + "\n"))

    def prompt_redrawn(self, shell, end):
        shell.expect_exact("\x1b[Jcli> ")
        shell.expect_exact(end)

    def test_a_dumb_terminal_gets_no_sequences(self):
        shell = self.spawn(COMMAND, TERM="dumb")
        shell.expect_exact("cli> ")
        shell.send("show te")
        shell.expect_exact("show te")
        shell.send("xt x\r")
        shell.expect_exact("\r\nx\r\n")
        self.assertNotIn("\x1b", shell.before)
        shell.expect_exact("cli> ")
        self.leave(shell)
        self.assertNotIn("\x1b", shell.before)


class History(Prompt):
    def test_two_runs(self):
        first = self.shell()
        for line in ("level", "level", "", "   ", "show text a", "user bob password hush", "user bob pin 1234", "level"):
            self.type(first, line + "\r")
        self.assertEqual("level \nlevel 1\n", self.echo(first, UP))
        self.leave(first)
        self.assertEqual(["level", "show text a", "level"], self.lines())
        self.assertEqual(0o600, stat.S_IMODE(os.stat(self.history).st_mode))
        second = self.shell()
        self.assertEqual("show text a \na\n", self.echo(second, UP + UP))
        self.assertEqual("user bob \nlevel 1\n", self.echo(second, "user bob" + UP))

    def test_two_shells_at_once(self):
        shells = [self.shell(), self.shell()]
        for name, shell in zip("ab", shells):
            shell.send(PASTE % "".join(f"show text {name}{i}\n" for i in range(150)))
        for shell in shells:
            for _ in range(150):
                self.prompt(shell)
            self.leave(shell)
        for name in "ab":
            self.assertEqual([f"show text {name}{i}" for i in range(150)],
                             [line for line in self.lines() if line.startswith(f"show text {name}")])
        self.assertEqual(300, len(self.lines()))

    def test_the_file_is_bounded_and_forgiving(self):
        os.makedirs(os.path.dirname(self.history))
        with open(self.history, "w", encoding="latin-1") as file:
            file.write("".join(f"show text {i:090}\n" for i in range(5000)) + "bad \x1b[2J\n\xff\ncut off")
        os.chmod(self.history, 0o644)
        shell = self.shell()
        self.assertTrue(self.echo(shell, "show" + UP).endswith(f"show text {4999:090} \n{4999:090}\n"))
        self.leave(shell)
        with open(self.history, encoding="latin-1") as file:
            lines = file.read().splitlines()
        self.assertEqual(["cut off", f"show text {4999:090}"], lines[-2:])
        self.assertLessEqual(len(lines), 1000)
        self.assertEqual(0o600, stat.S_IMODE(os.stat(self.history).st_mode))
        self.assertEqual(["history"], os.listdir(os.path.dirname(self.history)))

    def test_a_history_that_cannot_be_written_is_said_once(self):
        blocked = self.file("blocked", b"")
        shell = self.shell(XDG_STATE_HOME=blocked)
        message = f"cli-shell: the history is not kept: {blocked}/cli-engine/history: Not a directory\n"
        self.assertIn(message, self.type(shell, "level\r"))
        self.assertEqual("show text x \nx\n", self.echo(shell, "show text x"))
        self.assertEqual("level \nlevel 1\n", self.echo(shell, "le" + UP))

    def test_no_history_keeps_the_shell_from_starting(self):
        os.makedirs(os.path.dirname(self.history))
        other = self.file("other", b"kept\n")
        for make in (lambda: self.file("state/cli-engine/history", b""), lambda: os.mkfifo(self.history),
                     lambda: os.symlink(other, self.history)):
            make()
            shell = self.shell()
            self.assertIn("level 1\n", self.echo(shell, "level"))
            for line in ("usrname bob pass X", "enable secrte X"):
                self.type(shell, line + "\r")
            self.leave(shell)
            if stat.S_ISREG(os.lstat(self.history).st_mode):
                self.assertEqual(["level"], self.lines())
            os.unlink(self.history)
        with open(other, encoding="utf-8") as file:
            self.assertEqual("kept\n", file.read())


class Signals(Prompt):
    """The shell under a parent that looks at the terminal before and after."""

    def under_parent(self):
        script = 'stty -g; "$@" & wait'.replace(" & wait", '; echo "status $?"; stty -g')
        parent = self.spawn(["/bin/sh", "-c", script, "sh", *COMMAND])
        self.prompt(parent)
        modes = CONTROL.sub("", parent.before).split("\n")[-3 if "started" in parent.before else -2]
        return parent, self.only_child(parent.pid), modes

    @staticmethod
    def only_child(pid):
        with open(f"/proc/{pid}/task/{pid}/children", encoding="ascii") as file:
            return int(file.read().split()[0])

    def assert_sane_end(self, parent, modes, status):
        parent.expect(pexpect.EOF)
        end = CONTROL.sub("", parent.before).strip().split("\n")
        self.assertEqual([f"status {status}", modes], end[-2:])
        on, off = parent.before.rfind("\x1b[?2004h"), parent.before.rfind("\x1b[?2004l")
        self.assertLess(on, off)

    def test_signals_that_end_the_session(self):
        for number in signal.SIGTERM, signal.SIGHUP, signal.SIGABRT, signal.SIGSEGV, signal.SIGUSR1:
            with self.subTest(number):
                parent, shell, modes = self.under_parent()
                self.type(parent, f"show text {number.name}\r")
                parent.send("half")
                parent.expect_exact("half")
                os.kill(shell, number)
                self.assert_sane_end(parent, modes, 128 + number)
                self.assertEqual(f"show text {number.name}", self.lines()[-1])

    def test_ending_while_a_command_runs(self):
        parent, shell, modes = self.under_parent()
        parent.send("system 'echo going; exec sleep 1000'\r")
        parent.expect_exact("going\r\n")
        os.kill(shell, signal.SIGTERM)
        parent.expect_exact(f"status {128 + signal.SIGTERM}")
        parent.expect_exact(modes)
        self.assertIn("exec sleep", self.lines()[-1])

    def test_an_interrupt_from_elsewhere_abandons_the_line(self):
        parent, shell, modes = self.under_parent()
        parent.send("half")
        parent.expect_exact("half")
        os.kill(shell, signal.SIGINT)
        parent.expect_exact("^C")
        self.prompt(parent)
        self.assertEqual("level \nlevel 1\n", self.echo(parent, "level"))
        parent.send(ctrl("D"))
        self.assert_sane_end(parent, modes, 0)

    def test_stop_and_continue(self):
        job = self.spawn(["/bin/bash", "--norc", "--noprofile", "-i"], PS1="ready: ")
        job.expect_exact("ready: ")
        job.send("stty -g; echo $$; stty -echo; stty -g\r")
        modes = job.expect(r"[0-9a-f:]{40,}") == 0 and job.match.group(0)
        job.expect(r"\r\n(\d+)\r\n")
        parent = int(job.match.group(1))
        job.expect_exact("ready: ")
        job.send("stty echo; " + " ".join(COMMAND) + "\r")
        self.prompt(job)
        shell = self.only_child(parent)
        job.send("show te")
        job.expect_exact("show te")
        os.kill(shell, signal.SIGTSTP)
        job.expect_exact("Stopped")
        self.assertIn("\x1b[?2004l", job.before)
        job.expect_exact("ready: ")
        job.send("stty -g\r")
        job.expect_exact(modes)
        job.send("fg\r")
        job.expect_exact("cli> show te")
        self.assertEqual("show text x \nx\n", self.echo(job, "xt x"))
        os.kill(shell, signal.SIGSTOP)
        job.expect_exact("ready: ")
        job.send("fg\r")
        self.prompt(job)
        self.assertEqual("level \nlevel 1\n", self.echo(job, "level"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
