// The board's interactive prompt as its client sees it: the order of events at start, soft reset, and
// what the build's own prompt does differently from a port's.
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
    #line;
    #limits;
    #interpreter = null;
    #isRaw = false;
    #rawLine = [];
    #fileHasEnded = false;
    // Takes the output of the interpreter; replaced for a while by filteringOutput().
    #output = (bytes) => this.#line.send(bytes);

    // `limits` has `diskBytes` and `heapBytes`, each 0 for none.
    constructor(ring, line, limits) {
        this.#ring = ring;
        this.#line = line;
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

    // Between two interpreters there is nothing to interrupt.
    interrupt(number) {
        this.#interpreter?.interrupt(number);
    }

    // True when the byte asked for a soft reset, which the caller then does.
    receive(byte) {
        if (this.#refusesRawPaste(byte)) return false;
        // A board would collect what the program before has left as soon as it needs the memory.
        if (this.#limits.heapBytes && byte === ctrlD) this.#interpreter.collectGarbage();
        const asksForReset = byte === ctrlA ? this.#enterRaw() : this.#interpreter.feed(byte);
        if (this.#isRaw && byte === ctrlB) this.#isRaw = false;
        return asksForReset;
    }

    async softReset() {
        this.#line.send(ascii('MPY: soft reboot\r\n'));
        this.#rawLine = [];
        await this.powerOn(filesOfBoard(this.#interpreter.fileSystem));
    }

    // As a port's main(): boot.py always, main.py only on the way to the friendly prompt and after a
    // boot.py that did not fail. What they leave in the global names stays there.
    #start() {
        this.#filteringOutput(drop, () => this.#interpreter.startRepl());
        if (this.#runFile('boot.py') && !this.#isRaw) this.#runFile('main.py');
        // Ctrl-A and Ctrl-B begin with a line end that a start has not.
        this.#filteringOutput(withoutFirst(2), () => this.#interpreter.feed(this.#isRaw ? ctrlA : ctrlB));
    }

    // Runs a file if it is there; false when it ended in an error. It goes through the raw prompt, with
    // all that is a prompt's own hidden: so it can be interrupted, and its traceback is a board's.
    // A SystemExit ends the file and nothing else.
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
        this.#line.send(ascii((traceback ?? '').replace(outerFrame, '')));
        this.#filteringOutput(drop, () => this.#interpreter.feed(ctrlB));
        return !traceback;
    }

    // Whether this Ctrl-A enters the raw prompt depends on what was typed before; its banner tells.
    #enterRaw() {
        const seeBanner = (bytes) => {
            if (ascii('raw REPL;').equals(bytes.subarray(0, 9))) this.#isRaw = true;
            return bytes;
        };
        return this.#filteringOutput(seeBanner, () => this.#interpreter.feed(ctrlA));
    }

    // Raw paste mode (Ctrl-E A Ctrl-A) would read a standard input that this build does not have, and
    // never end. It is refused with the words of a MicroPython without it, so that a client falls back.
    #refusesRawPaste(byte) {
        if (!this.#isRaw) return false;
        const [first, second, ...others] = this.#rawLine;
        const asked = byte === ctrlA && first === ctrlE && second === 0x41 && others.length === 0;
        if (asked) {
            this.#interpreter.feed(ctrlC);
            this.#line.send(ascii('R\x00>'));
        }
        if (byte >= ctrlA && byte <= ctrlD) this.#rawLine = [];
        else if (this.#rawLine.length < 3) this.#rawLine.push(byte);
        return asked;
    }

    // Each output of the action goes through the filter, which returns what is left of it, or null.
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
