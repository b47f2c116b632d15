// The bytes that were received from the port and are not read yet: a ring buffer in shared memory.
// The worker that reads the port puts bytes, the main thread that runs MicroPython takes them.
//
// A slot holds a byte in its low 8 bits. The bits above are 0, or the number of a Ctrl-C; the
// numbers increase. A Ctrl-C either interrupts running code or is read like any other byte,
// whichever happens first; then it and all Ctrl-C before it are handled.

const slotCount = 1 << 18;
const headWord = 0;
const tailWord = 1;
const pythonRunningWord = 2;
const newestWord = 3;
const handledWord = 4;
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

    // The caller must have checked that there is room.
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
        // A Ctrl-C that was read as a byte must not interrupt the program that is sent after it.
        if (numberOf(slot) > this.lastHandled) this.markHandled(numberOf(slot));
        return slot & 255;
    }

    // Waits for a byte, at most so many milliseconds, and returns 'byte' or 'timeout'; it returns
    // 'interrupted' as soon as a Ctrl-C has interrupted the running code. The caller must then let
    // MicroPython raise the exception. Calls `interrupt(number)` with the newest Ctrl-C before it
    // returns 'byte', since a Ctrl-C after unread input must also interrupt.
    waitForByte(milliseconds, interrupt) {
        return this.#wait(milliseconds, interrupt, true);
    }

    // The same for a sleep, which does not end when a byte is received.
    waitForInterrupt(milliseconds, interrupt) {
        return this.#wait(milliseconds, interrupt, false);
    }

    // --- Both sides

    // Whether Python code is running, which a Ctrl-C could interrupt.
    get isPythonRunning() {
        return Atomics.load(this.#words, pythonRunningWord) === 1;
    }

    set isPythonRunning(runs) {
        Atomics.store(this.#words, pythonRunningWord, runs ? 1 : 0);
    }

    // The number of the last Ctrl-C that is handled.
    get lastHandled() {
        return Atomics.load(this.#words, handledWord);
    }

    markHandled(number) {
        Atomics.store(this.#words, handledWord, number);
    }

    #wait(milliseconds, interrupt, endsOnByte) {
        const words = this.#words;
        const end = performance.now() + milliseconds;
        const handledBefore = this.lastHandled;
        for (;;) {
            // Loaded before the newest Ctrl-C, which the worker stores before the tail: the call of
            // `interrupt` then covers every Ctrl-C up to this tail.
            const tail = Atomics.load(words, tailWord);
            const newest = Atomics.load(words, newestWord);
            if (newest > this.lastHandled) interrupt(newest);
            while (!this.isEmpty && this.#frontIsHandled) this.take();
            if (this.lastHandled !== handledBefore) return 'interrupted';
            if (endsOnByte && tail !== Atomics.load(words, headWord)) return 'byte';
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

    get #frontIsHandled() {
        const number = numberOf(this.#front);
        return number > 0 && number <= this.lastHandled;
    }

    #wordAt(position) {
        return firstSlotWord + (position & (slotCount - 1));
    }
}
