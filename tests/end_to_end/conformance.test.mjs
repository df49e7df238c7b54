// The protocol's own conformance suite. It speaks HTTP, so a bridge hands its messages on.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { text } from 'node:stream/consumers';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { bridgeTo } from './support/bridge.mjs';
import { binary, Home, skipWithoutTestServer, testServer } from './support/home.mjs';

const deadline = { timeout: 60_000, concurrency: 2 };
const suite = fileURLToPath(new URL('node_modules/.bin/conformance', import.meta.url));

/** Runs one scenario of the suite against a server. @param {import('node:test').TestContext} t */
async function run(t, program, scenario) {
    const home = await Home.make(t);
    const url = await bridgeTo(t, program, home.environment);
    const running = spawn(suite, ['server', '--url', url, '--scenario', scenario], {
        cwd: home.path,
        stdio: ['ignore', 'pipe', 'pipe'],
    });
    const [output, errors, [status]] = await Promise.all([
        text(running.stdout),
        text(running.stderr),
        once(running, 'exit'),
    ]);
    return { output: output + errors, status };
}

/** What every server has. */
const basics = ['server-initialize', 'ping', 'tools-list'];
/** What needs tools that the suite names. */
const calls = ['tools-call-simple-text', 'tools-call-error', 'json-schema-2020-12'];

/** @param {import('node:test').TestContext} t */
const conforms = (t, program, scenarios) =>
    Promise.all(scenarios.map((scenario) => t.test(scenario, async (t) => {
        const { output, status } = await run(t, program, scenario);
        assert.equal(status, 0, output);
        assert.match(output, /Passed: ([1-9]\d*)\/\1, 0 failed/);
    })));

test('the server conforms', deadline, (t) => conforms(t, binary('velmiro_mcp'), basics));

const onTheFramework = { ...deadline, skip: skipWithoutTestServer };

test('a server on the framework alone conforms', onTheFramework, (t) =>
    conforms(t, testServer, [...basics, ...calls]));

test('the suite finds what is missing', onTheFramework, async (t) => {
    const { output, status } = await run(t, testServer, 'tools-call-image');
    assert.equal(status, 1, output);
    assert.match(output, /1 failed/);
});
