"""The board's file system, where it is not what MicroPython makes of it anyway."""
from virtual_board import END, RAW_BANNER, BoardTest


class Files(BoardTest):
    def test_root_is_empty_and_no_name_is_left_over(self):
        self.board.ask(END, RAW_BANNER)
        self.assertOutput("import os\nprint(os.listdir('/'), os.getcwd(), dir())",
                          "[] / ['os', '__name__', '__file__']\r\n")

    def test_keeps_folders_and_fails_with_the_usual_numbers(self):
        self.assertOutput("import os\nos.mkdir('/d')\nos.mkdir('/d/e')\nopen('/d/ä.py', 'w').close()\n"
                          "os.rename('/d/ä.py', '/d/f')\nos.rmdir('/d/e')\nprint(os.listdir('/d'))",
                          "['f']\r\n")
        cases = {"open('/nope')": 2, "os.remove('/nope')": 2, "os.mkdir('/d')": 17, "os.rmdir('/d')": 39,
                 "os.listdir('/d/f')": 20, "open('/d', 'w')": 21}
        for call, number in cases.items():
            with self.subTest(call):
                self.assertOutput(f"try: {call}\nexcept OSError as e: print(e.errno)", f"{number}\r\n")
        self.board.run("os.remove('/d/f')\nos.rmdir('/d')")


class SmallDisk(BoardTest):
    options = ("--disk", 5000)

    def test_write_fails_when_the_disk_is_full(self):
        self.assertOutput("f = open('/a', 'w')\nf.write('x' * 4000)\ntry: f.write('x' * 2000)\n"
                          "except OSError as e: print(e.errno)\nf.close()", "28\r\n")
        self.assertOutput("import os\nprint(os.stat('/a')[6])\nos.remove('/a')\n"
                          "with open('/b', 'w') as f: print(f.write('x' * 5000))", "4000\r\n5000\r\n")
