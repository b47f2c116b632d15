// Shared by the tests: a program with settings of its own, a virtual board, and clients.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdir, mkdtemp, rm, writeFile } from 'node:fs/promises';
import net from 'node:net';
import { tmpdir } from 'node:os';
import path from 'node:path';
import readline from 'node:readline';
import { setTimeout as sleep } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';

import { Client } from '@modelcontextprotocol/sdk/client/index.js';
import { StreamableHTTPClientTransport } from '@modelcontextprotocol/sdk/client/streamableHttp.js';

const virtualBoard = fileURLToPath(new URL('../../scripts/virtual-board', import.meta.url));
const token = '00112233445566778899aabbccddeeff';

async function freePort() {
    const server = net.createServer().listen(0, '127.0.0.1');
    await once(server, 'listening');
    const { port } = server.address();
    server.close();
    await once(server, 'close');
    return port;
}

/** Repeats `ask` until its result is true, and returns that; throws an error after a minute. */
export async function eventually(ask) {
    for (const start = Date.now(); Date.now() - start < 60_000; await sleep(20)) {
        const answer = await ask();
        if (answer)
            return answer;
    }
    throw new Error(`timed out: ${ask}`);
}

const linesOf = child => readline.createInterface(child.stdout)[Symbol.asyncIterator]();

/** The running program, with a virtual board in its list of ports. */
export class Korvane {
    #folder;
    #children = [];
    #program;
    #lines;
    #clients = [];

    /** Adds `settings` to those that start the server. Returns a connected client. */
    async start(program, settings = {}) {
        this.#folder = await mkdtemp(path.join(tmpdir(), 'korvane-mcp-'));
        this.serialPort = (await linesOf(this.#spawn(virtualBoard, [])).next()).value;
        const port = await freePort();
        this.url = `http://127.0.0.1:${port}/mcp`;
        const all = { MCPServerEnabled: true, MCPServerPort: port, MCPServerToken: token, ...settings };
        await mkdir(path.join(this.#folder, 'korvane'));
        await writeFile(path.join(this.#folder, 'korvane/settings.ini'),
                        '[General]\n' + Object.entries(all).map(pair => pair.join('=') + '\n').join(''));
        // Few files may be open: the soft limit is below the hard one, and both are low.
        this.#program = this.#spawn('prlimit', ['--nofile=100:300', program], {
            QT_QPA_PLATFORM: 'offscreen',
            HOME: this.#folder,
            XDG_CONFIG_HOME: this.#folder,
            KORVANE_EXTRA_PORTS: this.serialPort,
        });
        this.#lines = linesOf(this.#program);
        await eventually(() => fetch(this.url).catch(() => null));
        return this.client();
    }

    #spawn(program, args, environment) {
        const child = spawn(program, args, { stdio: ['pipe', 'pipe', 'inherit'],
                                             env: { ...process.env, ...environment } });
        this.#children.push(child);
        return child;
    }

    /** Closes the program's input, and kills it if `kill`. Returns its exit code. */
    async stop({ kill = true } = {}) {
        await Promise.all(this.#clients.map(client => client.close()));
        const [board] = this.#children;
        this.#program?.stdin.end();
        if (kill)
            this.#program?.kill();
        board?.kill();
        await eventually(() => this.#children.every(
            child => child.exitCode !== null || child.signalCode !== null));
        await rm(this.#folder, { recursive: true, force: true });
        return this.#program?.exitCode;
    }

    async client(bearer = token) {
        const client = new Client({ name: 'korvane-tests', version: '1.0.0' });
        await client.connect(new StreamableHTTPClientTransport(
            new URL(this.url), { requestInit: { headers: { Authorization: `Bearer ${bearer}` } } }));
        this.#clients.push(client);
        return client;
    }

    /** The open question, or null. Only for the program of remote.cpp. */
    async question() {
        return JSON.parse(await this.#ask('question'));
    }

    /** Waits for a question, clicks its button and returns the question. */
    async answer(button) {
        const question = await eventually(() => this.question());
        if (await this.#ask(button) !== 'clicked')
            throw new Error(`${JSON.stringify(question)} has no button ${button}`);
        return question;
    }

    async #ask(line) {
        this.#program.stdin.write(line + '\n');
        return (await this.#lines.next()).value;
    }
}

/** The text of a tool's answer, with "! " in front when it is an error. */
export async function call(client, name, args = {}) {
    const result = await client.callTool({ name, arguments: args });
    return (result.isError ? '! ' : '') + result.content.map(part => part.text).join('|');
}
