// The reminder lists belong to the user: todoman reads what the server writes, and vice versa.

import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import { mkdir, readFile, readdir, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { promisify } from 'node:util';
import { clients, Session } from './support/clients.mjs';
import { Home } from './support/home.mjs';

const deadline = { timeout: 60_000 };
const run = promisify(execFile);

/** Returns a function that runs todoman on a home's lists, with its own database; it lists in JSON. */
async function todomanIn(home) {
    const settings = join(home.path, 'todoman.py');
    await mkdir(join(home.velmiro, 'Reminders/Reminders'), { recursive: true });
    await writeFile(
        settings,
        `path = ${JSON.stringify(join(home.velmiro, 'Reminders/*'))}
cache_path = ${JSON.stringify(join(home.path, 'todoman.sqlite3'))}
default_list = "Reminders"
date_format = "%Y-%m-%d"
time_format = "%H:%M"
default_due = 0
`,
    );
    return async (...rest) => {
        const options = {
            env: { ...process.env, ...home.environment, LC_ALL: 'C.UTF-8', TODOMAN_CONFIG: settings },
            timeout: 30_000,
        };
        // With the option for JSON, `new` fails without a priority.
        const form = rest[0] === 'list' ? ['--porcelain'] : [];
        return (await run('todoman', [...form, ...rest], options)).stdout;
    };
}

const seconds = (date) => Date.parse(date) / 1000;

test('todoman reads the reminders that the server creates', deadline, async (t) => {
    const home = await Home.make(t);
    const todoman = await todomanIn(home);
    await home.startHost('--yes');
    const session = await Session.open(clients[0], home);
    const long = 'Sehr lang, mit Komma; Semikolon \\ und 🎉: '.repeat(8).trim();
    await session.payload('reminders_create', { title: long, notes: 'one\ntwo, three', priority: 1 });
    await session.payload('reminders_create', { title: 'Milk', due: '2026-10-14T15:00', priority: 9 });

    const listed = JSON.parse(await todoman('list', '--sort', 'summary'));
    const byTitle = Object.fromEntries(listed.map((todo) => [todo.summary, todo]));
    assert.deepEqual(Object.keys(byTitle).sort(), ['Milk', long]);
    assert.equal(byTitle[long].description, 'one\ntwo, three');
    assert.equal(byTitle[long].priority, 1);
    assert.equal(byTitle[long].due, null);
    assert.equal(byTitle.Milk.due, seconds('2026-10-14T15:00:00+02:00'));
    assert.equal(byTitle.Milk.priority, 9);
    assert.equal(byTitle.Milk.list, 'Reminders');
    assert.equal(byTitle.Milk.completed, false);
});

test('the server lists and completes the reminders that todoman creates', deadline, async (t) => {
    const home = await Home.make(t);
    const todoman = await todomanIn(home);
    await todoman('new', '-l', 'Reminders', '--due', '2026-10-14 15:00', '--priority', 'high', 'Kuchen 🍰');
    await todoman('new', '-l', 'Reminders', 'Ohne Datum');
    await home.startHost('--yes');
    const session = await Session.open(clients[0], home);

    const { reminders } = await session.payload('reminders_list', {});
    const bare = reminders.map(({ id, ...rest }) => rest);
    bare.sort((left, right) => (left.title < right.title ? -1 : 1));
    const common = { list: 'Reminders', completed: false };
    assert.deepEqual(bare, [
        { ...common, title: 'Kuchen 🍰', due: '2026-10-14T15:00:00+02:00', priority: 4 },
        { ...common, title: 'Ohne Datum', priority: 0 },
    ]);

    const cake = reminders.find((reminder) => reminder.title === 'Kuchen 🍰');
    const folder = join(home.velmiro, 'Reminders/Reminders');
    const files = async () => {
        const names = await readdir(folder);
        return new Map(
            await Promise.all(names.map(async (name) => [name, await readFile(join(folder, name), 'utf8')])),
        );
    };
    const before = await files();
    assert.deepEqual(await session.payload('reminders_complete', { id: cake.id }), { completed: true });
    const after = await files();
    assert.deepEqual([...after.keys()], [...before.keys()]);
    const concerned = /^(STATUS|COMPLETED|PERCENT-COMPLETE|LAST-MODIFIED|SEQUENCE)[:;]/;
    for (const [name, text] of after) {
        const others = (content) => content.split('\r\n').filter((line) => !concerned.test(line));
        assert.deepEqual(others(text), others(before.get(name) ?? ''), name);
    }

    const done = JSON.parse(await todoman('list', '--status', 'COMPLETED'));
    assert.deepEqual(
        done.map((todo) => [todo.summary, todo.completed, todo.percent]),
        [['Kuchen 🍰', true, 100]],
    );
    const open = JSON.parse(await todoman('list'));
    assert.deepEqual(
        open.map((todo) => todo.summary),
        ['Ohne Datum'],
    );
});

test('a recurring reminder moves on in todoman when the server completes it', deadline, async (t) => {
    const home = await Home.make(t);
    const todoman = await todomanIn(home);
    await home.write(
        'Reminders/Reminders/plants.ics',
        ['BEGIN:VCALENDAR', 'VERSION:2.0', 'PRODID:-//sample//EN', 'BEGIN:VTODO', 'UID:plants']
            .concat(['DTSTAMP:20260901T080000Z', 'SUMMARY:Water the plants', 'DUE:20261014T070000Z'])
            .concat(['RRULE:FREQ=WEEKLY;COUNT=3', 'END:VTODO', 'END:VCALENDAR', ''])
            .join('\r\n'),
    );
    await home.startHost('--yes');
    const session = await Session.open(clients[0], home);
    await session.payload('reminders_complete', { id: 'plants' });
    const due = async (...status) =>
        JSON.parse(await todoman('list', ...status)).map((todo) => [todo.summary, todo.due]);
    assert.deepEqual(await due(), [['Water the plants', seconds('2026-10-21T07:00:00Z')]]);
    assert.deepEqual(await due('--status', 'COMPLETED'), [['Water the plants', seconds('2026-10-14T07:00:00Z')]]);

    const { reminders } = await session.payload('reminders_list', {});
    await session.payload('reminders_complete', { id: reminders[0].id });
    assert.deepEqual(await due(), [['Water the plants', seconds('2026-10-28T07:00:00Z')]]);
    const [last] = (await session.payload('reminders_list', {})).reminders;
    await session.payload('reminders_complete', { id: last.id });
    assert.deepEqual(await due(), []);
});

test('the server sees that todoman completed a reminder', deadline, async (t) => {
    const home = await Home.make(t);
    const todoman = await todomanIn(home);
    await todoman('new', '-l', 'Reminders', 'Once');
    const session = await Session.open(clients[0], home);
    assert.equal((await session.payload('reminders_list', {})).reminders.length, 1);
    await todoman('list');
    await todoman('done', '1');
    assert.deepEqual(await session.payload('reminders_list', {}), { reminders: [] });
    const { reminders } = await session.payload('reminders_list', { include_completed: true });
    assert.deepEqual(
        reminders.map(({ title, completed }) => [title, completed]),
        [['Once', true]],
    );
});
