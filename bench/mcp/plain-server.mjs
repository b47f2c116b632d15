// The same answers from Node's own HTTP server, with as little code as possible.
//
// node plain-server.mjs TOKEN TOOLS.json      listens on a free port and prints it
import { readFileSync } from 'node:fs';
import { createServer } from 'node:http';

const [token, toolsFile] = process.argv.slice(2);
const authorization = `Bearer ${token}`;
const tools = JSON.parse(readFileSync(toolsFile, 'utf8'));

function answer(message) {
    if (message.method === 'ping')
        return { id: message.id, jsonrpc: '2.0', result: {} };
    if (message.method === 'tools/list')
        return { id: message.id, jsonrpc: '2.0', result: { tools } };
    return { error: { code: -32601, message: `Unknown method: ${message.method}` }, id: message.id, jsonrpc: '2.0' };
}

const server = createServer((request, response) => {
    if (!request.url.startsWith('/mcp') || request.headers.authorization !== authorization) {
        response.writeHead(401).end();
        return;
    }
    const chunks = [];
    request.on('data', (chunk) => chunks.push(chunk));
    request.on('end', () => {
        const body = JSON.stringify(answer(JSON.parse(Buffer.concat(chunks).toString('utf8'))));
        response.writeHead(200, {
            'Content-Type': 'application/json',
            'Content-Length': Buffer.byteLength(body),
        });
        response.end(body);
    });
});
server.keepAliveTimeout = 0;
server.listen(0, '127.0.0.1', () => console.log(server.address().port));
