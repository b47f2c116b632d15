// What the tests share: a program with settings of its own, a virtual board, and clients.
import { spawn } from 'node:child_process';
import { mkdir, mkdtemp, rm, writeFile } from 'node:fs/promises';
import net from 'node:net';
import { tmpdir } from 'node:os';
import path from 'node:path';
import readline from 'node:readline';
import { setTimeout as sleep } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';

import { Client } from '@modelcontextprotocol/sdk/client/index.js';
import { StreamableHTTPClientTransport } from '@modelcontextprotocol/sdk/client/streamableHttp.js';

const root = fileURLToPath(new URL('../..', import.meta.url));
const token = '00112233445566778899aabbccddeeff';
const deadlineMs = 60_000;

async function freePort() {
    const server = net.createServer().listen(0, '127.0.0.1');
    await new Promise(resolve => server.once('listening', resolve));
    const { port } = server.address();
    await new Promise(resolve => server.close(resolve));
    return port;
}

function ended(child) {
    if (child.exitCode !== null || child.signalCode !== null)
        return Promise.resolve();
    return new Promise(resolve => child.once('exit', resolve));
}

/** The running program, with a virtual board in its list of ports. */
export class Korvane {
    #folder;
    #board;
    #program;
    #lines;
    #clients = [];

    /** `settings` are added to those that start the server. */
    static async start(program, settings = {}) {
        const korvane = new Korvane();
        try {
            await korvane.#start(program, settings);
        } catch (error) {
            await korvane.stop();
            throw error;
        }
        return korvane;
    }

    async #start(program, settings) {
        this.#folder = await mkdtemp(path.join(tmpdir(), 'korvane-mcp-'));
        this.#board = spawn(path.join(root, 'scripts/virtual-board'), [],
                            { stdio: ['ignore', 'pipe', 'inherit'] });
        const boardLines = readline.createInterface(this.#board.stdout)[Symbol.asyncIterator]();
        this.serialPort = (await boardLines.next()).value;

        const port = await freePort();
        this.url = `http://127.0.0.1:${port}/mcp`;
        const all = { MCPServerEnabled: true, MCPServerPort: port, MCPServerToken: token, ...settings };
        const folder = path.join(this.#folder, 'config/korvane');
        await mkdir(folder, { recursive: true });
        await writeFile(path.join(folder, 'settings.ini'),
                        '[General]\n' + Object.entries(all).map(pair => pair.join('=') + '\n').join(''));
        this.#program = spawn(program, [], {
            stdio: ['pipe', 'pipe', 'inherit'],
            env: {
                ...process.env,
                QT_QPA_PLATFORM: 'offscreen',
                HOME: this.#folder,
                XDG_CONFIG_HOME: path.join(this.#folder, 'config'),
                KORVANE_EXTRA_PORTS: this.serialPort,
            },
        });
        this.#lines = readline.createInterface(this.#program.stdout)[Symbol.asyncIterator]();
        const start = Date.now();
        while (!await fetch(this.url).then(() => true, () => false)) {
            if (Date.now() - start > deadlineMs || this.#program.exitCode !== null)
                throw new Error(`nothing listens on ${this.url}`);
            await sleep(50);
        }
    }

    async stop() {
        await Promise.all(this.#clients.map(client => client.close()));
        this.#program?.stdin.end();
        if (this.#program?.spawnfile.endsWith('korvane'))
            this.#program.kill();
        this.#board?.kill();
        await Promise.all([this.#program, this.#board].filter(Boolean).map(ended));
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

    /** The open questions. Only of the program with a remote control; so is the next. */
    async questions() {
        return JSON.parse(await this.#ask('questions'));
    }

    async click(button) {
        return await this.#ask(`click ${button}`) === 'clicked';
    }

    /** Waits for a question and answers it; yields what it says. */
    async answer(button) {
        const start = Date.now();
        for (;;) {
            const [question] = await this.questions();
            if (question) {
                if (!await this.click(button))
                    throw new Error(`${JSON.stringify(question)} has no button ${button}`);
                return question;
            }
            if (Date.now() - start > deadlineMs)
                throw new Error('no question was asked');
            await sleep(20);
        }
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
