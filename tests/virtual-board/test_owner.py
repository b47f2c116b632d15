"""Starting, ending and killing the board."""
import pathlib
import signal
import tempfile
import time
import unittest

from virtual_board import SCRIPT, BoardProcess, Client


class Owner(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.link = self.folder / "port"

    def start(self, *options, **more):
        process = BoardProcess(*options, **more)
        self.addCleanup(process.clear_up)
        return process

    def client(self, process):
        client = Client(process.port)
        self.addCleanup(client.close)
        return client

    def test_ends_on_a_signal_and_leaves_nothing(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(number):
                process = self.start()
                self.client(process).until(b">>> ")
                self.assertEqual(process.end(number), (0, ""))
                self.assertEqual(process.leftovers(), [])

    def test_ends_with_its_parent(self):
        shell = self.start(command=["/bin/sh", "-c", f"'{SCRIPT}' --with-parent & wait"])
        self.client(shell).until(b">>> ")
        shell.owner.kill()
        self.assertEqual(shell.wait(), (-signal.SIGKILL, ""))
        self.assertEqual(shell.leftovers(), [])

    def test_board_ends_with_its_killed_owner_and_the_next_replaces_its_link(self):
        process = self.start("--link", self.link)
        self.client(process).until(b">>> ")
        self.assertEqual(process.end(signal.SIGKILL), (-signal.SIGKILL, ""))
        self.assertEqual(process.leftovers(), [str(self.link)])
        again = self.start("--link", self.link)
        self.client(again).until(b">>> ")
        self.assertEqual(again.end(), (0, ""))
        self.assertEqual(again.leftovers(), [])

    def test_refuses_invalid_options_and_replaces_no_file(self):
        self.link.write_text("a file of another program")
        cases = [("--link", self.link), ("--link", self.folder / "missing" / "port"),
                 ("--flash", self.folder / "missing"), ("--rate", "fast"), ("--disk", "-1")]
        for options in cases:
            with self.subTest(options[0]):
                process = self.start(*options)
                status, text = process.wait()
                self.assertEqual((process.port, status != 0), ("", True))
                self.assertIn("virtual", text)
                self.assertNotIn("Traceback", text)
        self.assertFalse(self.link.is_symlink())
        self.assertEqual(self.link.read_text(), "a file of another program")

    def test_copies_a_folder_in_at_power_on(self):
        flash = self.folder / "flash"
        (flash / "lib").mkdir(parents=True)
        (flash / "lib" / "helper.py").write_text("answer = 42")
        (flash / "data.bin").write_bytes(bytes(range(256)))
        (flash / "main.py").write_text("import helper\nprint('main', helper.answer)")
        client = self.client(self.start("--flash", flash))
        self.assertTrue(client.until(b">>> ").startswith(b"main 42\r\nMicroPython v"))
        client.enter_raw()
        self.assertEqual(client.run("import os\nprint(open('/data.bin', 'rb').read() == bytes(range(256)))\n"
                                    "os.remove('/data.bin')"), ("True\r\n", ""))
        self.assertTrue((flash / "data.bin").exists())

    def test_rate_limits_both_directions(self):
        client = self.client(self.start("--rate", 20000))
        client.until(b">>> ")
        client.enter_raw()
        for name, program in (("out", "print('x' * 8000)"), ("in", "#" + "x" * 8000)):
            with self.subTest(name):
                started = time.monotonic()
                self.assertEqual(client.run(program)[1], "")
                self.assertGreater(time.monotonic() - started, 0.3)
