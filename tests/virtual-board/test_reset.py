"""Soft resets, boot.py and main.py."""
from virtual_board import END, FRIENDLY, INTERRUPT, RAW, RAW_BANNER, BoardTest


class Reset(BoardTest):
    def write(self, **files):
        for name, text in files.items():
            self.board.run(f"with open('/{name}.py', 'w') as f: f.write({text!r})")

    def tearDown(self):
        self.board.enter_raw()
        self.board.run("import os\nfor name in os.listdir('/'): os.remove('/' + name)")

    def reset(self):
        self.board.ask(FRIENDLY)
        return self.board.ask(END).decode().split("MicroPython v")[0]

    def test_runs_both_files_in_fresh_names_and_keeps_the_files(self):
        self.write(boot="print('boot runs')", main="print('main runs')\nmainvar = 5")
        self.board.run("lost = 1")
        self.assertEqual(self.reset(), "\r\nMPY: soft reboot\r\nboot runs\r\nmain runs\r\n")
        self.board.enter_raw()
        self.assertOutput("import os\nprint(mainvar, 'lost' in globals(), sorted(os.listdir('/')))",
                          "5 False ['boot.py', 'main.py']\r\n")

    def test_runs_only_boot_on_the_way_to_the_raw_prompt(self):
        self.write(boot="print('boot runs')", main="print('main runs')")
        self.assertEqual(self.board.ask(END, RAW_BANNER),
                         b"OK\r\nMPY: soft reboot\r\nboot runs\r\n" + RAW_BANNER)
        self.assertEqual(self.board.ask(b"import sys\nprint('bye')\nsys.exit()" + END, RAW_BANNER),
                         b"OKbye\r\n\x04\x04MPY: soft reboot\r\nboot runs\r\n" + RAW_BANNER)

    def test_endless_main_prints_until_it_is_interrupted(self):
        self.write(main="import time\nwhile True:\n  print('tick')\n  time.sleep(0.01)")
        self.board.ask(FRIENDLY)
        self.board.ask(END, b"tick\r\ntick\r\n")
        text = self.board.ask(INTERRUPT)
        self.assertRegex(text, rb'File "main.py", line \d, in <module>[^>]*KeyboardInterrupt: \r\nMicro')
        self.assertTrue(self.board.ask(RAW, RAW_BANNER).endswith(b"\r\n" + RAW_BANNER))
