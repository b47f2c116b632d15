"""The memory that --heap leaves to Python."""
from virtual_board import END, RAW_BANNER, BoardTest


class LimitedHeap(BoardTest):
    options = ("--heap", "64K")

    def free_bytes(self):
        output, error = self.board.run("import gc\nprint(gc.mem_free())")
        self.assertEqual(error, "")
        return int(output)

    def test_is_limited_and_freed_between_programs(self):
        free = self.free_bytes()
        self.assertTrue(54_000 < free < 64 << 10, free)
        for size, fits in ((free - 4096, True), (free + 1024, False)) * 3:
            output, error = self.board.run(f"b = bytearray({size})\nprint(len(b))\nb = None")
            self.assertEqual(output, f"{size}\r\n" if fits else "")
            self.assertEqual("MemoryError" in error, not fits, error)
        self.assertAlmostEqual(self.free_bytes(), free, delta=1024)

    def test_comes_back_from_a_full_heap(self):
        for _ in range(3):
            error = self.board.run("a = []\nwhile True: a.append(bytes(100))")[1]
            self.assertIn("MemoryError", error)
            self.board.ask(END, RAW_BANNER)
            self.assertGreater(self.free_bytes(), 54_000)
