// Ends the board's process after an error from which it cannot recover.
import fs from 'node:fs';

// Prints the error and kills the process; can be called in any thread. Writes to the descriptor
// directly, since a worker's console needs the main thread's event loop, which does not run. Uses a
// signal, since process.exit() would wait for the inspector's session.
export function endWithError(error) {
    fs.writeSync(2, `virtual board: ${error.stack ?? error}\n`);
    process.kill(process.pid, 'SIGKILL');
}
