// The command line of the MCP Inspector, as a user would type it.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { text } from 'node:stream/consumers';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { tools } from './support/catalogue.mjs';
import { changes, denial, failures, furnish, payloadOf, readings } from './support/calls.mjs';
import { binary, Home } from './support/home.mjs';

const deadline = { timeout: 60_000 };
const program = fileURLToPath(new URL('node_modules/.bin/mcp-inspector', import.meta.url));
/** Its exit status if a tool reports that a call failed. */
const toolFailed = 5;

/** @param {Home} home @param {string[]} rest */
async function inspect(home, ...rest) {
    const variables = Object.entries(home.environment).flatMap(([name, value]) => ['-e', `${name}=${value}`]);
    const inspector = spawn(
        program,
        ['--cli', binary('velmiro_mcp'), ...variables, '--format', 'json', ...rest],
        { env: { ...process.env, ...home.environment }, stdio: ['ignore', 'pipe', 'pipe'] },
    );
    const [output, errors, [status]] = await Promise.all([
        text(inspector.stdout),
        text(inspector.stderr),
        once(inspector, 'exit'),
    ]);
    return { status, errors, result: output === '' ? undefined : JSON.parse(output).result };
}

const call = (home, name, given) =>
    inspect(home, '--method', 'tools/call', '--tool-name', name, '--tool-args-json', JSON.stringify(given));

test('the Inspector lists the tools and finds no fault in them', deadline, async (t) => {
    const home = await Home.make(t);
    const { status, errors, result } = await inspect(home, '--method', 'tools/list', '--strict');
    assert.equal(status, 0, errors);
    assert.deepEqual(result.tools, tools());
});

/** Runs `work` on each item of a list, two at a time: a call is a process that takes seconds. */
async function inPairs(list, work) {
    const rest = [...list];
    const worker = async () => {
        for (let one = rest.shift(); one; one = rest.shift()) await work(one);
    };
    await Promise.all([worker(), worker()]);
}

test('the Inspector reads with every tool', deadline, async (t) => {
    const home = await Home.make(t);
    await furnish(home);
    await inPairs(readings, async ({ name, given, payload }) => {
        const { status, errors, result } = await call(home, name, given);
        assert.equal(status, 0, errors);
        assert.equal(result.isError, false);
        assert.deepEqual(payloadOf(result, payload), payload);
    });
});

test('the Inspector changes something with every tool that does', deadline, async (t) => {
    const home = await Home.make(t);
    await furnish(home);
    const host = await home.startHost('--yes');
    const asked = [];
    await inPairs(changes, async ({ name, given, payload }) => {
        const { status, errors, result } = await call(home, name, given);
        assert.equal(status, 0, errors);
        assert.deepEqual(payloadOf(result, payload), payload);
        asked.push(await host.next());
    });
    assert.deepEqual(asked.sort(), changes.map(({ name, summary }) => `allowed ${name}: ${summary}`).sort());
});

/** A wrong argument, a missing list, a failing script: the Inspector takes a second for each. */
const someFailures = ['calendar_create_event', 'reminders_list', 'notes_create'];

test('the Inspector reports a mistake as a failure of the tool', deadline, async (t) => {
    const home = await Home.make(t);
    await furnish(home);
    await home.startHost('--yes');
    const before = await home.snapshot();
    const some = failures.filter(({ name }) => someFailures.includes(name));
    assert.equal(some.length, someFailures.length);
    await inPairs(some, async ({ name, given, error }) => {
        const { status, result } = await call(home, name, given);
        assert.equal(status, toolFailed, name);
        assert.deepEqual([result.isError, result.content], [true, [{ type: 'text', text: error }]]);
    });
    assert.deepEqual(await home.snapshot(), before);
});

test('the Inspector reports a no as a failure of the tool', deadline, async (t) => {
    const home = await Home.make(t);
    await home.startHost('--no');
    const [{ name, given, summary }] = changes;
    const { status, result } = await call(home, name, given);
    assert.equal(status, toolFailed);
    assert.deepEqual([result.isError, result.content], [true, [{ type: 'text', text: denial(summary) }]]);
});
