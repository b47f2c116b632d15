"""Interrupts and standard input of a running program."""
import time

from virtual_board import INTERRUPT, BoardTest


class Running(BoardTest):
    def test_interrupts_loops_sleeps_and_reads(self):
        programs = {
            "loop": "while True: pass",
            "sleep": "import time\ntime.sleep(60)",
            "printing": "while True: print('line')",
            "read": "import sys\nsys.stdin.readline()",
            "poll": "import select, sys\np = select.poll()\np.register(sys.stdin, 1)\np.poll(60000)",
        }
        for name, program in programs.items():
            with self.subTest(name):
                self.board.start("print('<go>')\n" + program + "\nprint('after')")
                self.board.until(b"<go>\r\n")
                asked = time.monotonic()
                self.board.send(INTERRUPT)
                output, error = self.board.finish()
                self.assertTrue(error.endswith("KeyboardInterrupt: \r\n"), error)
                self.assertNotIn("after", output)
                self.assertLess(time.monotonic() - asked, 5)

    def test_interrupts_after_unread_input(self):
        self.board.start("print('<go>')\nwhile True: pass")
        self.board.until(b"<go>\r\n")
        self.board.send(b"unread " * 10000 + INTERRUPT)
        self.assertIn("KeyboardInterrupt", self.board.finish()[1])
        self.board.send(INTERRUPT)

    def test_reads_lines_that_come_late_or_early(self):
        self.board.start("import sys\nprint('\\x1ex\\x1e')\nprint(repr(sys.stdin.readline()))")
        self.board.until(b"\x1ex\x1e\r\n")
        self.board.send(b"c\n")
        self.assertEqual(self.board.finish(), ("'c\\n'\r\n", ""))
        self.board.send(b"import sys\nprint([sys.stdin.readline(), sys.stdin.readline()])\x04c\rnext\n")
        self.board.until(b"OK")
        self.assertEqual(self.board.finish(), ("['c\\n', 'next\\n']\r\n", ""))
