#!/usr/bin/env python3
"""The command line of the switch: switch.json declares it, the functions here run it."""
import pathlib

from cli_engine import Engine, Table

speeds = {port: "auto" for port in range(1, 5)}


def set_speed(engine, rate):
    speeds[engine.argument("port number")] = rate  # of the line that entered the mode


def show_ports(engine):
    ports = Table(["Port", "Speed"], flags=0x02, pad_left=0, pad_right=2, show_total=0)
    for row in speeds.items():
        ports.add(*row)
    engine.write_table(ports)


def leave(_engine):
    raise EOFError  # what a handler raises, run raises


def new_engine():
    return Engine(pathlib.Path(__file__).with_name("switch.json"),
                  handlers={"set_speed": set_speed, "show_ports": show_ports, "cli_shell_exit": leave})


def main():
    with new_engine() as engine:
        try:
            while True:
                print(engine.run(input(engine.prompt)).output, end="")
        except EOFError:
            print()


if __name__ == "__main__":
    main()
