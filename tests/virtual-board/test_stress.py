"""Repeats what races: interrupts at odd moments, soft resets, reads. The order is drawn by a seed that
a failure names."""
import random
import time

from virtual_board import END, INTERRUPT, RAW_BANNER, BoardTest

PROGRAMS = (
    "while True: pass",
    "import time\ntime.sleep(5)",
    "import time\nwhile 1: time.sleep_ms(1)",
    "import sys\nsys.stdin.readline()\nwhile 1: pass",
    "i = 0\nwhile 1:\n print(i)\n i += 1",
)


class Stress(BoardTest):
    def test_each_of_200_interrupts_is_heard_once(self):
        seed = random.randrange(1 << 32)
        draw = random.Random(seed)
        for count in range(200):
            program = draw.choice(PROGRAMS)
            with self.subTest(seed=seed, count=count, program=program):
                self.board.start(program)
                time.sleep(draw.random() * 0.02)
                self.board.send(INTERRUPT)
                self.assertIn("KeyboardInterrupt", self.board.finish()[1])
                self.assertOutput("print(1)", "1\r\n")

    def test_resets_30_times(self):
        for _ in range(30):
            self.board.ask(END, RAW_BANNER)
            self.assertOutput("print(1)", "1\r\n")

    def test_reads_300_lines(self):
        for count in range(300):
            self.board.start("import sys\nprint('\\x1eR\\x1e')\nprint(sys.stdin.readline())")
            self.board.until(b"\x1eR\x1e\r\n")
            self.board.send(b"c%d\n" % count)
            self.assertEqual(self.board.finish(), (f"c{count}\r\n\r\n", ""))
