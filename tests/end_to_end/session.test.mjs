// A whole session with each client: what an agent sees, and what is in the folders afterwards.

import assert from 'node:assert/strict';
import { describe, test } from 'node:test';
import { identity, instructions, tools } from './support/catalogue.mjs';
import { changes, denial, failures, furnish, payloadOf, readings } from './support/calls.mjs';
import { clients, Session } from './support/clients.mjs';
import { Home } from './support/home.mjs';

/** For all tests with one client. */
const deadline = { timeout: 120_000 };

test('the table of calls has every tool', () => {
    const names = tools().map((tool) => tool.name);
    assert.deepEqual([...readings, ...changes].map((call) => call.name).sort(), [...names].sort());
    assert.deepEqual(failures.map((call) => call.name), names);
    for (const { name, annotations } of tools()) {
        assert.equal(readings.some((call) => call.name === name), annotations.readOnlyHint, name);
    }
});

for (const which of clients) {
    describe(`with ${which.name}`, deadline, () => {
        test('the server says who it is and which protocol it speaks', async (t) => {
            const session = await Session.open(which, await Home.make(t));
            assert.deepEqual(session.client.getServerVersion(), identity);
            assert.equal(session.client.getInstructions(), instructions);
            assert.deepEqual(session.client.getServerCapabilities(), { tools: { listChanged: false } });
            const welcome = session.received.find((message) => message.result?.protocolVersion);
            assert.equal(welcome.result.protocolVersion, '2025-06-18');
        });

        test('the tools are those of the catalogue, in its order', async (t) => {
            const session = await Session.open(which, await Home.make(t));
            const listed = await session.client.listTools();
            assert.deepEqual(listed.tools, tools());
            assert.equal(listed.nextCursor, undefined);
        });

        test('a ping is answered', async (t) => {
            const session = await Session.open(which, await Home.make(t));
            assert.deepEqual(await session.client.ping(), {});
        });

        test('an event is created after a yes, and listed', async (t) => {
            const home = await Home.make(t);
            const host = await home.startHost('--yes');
            const session = await Session.open(which, home);
            const nothing = await session.payload('calendar_list_events', { start: '2026-10-14' });
            assert.deepEqual(nothing, { events: [] });

            const created = await session.payload('calendar_create_event', {
                title: 'Zahnarzt 🦷',
                start: '2026-10-14T15:00',
                duration_minutes: 30,
                location: 'Hauptstraße 5; 2. Stock',
                notes: 'Karte,\nÜberweisung',
            });
            assert.equal(created.created, true);
            assert.match(await host.next(), /^allowed calendar_create_event: Zahnarzt 🦷 — .*14.*2026/);

            const files = await home.calendarFiles();
            assert.deepEqual([...files.keys()], [`Calendar/${created.id}.ics`]);
            const listed = await session.payload('calendar_list_events', { start: '2026-10-14' });
            assert.deepEqual(listed.events, [
                {
                    id: created.id,
                    title: 'Zahnarzt 🦷',
                    start: '2026-10-14T15:00:00+02:00',
                    end: '2026-10-14T15:30:00+02:00',
                    all_day: false,
                    calendar: 'Calendar',
                    location: 'Hauptstraße 5; 2. Stock',
                    notes: 'Karte,\nÜberweisung',
                },
            ]);
        });

        test('no host to answer counts as a no', async (t) => {
            const home = await Home.make(t);
            const session = await Session.open(which, home);
            const result = await session.call('calendar_create_event', {
                title: 'Party',
                start: '2026-10-14',
            });
            assert.equal(result.isError, true);
            assert.match(result.content[0].text, /^The user did not allow this \(Party — /);
        });

        test('every tool returns what is in the home', async (t) => {
            const home = await Home.make(t);
            await furnish(home);
            const before = await home.snapshot();
            const session = await Session.open(which, home);
            await Promise.all(
                readings.map(async ({ name, given, payload }) => {
                    const result = await session.call(name, given);
                    assert.equal(result.isError, false, name);
                    assert.deepEqual(payloadOf(result, payload), payload, name);
                }),
            );
            assert.deepEqual(await home.snapshot(), before);
        });

        test('every tool that changes something does so after a yes', async (t) => {
            const home = await Home.make(t);
            await furnish(home);
            const host = await home.startHost('--yes');
            const session = await Session.open(which, home);
            for (const { name, given, summary, payload } of changes) {
                const before = await home.snapshot();
                const result = await session.call(name, given);
                assert.deepEqual(payloadOf(result, payload), payload, name);
                assert.equal(result.isError, false);
                assert.equal(await host.next(), `allowed ${name}: ${summary}`);
                assert.notDeepEqual(await home.snapshot(), before, name);
            }
        });

        test('no tool changes anything after a no', async (t) => {
            const home = await Home.make(t);
            await furnish(home);
            const host = await home.startHost('--no');
            const session = await Session.open(which, home);
            const before = await home.snapshot();
            for (const { name, given, summary } of changes) {
                const result = await session.call(name, given);
                assert.equal(await host.next(), `refused ${name}: ${summary}`);
                const content = [{ type: 'text', text: denial(summary) }];
                assert.deepEqual([result.isError, result.content], [true, content]);
            }
            assert.deepEqual(await home.snapshot(), before);
        });

        test('every tool says what is wrong, and nothing changes', async (t) => {
            const home = await Home.make(t);
            await furnish(home);
            await home.startHost('--yes');
            const session = await Session.open(which, home);
            const before = await home.snapshot();
            await Promise.all(
                failures.map(async ({ name, given, error }) => {
                    const { isError, content } = await session.call(name, given);
                    assert.deepEqual([isError, content], [true, [{ type: 'text', text: error }]], name);
                }),
            );
            assert.deepEqual(await home.snapshot(), before);
        });

        test('an unknown tool and an unknown method are protocol errors', async (t) => {
            const session = await Session.open(which, await Home.make(t));
            await assert.rejects(session.call('no_such_tool'), (error) => {
                assert.equal(error.code, -32602);
                return /unknown tool: no_such_tool/.test(error.message);
            });
            // The clients send nothing that the server has not announced, so we send the line ourselves.
            const reply = new Promise((resolve) => {
                const next = session.transport.onmessage;
                session.transport.onmessage = (message, extra) =>
                    message.id === 'ours' ? resolve(message) : next(message, extra);
            });
            await session.transport.send({ jsonrpc: '2.0', id: 'ours', method: 'resources/list' });
            assert.deepEqual((await reply).error, {
                code: -32601,
                message: 'method not found: resources/list',
            });
        });

        test('twenty calls at once each get their own answer', async (t) => {
            const home = await Home.make(t);
            await home.startHost('--yes');
            const session = await Session.open(which, home);
            const calls = Array.from({ length: 20 }, (_, at) =>
                at % 2 === 0
                    ? session.payload('calendar_create_event', {
                          title: `Number ${at}`,
                          start: `2026-11-${10 + at}T09:00`,
                      })
                    : session.call('calendar_list_events', { days: 62 + at }),
            );
            const answers = await Promise.all(calls);
            const errors = answers.filter((answer) => answer.isError);
            assert.equal(errors.length, 10);
            const identifiers = new Set(answers.map((answer) => answer.id).filter(Boolean));
            assert.equal(identifiers.size, 10);
            for (const at of [0, 8, 18]) {
                const { events } = await session.payload('calendar_list_events', {
                    start: `2026-11-${10 + at}`,
                });
                assert.deepEqual(
                    events.map(({ id, title }) => ({ id, title })),
                    [{ id: answers[at].id, title: `Number ${at}` }],
                );
            }
            assert.equal((await home.calendarFiles()).size, 10);
        });

        test('closing ends the server with status 0', async (t) => {
            const session = await Session.open(which, await Home.make(t));
            await session.client.ping();
            const begun = Date.now();
            assert.equal(await session.close(), 0);
            // A client that waits in vain sends a signal after two seconds.
            assert.ok(Date.now() - begun < 1900);
        });

        test('VELMIRO_ENABLED chooses the kinds', async (t) => {
            const home = await Home.make(t);
            const variants = [
                ['calendar', ['calendar']],
                [' mail , calendar ', ['calendar', 'mail']],
                ['contacts', ['contacts']],
                ['mail,notes,reminders', ['reminders', 'notes', 'mail']],
                ['notes', ['notes']],
                ['nonsense', []],
                ['Calendar', []],
                ['', []],
            ];
            for (const [value, kinds] of variants) {
                const session = await Session.open(which, home, {
                    environment: { VELMIRO_ENABLED: value },
                });
                assert.deepEqual((await session.client.listTools()).tools, tools(kinds), value);
                assert.equal(await session.close(), 0);
            }
        });

        test('the example server returns what it is sent', async (t) => {
            const session = await Session.open(which, await Home.make(t), {
                program: 'hello_server',
            });
            assert.deepEqual(session.client.getServerVersion(), { name: 'hello', version: '1.0' });
            const listed = await session.client.listTools();
            assert.deepEqual(listed.tools.map((tool) => tool.name), ['echo']);
            const text = 'Grüße "\\\u0000 👩‍👩‍👧';
            const result = await session.call('echo', { text });
            assert.deepEqual(result, { content: [{ type: 'text', text }], isError: false });
            assert.equal(await session.close(), 0);
        });
    });
}
