"""How long a program lives from its start to its end: start_up.py PROGRAM [ARGUMENT...]

Its standard input is empty, so that a shell ends at its first prompt. Prints the medians of its runs: milliseconds, and
milliseconds of processor time.
"""

import os
import statistics
import subprocess
import sys
import time

RUNS = 101


def run_once(command):
    begin = time.monotonic()
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    elapsed = time.monotonic() - begin
    if status != 0:
        sys.exit(f"start_up.py: {command[0]} failed")
    return elapsed, usage.ru_utime + usage.ru_stime


def main(command):
    runs = [run_once(command) for _ in range(RUNS)]
    print(*(f"{1000 * statistics.median(figures):.2f}" for figures in zip(*runs)))


if __name__ == "__main__":
    main(sys.argv[1:])
