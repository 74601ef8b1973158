#!/usr/bin/env python3
"""Serves two hundred sessions at once with the first program of a page.

usage: daemon_test.py PAGE -- COMPILER [FLAG...]   (SOURCE stands for the program)"""
import os
import re
import socket
import subprocess
import sys
import tempfile

SESSIONS = 200
LINES = "show session\ninterface eth%d\n mtu 1500\n nothing\nexit\nmeasure 7\nshow session\nexit\n"
EXPECTED = (r"cli> one of 200 sessions, level (1|15)\ncli> cli\(interface\)> eth%d: 1500 bytes\n"
            r"cli\(interface\)> nothing \n(.*\n)+?cli\(interface\)> cli> the card answered\ncli> one of .*\ncli> ")

with open(sys.argv[1], encoding="utf-8") as page:
    text = page.read()
with tempfile.TemporaryDirectory() as folder:
    for name, body in re.findall(r"^```json (\S+)\n(.*?)^```$", text, re.MULTILINE | re.DOTALL):
        with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
            file.write(body)
    source = os.path.join(folder, "daemon.c")
    with open(source, "w", encoding="utf-8") as file:
        file.write(re.search(r"^```c\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)[1])
    compiler = sys.argv[sys.argv.index("--") + 1:]
    subprocess.run([source if flag == "SOURCE" else flag for flag in compiler] + ["-o", os.path.join(folder, "daemon")],
                   check=True)
    path = os.path.join(folder, "s")
    daemon = subprocess.Popen([os.path.join(folder, "daemon"), path], cwd=folder)
    while not os.path.exists(path) and daemon.poll() is None:
        pass
    try:
        clients = []
        for i in range(SESSIONS):
            client = socket.socket(socket.AF_UNIX)
            client.settimeout(60)
            while client.connect_ex(path) != 0 and daemon.poll() is None:
                pass
            assert client.recv(5) == b"cli> "  # each is served while the others are open
            clients.append(client)
        for i, client in enumerate(clients):
            client.sendall((LINES % i).encode())
        for i, client in enumerate(clients):
            answer = "cli> "
            while part := client.recv(65536).decode():
                answer += part
            assert re.fullmatch(EXPECTED % i, answer), f"session {i}:\n{answer}"
    finally:
        daemon.terminate()
print(f"{SESSIONS} sessions in one process")
