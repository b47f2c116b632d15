// The worker that owns the receiving side of the serial line. It fills the ring, and it stands in
// for the interrupt handler of a real board's serial port: while Python code runs, the main thread
// sees nothing of JavaScript's world, but V8's inspector can call a function there between two turns
// of a WebAssembly loop. The inspector's session is inside this process; it opens no port.
import inspector from 'node:inspector';
import net from 'node:net';
import tty from 'node:tty';
import { workerData } from 'node:worker_threads';

import { dieOf } from './death.mjs';
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

// Goes on until the Ctrl-C is settled: the main thread may be between two pieces of Python code, and
// the code may have switched its interrupts off for a while.
function interrupt() {
    clearTimeout(retry);
    if (ring.settled >= lastCtrlC) return;
    if (ring.pythonRuns) {
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

// At a limited rate, accepts small pieces, each when a wire would have carried it.
function acceptSlowly(bytes, due) {
    const piece = bytes.subarray(0, pieceBytes);
    const arrival = due + (piece.length * 1000) / rate;
    setTimeout(() => {
        accept(piece);
        if (bytes.length > pieceBytes) acceptSlowly(bytes.subarray(pieceBytes), arrival);
        else resumeWhenThereIsRoom();
    }, arrival - performance.now());
}

// As a board with flow control, takes no more than it can keep. Waiting here must not block: a Ctrl-C
// that is in the ring already is still to be heard.
function resumeWhenThereIsRoom() {
    if (ring.room >= longestRead) line.resume();
    else setTimeout(resumeWhenThereIsRoom, retryMilliseconds);
}

function receive(bytes) {
    if (rate) {
        line.pause();
        acceptSlowly(bytes, performance.now());
        return;
    }
    accept(bytes);
    if (ring.room < longestRead) {
        line.pause();
        resumeWhenThereIsRoom();
    }
}

process.on('uncaughtException', dieOf);
session.connectToMainThread();
// A tty.ReadStream also makes the descriptor non-blocking, which the line's other side relies on.
const line = tty.isatty(descriptor)
    ? new tty.ReadStream(descriptor)
    : new net.Socket({ fd: descriptor, readable: true, writable: false });
line.on('data', receive);
line.on('error', dieOf);
line.on('end', () => dieOf(new Error('the serial line has ended')));
