// The official client, and a person who is asked, against the program with a remote control.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';

import { Korvane, call } from './korvane.mjs';

let korvane;
let client;
const ask = (name, args) => call(client, name, args);

before(async () => {
    korvane = await Korvane.start(process.env.KORVANE_REMOTE_PROGRAM);
    client = await korvane.client();
    assert.match(await ask('connect_device', { port: korvane.serialPort }), /^Connected/);
});
after(async () => assert.equal(await korvane?.stop(), 0));

test('a question holds up its own call and no other', async () => {
    let isWritten = false;
    const writing = ask('write_device_file', { path: '/a.py', content: 'print("ä")' })
        .finally(() => { isWritten = true; });
    while ((await korvane.questions()).length === 0)
        assert.equal(await ask('run_code', { code: 'print(1)' }), '1\n');
    const other = await korvane.client();
    assert.equal(await call(other, 'run_code', { code: 'print(2)' }), '2\n');
    assert.equal(await ask('list_device_files'), '/ is empty.');
    assert.equal(isWritten, false);
    assert.deepEqual(await korvane.answer('Write'), {
        title: 'Let Claude write “/a.py”?',
        message: `11 bytes, creating a new file on ${korvane.serialPort}.`,
        buttons: ['Cancel', 'Write'],
        default: 'Cancel',
    });
    assert.equal(await writing, 'Wrote 11 bytes to /a.py.');
});

test('a no changes nothing', async () => {
    const writing = ask('write_device_file', { path: '/a.py', content: 'x' });
    assert.match((await korvane.answer('Cancel')).message, /^1 bytes, replacing the file already at \/a\.py on /);
    assert.equal(await writing, '! The user declined the write to /a.py.');
    const deleting = ask('delete_device_file', { path: '/a.py' });
    assert.match((await korvane.answer('Cancel')).message, /^Removes 11 bytes from .*\. This cannot be undone\.$/);
    assert.equal(await deleting, '! The user declined deleting /a.py.');
    assert.equal(await ask('read_device_file', { path: '/a.py' }), 'print("ä")');
});

test('a yes deletes', async () => {
    const deleting = ask('delete_device_file', { path: '/a.py' });
    await korvane.answer('Delete');
    assert.equal(await deleting, 'Deleted /a.py.');
});

test('the program ends while a question is open', async () => {
    // Its answer never comes; `after` sees that the program ends in order.
    ask('write_device_file', { path: '/late', content: '' }).catch(() => {});
    while ((await korvane.questions()).length === 0)
        await client.ping();
});
