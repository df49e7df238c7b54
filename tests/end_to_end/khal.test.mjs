// The calendar folders belong to the user: khal reads what the server writes, and vice versa.

import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import { writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { promisify } from 'node:util';
import { clients, Session } from './support/clients.mjs';
import { Home } from './support/home.mjs';

const deadline = { timeout: 60_000 };
const run = promisify(execFile);

/** Returns a function that runs khal on a home's calendars, with a database of its own. */
async function khalIn(home) {
    const settings = join(home.path, 'khal.conf');
    await writeFile(
        settings,
        `[calendars]
[[everything]]
path = ${home.calendars}/*
type = discover
[default]
highlight_event_days = False
[sqlite]
path = ${join(home.path, 'khal.db')}
[locale]
timeformat = %H:%M
dateformat = %Y-%m-%d
longdateformat = %Y-%m-%d
datetimeformat = %Y-%m-%d %H:%M
longdatetimeformat = %Y-%m-%d %H:%M
default_timezone = Europe/Berlin
local_timezone = Europe/Berlin
`,
    );
    return async (...rest) => {
        const options = {
            env: { ...process.env, ...home.environment, LC_ALL: 'C.UTF-8', XDG_CONFIG_HOME: home.path },
            timeout: 30_000,
        };
        return (await run('khal', ['-c', settings, ...rest], options)).stdout;
    };
}

const layout = '{title}|{start-long-full}|{end-long-full}|{all-day}|{location}|{description}|{calendar}';

test('khal reads the events that the server creates', deadline, async (t) => {
    const home = await Home.make(t);
    await home.startHost('--yes');
    const session = await Session.open(clients[0], home);
    const create = (given) => session.payload('calendar_create_event', given);
    const long = 'Sehr lang, mit Komma; Semikolon \\ und 🎉: '.repeat(8).trim();
    await create({ title: long, start: '2026-10-14T15:00', location: 'Zoë’s Café' });
    await create({ title: 'Holiday', start: '2026-10-16', all_day: true, duration_minutes: 2880 });
    await create({
        title: 'Clock goes back',
        start: '2026-10-25T01:30',
        end: '2026-10-25T04:00',
        notes: 'one\ntwo',
    });

    const khal = await khalIn(home);
    const list = async (day, span) =>
        (await khal('list', '--day-format', '', '--once', '--format', layout, day, span)).trim();
    assert.equal(
        await list('2026-10-14', '1d'),
        `${long}|2026-10-14 15:00|2026-10-14 16:00|False|Zoë’s Café||Calendar`,
    );
    // khal prints the last day as the end.
    assert.equal(await list('2026-10-16', '3d'), 'Holiday|2026-10-16 00:00|2026-10-17 00:00|True|||Calendar');
    assert.equal(
        await list('2026-10-25', '1d'),
        'Clock goes back|2026-10-25 01:30|2026-10-25 04:00|False||one\ntwo|Calendar',
    );
});

test('the server lists the events that khal creates', deadline, async (t) => {
    const home = await Home.make(t);
    await home.write('Calendars/Calendar/displayname', 'Privat');
    const khal = await khalIn(home);
    await khal('new', '-a', 'Privat', '-l', 'Küche', '2026-10-14', '15:00', '16:30', 'Kuchen 🍰', '::', 'mit Sahne');
    await khal('new', '-a', 'Privat', '2026-10-16', '2026-10-17', 'Urlaub');
    await khal('new', '-a', 'Privat', '-r', 'weekly', '-u', '2026-11-05', '2026-10-21', '09:00', '09:15', 'Runde');

    const session = await Session.open(clients[0], home);
    const { events } = await session.payload('calendar_list_events', { start: '2026-10-01', days: 62 });
    const timed = (title, day, from, to, offset) => ({
        title,
        start: `${day}T${from}:00${offset}`,
        end: `${day}T${to}:00${offset}`,
        all_day: false,
        calendar: 'Privat',
    });
    assert.deepEqual(
        events.map(({ id, ...rest }) => rest),
        [
            { ...timed('Kuchen 🍰', '2026-10-14', '15:00', '16:30', '+02:00'), location: 'Küche', notes: 'mit Sahne' },
            {
                title: 'Urlaub',
                start: '2026-10-16T00:00:00+02:00',
                end: '2026-10-18T00:00:00+02:00',
                all_day: true,
                calendar: 'Privat',
            },
            timed('Runde', '2026-10-21', '09:00', '09:15', '+02:00'),
            timed('Runde', '2026-10-28', '09:00', '09:15', '+01:00'),
            timed('Runde', '2026-11-04', '09:00', '09:15', '+01:00'),
        ],
    );
});
