#!/usr/bin/env python3
"""keys.py SHELL HANDLERS SECONDS [SEED]: four writers type at once into the router's prompt: letters and words, controls,
sequences and pastes whole and cut, signals and windows. The shell, best one with sanitizers, must answer after each
session and leave the terminal as it found it, whichever way it is ended."""

import fcntl
import os
import pathlib
import pty
import random
import re
import signal
import struct
import sys
import tempfile
import termios
import threading
import time

SHELL, HANDLERS, SECONDS = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2]), float(sys.argv[3])
SEED = int(sys.argv[4]) if len(sys.argv) > 4 else random.randrange(10**6)
ROUTER = pathlib.Path(__file__).resolve().parent.parent / "examples/router"
WORDS = (b"show ver", b"configure terminal", b"interface lo", b"do sh run | incl e", b"\"a b", b"enable", b"end", b"?",
         "größe 日本 👩‍👧 e\u0301".encode(), b"\xff\xfe", b"x" * 300, b"| count")
SEQUENCES = (b"\33[A", b"\33[B", b"\33[C", b"\33[D", b"\33OH", b"\33[4~", b"\33[3~", b"\33[2~", b"\33[1;5C", b"\33[200~",
             b"\33[201~", b"\33[99;99z", b"\33[<0;1;1M", b"\33b", b"\33f", b"\33d", b"\33y", b"\33.", b"\33t", b"\0339", b"\33u",
             b"\33[200~show ver\nhostname x\33[201~", b"\33", b"\33[27;5;97~", b"\33\x7f", b"\33r", b"\33<", b"\33>",
             b"cw", b"d2w", b"fo;,", b"u.", b"3x", b"/s\r", b"nN", b"rz", b"R", b"yyp", b"A", b"i")
SIGNALS = (signal.SIGINT, signal.SIGWINCH, signal.SIGCONT, signal.SIGTSTP, signal.SIGQUIT)
PASTES_ON, PASTES_OFF = b"\33[?2004h", b"\33[?2004l"


class Session:
    """One shell at a terminal of its own, from its start to its end."""

    def __init__(self, number, folder):
        self.random = random.Random(f"{SEED} {number}")
        self.vi = self.random.random() < 0.5
        (folder / "inputrc").write_text("set editing-mode vi\n" if self.vi else "")
        self.master, self.terminal = pty.openpty()
        self.modes = termios.tcgetattr(self.terminal)
        self.written, self.shown, self.lock = [], b"", threading.Lock()
        environment = {"PATH": "/nonexistent", "HOME": str(folder), "INPUTRC": str(folder / "inputrc"), "TERM": "xterm",
                       "LC_ALL": "C.UTF-8", "VISUAL": "true", "CLI_ROUTER_STARTUP": str(folder / "startup")}
        command = [SHELL, "--restricted", "--level=15", "--handlers", HANDLERS, "--privileges", str(ROUTER / "privileges.json"),
                   str(ROUTER / "router.json")]
        self.pid = os.fork()
        if self.pid == 0:
            os.chdir(folder)
            os.login_tty(self.terminal)
            os.execve(SHELL, command, environment)
        os.set_blocking(self.master, False)

    def send(self, data):
        with self.lock:
            try:
                os.write(self.master, data)
                self.written.append(data)
            except BlockingIOError:
                pass

    def read(self):
        try:
            self.shown = (self.shown + os.read(self.master, 65536))[-100000:]
        except BlockingIOError:
            time.sleep(0.002)

    def has_ended(self):
        """The process is not given up by this: no signal goes to another one."""
        return os.waitid(os.P_PID, self.pid, os.WEXITED | os.WNOHANG | os.WNOWAIT) is not None

    def ended(self):
        return os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])

    def write(self, kind, until):
        mine = random.Random(f"{SEED} {kind} {self.random.random()}")
        while time.monotonic() < until and self.alive:
            if kind == 0:
                self.send(mine.choice(WORDS) if mine.random() < 0.2 else bytes([mine.randrange(32, 127)]))
            elif kind == 1:
                self.send(mine.choice((b"\r", b"\t", bytes([mine.choice([c for c in range(32) if c != 4])]))))
            elif kind == 2:
                sequence = mine.choice(SEQUENCES)
                self.send(sequence[:mine.randrange(1, len(sequence) + 1)] if mine.random() < 0.3 else sequence)
            elif mine.random() < 0.5:
                fcntl.ioctl(self.master, termios.TIOCSWINSZ, struct.pack("4H", mine.randrange(60), mine.randrange(200), 0, 0))
            elif self.alive:
                os.kill(self.pid, mine.choice(SIGNALS))
            time.sleep(mine.random() * (0.05 if kind == 3 else 0.004))

    def wait(self, done, seconds=60):
        end = time.monotonic() + seconds
        while time.monotonic() < end and not done():
            self.read()
        return done()

    def run(self, seconds):
        """The shell's status and what it may be."""
        if not self.wait(lambda: PASTES_ON in self.shown):
            return "no prompt", ()
        self.alive, until = True, time.monotonic() + seconds
        writers = [threading.Thread(target=self.write, args=(kind, until)) for kind in range(4)]
        for writer in writers:
            writer.start()
        while not self.has_ended() and time.monotonic() < until:
            self.read()
        self.alive = False
        for writer in writers:
            writer.join()
        if self.has_ended():
            return self.ended(), (0,)
        fcntl.ioctl(self.master, termios.TIOCSWINSZ, struct.pack("4H", 24, 80, 0, 0))
        os.kill(self.pid, signal.SIGCONT)
        for _ in range(3):  # out of a quoted insert, a paste, a question, and to an empty line
            self.send(b"\3")
            self.wait(lambda: False, 0.3)
        self.shown = b""
        self.send(b"\3\3answer\r")
        if not self.wait(lambda: b"at 'answer'" in re.sub(rb"\x1b\[[0-9;]*m", b"", self.shown)):
            return "no answer", ()
        number = self.random.choice((0, signal.SIGTERM, signal.SIGHUP, signal.SIGABRT))
        if number:
            os.kill(self.pid, number)
        else:
            self.send(b"\3\x1a")
            self.wait(lambda: False, 0.5)
            self.send(b"\4")
        status = self.ended() if self.wait(self.has_ended) else "no end"
        return status, {0: (0,), signal.SIGABRT: (-signal.SIGABRT,)}.get(number, (128 + number, -number))

    def fault(self, seconds):
        status, expected = self.run(seconds)
        self.wait(lambda: False, 0.1)
        if status not in expected:
            return f"status {status}, not {expected}"
        if termios.tcgetattr(self.terminal) != self.modes:
            return "other modes"
        return "pastes stay marked" if self.shown.rfind(PASTES_ON) > self.shown.rfind(PASTES_OFF) else ""


def main():
    end, number, keys = time.monotonic() + SECONDS, 0, 0
    while time.monotonic() < end:
        with tempfile.TemporaryDirectory() as folder:
            session = Session(number, pathlib.Path(folder))
            fault = session.fault(min(20, max(1, end - time.monotonic())))
        keys += sum(map(len, session.written))
        if fault:
            sys.exit(f"seed {SEED} session {number}{' vi' if session.vi else ''}: {fault}\n{session.written[-60:]}\n"
                     + session.shown.decode(errors="backslashreplace")[-6000:])
        os.close(session.master)
        os.close(session.terminal)
        number += 1
    print(f"keys: {number} sessions, {keys} bytes, {SECONDS:.0f} seconds, seed {SEED}")


main()
