// The command line of the MCP Inspector, as a user would type it.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { text } from 'node:stream/consumers';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { tools } from './support/catalogue.mjs';
import { binary, Home } from './support/home.mjs';

const deadline = { timeout: 60_000 };
const program = fileURLToPath(new URL('node_modules/.bin/mcp-inspector', import.meta.url));
/** What it exits with when a tool says that a call failed. */
const toolFailed = 5;

/** @param {Home} home @param {string[]} rest */
async function inspect(home, ...rest) {
    const inspector = spawn(
        program,
        ['--cli', binary('velmiro_mcp'), '-e', `TZ=${home.environment.TZ}`, '--format', 'json', ...rest],
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

test('the Inspector creates an event and lists it', deadline, async (t) => {
    const home = await Home.make(t);
    await home.startHost('--yes');
    const created = await call(home, 'calendar_create_event', {
        title: 'Tea',
        start: '2026-10-14',
        all_day: true,
    });
    assert.equal(created.status, 0, created.errors);
    const listed = await call(home, 'calendar_list_events', { start: '2026-10-14' });
    assert.equal(listed.status, 0, listed.errors);
    const { events } = JSON.parse(listed.result.content[0].text);
    assert.deepEqual(events, [
        {
            id: JSON.parse(created.result.content[0].text).id,
            title: 'Tea',
            start: '2026-10-14T00:00:00+02:00',
            end: '2026-10-15T00:00:00+02:00',
            all_day: true,
            calendar: 'Calendar',
        },
    ]);
});

test('the Inspector takes a no and a wrong argument as failures of the tool', deadline, async (t) => {
    const home = await Home.make(t);
    await home.startHost('--no');
    const refused = await call(home, 'calendar_create_event', { title: 'Tea', start: '2026-10-14' });
    assert.equal(refused.status, toolFailed);
    assert.equal(refused.result.isError, true);
    assert.match(refused.result.content[0].text, /^The user did not allow this \(Tea — /);
    const wrong = await call(home, 'calendar_list_events', { days: 99 });
    assert.equal(wrong.status, toolFailed);
    assert.equal(wrong.result.content[0].text, '‘days’ must be a whole number from 1 to 62');
});
