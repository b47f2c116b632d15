// Tests the tools of the installed program with the official client.
import assert from 'node:assert/strict';
import net from 'node:net';
import { after, before, test } from 'node:test';

import { Korvane, call, eventually } from './korvane.mjs';

const korvane = new Korvane();
let client;
const ask = (name, args) => call(client, name, args);

before(async () => {
    client = await korvane.start(process.env.KORVANE_PROGRAM, { MCPAutoApproveWrites: true });
});
after(() => korvane.stop());

test('initializes, and refuses clients without the token', async () => {
    assert.deepEqual(client.getServerVersion(), { name: 'korvane', version: '1.0.0' });
    assert.deepEqual(client.getServerCapabilities(), { tools: { listChanged: false } });
    assert.deepEqual(await client.ping(), {});
    assert.equal((await client.listTools()).tools.length, 10);
    await assert.rejects(client.request({ method: 'nonsense' }, { parse: value => value }), /Unknown method: nonsense/);
    await assert.rejects(korvane.client('wrong'), /401|Unauthorized/);
});

test('connects a board while 400 connections without a token are open', async () => {
    const { port } = new URL(korvane.url);
    const sockets = Array.from({ length: 400 }, () => net.connect(port, '127.0.0.1').resume());
    sockets.forEach(socket => socket.on('error', () => {}));
    await eventually(() => sockets.every(socket => !socket.connecting));
    for (let turn = 0; turn < 20; ++turn) // until the server has accepted them
        await client.ping();
    const board = { port: korvane.serialPort };
    assert.match(await ask('run_code', { code: '1' }), /^! No device connected/);
    assert.equal(await ask('connect_device', board), `Connected to ${board.port}.`);
    const open = sockets.filter(socket => !socket.destroyed).length;
    assert.ok(100 < open && open < 250, `the limit is the hard one, with a reserve: ${open}`);
});

test('writes, lists, reads, runs and deletes files of the board', async () => {
    assert.match(await ask('device_status'), /\nMicroPython: .* — /);
    const path = '/it\'s "ä".py';
    assert.equal(await ask('write_device_file', { path, content: 'print("grüße", 6 * 7)\n' }),
                 `Wrote 24 bytes to ${path}.`);
    assert.equal(await ask('list_device_files', { path: '/' }), `/:\n${path}  24 bytes`);
    assert.equal(await ask('read_device_file', { path }), 'print("grüße", 6 * 7)\n');
    assert.equal(await ask('run_file', { path }), 'grüße 42\n');
    assert.equal(await ask('delete_device_file', { path }), `Deleted ${path}.`);
    assert.equal(await ask('run_code', { code: 'import time\ntime.sleep(2)', timeout: 1.2 }),
                 '! Command timed out after 1s — its program was stopped');
});

test('answers fifty calls at once, each its own', async () => {
    const numbers = Array.from({ length: 50 }, (_, number) => number);
    const answers = await Promise.all(numbers.map(
        number => ask('run_code', { code: `print(${number} * 3)`, timeout: 60 })));
    assert.deepEqual(answers, numbers.map(number => `${number * 3}\n`));
});
