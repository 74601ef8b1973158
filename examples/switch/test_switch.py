"""What the switch answers: python3 -m unittest"""
import unittest

from switch import new_engine


class Switch(unittest.TestCase):
    def test_a_port_takes_a_speed(self):
        with new_engine() as engine:
            for line in ("port 2", "speed 1000"):
                self.assertFalse(engine.run(line).failed, line)
            self.assertIn("\n2     1000", engine.run("show ports").output)

    def test_what_fails_says_where(self):
        with new_engine() as engine:
            outcome = engine.run("port 5")
            self.assertTrue(outcome.failed)
            self.assertEqual((5, 1), (outcome.column, outcome.length))


if __name__ == "__main__":
    unittest.main()
