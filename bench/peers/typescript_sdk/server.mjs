// A server on the official TypeScript SDK. Of its two classes for servers this takes `Server`: it
// does less for each request than `McpServer` does, and lists tools by their JSON schemas as given.

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

// Left to itself it ends at a line of 10 MiB, and one of 16 MiB is measured.
const maxBufferSize = 2 ** 26;
await server.connect(new StdioServerTransport(process.stdin, process.stdout, { maxBufferSize }));
