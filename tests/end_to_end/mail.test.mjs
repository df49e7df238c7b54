// The Maildir belongs to the user: mutt and notmuch fill it for the server to read, and they resume the
// drafts that the server saves.

import assert from 'node:assert/strict';
import { readFile, stat } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { test } from 'node:test';
import { clients, Session } from './support/clients.mjs';
import { Home } from './support/home.mjs';
import { muttIn, notmuchIn } from './support/mail_programs.mjs';
import { assertSame, awkward, longest, textOf, tooLong } from './support/texts.mjs';

const require = createRequire(import.meta.url);
/** Independent of the libraries that read and write messages for the server. */
const { simpleParser } = require('mailparser');

const deadline = { timeout: 60_000 };
const seconds = (date) => Math.floor(date.getTime() / 1000);
const ago = (minutes) => new Date((seconds(new Date()) - 60 * minutes) * 1000);

const saved = { content: [{ type: 'text', text: '{"saved_as_draft":true}' }], isError: false };

/** A home with a host that says yes, and a session in it. */
async function begin(t) {
    const home = await Home.make(t);
    const host = await home.startHost('--yes');
    const session = await Session.open(clients[0], home);
    return {
        home,
        host,
        session,
        list: async (given = {}) => (await session.payload('mail_list', given)).messages,
        read: (id) => session.payload('mail_read', { id }),
        draft: (to, subject, body, more = {}) =>
            session.call('mail_create_draft', { to, subject, body, ...more }),
    };
}

const encoded = (text) =>
    Buffer.from(text)
        .toString('base64')
        .replace(/.{76}/g, '$&\n');

/** A multipart message, with a text of any characters. */
const message = (subject, date, content) =>
    `Date: ${date.toUTCString().replace('GMT', '+0000')}
From: =?utf-8?B?${encoded('Zoë Ünal')}?= <zoe@example.org>
To: Mira <mira@example.net>, "Two, B." <two@example.net>
Subject: =?utf-8?B?${encoded(subject)}?=
MIME-Version: 1.0
Content-Type: multipart/mixed; boundary=part

--part
Content-Type: text/plain; charset=utf-8
Content-Transfer-Encoding: base64

${encoded(content)}
--part
Content-Type: application/octet-stream
Content-Disposition: attachment; filename=x.bin
Content-Transfer-Encoding: base64

AAAA
--part--
`;

test('what notmuch and mutt deliver is listed and read, and stays unchanged', deadline, async (t) => {
    const { home, list, read } = await begin(t);
    const notmuch = await notmuchIn(home);
    const mutt = await muttIn(home);
    const text = awkward.join('\n');
    const dates = { unread: ago(120), read: ago(60), old: ago(5 * 24 * 60) };
    await notmuch.insert(message('Grüße "neu"', dates.unread, text));
    await notmuch.insert(message('Gelesen 🍵', dates.read, textOf(100_000)), '-unread');
    await notmuch.insert(message('Older', dates.old, 'old'), '-unread');
    await mutt.send('Ana <ana@example.org>', 'Von mutt 🍵', 'Eins – zwei\n\n.\nFrom here\n');
    assert.deepEqual((await home.fileNames('Mail')).map((name) => name.replace(/\/[^:]*/, '/…')).sort(), [
        'cur/…:2,S',
        'cur/…:2,S',
        'cur/…:2,S',
        'new/…',
    ]);
    const before = await home.snapshot();

    const sender = 'Zoë Ünal <zoe@example.org>';
    const expected = [
        { subject: 'Von mutt 🍵', sender: 'Mira <mira@example.net>', read: true },
        { subject: 'Gelesen 🍵', sender, date: dates.read.toISOString(), read: true },
        { subject: 'Grüße "neu"', sender, date: dates.unread.toISOString(), read: false },
        { subject: 'Older', sender, date: dates.old.toISOString(), read: true },
    ];
    const all = await list({ days: 31 });
    for (const [at, one] of expected.entries()) assert.deepEqual({ ...all[at], ...one }, all[at]);
    assert.equal(all.length, expected.length);
    assert.deepEqual(await list(), all.slice(0, 3));
    assert.deepEqual(await list({ unread_only: true }), [all[2]]);

    const to = ['mira@example.net', 'two@example.net'];
    const withoutFlag = ({ read, ...rest }) => rest;
    const [fromMutt, long, fresh] = all;
    assert.deepEqual(await read(fresh.id), { ...withoutFlag(fresh), to, content: text });
    assert.deepEqual(await read(long.id), { ...withoutFlag(long), to, content: textOf(100_000).slice(0, 20_000) });
    assert.deepEqual(await read(fromMutt.id), {
        ...withoutFlag(fromMutt),
        to: ['ana@example.org'],
        content: 'Eins – zwei\n\n.\nFrom here',
    });
    assert.deepEqual(await home.snapshot(), before);
});

test('a message keeps its number when another program marks it as read', deadline, async (t) => {
    const { home, list, read } = await begin(t);
    const notmuch = await notmuchIn(home);
    await notmuch.insert(message('One', ago(60), 'one'));
    const [one] = await list({ unread_only: true });
    await notmuch.run('tag', '-unread', '--', '*');
    assert.match((await home.fileNames('Mail')).join(), /^cur\/[^/]*:2,S$/);
    assert.deepEqual(await list({ unread_only: true }), []);
    assert.deepEqual(await list(), [{ ...one, read: true }]);
    assert.equal((await read(one.id)).content, 'one');
});

/** The path and bytes of a home's only message, which is a draft. */
async function onlyDraft(home) {
    const [draft, mark, ...others] = await home.fileNames('Mail');
    assert.match(draft, /^\.Drafts\/cur\/[^/:]+:2,DS$/);
    assert.deepEqual([mark, others], ['.Drafts/maildirfolder', []]);
    const path = join(home.velmiro, 'Mail', draft);
    return { path, bytes: await readFile(path) };
}

const people = (found) => (found?.value ?? []).map(({ name, address }) => (name ? `${name} <${address}>` : address));

const drafts = {
    'plain text': { to: ['zoe@example.org'], subject: 'Tea', body: 'At four?' },
    'text of many scripts': {
        to: ['Ana Ünal <ana@example.org>', 'b@example.org'],
        cc: ['山田 <taro@example.jp>'],
        subject: `Grüße 🌍 "q" \\ \u200fשלום\u200f – ${'sehr lang '.repeat(20)}Ende`,
        body: awkward.join('\n\n'),
    },
    'what mail programs take for marks': {
        to: ['a@example.org'],
        subject: '=?utf-8?Q?not_decoded?=',
        body: 'first\nFrom here\n.\n..\n-- \n> quoted =20=\nContent-Type: text/html\n\nlast',
    },
    'text of 100 KB': { to: ['a@example.org'], subject: 'Long', body: textOf(100_000) },
    'text as long as Linux takes it': { to: ['a@example.org'], subject: 'Longest', body: textOf(longest) },
};
for (const [what, { to, cc = [], subject, body }] of Object.entries(drafts)) {
    test(`other programs resume a draft: ${what}`, deadline, async (t) => {
        const { home, host, list, draft } = await begin(t);
        assert.deepEqual(await draft(to, subject, body, { cc }), saved);
        const asked = subject.replaceAll('\u200f', '\\u{200F}'); // the host escapes direction marks
        assert.equal(await host.next(), `allowed mail_create_draft: ${asked} → ${to.join(', ')}`);
        const { path, bytes } = await onlyDraft(home);
        assert.equal((await stat(path)).mode & 0o777, 0o600);
        assert.deepEqual(await list({ days: 31, limit: 100 }), []);

        const parsed = await simpleParser(bytes);
        assert.deepEqual([parsed.from, people(parsed.to), people(parsed.cc)], [undefined, to, cc]);
        assert.equal(parsed.subject, subject);
        assertSame(parsed.text, `${body}\n`);

        const notmuch = await notmuchIn(home);
        const shown = JSON.parse(await notmuch.run('show', '--format=json', '--', 'tag:draft'));
        const [[[{ headers, body: parts, tags }]]] = shown;
        assert.equal(headers.Subject, subject);
        assertSame(parts[0].content, `${body}\n`);
        assert.ok(!tags.includes('unread'));

        const { recipients, message } = await (await muttIn(home)).resume(path);
        const bare = [...to, ...cc].map((one) => one.replace(/.*<(.*)>/, '$1'));
        assert.deepEqual(recipients, bare);
        const resumed = await simpleParser(message);
        const everybody = [resumed.from, resumed.to, resumed.cc].map(people);
        assert.deepEqual(everybody, [['Mira <mira@example.net>'], to, cc]);
        assert.equal(resumed.subject, subject.replaceAll('\u200f', '')); // mutt drops it from a header
        assertSame(resumed.text, `${body}\n`);
    });
}

test('a longer text is an error, and no draft is saved', deadline, async (t) => {
    const { home, draft } = await begin(t);
    const before = await home.snapshot();
    const longer = textOf(longest + 1);
    const failure = { content: [{ type: 'text', text: tooLong }], isError: true };
    assert.deepEqual(await draft(['a@example.org'], 's', longer), failure);
    assert.deepEqual(await draft(['a@example.org'], longer, 'b'), failure);
    assert.deepEqual(await draft(['a@example.org'], 's', 'b', { cc: [longer] }), failure);
    assert.deepEqual(await home.snapshot(), before);
});

test('drafts saved at once are all there, while the inbox is read', deadline, async (t) => {
    const { home, list, draft } = await begin(t);
    const notmuch = await notmuchIn(home);
    await notmuch.insert(message('One', ago(60), 'one'));
    const before = await list();
    const subjects = Array.from({ length: 8 }, (_, at) => `Draft ${at}`);
    const answers = await Promise.all([
        ...subjects.map((subject) => draft('a@example.org, b@example.org', subject, textOf(20_000))),
        list(),
    ]);
    assert.deepEqual(answers.pop(), before);
    assert.deepEqual(answers, subjects.map(() => saved));
    const names = (await home.fileNames('Mail')).filter((name) => name.startsWith('.Drafts/cur/'));
    const contents = await Promise.all(
        names.map(async (name) => simpleParser(await readFile(join(home.velmiro, 'Mail', name)))),
    );
    assert.deepEqual(contents.map((one) => one.subject).sort(), subjects);
    for (const one of contents) assertSame(one.text, `${textOf(20_000)}\n`);
    assert.deepEqual(await list(), before);
});
