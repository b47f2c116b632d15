"""Tests that a launched program has its board, and that all its processes end with it."""
import os
import pathlib
import signal
import subprocess
import unittest
import uuid

ROOT = pathlib.Path(__file__).resolve().parents[2]
LAUNCH = f"""
set -euo pipefail
source '{ROOT}/scripts/lib/common'
source '{ROOT}/scripts/lib/launch'
start_board
run_to_end "$@"
"""
# With the signal actions that scripts/run has in a terminal, whatever those of this process are.
SHELL = ["env", "--default-signal=INT,HUP,TERM", "bash", "-c", LAUNCH, "launch"]
# Prints the path of its port, and keeps running in a child that only SIGKILL ends.
STUBBORN = ["sh", "-c", """sh -c 'trap "" TERM; while :; do sleep 0.1; done' &
echo "$KORVANE_EXTRA_PORTS"; wait"""]


class Launch(unittest.TestCase):
    def launch(self, *program, shell=SHELL):
        """Starts the program; its processes and their children have a mark in the environment."""
        self.mark = f"KORVANE_TEST_MARK={uuid.uuid4()}"
        name, value = self.mark.split("=")
        process = subprocess.Popen([*shell, *program], text=True, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   env={**os.environ, name: value})
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        self.addCleanup(lambda: [os.kill(pid, signal.SIGKILL) for pid in self.alive()])
        return process

    def alive(self):
        marked = []
        for folder in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                if self.mark.encode() in (folder / "environ").read_bytes():
                    marked.append(int(folder.name))
            except OSError:
                pass  # ended meanwhile, or of another user
        return marked

    def assertNothingLeft(self, port):
        self.assertEqual(self.alive(), [])
        self.assertFalse(os.path.lexists(os.path.dirname(port)))

    def test_program_finds_its_board_and_gives_its_status(self):
        process = self.launch("sh", "-c", 'echo "$KORVANE_EXTRA_PORTS"; test -c "$KORVANE_EXTRA_PORTS" && exit 7')
        port = process.stdout.readline().strip()
        self.assertEqual(process.wait(20), 7, process.stderr.read())
        self.assertNothingLeft(port)

    def test_signals_end_the_program_and_all_its_children(self):
        for number, status in ((signal.SIGINT, 130), (signal.SIGHUP, 129), (signal.SIGTERM, 143)):
            with self.subTest(number):
                process = self.launch(*STUBBORN)
                port = process.stdout.readline().strip()
                process.send_signal(number)
                self.assertEqual(process.wait(20), status)
                self.assertNothingLeft(port)

    def test_interrupts_reach_the_programs_children(self):
        shell = ["env", "--ignore-signal=INT", *SHELL[2:]]
        process = self.launch("/usr/bin/python3", "-c",
                              "import signal; print(signal.getsignal(signal.SIGINT).__name__)", shell=shell)
        self.assertEqual(process.stdout.readline(), "default_int_handler\n")
        self.assertEqual(process.wait(20), 0)


if __name__ == "__main__":
    unittest.main()
