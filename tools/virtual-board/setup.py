# What a board has and the WebAssembly build lacks. Runs in each new MicroPython before anything else
# and leaves no name behind. `time` and `os` are Python packages in this build, so they can be amended.
def _setup():
    import builtins, gc, os, sys, time
    from _board import deadline, isHeapLimited, waitUntil
    from collections import namedtuple

    # The build's own sleep burns the processor and is deaf to Ctrl-C. This loop is Python code, since
    # only there a pending exception is raised. A traceback through it names time.py.
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

    # With the echo and the deletion that a board's own line editing has.
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

    # The build counts the 128 MiB by which its heap could grow as free, and its own module cannot be
    # amended.
    if isHeapLimited:
        class LimitedHeap: pass
        limited = LimitedHeap()
        for name in dir(gc):
            setattr(limited, name, getattr(gc, name))
        limited.mem_free = lambda: gc.mem_free() - (128 << 20)
        sys.modules["gc"] = limited


_setup()
del _setup
