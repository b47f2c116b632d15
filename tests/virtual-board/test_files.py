"""The board's file system."""
import base64
import unittest

from virtual_board import END, RAW_BANNER, BoardTest

LISTING = """
import os
def tree(folder):
    for name in os.listdir(folder):
        path = folder + '/' + name
        status = os.stat(path)
        print(path, 'folder' if status[0] & 0x4000 else status[6])
        if status[0] & 0x4000: tree(path)
tree('')
"""


class Files(BoardTest):
    def tearDown(self):
        self.board.run("import os\nfor name in os.listdir('/'): os.remove('/' + name)")

    def test_root_is_empty_and_no_name_is_left_over(self):
        self.board.ask(END, RAW_BANNER)
        self.assertOutput("import os\nprint(os.listdir('/'), os.getcwd(), dir())",
                          "[] / ['os', '__name__', '__file__']\r\n")

    def test_keeps_every_byte(self):
        for size in (0, 1, 3000, 60000):
            with self.subTest(size):
                data = bytes((index * 7 + index // 251) & 255 for index in range(size))
                text = base64.b64encode(data).decode()
                self.board.run("import ubinascii\nf = open('/data.bin', 'wb')")
                for start in range(0, len(text), 1024):
                    piece = text[start:start + 1024]
                    output, error = self.board.run(f"f.write(ubinascii.a2b_base64('{piece}'))")
                    self.assertEqual(error, "")
                whole, error = self.board.run("f.close()\nf = open('/data.bin', 'rb')\n"
                                              "print(ubinascii.b2a_base64(f.read()).decode())")
                self.assertEqual((base64.b64decode(whole), error), (data, ""))
                pieces, error = self.board.run("f.seek(0)\nwhile 1:\n d = f.read(510)\n if not d: break\n"
                                               " print(ubinascii.b2a_base64(d).decode().strip())")
                self.assertEqual((base64.b64decode(pieces), error), (data, ""))

    def test_makes_renames_and_removes(self):
        self.assertOutput("import os\nos.mkdir('/d')\nos.mkdir('/d/e')\n"
                          "with open('/d/e/ä.py', 'w') as f: f.write('a=1\\n')\n"
                          "os.rename('/d/e/ä.py', '/d/g.py')" + LISTING,
                          "/d folder\r\n/d/e folder\r\n/d/g.py 4\r\n")
        self.assertOutput("os.remove('/d/g.py')\nos.rmdir('/d/e')\nos.rmdir('/d')" + LISTING, "")

    def test_fails_with_the_usual_numbers(self):
        self.board.run("import os\nos.mkdir('/d')\nopen('/d/f', 'w').close()")
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
                          "except OSError as e: print(e.errno)\nf.close()" + LISTING,
                          "28\r\n/a 4000\r\n")
        self.assertOutput("os.remove('/a')\nwith open('/b', 'w') as f: print(f.write('x' * 5000))",
                          "5000\r\n")


if __name__ == "__main__":
    unittest.main()
