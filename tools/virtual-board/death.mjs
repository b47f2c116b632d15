// How the board's process ends when it cannot go on.
import fs from 'node:fs';

// Says why and ends the process, from whichever thread. It writes to the descriptor itself, since a
// worker's console needs the main thread's event loop, which never turns; and it uses a signal, since
// an exit would wait for the inspector's session.
export function dieOf(error) {
    fs.writeSync(2, `virtual board: ${error.stack ?? error}\n`);
    process.kill(process.pid, 'SIGKILL');
}
