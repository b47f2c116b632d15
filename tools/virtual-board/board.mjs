// A MicroPython board: plays one on the master side of a pseudo-terminal.
//
//     node board.mjs --descriptor N [--flash FOLDER] [--disk BYTES] [--heap BYTES]
//                    [--rate BYTES_PER_SECOND]
//
// The main thread runs MicroPython and is blocked nearly always: it waits for a byte, or Python code
// runs. So its event loop never turns, and the worker in line-reader.mjs receives. Start this as a
// file, not as a folder: the npm package takes a main script whose path begins like its own for itself.
import { once } from 'node:events';
import { parseArgs } from 'node:util';
import { Worker } from 'node:worker_threads';

import { filesOfHost } from './board-files.mjs';
import { dieOf } from './death.mjs';
import { InputRing } from './input-ring.mjs';
import { LineWriter } from './line-writer.mjs';
import { Repl } from './repl.mjs';

const idleMilliseconds = 1000;

async function main() {
    const { values } = parseArgs({
        options: {
            descriptor: { type: 'string' },
            flash: { type: 'string' },
            disk: { type: 'string', default: '0' },
            heap: { type: 'string', default: '0' },
            rate: { type: 'string', default: '0' },
        },
    });
    const descriptor = Number(values.descriptor);
    const rate = Number(values.rate);

    const ring = new InputRing();
    const limits = { diskBytes: Number(values.disk), heapBytes: Number(values.heap) };
    const repl = new Repl(ring, new LineWriter(descriptor, rate), limits);
    globalThis.interruptPython = (number) => repl.interrupt(number);

    const reader = new Worker(new URL('line-reader.mjs', import.meta.url), {
        workerData: { memory: ring.memory, descriptor, rate },
    });
    // Later it could not start, with this thread blocked.
    await once(reader, 'online');

    await repl.powerOn(values.flash ? filesOfHost(values.flash) : []);
    for (;;) {
        const outcome = ring.waitForByte(idleMilliseconds, (number) => repl.interrupt(number));
        if (outcome === 'byte' && repl.receive(ring.take())) await repl.softReset();
    }
}

main().catch(dieOf);
