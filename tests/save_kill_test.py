"""A router that is killed while it saves, or whose system calls fail: nobody gains rights, and no file is lost."""

import os
import random
import subprocess
import tempfile
import time
import unittest

ROUTER = [os.environ["CLI_SHELL"], "--handlers", os.environ["ROUTER_HANDLERS"], "--level", "15", "--privileges",
          os.environ["ROUTER"] + "/privileges.json", os.environ["ROUTER"] + "/router.json"]
ROUNDS = 80
NAMES = ("one", "another")
VLANS = "configure terminal\n" + "".join(f"vlan {number}\n" for number in range(2, 1000)) + "end\n"
SAVE = "configure terminal\nhostname {}\nend\ncopy running-config startup-config\n"


class Save(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.startup = folder.name + "/startup-config"
        self.commands = folder.name + "/commands"

    def start(self, commands):
        with open(self.commands, "w", encoding="utf-8") as file:
            file.write(commands)
        with open(self.commands, encoding="utf-8") as file:
            return subprocess.Popen(ROUTER, stdin=file, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                                    env={**os.environ, "ROUTER_STARTUP_CONFIG": self.startup})

    def saved(self):
        with open(self.startup, encoding="utf-8") as file:
            return file.read()

    def test_killed_at_any_moment(self):
        whole = {}
        for name in NAMES:
            self.start(VLANS + SAVE.format(name)).communicate(timeout=60)
            whole[self.saved()] = name
        self.assertEqual(sorted(whole.values()), sorted(NAMES))
        chance = random.Random(1)
        seen = []
        for _ in range(ROUNDS):
            with self.start("".join(SAVE.format(name) for name in NAMES * 50)) as router:
                while not router.stdout.readline().startswith("Saved to"):
                    pass
                time.sleep(chance.uniform(0, 0.01))
                router.kill()
            seen.append(whole.get(self.saved(), "torn"))
        self.assertEqual(set(seen), set(NAMES))

    def test_system_calls_that_fail_one_at_a_time(self):
        old = "configure terminal\nenable secret password kept\nend\n"
        for attempt, password in ((True, "wrong"), (False, "kept")):
            command = [*ROUTER, "--level", "1", "--strict", "-c", "enable password " + password, "-c", "show privilege",
                       "-c", "copy running-config startup-config"]
            for name in ("fork", "pipe2", "open", "read", "write", "fsync", "rename", "dup2", "pthread_create"):
                for number in range(1, 100):
                    with self.subTest(attempt=attempt, name=name, number=number):
                        with open(self.startup, "w", encoding="utf-8") as file:
                            file.write(old)
                        done = subprocess.run(command, capture_output=True, timeout=60, check=False, env={
                            **os.environ, "ROUTER_STARTUP_CONFIG": self.startup, "FAULT": f"{name} {number}",
                            "LD_PRELOAD": os.environ["FAULTS"],  # which a sanitizer would have after itself
                            "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"})
                        self.assertIn("enable secret", self.saved())
                        if attempt:
                            self.assertNotIn(b"level is 15", done.stdout)
                        elif b"Saved to" not in done.stdout:
                            self.assertTrue(done.returncode in (1, 2) or b"\n% " in done.stdout, done)
                        if b"not reached" in done.stderr:
                            break


if __name__ == "__main__":
    unittest.main()
