// One MicroPython instance, from power-on to the next soft reset: the npm package's WebAssembly
// build, with the standard streams and errno values of a board, and the functions that the build
// lacks.
import fs from 'node:fs';
import { loadMicroPython } from '@micropython/micropython-webassembly-pyscript/micropython.mjs';

import { limitDisk, writeFiles } from './board-files.mjs';

const lineFeed = 10;
const carriageReturn = 13;
const ctrlC = 3;
// How often a sleep or a read returns to MicroPython, so that it can raise a pending exception.
const sliceMilliseconds = 100;

// Emscripten has error numbers of its own; Python code expects the usual ones. EINTR and
// EAGAIN are not here, since MicroPython itself compares them with Emscripten's.
const usualErrorNumbers = new Map([
    [2, 13], // EACCES
    [8, 9], // EBADF
    [10, 16], // EBUSY
    [20, 17], // EEXIST
    [28, 22], // EINVAL
    [31, 21], // EISDIR
    [44, 2], // ENOENT
    [51, 28], // ENOSPC
    [54, 20], // ENOTDIR
    [55, 39], // ENOTEMPTY
    [63, 1], // EPERM
]);
const interruptedSystemCall = 27;
const pollReadable = 1;
const pollWritable = 4;

// Grows by itself, unless limited: the build collects garbage only between two programs.
const initialHeapBytes = 256 * 1024;
// What a limited heap leaves to the build's own memory, for strings that are passed between
// JavaScript and Python. Less than the smallest heap, since a heap grows by its own size at least.
const reservedBytes = 24 * 1024;

const usualErrorNumber = (number) => usualErrorNumbers.get(number) ?? number;
const setup = fs.readFileSync(new URL('setup.py', import.meta.url), 'utf8');

export class Interpreter {
    #python;
    #ring;
    // Calls Python's gc.collect(), also with a full heap. Only between two programs: while one
    // runs, the build only sets a flag for a later collection.
    collectGarbage;

    // `ring` is the board's input, `write` takes its output. `files` is what its file system holds
    // (see board-files.mjs), `diskBytes` limits it. `heapBytes` is the size of the heap, 0 lets it
    // grow. `fileEnded` is called by `_board.fileEnded()` in Python.
    static async powerOn(settings) {
        const memory = { mayGrow: true };
        const python = await withBoardImports(memory, () =>
            loadMicroPython({
                heapsize: settings.heapBytes || initialHeapBytes,
                stdin: () => null,
                stdout: () => {},
                linebuffer: false,
            }));
        return new Interpreter(python, memory, settings);
    }

    constructor(python, memory, { ring, write, fileEnded, files, diskBytes, heapBytes }) {
        this.#python = python;
        this.#ring = ring;
        this.collectGarbage = python.pyimport('gc').collect;
        this.#connectStandardStreams(write);
        python.registerJsModule('_board', {
            deadline: (milliseconds) => Math.round(performance.now() + milliseconds),
            waitUntil: (deadline) => this.#waitUntil(deadline),
            fileEnded,
            isHeapLimited: heapBytes > 0,
        });
        // Before the board's files are written, since one may have the name of a module that
        // setup.py uses.
        python.runPython(setup);
        emptyRoot(python.FS);
        writeFiles(python.FS, files);
        if (diskBytes) limitDisk(python.FS, diskBytes);
        if (heapBytes) this.#limitHeap(memory);
    }

    get fileSystem() {
        return this.#python.FS;
    }

    // Raises KeyboardInterrupt in the running code, as the interrupt handler of a serial port does,
    // unless Ctrl-C is not MicroPython's interrupt character at present. The inspector may call
    // this at any time.
    interrupt(number) {
        if (this.#python._module._mp_hal_get_interrupt_char() !== ctrlC) return;
        if (number <= this.#ring.lastHandled) return;
        this.#ring.markHandled(number);
        this.#python._module._mp_sched_keyboard_interrupt();
    }

    startRepl() {
        this.#python.replInit();
    }

    // Feeds one byte to the interactive prompt; true when it asked for a soft reset. Code that it
    // completes runs before this returns.
    feed(byte) {
        this.#ring.isPythonRunning = true;
        const exitCode = this.#python._module._mp_js_repl_process_char(byte);
        this.#ring.isPythonRunning = false;
        return exitCode !== 0;
    }

    // The heap grows by memory from malloc(), so all of that is allocated but a reserve.
    #limitHeap(memory) {
        const { _malloc: malloc, _free: free } = this.#python._module;
        this.collectGarbage();
        memory.mayGrow = false;
        const reserve = malloc(reservedBytes);
        for (let size = 1 << 20; size >= 1024; size >>= 1) while (malloc(size));
        free(reserve);
    }

    #connectStandardStreams(write) {
        // A board sends each line feed as CR LF, but leaves a CR LF as it is, also one in two
        // writes.
        let last = 0;
        const withCarriageReturns = (bytes) => {
            const sent = [];
            for (const byte of bytes) {
                if (byte === lineFeed && last !== carriageReturn) sent.push(carriageReturn);
                sent.push(byte);
                last = byte;
            }
            return Uint8Array.from(sent);
        };
        const operations = {
            read: (stream, heap, start, length) => this.#read(heap, start, length),
            write: (stream, heap, start, length) => {
                write(withCarriageReturns(heap.subarray(start, start + length)));
                return length;
            },
            poll: () => pollWritable | (this.#waitForByte(0) === 'byte' ? pollReadable : 0),
        };
        for (const stream of this.fileSystem.streams.slice(0, 3)) {
            stream.stream_ops = { ...stream.stream_ops, ...operations };
        }
    }

    // Reads at least one byte into the heap, and the others that are received already.
    #read(heap, start, length) {
        let count = 0;
        while (count < length && this.#waitForByte(count ? 0 : sliceMilliseconds) === 'byte') {
            const byte = this.#ring.take();
            // The Enter key sends CR; Python expects LF at the end of a line.
            heap[start + count++] = byte === carriageReturn ? lineFeed : byte;
        }
        // MicroPython then raises the pending exception, or reads again.
        if (count === 0) throw new this.fileSystem.ErrnoError(interruptedSystemCall);
        return count;
    }

    #waitForByte(milliseconds) {
        return this.#ring.waitForByte(milliseconds, (number) => this.interrupt(number));
    }

    // Sleeps for a slice at most; true when the deadline is not reached. Between the slices,
    // MicroPython raises the exception that a Ctrl-C has left pending.
    #waitUntil(deadline) {
        const slice = Math.min(sliceMilliseconds, deadline - performance.now());
        this.#ring.waitForInterrupt(slice, (number) => this.interrupt(number));
        return performance.now() < deadline;
    }
}

// The loader has no parameter for the imports, so they are changed when it passes them to
// WebAssembly.
async function withBoardImports(memory, load) {
    const instantiate = WebAssembly.instantiate;
    WebAssembly.instantiate = (binary, imports) => {
        const { env, wasi_snapshot_preview1: wasi } = imports;
        for (const [name, call] of Object.entries(env)) {
            if (!name.startsWith('__syscall_')) continue;
            env[name] = (...values) => {
                const result = call(...values);
                return result < 0 ? -usualErrorNumber(-result) : result;
            };
        }
        const { emscripten_resize_heap: grow } = env;
        env.emscripten_resize_heap = (bytes) => memory.mayGrow && grow(bytes);
        const { fd_write: write } = wasi;
        wasi.fd_write = (...values) => usualErrorNumber(write(...values));
        return instantiate(binary, imports);
    };
    try {
        return await load();
    } finally {
        WebAssembly.instantiate = instantiate;
    }
}

// A board has no /dev, /proc, /tmp and /home. The standard streams stay open.
function emptyRoot(fileSystem) {
    for (const [name, node] of Object.entries(fileSystem.root.contents)) {
        fileSystem.destroyNode(node);
        delete fileSystem.root.contents[name];
    }
}
