// A server on the official TypeScript SDK. It uses `Server` rather than `McpServer`, which does more
// work for each request; `Server` also lists tools with the JSON schemas that it is given.

import { Server } from '@modelcontextprotocol/sdk/server/index.js';
import { StdioServerTransport } from '@modelcontextprotocol/sdk/server/stdio.js';
import {
    CallToolRequestSchema,
    ErrorCode,
    ListToolsRequestSchema,
    McpError,
} from '@modelcontextprotocol/sdk/types.js';
import process from 'node:process';
import { listedTools } from '../tools.mjs';

const tools = listedTools(process.argv[2]);
const server = new Server(
    { name: 'typescript_sdk', version: '1.0' },
    { capabilities: { tools: { listChanged: false } } },
);

server.setRequestHandler(ListToolsRequestSchema, () => ({ tools }));

server.setRequestHandler(CallToolRequestSchema, ({ params }) => {
    if (params.name !== 'echo') throw new McpError(ErrorCode.InvalidParams, `unknown tool: ${params.name}`);
    const text = params.arguments?.text;
    return typeof text === 'string'
        ? { content: [{ type: 'text', text }], isError: false }
        : { content: [{ type: 'text', text: '‘text’ is required' }], isError: true };
});

// By default it ends at a line of 10 MiB, and the benchmark sends one of 16 MiB.
const maxBufferSize = 2 ** 26;
await server.connect(new StdioServerTransport(process.stdin, process.stdout, { maxBufferSize }));
