// A home with data of every kind, and every tool's answer there: a table that each client goes through.

import { utimes } from 'node:fs/promises';
import { join } from 'node:path';

/** @typedef {import('./home.mjs').Home} Home */

const crlf = (...lines) => [...lines, ''].join('\r\n');

/** When the message was received: recently, or it would not be listed; in whole seconds. */
const received = new Date(Math.floor(Date.now() / 1000 - 3600) * 1000);
const edited = new Date('2026-01-05T08:00:00.500Z');

const files = {
    'Calendars/work/planning.ics': crlf(
        ...['BEGIN:VCALENDAR', 'VERSION:2.0', 'PRODID:-//sample//EN', 'BEGIN:VEVENT', 'UID:planning'],
        ...['DTSTAMP:20260901T080000Z', 'DTSTART:20261013T080000Z', 'DTEND:20261013T090000Z'],
        ...['SUMMARY:Planning "Q4" \\\\ 🗓', 'END:VEVENT', 'END:VCALENDAR'],
    ),
    'Calendars/work/broken.ics': 'BEGIN:VCALENDAR\r\nBEGIN:VEV',
    'Reminders/home/milk.ics': crlf(
        ...['BEGIN:VCALENDAR', 'VERSION:2.0', 'PRODID:-//sample//EN', 'BEGIN:VTODO', 'UID:milk'],
        ...['DTSTAMP:20260901T080000Z', 'DUE:20261014T130000Z', 'PRIORITY:1', 'SUMMARY:Milk'],
        ...['END:VTODO', 'END:VCALENDAR'],
    ),
    'Contacts/friends/zoe.vcf': crlf(
        ...['BEGIN:VCARD', 'VERSION:4.0', 'UID:zoe', "N:O'Brien;Zoë;;;", "FN:Zoë O'Brien", 'ORG:Acme'],
        ...['EMAIL:zoe@example.org', 'TEL:+49 170 1234567', 'END:VCARD'],
    ),
    'Notes/Home/tea.md': '# Tea "for" two\n\n- green, 🍵\n',
    'Mail/cur/hello:2,S': [
        `Date: ${received.toUTCString()}`,
        'From: =?utf-8?B?Wm/Dqw==?= <zoe@example.org>',
        'To: mira@example.net',
        'Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?=',
        '',
        'A "quoted" \\ line.',
        '',
    ].join('\n'),
};

/**
 * Writes these files into a home.
 * @param {Home} home
 */
export async function furnish(home) {
    for (const [name, content] of Object.entries(files)) {
        await home.write(name, content);
        await utimes(join(home.velmiro, name), edited, edited);
    }
    const message = join(home.velmiro, 'Mail/cur/hello:2,S');
    await utimes(message, received, received);
}

/** Stands for an identifier that is new each time. */
export const anyText = Symbol('any text');

const message = {
    id: 2764961190673131,
    subject: 'Grüße',
    sender: 'Zoë <zoe@example.org>',
    date: received.toISOString(),
};

/** @type {{name: string, given: object, payload: object}[]} */
export const readings = [
    {
        name: 'calendar_list_events',
        given: { start: '2026-10-13' },
        payload: {
            events: [
                {
                    id: 'planning',
                    title: 'Planning "Q4" \\ 🗓',
                    start: '2026-10-13T10:00:00+02:00',
                    end: '2026-10-13T11:00:00+02:00',
                    all_day: false,
                    calendar: 'work',
                },
            ],
        },
    },
    {
        name: 'reminders_list',
        given: { list: 'HOME' },
        payload: {
            reminders: [
                {
                    id: 'milk',
                    title: 'Milk',
                    list: 'home',
                    completed: false,
                    priority: 1,
                    due: '2026-10-14T15:00:00+02:00',
                },
            ],
        },
    },
    {
        name: 'contacts_search',
        given: { query: 'zoe' },
        payload: {
            contacts: [
                {
                    id: 'zoe',
                    name: "O'Brien Zoë",
                    organization: 'Acme',
                    emails: ['zoe@example.org'],
                    phones: ['+49 170 1234567'],
                },
            ],
        },
    },
    {
        name: 'notes_search',
        given: { query: '"FOR" two', limit: 1 },
        payload: {
            notes: [
                {
                    id: 'note:Home/tea.md',
                    name: 'Tea "for" two',
                    folder: 'Home',
                    modified: edited.toISOString(),
                    snippet: 'Tea "for" two\n- green, 🍵',
                },
            ],
        },
    },
    {
        name: 'mail_list',
        given: { days: 1, limit: 5 },
        payload: { messages: [{ ...message, read: true }] },
    },
    {
        name: 'mail_read',
        given: { id: message.id },
        payload: { ...message, to: ['mira@example.net'], content: 'A "quoted" \\ line.' },
    },
];

/**
 * The calls that change something, with the summary that the user is shown.
 * @type {{name: string, given: object, summary: string, payload: object}[]}
 */
export const changes = [
    {
        name: 'calendar_create_event',
        given: { title: 'Tea', start: '2026-10-14T15:00' },
        summary: 'Tea — 14 Oct 2026, 15:00',
        payload: { created: true, id: anyText },
    },
    {
        name: 'reminders_create',
        given: { title: 'Cups "x"', priority: 9 },
        summary: 'Cups "x"',
        payload: { created: true, id: anyText },
    },
    {
        name: 'reminders_complete',
        given: { id: 'milk' },
        summary: 'Milk',
        payload: { completed: true },
    },
    {
        name: 'notes_create',
        given: { title: '</h1> & ${x}', body: 'Line\n\n- item', folder: 'Home' },
        summary: '</h1> & ${x}',
        payload: { created: true },
    },
    {
        name: 'mail_create_draft',
        given: { to: ['zoe@example.org', 'b@example.org'], subject: 'Tee?', body: 'Grüße\n🍵' },
        summary: 'Tee? → zoe@example.org, b@example.org',
        payload: { saved_as_draft: true },
    },
];

/**
 * The calls that fail, with the error that the agent receives.
 * @type {{name: string, given: object, error: string}[]}
 */
export const failures = [
    {
        name: 'calendar_list_events',
        given: { calendar: 'Nope' },
        error: 'no calendar named ‘Nope’. Known: work',
    },
    {
        name: 'calendar_create_event',
        given: { title: 'x', start: '14.10.2026' },
        error: '‘start’ is not a date: use 2026-10-14, 2026-10-14T15:00 or ISO 8601 with an offset',
    },
    { name: 'reminders_list', given: { list: 'Nope' }, error: 'no list named ‘Nope’. Known: home' },
    {
        name: 'reminders_create',
        given: { title: 'x', priority: 10 },
        error: '‘priority’ must be a whole number from 0 to 9',
    },
    { name: 'reminders_complete', given: { id: 'tea' }, error: 'no reminder with id tea' },
    { name: 'contacts_search', given: { query: ' ' }, error: '‘query’ is required' },
    {
        name: 'notes_search',
        given: { query: 'x', limit: 31 },
        error: '‘limit’ must be a whole number from 1 to 30',
    },
    {
        name: 'notes_create',
        given: { title: 'Tea', body: 'Green', folder: 'Nope' },
        error: 'execution error: Error: Error: no Notes folder named Nope (-2700)',
    },
    { name: 'mail_list', given: { days: 32 }, error: '‘days’ must be a whole number from 1 to 31' },
    {
        name: 'mail_read',
        given: { id: 7 },
        error: 'execution error: Error: Error: no message with id 7 in the inbox (-2700)',
    },
    {
        name: 'mail_create_draft',
        given: { to: ['nobody'], subject: 's', body: 'b' },
        error: '‘to’ must be email addresses',
    },
];

/**
 * Returns a result's payload, with `anyText` for the identifier if that is what the table expects.
 * @param {{content: {type: string, text: string}[]}} result
 * @param {object} expected
 */
export function payloadOf(result, expected) {
    const [{ type, text }, ...others] = result.content;
    if (type !== 'text' || others.length > 0) throw new Error(`not one text: ${JSON.stringify(result)}`);
    const payload = JSON.parse(text);
    if (expected.id === anyText && typeof payload.id === 'string') payload.id = anyText;
    return payload;
}

export const denial = (summary) =>
    `The user did not allow this (${summary}). Do not retry unless the user asks.`;
