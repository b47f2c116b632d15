"""The memory and the disk that --heap and --disk leave to Python."""
from virtual_board import BoardTest


class SmallHeap(BoardTest):
    options = ("--heap", "64K")

    def test_is_limited_and_freed_between_programs(self):
        free = int(self.board.run("import gc\nprint(gc.mem_free())")[0])
        self.assertTrue(54_000 < free < 64 << 10, free)
        for size, fits in ((free - 4096, True), (free + 1024, False)) * 2:
            output, error = self.board.run(f"b = bytearray({size})\nprint(len(b))\nb = None")
            self.assertEqual(output, f"{size}\r\n" if fits else "")
            self.assertEqual("MemoryError" in error, not fits, error)


class SmallDisk(BoardTest):
    options = ("--disk", 5000)

    def test_write_fails_when_the_disk_is_full(self):
        self.assertOutput("f = open('/a', 'w')\nf.write('x' * 4000)\ntry: f.write('x' * 2000)\n"
                          "except OSError as e: print(e.errno)\nf.close()", "28\r\n")
        self.assertOutput("import os\nprint(os.stat('/a')[6])\nos.remove('/a')\n"
                          "with open('/b', 'w') as f: print(f.write('x' * 5000))", "4000\r\n5000\r\n")
