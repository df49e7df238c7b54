// Hands the messages of a client that speaks HTTP to a server on pipes.

import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { createServer } from 'node:http';
import { text } from 'node:stream/consumers';
import { linesOf } from './home.mjs';

/**
 * Starts a server and returns the address under which it is reached until the test ends. Each request
 * is one message; its reply is the one with the same id, as plain JSON.
 * @param {import('node:test').TestContext} test
 * @param {string} program @param {Record<string, string>} environment
 */
export async function bridgeTo(test, program, environment) {
    const server = spawn(program, { env: environment, stdio: ['pipe', 'pipe', 'inherit'] });
    /** @type {Map<unknown, (line: string) => void>} */
    const waiting = new Map();
    const reading = (async () => {
        for await (const line of linesOf(server.stdout)) {
            const { id } = JSON.parse(line);
            waiting.get(id)?.(line);
            waiting.delete(id);
        }
    })();

    const listener = createServer(async (request, response) => {
        if (request.method !== 'POST') { // there is no stream of messages without a request
            response.writeHead(405).end();
            return;
        }
        const message = await text(request);
        const { id } = JSON.parse(message);
        const reply = new Promise((resolve) => waiting.set(id, resolve));
        server.stdin.write(`${message}\n`);
        if (id === undefined) {
            response.writeHead(202).end();
        } else {
            response.writeHead(200, { 'content-type': 'application/json' }).end(await reply);
        }
    });
    listener.listen(0, '127.0.0.1');
    await once(listener, 'listening');

    test.after(async () => {
        listener.closeAllConnections();
        listener.close();
        server.stdin.end();
        await reading;
    });
    return `http://127.0.0.1:${/** @type {import('node:net').AddressInfo} */ (listener.address()).port}/mcp`;
}
