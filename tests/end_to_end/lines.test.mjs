// Checks every line that the server writes against the SDK's own description of the protocol.

import {
    CallToolResultSchema,
    EmptyResultSchema,
    InitializeResultSchema,
    JSONRPCMessageSchema,
    ListToolsResultSchema,
} from '@modelcontextprotocol/sdk/types.js';
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { text } from 'node:stream/consumers';
import { test } from 'node:test';
import { tools } from './support/catalogue.mjs';
import { binary, Home } from './support/home.mjs';

/** Writes the lines, closes the input, and returns the lines of the output. */
async function exchange(home, lines) {
    const server = spawn(binary('velmiro_mcp'), {
        env: { ...process.env, ...home.environment },
        stdio: ['pipe', 'pipe', 'pipe'],
    });
    server.stdin.end(lines.map((line) => `${line}\n`).join(''));
    const [output, errors, [status]] = await Promise.all([
        text(server.stdout),
        text(server.stderr),
        once(server, 'exit'),
    ]);
    assert.deepEqual([status, errors], [0, '']);
    assert.ok(output === '' || output.endsWith('\n'));
    return output.split('\n').slice(0, -1);
}

const call = (name, given) => ({ method: 'tools/call', params: { name, arguments: given } });

test('every reply follows the protocol', { timeout: 60_000 }, async (t) => {
    const home = await Home.make(t);
    await home.startHost('--no');
    const initialize = {
        method: 'initialize',
        params: {
            protocolVersion: '2025-06-18',
            capabilities: {},
            clientInfo: { name: 'end-to-end', version: '1.0' },
        },
    };
    const event = { title: 'Tea', start: '2026-10-14' };
    const requests = [
        [initialize, InitializeResultSchema],
        [{ method: 'ping' }, EmptyResultSchema],
        [{ method: 'tools/list' }, ListToolsResultSchema],
        [call('calendar_list_events', {}), CallToolResultSchema],
        [call('calendar_list_events', { days: 0 }), CallToolResultSchema],
        [call('calendar_create_event', event), CallToolResultSchema],
        [call('calendar_create_event', {}), CallToolResultSchema],
        ...tools().map((tool) => [call(tool.name, { start: [] }), CallToolResultSchema]),
        [call('no_such_tool', {}), -32602],
        [{ method: 'tools/call' }, -32602],
        [{ method: 'server/discover' }, -32601],
    ];
    const lines = requests.map(([request], id) => JSON.stringify({ jsonrpc: '2.0', id, ...request }));
    lines.splice(1, 0, JSON.stringify({ jsonrpc: '2.0', method: 'notifications/initialized' }));
    const replies = (await exchange(home, lines)).map((line) => JSON.parse(line));

    assert.equal(replies.length, requests.length);
    for (const reply of replies) {
        JSONRPCMessageSchema.parse(reply);
        const expected = requests[reply.id][1];
        if (typeof expected === 'number') {
            assert.equal(reply.error.code, expected);
        } else {
            // Strict: the result must not have members that the protocol does not know.
            expected.strict().parse(reply.result);
        }
    }
    assert.deepEqual(
        replies.map((reply) => reply.id).sort((left, right) => left - right),
        requests.map((_, id) => id),
    );
});

test('a line that is not a message gets the parse error, and nothing else', { timeout: 60_000 }, async (t) => {
    const home = await Home.make(t);
    const parseError = { jsonrpc: '2.0', id: null, error: { code: -32700, message: 'parse error' } };
    const replies = await exchange(home, ['{', '[]', '"ping"', '', '{"jsonrpc":"2.0"}', '1 2']);
    assert.deepEqual(
        replies.map((line) => JSON.parse(line)),
        Array(4).fill(parseError),
    );
});
