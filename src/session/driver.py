import sys, os, io, ast, json, types, builtins, traceback, _signal, _thread

FRAME = "\x04"
_commands = sys.stdin
_stdout = sys.stdout

# stdin is the command channel, so user code must not be able to read from it and swallow a
# command. What it reads is asked for, one answer at a time; input() reads from here, too.
class _Input(io.TextIOBase):
    encoding = "utf-8"
    errors = "strict"
    _thread = _thread.get_ident()
    _asked = 0
    _rest = ""

    def readable(self):
        return True

    def readline(self, size=-1):
        if not self._rest:
            self._rest = self._ask()
        end = self._rest.find("\n") + 1 or len(self._rest)
        if size is not None and 0 <= size < end:
            end = size
        line, self._rest = self._rest[:end], self._rest[end:]
        return line

    def read(self, size=-1):
        text = ""
        while size is None or size < 0 or len(text) < size:
            line = self.readline(-1 if size is None or size < 0 else size - len(text))
            if not line:
                break
            text += line
        return text

    # Lines that a program has not read are not for the next one.
    def drop_rest(self):
        self._rest = ""

    def _ask(self):
        # Another thread may outlive its request, and would then read the next one.
        if _thread.get_ident() != self._thread:
            raise RuntimeError("only the main thread can ask for input here")
        self._asked += 1
        sys.stdout.flush()
        _stdout.write(FRAME + '{"input": %d}' % self._asked + FRAME)
        _stdout.flush()
        while True:
            line = _commands.readline()
            if not line:
                return ""
            message = json.loads(line)
            # An answer that came too late belongs to an earlier question.
            if message.get("op") == "input" and message.get("number") == self._asked:
                return message.get("text", "")

_input = sys.stdin = _Input()

# Blocked, also by the parent before this starts, except while user code runs: an interrupt must end
# the user code and not this program.
_INTERRUPT = [_signal.SIGINT]
def _block():
    _signal.pthread_sigmask(_signal.SIG_BLOCK, _INTERRUPT)
def _unblock():
    _signal.pthread_sigmask(_signal.SIG_UNBLOCK, _INTERRUPT)
_block()

NS = {}
def _reset():
    NS.clear()
    NS.update({"__name__": "__main__", "__doc__": None, "__builtins__": builtins})
_reset()

# Modules, functions, classes and methods are not data: without this, the table would list every
# import.
HIDDEN = (types.ModuleType, types.FunctionType, types.BuiltinFunctionType,
          types.MethodType, types.BuiltinMethodType, type)
LIMIT = 500

def _repr(value):
    try:
        text = repr(value)
    except Exception as exc:
        return "<repr failed: %s>" % exc.__class__.__name__
    return text if len(text) <= LIMIT else text[:LIMIT] + "..."

def _snapshot():
    rows = []
    for name, value in list(NS.items()):
        if name.startswith("_") or isinstance(value, HIDDEN):
            continue
        rows.append({"name": name, "type": type(value).__name__, "value": _repr(value)})
    rows.sort(key=lambda row: row["name"])
    return rows

# This script is fed in with -c, so every frame belonging to it reports this filename. User code
# is always compiled under its own path, "<shell>" or "<untitled>", never this.
SELF = sys._getframe().f_code.co_filename

def _traceback():
    kind, value, tb = sys.exc_info()
    if issubclass(kind, SyntaxError):
        return "".join(traceback.format_exception_only(kind, value))
    # Drop the driver's own dispatch frames from the head, so the first line shown is the user's.
    while tb is not None and tb.tb_next is not None and tb.tb_frame.f_code.co_filename == SELF:
        tb = tb.tb_next
    return "".join(traceback.format_exception(kind, value, tb))

def _reply(payload):
    # An interrupt may have ended the call that blocks it.
    while True:
        try:
            _block()
            break
        except KeyboardInterrupt:
            pass
    try:
        sys.stdout.flush()
    except Exception:
        pass
    payload["vars"] = _snapshot()
    # No trailing newline: the two FRAME bytes delimit this on their own, and a newline written
    # here would arrive in a later read than the frame and be mistaken for program output.
    _stdout.write(FRAME + json.dumps(payload) + FRAME)
    _stdout.flush()
    # One that arrived after the end of the user code would interrupt the next request.
    while _signal.sigtimedwait(_INTERRUPT, 0):
        pass

def _exec_file(code, path, fresh):
    if fresh:
        _reset()
    folder = os.path.dirname(os.path.abspath(path)) if path and path != "<untitled>" else ""
    if folder and os.path.isdir(folder):
        # Match how `python3 file.py` behaves: run from the file's own directory with it on the
        # import path, so sibling modules and relative paths resolve.
        os.chdir(folder)
        if folder in sys.path:
            sys.path.remove(folder)
        sys.path.insert(0, folder)
    NS["__file__"] = path
    exec(compile(code, path, "exec"), NS)

def _exec_shell(code, path):
    try:
        parsed = ast.parse(code, mode="eval")
    except SyntaxError:
        exec(compile(code, path, "exec"), NS)
        return
    value = eval(compile(parsed, path, "eval"), NS)
    if value is not None:
        NS["_"] = value
        print(_repr(value))

while True:
    line = _commands.readline()
    if not line:
        break
    try:
        message = json.loads(line)
    except ValueError:
        continue
    op = message.get("op")
    if op == "input":
        continue
    payload = {}
    _input.drop_rest()
    try:
        try:
            _unblock()
            if op == "exec":
                _exec_file(message.get("code", ""), message.get("path") or "<untitled>",
                           bool(message.get("fresh")))
            elif op == "shell":
                _exec_shell(message.get("code", ""), message.get("path") or "<shell>")
            elif op == "reset":
                _reset()
            elif op != "vars":
                payload["error"] = "Unknown command: %r" % (op,)
        finally:
            _block()
    except KeyboardInterrupt:
        payload["error"] = "KeyboardInterrupt\n"
    except SystemExit as exc:
        # The program called exit(); the session continues, so that its variables can be read.
        if exc.code not in (None, 0):
            payload["error"] = "SystemExit: %s\n" % (exc.code,)
    except BaseException:
        payload["error"] = _traceback()
    _reply(payload)