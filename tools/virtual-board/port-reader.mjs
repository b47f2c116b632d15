// The worker that reads the port. It fills the ring, and on Ctrl-C it does what the interrupt
// handler of a real board's serial port does: while Python code runs, the main thread handles no
// messages and no events, but V8's inspector can call a function there between two iterations of a
// WebAssembly loop. The inspector's session is inside this process; it opens no network port.
import inspector from 'node:inspector';
import net from 'node:net';
import tty from 'node:tty';
import { workerData } from 'node:worker_threads';

import { endWithError } from './fatal-error.mjs';
import { InputRing } from './input-ring.mjs';

const ctrlC = 3;
const longestRead = 65536;
const pieceBytes = 64;
const retryMilliseconds = 20;

const { memory, descriptor, rate } = workerData;
const ring = new InputRing(memory);
const session = new inspector.Session();
let lastCtrlC = 0;
let retry;

// Repeats until the Ctrl-C is handled: the main thread may be between two pieces of Python code,
// and the code may have disabled its interrupts for a while.
function interrupt() {
    clearTimeout(retry);
    if (ring.lastHandled >= lastCtrlC) return;
    if (ring.isPythonRunning) {
        session.post('Runtime.evaluate', { expression: `interruptPython(${lastCtrlC})` }, () => {});
    }
    retry = setTimeout(interrupt, retryMilliseconds);
}

function accept(bytes) {
    let interrupted = false;
    for (const byte of bytes) {
        if (byte === ctrlC) {
            interrupted = true;
            ring.put(byte, ++lastCtrlC);
        } else {
            ring.put(byte);
        }
    }
    if (interrupted) interrupt();
}

// At a limited rate, accepts small pieces, each when a serial port of that rate would have received
// it.
function acceptSlowly(bytes, due) {
    const piece = bytes.subarray(0, pieceBytes);
    const arrival = due + (piece.length * 1000) / rate;
    setTimeout(() => {
        accept(piece);
        if (bytes.length > pieceBytes) acceptSlowly(bytes.subarray(pieceBytes), arrival);
        else resumeWhenThereIsRoom();
    }, arrival - performance.now());
}

// Like a board with flow control, reads no more than fits into the ring. Waiting must not block
// this thread: interrupt() may still have to run for a Ctrl-C that is in the ring already.
function resumeWhenThereIsRoom() {
    if (ring.room >= longestRead) port.resume();
    else setTimeout(resumeWhenThereIsRoom, retryMilliseconds);
}

function receive(bytes) {
    if (rate) {
        port.pause();
        acceptSlowly(bytes, performance.now());
        return;
    }
    accept(bytes);
    if (ring.room < longestRead) {
        port.pause();
        resumeWhenThereIsRoom();
    }
}

process.on('uncaughtException', endWithError);
session.connectToMainThread();
// A tty.ReadStream also makes the descriptor non-blocking, on which PortWriter relies.
const port = tty.isatty(descriptor)
    ? new tty.ReadStream(descriptor)
    : new net.Socket({ fd: descriptor, readable: true, writable: false });
port.on('data', receive);
port.on('error', endWithError);
port.on('end', () => endWithError(new Error('the serial port has ended')));
