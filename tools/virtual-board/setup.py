# Defines what a board has and the WebAssembly build lacks. Runs first in each new MicroPython
# instance and leaves no global name. `time` and `os` are Python packages in this build, so they
# can be changed.
def _setup():
    import builtins, gc, os, sys, time
    from _board import deadline, isHeapLimited, waitUntil
    from collections import namedtuple

    # The build's own sleep is a busy loop that Ctrl-C cannot interrupt. This loop is Python code,
    # since a pending exception is raised only there. Its frames in a traceback name time.py.
    sleeping = {"deadline": deadline, "wait_until": waitUntil}
    exec(compile("""
def sleep_ms(milliseconds):
    end = deadline(milliseconds)
    while wait_until(end): pass
def sleep(seconds):
    end = deadline(seconds * 1000)
    while wait_until(end): pass
""", "time.py", "exec"), sleeping)
    time.sleep = sleeping["sleep"]
    time.sleep_ms = sleeping["sleep_ms"]

    release = ".".join(str(number) for number in sys.implementation[1][:3])
    fields = ("sysname", "nodename", "release", "version", "machine")
    name = namedtuple("uname", fields)(
        sys.platform, sys.platform, release, sys.version.split("; ")[1], sys.implementation[2])
    os.uname = lambda: name

    # Echoes and deletes characters as the line editing of a board does.
    def input(prompt=""):
        sys.stdout.write(str(prompt))
        line = ""
        while True:
            character = sys.stdin.read(1)
            if character == "\n":
                sys.stdout.write("\n")
                return line
            if character == "\x04" and not line:
                raise EOFError
            if character in "\x08\x7f":
                if line:
                    line = line[:-1]
                    sys.stdout.write("\x08 \x08")
            elif character >= " ":
                line += character
                sys.stdout.write(character)

    builtins.input = input

    # The build counts the 128 MiB by which its heap could grow as free, and its gc module cannot
    # be changed.
    if isHeapLimited:
        class LimitedHeap: pass
        limited = LimitedHeap()
        for name in dir(gc):
            setattr(limited, name, getattr(gc, name))
        limited.mem_free = lambda: gc.mem_free() - (128 << 20)
        sys.modules["gc"] = limited


_setup()
del _setup
