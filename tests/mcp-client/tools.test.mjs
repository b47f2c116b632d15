// The official client against the program as it is installed.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';

import { Korvane, call } from './korvane.mjs';

let korvane;
let client;
const ask = (name, args) => call(client, name, args);

before(async () => {
    korvane = await Korvane.start(process.env.KORVANE_PROGRAM, { MCPAutoApproveWrites: true });
    client = await korvane.client();
});
after(() => korvane?.stop());

test('greets', async () => {
    assert.deepEqual(client.getServerVersion(), { name: 'korvane', version: '1.0.0' });
    assert.deepEqual(client.getServerCapabilities(), { tools: { listChanged: false } });
    assert.deepEqual(await client.ping(), {});
});

test('turns away who has no token', async () => {
    await assert.rejects(korvane.client('wrong'), /401|Unauthorized/);
});

test('lists its tools', async () => {
    const { tools } = await client.listTools();
    assert.deepEqual(tools.map(tool => tool.name), [
        'device_status', 'connect_device', 'list_device_files', 'read_device_file', 'write_device_file',
        'delete_device_file', 'run_code', 'run_file', 'soft_reset', 'open_in_editor',
    ]);
    assert.deepEqual(tools[4].inputSchema.required, ['path', 'content']);
});

test('fails as told', async () => {
    assert.equal(await ask('nonsense'), '! Unknown tool: nonsense');
    assert.equal(await ask('run_code', { code: '1' }), '! No device connected. Use connect_device first.');
    assert.equal(await ask('connect_device', { port: '/nowhere' }), '! Could not open /nowhere.');
    assert.equal(await ask('open_in_editor', { name: 'a.py' }), '! Missing required argument “content”.');
    await assert.rejects(client.request({ method: 'nonsense' }, { parse: value => value }), /Unknown method: nonsense/);
});

test('works with the board', async () => {
    const port = korvane.serialPort;
    assert.match(await ask('device_status'), /^Connection: Not Connected\n/);
    assert.equal(await ask('connect_device', { port }), `Connected to ${port}.`);
    assert.match(await ask('device_status'), /\nMicroPython: .* — /);
    assert.equal(await ask('list_device_files'), '/ is empty.');
    const path = '/it\'s "ä".py';
    const content = 'print("grüße", 6 * 7)\n';
    const bytes = Buffer.byteLength(content);
    assert.equal(await ask('write_device_file', { path, content }), `Wrote ${bytes} bytes to ${path}.`);
    assert.equal(await ask('list_device_files', { path: '/' }), `/:\n${path}  ${bytes} bytes`);
    assert.equal(await ask('read_device_file', { path }), content);
    assert.equal(await ask('run_file', { path }), 'grüße 42\n');
    assert.equal(await ask('delete_device_file', { path }), `Deleted ${path}.`);
    assert.equal(await ask('delete_device_file', { path }), `! ${path} is not on the device.`);
    assert.match(await ask('read_device_file', { path }), /^! Cannot read /);
    assert.match(await ask('run_code', { code: '1/0' }), /^The code raised:\n[^]*ZeroDivisionError/);
    // Nobody interrupts it, so it has to end by itself, while the reset is waited for.
    assert.equal(await ask('run_code', { code: 'import time\ntime.sleep(2)', timeout: 1.2 }),
                 '! Command timed out after 1s');
    assert.match(await ask('soft_reset'), /^Soft reset sent\./);
    assert.equal(await ask('open_in_editor', { name: 'a.py', content: '' }),
                 'Opened a.py in the editor. It is not on the device until you write it there.');
});

test('answers fifty calls at once, each its own', async () => {
    await ask('connect_device', { port: korvane.serialPort });
    const numbers = Array.from({ length: 50 }, (_, number) => number);
    const answers = await Promise.all(numbers.map(
        number => ask('run_code', { code: `print(${number} * 3)`, timeout: 60 })));
    assert.deepEqual(answers, numbers.map(number => `${number * 3}\n`));
});
