// Writes the output of the board to the port.
import fs from 'node:fs';

const stallMilliseconds = 500;
const retryMilliseconds = 2;
// At a limited rate, bytes are written in pieces of this size, so that they arrive evenly.
const pieceBytes = 64;

const neverNotified = new Int32Array(new SharedArrayBuffer(4));
const sleep = (milliseconds) => Atomics.wait(neverNotified, 0, 0, milliseconds);

export class PortWriter {
    #descriptor;
    #rate;
    // When all bytes so far are sent at the limited rate. The next sleep is shorter by as much as
    // the last one was too long.
    #free = 0;

    // `rate` is in bytes per second; 0 means no limit.
    constructor(descriptor, rate) {
        this.#descriptor = descriptor;
        this.#rate = rate;
    }

    // Blocks while the port accepts nothing. Like a USB board, drops the rest when the port has
    // accepted nothing for `stallMilliseconds`.
    send(bytes) {
        let deadline = performance.now() + stallMilliseconds;
        this.#free = Math.max(this.#free, performance.now());
        for (let sent = 0; sent < bytes.length;) {
            const count = this.#write(bytes, sent);
            if (count === 0) {
                if (performance.now() > deadline) return;
                sleep(retryMilliseconds);
                continue;
            }
            sent += count;
            if (this.#rate) this.#waitForPort(count);
            deadline = performance.now() + stallMilliseconds;
        }
    }

    #waitForPort(count) {
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
