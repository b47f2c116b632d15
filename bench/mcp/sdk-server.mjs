// The same endpoint on the official SDK, over its streamable HTTP transport with JSON responses.
//
// node sdk-server.mjs TOKEN TOOLS.json [session]      listens on a free port and prints it
//
// Without "session" there is a new transport for each request, as the SDK requires of stateless
// servers. With it one client has been initialized, and its transport serves all requests.
import { readFileSync } from 'node:fs';
import { createServer } from 'node:http';

import { Server } from '@modelcontextprotocol/sdk/server/index.js';
import { StreamableHTTPServerTransport } from '@modelcontextprotocol/sdk/server/streamableHttp.js';
import { ListToolsRequestSchema } from '@modelcontextprotocol/sdk/types.js';

const [token, toolsFile, mode] = process.argv.slice(2);
const authorization = `Bearer ${token}`;
const tools = JSON.parse(readFileSync(toolsFile, 'utf8'));

async function connected(sessionIdGenerator) {
    const server = new Server({ name: 'korvane', version: '1.0.0' }, { capabilities: { tools: {} } });
    server.setRequestHandler(ListToolsRequestSchema, () => ({ tools }));
    const transport = new StreamableHTTPServerTransport({ sessionIdGenerator, enableJsonResponse: true });
    await server.connect(transport);
    return { server, transport };
}

const session = mode === 'session' ? await connected(() => 'bench') : null;

const http = createServer(async (request, response) => {
    if (!request.url.startsWith('/mcp') || request.headers.authorization !== authorization) {
        response.writeHead(401).end();
        return;
    }
    if (session) {
        await session.transport.handleRequest(request, response);
        return;
    }
    const { server, transport } = await connected(undefined);
    response.on('close', () => server.close());
    await transport.handleRequest(request, response);
});
http.keepAliveTimeout = 0;
http.listen(0, '127.0.0.1', () => console.log(http.address().port));
