"""The friendly and the raw prompt."""
from virtual_board import END, FRIENDLY, INTERRUPT, BoardTest


class Prompt(BoardTest):
    def test_runs_a_long_program_and_separates_its_output_from_its_error(self):
        filler = "# ä漢\r\nprint('ä漢')\r\n" + "x = 1 # filler filler\r\n" * 1000
        output, error = self.board.run(filler + "print(x)\r\n1/0")
        self.assertEqual(output, "ä漢\r\n1\r\n")
        self.assertEqual(error, 'Traceback (most recent call last):\r\n  File "<stdin>", line 1004, '
                                "in <module>\r\nZeroDivisionError: divide by zero\r\n")

    def test_refuses_raw_paste_and_runs_the_next_program(self):
        self.assertEqual(self.board.ask(b"\x05A\x01", b">"), b"R\x00>")
        self.assertOutput("print('plain')", "plain\r\n")

    def test_friendly_prompt_evaluates_indents_and_pastes(self):
        self.assertRegex(self.board.ask(FRIENDLY), rb"^\r\nMicroPython v1\.27\.0.*\r\nType .*\r\n>>> $")
        self.assertEqual(self.board.ask(b"1+1\r"), b"1+1\r\n2\r\n>>> ")
        loop = self.board.ask(b"for i in range(2):\rprint(i)\r\r\r\r")
        self.assertIn(b"...     print(i)\r\n", loop)
        self.assertTrue(loop.endswith(b"\r\n0\r\n1\r\n>>> "), loop)
        pasted = self.board.ask(INTERRUPT + b"\x05A\x01\x03\x05print('p')\r" + END, b"p\r\n>>> ")
        self.assertIn(b"paste mode; Ctrl-C to cancel, Ctrl-D to finish\r\n=== ", pasted)
        self.assertNotIn(b"R\x00", pasted)
