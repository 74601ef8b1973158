#!/usr/bin/env python3
"""Plays two minutes of the router by itself, typed as by hand, and leaves you at its prompt. A key of yours ends the
play at once.

usage: demo.py [--speed FACTOR] CLI_SHELL ARGUMENT...

With --speed 10 it takes a tenth of the time. Where there is no terminal it plays and ends."""
import fcntl
import os
import pty
import select
import signal
import sys
import termios
import time
import tty

READY = b"\x1b[?2004h"  # the editor waits for keys: said behind each prompt
LINES = [
    "! You watch it being typed. Press a key to take over.",
    "! Words may be shortened as long as they mean one thing.",
    "sh ver",
    "! A question mark lists what may come; the line stays.",
    "show ip ?", "int\r",
    "enable",
    "! Modes change the prompt. Tab completes.",
    "conf\tterm\t",
    "hostname edge1",
    "vlan 20",
    "name staff",
    "! What fails is shown, with what may stand there.",
    "vlan 4095",
    "interface eth0",
    'description "uplink to the core"',
    "ip address 300.1.1.1/24",
    "ip address 192.0.2.1/24",
    "mtu ?", "9000\r",
    '! What the top level has works everywhere behind "do".',
    "do show vlan brief",
    "end",
    "! Any output goes through filters.",
    "show running-config | section interface eth0",
    "show running-config | count",
    "show interfaces brief | include up",
    "! All this is one file, examples/router/router.json.",
    "! It is yours now. A question mark lists; exit leaves.",
]


class Hand:
    """What is typed, and when."""

    def __init__(self, speed):
        self.keys = [key for line in LINES for key in (line if line[-1] in "?\r" else line + "\r")]
        self.pause = 1 / speed if speed else 0
        self.waits_for_prompt = True
        self.due = 0.0
        self.seen = b""

    def done(self):
        return not self.keys and not self.waits_for_prompt

    def hear(self, output):
        """The prompt is there: go on, once a reader has had the time to see what came."""
        self.seen = (self.seen + output)[-4096:]
        if self.waits_for_prompt and READY in self.seen:
            self.waits_for_prompt, self.due = False, time.monotonic() + 1.6 * self.pause
            self.seen = b""

    def next_key(self):
        if not self.keys or self.waits_for_prompt or time.monotonic() < self.due:
            return b""
        key = self.keys.pop(0)
        self.waits_for_prompt = key in "?\r"
        self.due = time.monotonic() + (0.03 if key != " " else 0.08) * self.pause
        if self.keys and self.keys[0] in "\t\r":
            self.due += 0.35 * self.pause
        self.seen = b""
        return key.encode()


def take_size(child, terminal):
    fcntl.ioctl(child, termios.TIOCSWINSZ, fcntl.ioctl(terminal, termios.TIOCGWINSZ, bytes(8)))


def play(child, hand, keyboard):
    """Passes on what is printed and typed until the shell ends."""
    while True:
        sources = [child] if keyboard is None else [child, keyboard]
        ready = select.select(sources, [], [], None if hand.done() else 0.01)[0]
        if child in ready:
            try:
                output = os.read(child, 65536)
            except OSError:  # its terminal has gone
                output = b""
            if not output:
                return
            hand.hear(output)
            os.write(sys.stdout.fileno(), output)
        if keyboard in ready:
            typed = os.read(keyboard, 4096)
            if hand.keys:
                hand.keys, typed = [], b"\x05\x15"  # leaves no half of a line
            os.write(child, typed or b"\x04")
        key = hand.next_key()
        if key:
            os.write(child, key)
        elif hand.done() and keyboard is None:
            os.write(child, b"\x04")
            hand.waits_for_prompt = True


def main(arguments):
    speed = 1.0
    if arguments[:1] == ["--speed"]:
        speed, arguments = float(arguments[1]), arguments[2:]
    pid, child = pty.fork()
    if pid == 0:
        os.execvp(arguments[0], arguments)
    keyboard = sys.stdin.fileno() if os.isatty(sys.stdin.fileno()) else None
    before = keyboard is not None and termios.tcgetattr(keyboard)
    try:
        if before:
            take_size(child, keyboard)
            signal.signal(signal.SIGWINCH, lambda *_: take_size(child, keyboard))
            tty.setraw(keyboard)
        play(child, Hand(speed), keyboard)
    finally:
        if before:
            termios.tcsetattr(keyboard, termios.TCSADRAIN, before)
    return os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1])


sys.exit(main(sys.argv[1:]))
