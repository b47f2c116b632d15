#!/usr/bin/python3
"""Makes the serial port of the virtual board and runs its process: starts it, and ends with it.

Only the board's process (board.mjs) holds the master side of the pseudo-terminal: when it ends,
clients of the port see the same as when a cable is pulled. This process keeps the slave side open,
so that a client may close the port and open it again without the board seeing an end of file.
"""
import argparse
import ctypes
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import tty

PR_SET_PDEATHSIG = 1
ENDING_SIGNALS = {signal.SIGTERM, signal.SIGINT, signal.SIGHUP}
BOARD = pathlib.Path(__file__).resolve().with_name("board.mjs")


def parse_arguments():
    parser = argparse.ArgumentParser(
        prog="virtual-board",
        description="A MicroPython board on a pseudo-terminal. Prints the port's path on the first "
        "line and the board's process id on the second, then runs until SIGTERM, SIGINT or SIGHUP.")
    parser.add_argument("--link", type=pathlib.Path, metavar="PATH",
                        help="where the port is to appear (default: a new private temporary path)")
    parser.add_argument("--flash", type=existing_folder, metavar="FOLDER",
                        help="a folder that is copied into the board's file system at power-on")
    parser.add_argument("--disk", type=positive, metavar="BYTES",
                        help="how much the board's files may hold together (default: no limit)")
    parser.add_argument("--heap", type=heap_size, metavar="SIZE",
                        help="how much memory Python has, such as 64K (default: no limit)")
    parser.add_argument("--rate", type=positive, metavar="BYTES_PER_SECOND",
                        help="limit the rate of the port; 11520 is 115200 baud (default: no limit)")
    parser.add_argument("--with-parent", action="store_true",
                        help="end when the process that started this one ends")
    # The start script passes the parent that it had before it installed packages.
    parser.add_argument("--parent", type=int, default=os.getppid(), help=argparse.SUPPRESS)
    return parser.parse_args()


def existing_folder(text):
    if not os.path.isdir(text):
        raise argparse.ArgumentTypeError(f"{text} is not a folder")
    return os.path.abspath(text)


def positive(text):
    if not text.isdecimal() or int(text) == 0:
        raise argparse.ArgumentTypeError(f"{text} is not a positive whole number")
    return int(text)


def heap_size(text):
    factor = {"K": 1 << 10, "M": 1 << 20}.get(text[-1:])
    size = positive(text[:-1]) * factor if factor else positive(text)
    if not 48 << 10 <= size <= 8 << 20:
        raise argparse.ArgumentTypeError(f"{text} is not between 48K and 8M")
    return size


def signal_me_when_parent_ends(number, parent):
    """The kernel sends the signal when the thread that started this process ends, whether or not
    other threads of that process still run."""
    ctypes.CDLL(None, use_errno=True).prctl(PR_SET_PDEATHSIG, number)
    if os.getppid() != parent:
        os.kill(os.getpid(), number)


def place_link(link, port):
    """Replaces a link, such as one that a killed board left, but never a file."""
    if link.exists() and not link.is_symlink():
        sys.exit(f"virtual board: {link} exists and is not a link")
    fresh = link.with_name(f".{link.name}.{os.getpid()}")
    fresh.symlink_to(port)
    fresh.replace(link)


def remove_link(link, port):
    """Removes the link unless a later board has replaced it. The port of that board has another
    name, since the slave side is still open here."""
    try:
        if os.readlink(link) == port:
            link.unlink()
    except OSError:
        pass


def start_board(arguments, master):
    owner = os.getpid()

    def become_board():
        signal.pthread_sigmask(signal.SIG_SETMASK, [])
        signal_me_when_parent_ends(signal.SIGKILL, owner)

    command = ["node", BOARD, "--descriptor", str(master)]
    for option in ("flash", "disk", "heap", "rate"):
        value = getattr(arguments, option)
        if value:
            command += [f"--{option}", str(value)]
    # Options that are meant for other Node programs, such as a debugger's, would add to the output.
    environment = {key: value for key, value in os.environ.items() if key != "NODE_OPTIONS"}
    return subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=2, pass_fds=[master],
                            env=environment, preexec_fn=become_board)


def wait_for_end(board):
    """Returns the exit status: 0 when asked to end, 1 when the board ended by itself."""
    while True:
        if signal.sigwait(ENDING_SIGNALS | {signal.SIGCHLD}) != signal.SIGCHLD:
            return 0
        status = board.poll()
        if status is not None:
            how = signal.Signals(-status).name if status < 0 else f"status {status}"
            print(f"virtual board: the board ended by {how}", file=sys.stderr)
            return 1


def main():
    arguments = parse_arguments()
    # From here on the signals are blocked and received by sigwait().
    signal.pthread_sigmask(signal.SIG_BLOCK, ENDING_SIGNALS | {signal.SIGCHLD})
    if arguments.with_parent:
        signal_me_when_parent_ends(signal.SIGTERM, arguments.parent)

    master, slave = os.openpty()
    tty.setraw(slave)
    port = os.ttyname(slave)
    folder = None if arguments.link else tempfile.mkdtemp(prefix="virtual-board-")
    link = arguments.link or pathlib.Path(folder, "port")
    board = None
    try:
        place_link(link, port)
        board = start_board(arguments, master)
        os.close(master)
        print(link, board.pid, sep="\n", flush=True)
        return wait_for_end(board)
    except OSError as error:
        sys.exit(f"virtual board: {error}")
    finally:
        if board:
            board.kill()
            board.wait()
        remove_link(link, port)
        if folder:
            shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
