// The bytes that came over the serial line and are not read yet: a ring in memory that is shared by
// the worker that owns the line (it puts) and the main thread that runs MicroPython (it takes).
//
// A slot holds one byte. Each Ctrl-C also carries a running number above its byte, so that it does
// its work exactly once: it interrupts running code, or it is read like any other byte. Whichever
// comes first settles it, and all before it.

const slotCount = 1 << 18;
const headWord = 0;
const tailWord = 1;
const pythonRunsWord = 2;
const newestWord = 3;
const settledWord = 4;
const firstSlotWord = 8;

const numberOf = (slot) => slot >> 8;

export class InputRing {
    #words;

    constructor(memory = new SharedArrayBuffer(4 * (firstSlotWord + slotCount))) {
        this.memory = memory;
        this.#words = new Int32Array(memory);
    }

    // --- The worker's side

    get room() {
        return slotCount - this.#length;
    }

    // The caller has seen to it that there is room.
    put(byte, number = 0) {
        const words = this.#words;
        words[this.#wordAt(words[tailWord])] = byte | (number << 8);
        if (number) Atomics.store(words, newestWord, number);
        Atomics.add(words, tailWord, 1);
        Atomics.notify(words, tailWord);
    }

    // --- The main thread's side

    get isEmpty() {
        return this.#length === 0;
    }

    take() {
        const slot = this.#front;
        Atomics.add(this.#words, headWord, 1);
        // Read as a byte, a Ctrl-C must not interrupt the program that is sent behind it.
        if (numberOf(slot) > this.settled) this.settle(numberOf(slot));
        return slot & 255;
    }

    // Waits for a byte, at most so many milliseconds, and returns 'byte' or 'timeout'; it returns
    // 'interrupted' as soon as a Ctrl-C has interrupted the running code. The caller must then let
    // MicroPython raise the exception. `interrupt(number)` is offered the newest Ctrl-C before any byte
    // is, since one behind other input must be heard too.
    waitForByte(milliseconds, interrupt) {
        return this.#wait(milliseconds, interrupt, true);
    }

    // The same for a sleep, which goes on when a byte comes.
    waitForInterrupt(milliseconds, interrupt) {
        return this.#wait(milliseconds, interrupt, false);
    }

    // --- Both sides

    // Whether Python code runs that a Ctrl-C could interrupt.
    get pythonRuns() {
        return Atomics.load(this.#words, pythonRunsWord) === 1;
    }

    set pythonRuns(runs) {
        Atomics.store(this.#words, pythonRunsWord, runs ? 1 : 0);
    }

    // The number of the last Ctrl-C that has done its work.
    get settled() {
        return Atomics.load(this.#words, settledWord);
    }

    settle(number) {
        Atomics.store(this.#words, settledWord, number);
    }

    #wait(milliseconds, interrupt, bytesCount) {
        const words = this.#words;
        const end = performance.now() + milliseconds;
        const settledBefore = this.settled;
        for (;;) {
            // Before the newest Ctrl-C, which the worker stores before the end of the input: all bytes
            // up to this end have been offered to `interrupt`.
            const tail = Atomics.load(words, tailWord);
            const newest = Atomics.load(words, newestWord);
            if (newest > this.settled) interrupt(newest);
            while (!this.isEmpty && this.#frontIsSettled) this.take();
            if (this.settled !== settledBefore) return 'interrupted';
            if (bytesCount && tail !== Atomics.load(words, headWord)) return 'byte';
            const left = end - performance.now();
            if (left <= 0) return 'timeout';
            Atomics.wait(words, tailWord, tail, left);
        }
    }

    get #length() {
        return Atomics.load(this.#words, tailWord) - Atomics.load(this.#words, headWord);
    }

    get #front() {
        return this.#words[this.#wordAt(this.#words[headWord])];
    }

    get #frontIsSettled() {
        const number = numberOf(this.#front);
        return number > 0 && number <= this.settled;
    }

    #wordAt(position) {
        return firstSlotWord + (position & (slotCount - 1));
    }
}
