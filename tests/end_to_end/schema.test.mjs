// A type's schema and its reader say the same of any arguments: a validator judges both.

import { Ajv2020 } from 'ajv/dist/2020.js';
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { text } from 'node:stream/consumers';
import { test } from 'node:test';
import { skipWithoutTestServer, testServer } from './support/home.mjs';

const valid = {
    flag: true,
    number: 1.5,
    small: -3,
    large: 7,
    text: 'x',
    unit: 'm',
    time: '2026-10-14T13:00:00Z',
    parts: [{ name: 'a', level: 255 }, { name: 'b' }],
    flags: { on: true },
    gaps: [1, null, 2.5],
    more: ['y'],
    any: { deep: [1, 'two', null] },
};

const values = [
    null, true, false, 0, 1, -1, 1.5, 255, 256, 32767, 32768, -32768, -32769, 1e15, '', 'm', 'ft', 'M', 'é',
    '2026-10-14T13:00:00Z', '2026-10-14T13:00:00+02:00', '2026-10-14', '2026-10-14T13:00:00.5Z',
    [], [null], [1], ['x'], [true], [[]], [{ name: 'c' }], [{ level: 1 }], {}, { name: 'd' }, { on: false }, { on: 1 },
];

/** Numbers that look random and are the same in every run. */
function* numbers(state) {
    for (;;) {
        state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
        yield state / 2 ** 32;
    }
}

/** Changes one to three places of the valid arguments. */
function mutation(random) {
    const pick = (list) => list[Math.floor(random.next().value * list.length)];
    const root = { it: structuredClone(valid) };
    for (let changes = pick([1, 1, 2, 3]); changes > 0; --changes) {
        let holder = root;
        let key = 'it';
        while (holder[key] !== null && typeof holder[key] === 'object' && pick([true, true, true, false])) {
            holder = holder[key];
            key = pick([...Object.keys(holder), 'new']);
        }
        if (Array.isArray(holder)) holder.splice(Number(key) || 0, 1, structuredClone(pick(values)));
        else if (pick([true, false, false])) delete holder[key];
        else holder[key] = structuredClone(pick(values));
    }
    return root.it;
}

/** A null stands for a missing optional: its reader takes both, the schema tells of the latter. */
function withoutNulls(given) {
    if (given === null || typeof given !== 'object' || Array.isArray(given)) return given;
    const { more, parts, ...rest } = given;
    if (more !== null && more !== undefined) rest.more = more;
    if (Array.isArray(parts)) {
        rest.parts = parts.map((part) => {
            if (part?.level !== null) return part;
            const { level, ...others } = part;
            return others;
        });
    } else if (parts !== undefined) rest.parts = parts;
    return rest;
}

/** What the tool returns: the members that have a field. */
function withoutStrangers(given) {
    const known = Object.fromEntries(Object.keys(valid).filter((name) => name in given).map((name) => [name, given[name]]));
    known.parts = known.parts.map(({ name, level }) => (level === undefined ? { name } : { name, level }));
    return known;
}

test('the validator and the reader agree', { timeout: 60_000, skip: skipWithoutTestServer }, async () => {
    const random = numbers(17);
    const cases = [valid, ...Array.from({ length: 5000 }, () => mutation(random))];
    const requests = cases.map((given, id) => ({
        jsonrpc: '2.0', id, method: 'tools/call', params: { name: 'repeat', arguments: given },
    }));
    const server = spawn(testServer, { stdio: ['pipe', 'pipe', 'inherit'] });
    const output = text(server.stdout);
    const listing = { jsonrpc: '2.0', id: 'list', method: 'tools/list' };
    server.stdin.end([listing, ...requests].map((request) => `${JSON.stringify(request)}\n`).join(''));
    const replies = new Map((await output).trim().split('\n').map((line) => {
        const { id, result } = JSON.parse(line);
        return [id, result];
    }));

    const { inputSchema } = replies.get('list').tools.find(({ name }) => name === 'repeat');
    const fits = new Ajv2020({ validateFormats: false }).compile(inputSchema);
    const counts = { fit: 0, unfit: 0 };
    cases.forEach((given, id) => {
        const { content: [{ text }], isError } = replies.get(id);
        const expected = withoutNulls(given);
        assert.equal(fits(expected), !isError, `${JSON.stringify(given)}: ${text}`);
        if (isError) {
            assert.match(text, /^(‘[^’]+’|the value) (is required|must be .+)$/);
            counts.unfit += 1;
        } else {
            assert.deepEqual(JSON.parse(text), withoutStrangers(expected));
            counts.fit += 1;
        }
    });
    assert.ok(counts.fit > 500 && counts.unfit > 500, JSON.stringify(counts));
});
