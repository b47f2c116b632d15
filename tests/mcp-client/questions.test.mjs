// Tests the questions of tool calls with the official client; remote.cpp clicks the buttons.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';

import { Korvane, call } from './korvane.mjs';

const korvane = new Korvane();
let client;
const ask = (name, args) => call(client, name, args);

before(async () => {
    client = await korvane.start(process.env.KORVANE_REMOTE_PROGRAM);
    assert.match(await ask('connect_device', { port: korvane.serialPort }), /^Connected/);
});
after(async () => assert.equal(await korvane.stop({ kill: false }), 0));

test('a question delays only its own call', async () => {
    const writing = ask('write_device_file', { path: '/a.py', content: 'print("ä")' });
    while (!await korvane.question()) // a call that uses the board could delay the check for the file
        await client.ping();
    assert.equal(await ask('run_code', { code: 'print(1)' }), '1\n');
    assert.equal(await call(await korvane.client(), 'run_code', { code: 'print(2)' }), '2\n');
    assert.equal(await ask('list_device_files'), '/ is empty.');
    assert.deepEqual(await korvane.answer('Write'), {
        title: 'Let Claude write “/a.py”?',
        message: `11 bytes, creating a new file on ${korvane.serialPort}.`,
        buttons: ['Cancel', 'Stop MCP Server', 'Write'],
        default: 'Cancel',
    });
    assert.equal(await writing, 'Wrote 11 bytes to /a.py.');
});

test('deletes a file only when the question is confirmed', async () => {
    for (const [button, answer] of [['Cancel', '! The user declined deleting /a.py.'],
                                    ['Delete', 'Deleted /a.py.']]) {
        assert.equal(await ask('read_device_file', { path: '/a.py' }), 'print("ä")');
        const deleting = ask('delete_device_file', { path: '/a.py' });
        await korvane.answer(button);
        assert.equal(await deleting, answer);
    }
});

test('closes the question of a canceled call', async () => {
    const canceling = new AbortController();
    const writing = client.callTool({ name: 'write_device_file', arguments: { path: '/b', content: '' } },
                                    undefined, { signal: canceling.signal });
    while (!await korvane.question())
        await client.ping();
    canceling.abort();
    await assert.rejects(writing);
    while (await korvane.question())
        await client.ping();
    assert.equal(await ask('list_device_files'), '/ is empty.');
});

test('closes the question of a client that disconnects', async () => {
    const closing = await korvane.client();
    closing.callTool({ name: 'write_device_file', arguments: { path: '/c', content: '' } }).catch(() => {});
    while (!await korvane.question())
        await client.ping();
    await closing.close();
    while (await korvane.question())
        await client.ping();
});

test('opens a line of 4 MB', async () => {
    assert.match(await ask('open_in_editor', { name: 'long.py', content: 'A'.repeat(4e6) }), /^Opened long\.py/);
});

test('exits while a question is open', async () => {
    // The call gets no response; `after` checks the exit code of the program.
    ask('write_device_file', { path: '/late', content: '' }).catch(() => {});
    while (!await korvane.question())
        await client.ping();
});
