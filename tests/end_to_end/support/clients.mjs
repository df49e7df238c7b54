// The clients of the official TypeScript SDK, old and new, behind the few calls that the tests need.

import { Client as NewClient } from '@modelcontextprotocol/client';
import { StdioClientTransport as NewTransport } from '@modelcontextprotocol/client/stdio';
import { Client as OldClient } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport as OldTransport } from '@modelcontextprotocol/sdk/client/stdio.js';
import { readFile } from 'node:fs/promises';
import { join } from 'node:path';
import { binary } from './home.mjs';

const information = { name: 'end-to-end', version: '1.0' };

/** @type {{name: string, Transport: typeof OldTransport, client: () => any}[]} */
export const clients = [
    {
        name: 'sdk 1.32.2',
        Transport: OldTransport,
        client: () => new OldClient(information),
    },
    {
        name: 'client 2.4.0',
        Transport: NewTransport,
        client: () => new NewClient(information),
    },
    {
        // Sends server/discover first, and falls back if the server does not know it.
        name: 'client 2.4.0 that looks for the newest protocol',
        Transport: NewTransport,
        client: () => new NewClient(information, { versionNegotiation: { mode: 'auto' } }),
    },
];

export class Session {
    /** Every message from the server. @type {any[]} */
    received = [];

    /**
     * Starts a server and connects to it; closes it when the test ends.
     * @param {(typeof clients)[number]} which
     * @param {import('./home.mjs').Home} home
     * @param {{program?: string, environment?: Record<string, string>}} options
     */
    static async open(which, home, { program = 'velmiro_mcp', environment = {} } = {}) {
        const session = new Session();
        session.statusFile = join(home.path, 'status');
        // The clients do not reveal the exit status, so a shell records it. A client that has to kill
        // its server kills the shell, and then there is no status.
        session.transport = new which.Transport({
            command: '/bin/sh',
            args: ['-c', '"$0"; echo $? >"$1"', binary(program), session.statusFile],
            env: { ...home.environment, ...environment },
        });
        session.transport.onmessage = (message) => session.received.push(message);
        session.client = which.client();
        home.cleanups.push(() => session.client.close());
        await session.client.connect(session.transport);
        return session;
    }

    /** @param {string} name @param {Record<string, unknown>} given */
    call(name, given = {}) {
        return this.client.callTool({ name, arguments: given });
    }

    /**
     * Returns the payload of a call, which must succeed.
     * @param {string} name @param {Record<string, unknown>} given
     */
    async payload(name, given = {}) {
        const result = await this.call(name, given);
        if (result.isError) throw new Error(result.content[0].text);
        return JSON.parse(result.content[0].text);
    }

    /** Closes the session as a host does; returns the server's exit status. */
    async close() {
        await this.client.close();
        return Number(await readFile(this.statusFile, 'utf8'));
    }
}
