// The sending side of the serial line.
import fs from 'node:fs';

const patienceMilliseconds = 500;
const retryMilliseconds = 2;
// At a limited rate, bytes leave in pieces this small, so that they trickle as on a wire.
const pieceBytes = 64;

const neverWoken = new Int32Array(new SharedArrayBuffer(4));
const sleep = (milliseconds) => Atomics.wait(neverWoken, 0, 0, milliseconds);

export class LineWriter {
    #descriptor;
    #rate;
    // When the line has carried what was sent so far: a sleep that takes too long is made up for.
    #free = 0;

    // `rate` is in bytes per second; 0 is as fast as the reader reads.
    constructor(descriptor, rate) {
        this.#descriptor = descriptor;
        this.#rate = rate;
    }

    // Blocks while the line is full. Like a USB board, drops what nobody reads for a while.
    send(bytes) {
        let deadline = performance.now() + patienceMilliseconds;
        this.#free = Math.max(this.#free, performance.now());
        for (let sent = 0; sent < bytes.length;) {
            const count = this.#write(bytes, sent);
            if (count === 0) {
                if (performance.now() > deadline) return;
                sleep(retryMilliseconds);
                continue;
            }
            sent += count;
            if (this.#rate) this.#waitForLine(count);
            deadline = performance.now() + patienceMilliseconds;
        }
    }

    #waitForLine(count) {
        this.#free += (count * 1000) / this.#rate;
        sleep(Math.max(0, this.#free - performance.now()));
    }

    #write(bytes, start) {
        const left = bytes.length - start;
        try {
            return fs.writeSync(
                this.#descriptor, bytes, start, this.#rate ? Math.min(left, pieceBytes) : left);
        } catch (error) {
            if (error.code === 'EAGAIN') return 0;
            throw error;
        }
    }
}
