// Emulates a MicroPython board on the master side of a pseudo-terminal.
//
//     node board.mjs --descriptor N [--flash FOLDER] [--disk BYTES] [--heap BYTES]
//                    [--rate BYTES_PER_SECOND]
//
// The main thread is blocked nearly always: it waits for a byte, or runs Python code. Its event
// loop therefore does not run, and the worker in port-reader.mjs receives the input. Start this as
// a file, not as a folder: the npm package runs its own command line when its path begins with that
// of the main script.
import { once } from 'node:events';
import { parseArgs } from 'node:util';
import { Worker } from 'node:worker_threads';

import { filesOfHost } from './board-files.mjs';
import { endWithError } from './fatal-error.mjs';
import { InputRing } from './input-ring.mjs';
import { PortWriter } from './port-writer.mjs';
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
    const repl = new Repl(ring, new PortWriter(descriptor, rate), limits);
    globalThis.interruptPython = (number) => repl.interrupt(number);

    const reader = new Worker(new URL('port-reader.mjs', import.meta.url), {
        workerData: { memory: ring.memory, descriptor, rate },
    });
    // The worker needs this thread's event loop to start, and the loop does not run any more below.
    await once(reader, 'online');

    await repl.powerOn(values.flash ? filesOfHost(values.flash) : []);
    for (;;) {
        const outcome = ring.waitForByte(idleMilliseconds, (number) => repl.interrupt(number));
        if (outcome === 'byte' && repl.receive(ring.take())) await repl.softReset();
    }
}

main().catch(endWithError);
