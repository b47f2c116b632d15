"""Shared by the tests of the virtual board: its process, a client of its port, and a test case with
both."""
import os
import pathlib
import select
import signal
import subprocess
import tempfile
import time
import tty
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "virtual-board"
RAW_BANNER = b"raw REPL; CTRL-B to exit\r\n>"
INTERRUPT, END, FRIENDLY, RAW = b"\x03", b"\x04", b"\x02", b"\x01"


class BoardProcess:
    """The script and the board that it started; `command` replaces the command that starts it."""

    def __init__(self, *options, command=None):
        self.errors = tempfile.TemporaryFile()
        self.owner = subprocess.Popen(command or [SCRIPT, *map(str, options)],
                                      stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                      stderr=self.errors, text=True)
        self.port = self.owner.stdout.readline().strip()
        self.pid = int(self.owner.stdout.readline() or 0)

    def end(self, number=signal.SIGTERM):
        """Returns the script's exit status, and all output except the first two lines."""
        self.owner.send_signal(number)
        return self.wait()

    def wait(self):
        output, _ = self.owner.communicate(timeout=10)
        self.errors.seek(0)
        with self.errors:
            return self.owner.returncode, output + self.errors.read().decode()

    def clear_up(self):
        """Ends both processes, also when a test failed."""
        self.owner.terminate()
        try:
            self.owner.communicate(timeout=10)
        except subprocess.TimeoutExpired:
            self.owner.kill()
        if self.pid and is_running(self.pid):
            os.kill(self.pid, signal.SIGKILL)
        self.errors.close()

    def leftovers(self):
        """The processes and files that still exist after at most five seconds."""
        deadline = time.monotonic() + 5
        while True:
            left = [f"process {pid}" for pid in (self.pid, self.owner.pid) if is_running(pid)]
            left += [self.port] if os.path.lexists(self.port) else []
            folder = os.path.dirname(self.port)
            left += [folder] if "virtual-board-" in folder and os.path.exists(folder) else []
            if not left or time.monotonic() > deadline:
                return left
            time.sleep(0.01)


def is_running(pid):
    try:
        return pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")")[-1].split()[0] != "Z"
    except OSError:
        return False


class Client:
    """A program that has the port open. Its waits time out after ten seconds."""

    def __init__(self, port):
        self.descriptor = os.open(port, os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
        tty.setraw(self.descriptor)
        self.received = b""

    def close(self):
        os.close(self.descriptor)

    def send(self, data):
        """Also reads, since a board that cannot send does not receive either."""
        while data:
            readable, writable, _ = select.select([self.descriptor], [self.descriptor], [], 10)
            if not readable and not writable:
                raise AssertionError(f"the board accepts no more; {len(data)} bytes are left")
            if readable:
                self.received += os.read(self.descriptor, 65536)
            if writable:
                data = data[os.write(self.descriptor, data[:4096]):]

    def until(self, mark):
        deadline = time.monotonic() + 10
        while mark not in self.received:
            left = max(0, deadline - time.monotonic())
            if not select.select([self.descriptor], [], [], left)[0]:
                raise AssertionError(f"no {mark!r} in {self.received[-500:]!r}")
            self.received += os.read(self.descriptor, 65536)
        end = self.received.index(mark) + len(mark)
        text, self.received = self.received[:end], self.received[end:]
        return text

    def ask(self, data, mark=b">>> "):
        self.send(data)
        return self.until(mark)

    def enter_raw(self):
        self.ask(INTERRUPT + INTERRUPT + FRIENDLY + RAW, RAW_BANNER)

    def start(self, program):
        self.ask((program if isinstance(program, bytes) else program.encode()) + END, b"OK")

    def finish(self):
        output, error = self.until(END)[:-1], self.until(END)[:-1]
        self.until(b">")
        return output.decode(), error.decode()

    def run(self, program):
        self.start(program)
        return self.finish()


class BoardTest(unittest.TestCase):
    """Starts one board for all cases of a class; each case starts at the raw prompt."""
    options = ()

    @classmethod
    def setUpClass(cls):
        cls.process = BoardProcess(*cls.options)
        cls.board = Client(cls.process.port)

    @classmethod
    def tearDownClass(cls):
        cls.board.close()
        ending = cls.process.end()
        assert ending == (0, ""), ending
        assert not cls.process.leftovers(), cls.process.leftovers()

    def setUp(self):
        self.board.enter_raw()

    def assertOutput(self, program, expected):
        self.assertEqual(self.board.run(program), (expected, ""))
