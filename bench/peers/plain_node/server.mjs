// A server in plain Node.js, as a careful programmer writes it without packages. Each reply is a
// separate write, as it is for the other contenders.

import process from 'node:process';
import { listedTools } from '../tools.mjs';

const tools = listedTools(process.argv[2]);

/** @param {number} code @param {string} message */
const failure = (code, message) => Object.assign(new Error(message), { code });

/** @type {Record<string, (params: any) => object>} */
const methods = {
    initialize: () => ({
        protocolVersion: '2025-06-18',
        capabilities: { tools: { listChanged: false } },
        serverInfo: { name: 'plain_node', version: '1.0' },
    }),
    ping: () => ({}),
    'tools/list': () => ({ tools }),
    'tools/call': (params) => {
        if (params?.name !== 'echo') throw failure(-32602, `unknown tool: ${params?.name}`);
        const { text } = params.arguments ?? {};
        return typeof text === 'string'
            ? { content: [{ type: 'text', text }], isError: false }
            : { content: [{ type: 'text', text: '‘text’ is required' }], isError: true };
    },
};

/** Returns the reply to a line, which is empty for a notification. @param {string} line */
function reply(line) {
    let id = null;
    try {
        const { id: given, method, params } = JSON.parse(line);
        if (given === undefined) return '';
        id = given;
        if (!Object.hasOwn(methods, method)) throw failure(-32601, `method not found: ${method}`);
        return `${JSON.stringify({ jsonrpc: '2.0', id, result: methods[method](params) })}\n`;
    } catch (error) {
        const { code = -32700, message } = /** @type {any} */ (error);
        return `${JSON.stringify({ jsonrpc: '2.0', id, error: { code, message } })}\n`;
    }
}

let begun = ''; // a line whose end has not arrived yet
process.stdin.setEncoding('utf8').on('data', (/** @type {string} */ chunk) => {
    const lines = chunk.split('\n');
    lines[0] = begun + lines[0];
    begun = lines.pop() ?? '';
    for (const line of lines) {
        const text = reply(line);
        if (text !== '') process.stdout.write(text);
    }
});
