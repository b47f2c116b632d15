// The REPL of the board as its client sees it: the order of events at the start, soft reset, and
// what the build's own REPL does differently from a board's.
import { fileExists, filesOfBoard } from './board-files.mjs';
import { Interpreter } from './interpreter.mjs';

const ctrlA = 1;
const ctrlB = 2;
const ctrlC = 3;
const ctrlD = 4;
const ctrlE = 5;

const ascii = (text) => Buffer.from(text, 'latin1');
const drop = () => null;

export class Repl {
    #ring;
    #port;
    #limits;
    #interpreter = null;
    #isRaw = false;
    #rawInput = [];
    #fileHasEnded = false;
    // Takes the output of the interpreter; replaced for a while by filteringOutput().
    #output = (bytes) => this.#port.send(bytes);

    // `limits` has `diskBytes` and `heapBytes`, each 0 for none.
    constructor(ring, port, limits) {
        this.#ring = ring;
        this.#port = port;
        this.#limits = limits;
    }

    async powerOn(files) {
        this.#interpreter = null;
        this.#interpreter = await Interpreter.powerOn({
            ring: this.#ring,
            write: (bytes) => this.#output(bytes),
            fileEnded: () => { this.#fileHasEnded = true; },
            files,
            ...this.#limits,
        });
        this.#start();
    }

    // There is no interpreter while a soft reset makes a new one.
    interrupt(number) {
        this.#interpreter?.interrupt(number);
    }

    // True when the byte asked for a soft reset; the caller then calls softReset().
    receive(byte) {
        if (this.#refusesRawPaste(byte)) return false;
        // A board would collect the last program's garbage as soon as it needs the memory.
        if (this.#limits.heapBytes && byte === ctrlD) this.#interpreter.collectGarbage();
        const asksForReset = byte === ctrlA ? this.#enterRaw() : this.#interpreter.feed(byte);
        if (this.#isRaw && byte === ctrlB) this.#isRaw = false;
        return asksForReset;
    }

    async softReset() {
        this.#port.send(ascii('MPY: soft reboot\r\n'));
        this.#rawInput = [];
        await this.powerOn(filesOfBoard(this.#interpreter.fileSystem));
    }

    // Like main() of a board: boot.py always, main.py only before the friendly prompt and after a
    // boot.py that did not fail. Both run in the global namespace of the prompt.
    #start() {
        this.#filteringOutput(drop, () => this.#interpreter.startRepl());
        if (this.#runFile('boot.py') && !this.#isRaw) this.#runFile('main.py');
        // The output of Ctrl-A and Ctrl-B begins with a line end, which a board does not send at
        // its start.
        this.#filteringOutput(withoutFirst(2), () => this.#interpreter.feed(this.#isRaw ? ctrlA : ctrlB));
    }

    // Runs a file if it exists; false when it ended in an error. Runs it at the raw prompt, whose
    // own output is dropped: so it can be interrupted, and its traceback is like a board's. A
    // SystemExit ends only the file.
    #runFile(name) {
        if (!fileExists(this.#interpreter.fileSystem, `/${name}`)) return true;
        const program =
            `try:exec(compile(open('/${name}').read(),'${name}','exec'))\n` +
            `finally:__import__('_board').fileEnded()`;
        this.#filteringOutput(drop, () => {
            for (const byte of [ctrlA, ...ascii(program)]) this.#interpreter.feed(byte);
        });

        this.#fileHasEnded = false;
        const afterwards = [];
        const withoutAnswer = withoutFirst('OK'.length);
        const programOutput = (bytes) => {
            if (!this.#fileHasEnded) return withoutAnswer(bytes);
            afterwards.push(...bytes);
            return null;
        };
        this.#filteringOutput(programOutput, () => this.#interpreter.feed(ctrlD));
        const [, traceback] = Buffer.from(afterwards).toString('latin1').split('\x04');
        const outerFrame = /^ {2}File "<stdin>", line \d+, in <module>\r\n/m;
        this.#port.send(ascii((traceback ?? '').replace(outerFrame, '')));
        this.#filteringOutput(drop, () => this.#interpreter.feed(ctrlB));
        return !traceback;
    }

    // Whether this Ctrl-A enters raw mode depends on what was typed before; the banner shows it.
    #enterRaw() {
        const detectBanner = (bytes) => {
            if (ascii('raw REPL;').equals(bytes.subarray(0, 9))) this.#isRaw = true;
            return bytes;
        };
        return this.#filteringOutput(detectBanner, () => this.#interpreter.feed(ctrlA));
    }

    // Raw-paste mode (Ctrl-E A Ctrl-A) would read a standard input that this build does not have,
    // and never end. It is refused with the reply of a MicroPython without it, so that a client
    // falls back.
    #refusesRawPaste(byte) {
        if (!this.#isRaw) return false;
        const [first, second, ...others] = this.#rawInput;
        const asked = byte === ctrlA && first === ctrlE && second === 0x41 && others.length === 0;
        if (asked) {
            this.#interpreter.feed(ctrlC);
            this.#port.send(ascii('R\x00>'));
        }
        if (byte >= ctrlA && byte <= ctrlD) this.#rawInput = [];
        else if (this.#rawInput.length < 3) this.#rawInput.push(byte);
        return asked;
    }

    // Passes each output of the action to the filter, which returns the bytes to send, or null.
    #filteringOutput(filter, action) {
        const outer = this.#output;
        this.#output = (bytes) => {
            const left = filter(bytes);
            if (left?.length) outer(left);
        };
        try {
            return action();
        } finally {
            this.#output = outer;
        }
    }
}

function withoutFirst(count) {
    return (bytes) => {
        const dropped = Math.min(count, bytes.length);
        count -= dropped;
        return bytes.subarray(dropped);
    };
}
