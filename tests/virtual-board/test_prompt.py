"""The friendly and the raw prompt."""
import unittest

from virtual_board import END, FRIENDLY, INTERRUPT, RAW, RAW_BANNER, BoardTest


class Prompt(BoardTest):
    def test_shows_banner_on_leaving_the_raw_prompt(self):
        self.assertRegex(self.board.ask(FRIENDLY), rb"^\r\nMicroPython v1\.27\.0.*\r\nType .*\r\n>>> $")

    def test_enters_the_raw_prompt_again_while_in_it(self):
        self.assertEqual(self.board.ask(RAW, RAW_BANNER), RAW_BANNER)

    def test_separates_output_from_error(self):
        frames = 'Traceback (most recent call last):\r\n  File "<stdin>", line '
        cases = {
            "print('hi')": ("hi\r\n", ""),
            "x = = 1": ("", frames + "1\r\nSyntaxError: invalid syntax\r\n"),
            "print('before')\ndef f():\n  1/0\nf()": (
                "before\r\n", frames + '4, in <module>\r\n  File "<stdin>", line 3, in f\r\n'
                "ZeroDivisionError: divide by zero\r\n"),
            "print('a\\r\\nb\\n')": ("a\r\nb\r\n\r\n", ""),
            "# ä漢\r\nprint('ä漢')\r\n" + "x=1 # filler filler\r\n" * 1000 + "print(x)\r\n": (
                "ä漢\r\n1\r\n", ""),
        }
        for program, answer in cases.items():
            with self.subTest(program[:30]):
                self.assertEqual(self.board.run(program), answer)

    def test_keeps_global_names_between_programs(self):
        self.board.run("kept = 41\ndef more(): return kept + 1")
        self.assertOutput("print(more())", "42\r\n")

    def test_has_the_modules_of_a_board(self):
        self.assertOutput("import ubinascii, binascii, json, ujson, os, uos, time, utime, select, "
                          "asyncio, hashlib, gc, sys, struct, random, math, re", "")
        self.assertOutput("print(sys.implementation[0], os.uname().release)", "micropython 1.27.0\r\n")

    def test_refuses_raw_paste_and_goes_on(self):
        self.assertEqual(self.board.ask(b"\x05A\x01", b">"), b"R\x00>")
        self.assertOutput("print('plain')", "plain\r\n")

    def test_interrupt_clears_the_line(self):
        self.board.send(b"garbage(" + INTERRUPT)
        self.assertOutput("print('clean')", "clean\r\n")

    def test_interrupt_that_was_typed_does_not_hit_the_program_behind_it(self):
        for _ in range(20):
            self.board.send(INTERRUPT)
            self.assertOutput("n = 0\nfor i in range(100000): n += 1\nprint(n)", "100000\r\n")

    def test_friendly_prompt_evaluates_indents_and_pastes(self):
        self.board.ask(FRIENDLY)
        self.assertEqual(self.board.ask(b"1+1\r"), b"1+1\r\n2\r\n>>> ")
        loop = self.board.ask(b"for i in range(2):\rprint(i)\r\r\r\r")
        self.assertIn(b"...     print(i)\r\n", loop)
        self.assertTrue(loop.endswith(b"\r\n0\r\n1\r\n>>> "), loop)
        pasted = self.board.ask(INTERRUPT + b"\x05A\x01\x03\x05print('p')\r" + END, b"p\r\n>>> ")
        self.assertIn(b"paste mode; Ctrl-C to cancel, Ctrl-D to finish\r\n=== ", pasted)
        self.assertNotIn(b"R\x00", pasted)


if __name__ == "__main__":
    unittest.main()
