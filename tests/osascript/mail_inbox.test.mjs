// The inbox over a Maildir: what is in it, in what order, under which identifiers.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import {
    mkdirSync,
    readdirSync,
    renameSync,
    rmSync,
    statSync,
    symlinkSync,
    utimesSync,
} from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { Home, awkward, headerDate, message } from './support.mjs';

const list = async (home, days = '3', limit = '100', unread = 'false') =>
    (await home.run('mail_list', days, limit, unread)).messages;
const subjects = async (home, ...given) => (await list(home, ...given)).map((one) => one.subject);

test('where there is no mail nothing is listed and nothing is made', async (t) => {
    const home = new Home(t);
    assert.deepEqual(await list(home), []);
    await assert.rejects(home.run('mail_read', '7'), /no message with id 7 in the inbox \(-2700\)/);
    assert.deepEqual(readdirSync(home.path), []);
});

test('a link that leads nowhere is an error, not an empty inbox', async (t) => {
    const home = new Home(t);
    mkdirSync(home.data, { recursive: true });
    symlinkSync('/nonexistent/inbox', join(home.data, 'Mail'));
    const expected = /execution error: Error: Error: cannot read .*Mail\/new: No such file/;
    await assert.rejects(list(home), expected);
    await assert.rejects(home.run('mail_read', '7'), expected);
});

test('a listed message has its number, subject, sender, date and whether it was read', async (t) => {
    const home = new Home(t);
    const date = headerDate(3600);
    home.mail(
        'cur/1.a:2,S',
        `Received: from a; ${date}\nFrom: "B, Ana" <a@b.c>\nSubject: Hi\n\nbody\n`,
    );
    const [one] = await list(home);
    assert.ok(Number.isSafeInteger(one.id) && one.id > 0);
    const expected = {
        subject: 'Hi',
        sender: 'B, Ana <a@b.c>',
        date: new Date(date).toISOString(),
        read: true,
    };
    assert.deepEqual(one, { id: one.id, ...expected });
});

test('a read message has its recipients and at most 20000 characters', async (t) => {
    const home = new Home(t);
    home.mail(
        'cur/1.a:2,',
        `To: a@b.c, "D" <d@e.f>\nTo: g@h.i\nSubject: Hi\n\n${'ä'.repeat(30_000)}\n`,
    );
    const [{ id }] = await list(home);
    const { to, content } = await home.run('mail_read', String(id));
    assert.deepEqual([to, content], [['a@b.c', 'd@e.f', 'g@h.i'], 'ä'.repeat(20_000)]);
});

test('the newest comes first, and of one time the lesser name', async (t) => {
    const home = new Home(t);
    const ages = { '5.e:2,': 50, '1.a:2,': 400, '3.c:2,S': 90, '9.b:2,': 7200 };
    for (const [name, age] of Object.entries(ages)) home.mail(`cur/${name}`, message(name, age));
    const same = headerDate(200);
    for (const name of ['7.z', '7.y', '7.x'])
        home.mail(`new/${name}`, `Date: ${same}\nSubject: ${name}\n\nx\n`);
    const order = await home.value("Application('Mail').inbox.messages.subject()");
    assert.deepEqual(order, ['5.e:2,', '3.c:2,S', '7.x', '7.y', '7.z', '1.a:2,', '9.b:2,']);
    assert.deepEqual(await subjects(home, '3', '2'), ['5.e:2,', '3.c:2,S']);
});

test('only the days asked for are listed', async (t) => {
    const home = new Home(t);
    home.mail('cur/1.a:2,', message('two days', 2 * 86_400 + 60));
    home.mail('cur/2.b:2,', message('one hour', 3600));
    home.mail('cur/3.c:2,', message('forty days', 40 * 86_400));
    assert.deepEqual(await subjects(home, '1'), ['one hour']);
    assert.deepEqual(await subjects(home, '3'), ['one hour', 'two days']);
    assert.deepEqual(await subjects(home, '31'), ['one hour', 'two days']);
});

test('unread means without the flag S, wherever it stands', async (t) => {
    const home = new Home(t);
    for (const [i, info] of ['', ':2,', ':2,S', ':2,FRS', ':2,F', ':2,RS'].entries()) {
        home.mail(`${info ? 'cur' : 'new'}/${i}.a${info}`, message(info, i + 10));
    }
    assert.deepEqual(await subjects(home, '3', '9', 'true'), ['', ':2,', ':2,F']);
    assert.equal((await subjects(home)).length, 6);
});

test('drafts, thrown away messages, other folders and hidden files are not in the inbox', async (t) => {
    const home = new Home(t);
    for (const path of [
        'cur/1.a:2,T',
        'cur/2.b:2,ST',
        'cur/3.c:2,DS',
        'tmp/4.d',
        '.Sent/cur/5.e:2,S',
    ]) {
        home.mail(path, message('no', 10));
    }
    home.mail('cur/.hidden', message('no', 10));
    home.mail('6.f:2,', message('no', 10));
    home.mail('new/7.g', message('yes', 10));
    assert.deepEqual(await subjects(home), ['yes']);
});

test('what is no readable message does not hide the others', { timeout: 30_000 }, async (t) => {
    const home = new Home(t);
    home.mail('cur/1.good:2,', message('good', 10));
    mkdirSync(join(home.data, 'Mail/cur/2.folder:2,'));
    symlinkSync('/nonexistent', join(home.data, 'Mail/cur/3.dangling:2,'));
    symlinkSync('/dev/zero', join(home.data, 'Mail/cur/4.device:2,'));
    execFileSync('mkfifo', [join(home.data, 'Mail/cur/5.pipe:2,')]);
    assert.deepEqual(await subjects(home), ['good']);
    assert.deepEqual(await home.value("Application('Mail').inbox.messages.subject()"), ['good']);
});

test('the Maildir may be a symbolic link', async (t) => {
    const home = new Home(t);
    home.write('../other/cur/1.a:2,', message('linked', 10));
    mkdirSync(home.data, { recursive: true });
    symlinkSync('../other', join(home.data, 'Mail'));
    assert.deepEqual(await subjects(home), ['linked']);
});

test('a number stays while the message is moved and its flags change', async (t) => {
    const home = new Home(t);
    let path = home.mail('new/1.M5P6.host,S=10', message('one', 10));
    mkdirSync(join(home.data, 'Mail/cur'));
    const [{ id }] = await list(home);
    for (const name of [
        'cur/1.M5P6.host,S=10:2,',
        'cur/1.M5P6.host,S=10:2,FS',
        'cur/1.M5P6.host,S=10:2,Sabc',
    ]) {
        const next = join(home.data, 'Mail', name);
        renameSync(path, next);
        path = next;
        assert.equal((await list(home))[0].id, id);
        assert.equal((await home.run('mail_read', String(id))).subject, 'one');
    }
});

test('a message that is in new and cur at once is listed once', async (t) => {
    const home = new Home(t);
    home.mail('new/1.a', message('one', 10));
    home.mail('cur/1.a:2,S', message('one', 10));
    assert.deepEqual(
        (await list(home)).map((one) => one.read),
        [true],
    );
});

test('the date is that of the topmost Received, else of Date, else of the file', async (t) => {
    const home = new Home(t);
    const at = (age) => new Date(Date.parse(headerDate(age))).toISOString();
    const cases = {
        received: [
            `Received: by a; ${headerDate(1000)}\nReceived: by b; ${headerDate(9000)}\nDate: ${headerDate(9999)}\n`,
            1000,
        ],
        date: [`Received: by a, without a date\nDate: ${headerDate(2000)}\n`, 2000],
        nonsense: [`Received: by a; yesterday\nDate: soon\n`, 3000],
        none: ['', 3000],
        future: [`Received: by a; ${headerDate(-99_999)}\nDate: ${headerDate(5000)}\n`, 5000],
        bothFuture: [
            `Received: by a; ${headerDate(-99_999)}\nDate: ${headerDate(-99_999)}\n`,
            3000,
        ],
        laterThanFile: [`Received: by a; ${headerDate(500)}\n`, 3000],
    };
    const expected = {};
    for (const [name, [header, age]] of Object.entries(cases)) {
        const own = { received: 10, date: 10, future: 10 }[name] ?? 3000;
        const file = home.mail(`cur/${name}:2,`, `${header}Subject: ${name}\n\nx\n`, own);
        expected[name] = age === own ? statSync(file).mtime.toISOString() : at(age);
    }
    const seconds = (text) => Math.abs(Date.parse(text));
    for (const { subject, date } of await list(home)) {
        assert.ok(
            Math.abs(seconds(date) - seconds(expected[subject])) <= 3000,
            `${subject}: ${date}`,
        );
    }
    assert.equal((await list(home)).length, 7);
});

test('a header longer than one look is read whole', async (t) => {
    const home = new Home(t);
    const long = Array.from({ length: 3000 }, (_, i) => `X-Filler-${i}: ${'x'.repeat(60)}\n`).join(
        '',
    );
    home.mail('cur/1.a:2,', `${long}From: late@example.org\nSubject: at the end\n\nbody\n`);
    const [{ subject, sender }] = await list(home);
    assert.deepEqual([subject, sender], ['at the end', 'late@example.org']);
});

const hostile = {
    'a header without an end': `Subject: endless\nX: ${'x'.repeat(3_000_000)}`,
    'parts nested a thousand deep': [
        'Subject: deep\nMIME-Version: 1.0\n',
        ...Array.from(
            { length: 1000 },
            (_, i) => `Content-Type: multipart/mixed; boundary=b${i}\n\n--b${i}\n`,
        ),
        'Content-Type: text/plain\n\nat the bottom\n',
    ].join(''),
    'messages nested a hundred deep': `Subject: deep\n${'Content-Type: message/rfc822\n\n'.repeat(100)}\nbottom\n`,
    'HTML nested ten thousand deep': `Subject: deep\nContent-Type: text/html\n\n${'<div><b>'.repeat(10_000)}text`,
    'a subject of encoded words': `Subject: ${'=?utf-8?Q?x?= '.repeat(20_000)}\n\nbody\n`,
    'a subject of beginnings of words': `Subject: ${'=?a?q'.repeat(50_000)}\n\nbody\n`,
    'a hundred thousand recipients': `To: ${'a@b,'.repeat(100_000)}\nSubject: many\n\nbody\n`,
    'an address of brackets and quotes': `From: ${'<"('.repeat(50_000)}\nSubject: x\n\nbody\n`,
    'a sender of blanks': `From: a${' '.repeat(100_000)}b\nSubject: x\n\nbody\n`,
    'ten thousand empty parts': `Subject: parts\nContent-Type: multipart/mixed; boundary=b\n\n${'--b\n\n'.repeat(10_000)}--b--\n`,
    'NUL bytes': Buffer.concat([Buffer.from('Subject: nul\n\n'), Buffer.alloc(100_000)]),
};
for (const [what, content] of Object.entries(hostile)) {
    test(`a message with ${what} is listed and read in time`, { timeout: 60_000 }, async (t) => {
        const home = new Home(t);
        home.mail('cur/1.bad:2,', content, 10);
        home.mail('cur/2.good:2,', message('good', 5), 5);
        const listed = await list(home);
        assert.deepEqual(
            listed.map((one) => one.subject === 'good'),
            [true, false],
        );
        const { content: text } = await home.run('mail_read', String(listed[1].id));
        assert.equal(typeof text, 'string');
    });
}

test('a header cannot be made by a line end that mail does not know', async (t) => {
    const home = new Home(t);
    home.mail(
        'cur/1.a:2,',
        'Subject: one\u2028From: false@example.org\rTo: x@y\nFrom: true@example.org\n\nx\n',
    );
    const [{ sender }] = await list(home);
    assert.equal(sender, 'true@example.org');
});

test('reading changes neither file nor name nor time', async (t) => {
    const home = new Home(t);
    const path = home.mail('new/1.a', message('one', 10), 10);
    const before = statSync(path);
    await home.run('mail_read', String((await list(home))[0].id));
    const after = statSync(path);
    for (const key of ['mtimeMs', 'ctimeMs', 'ino', 'size', 'mode'])
        assert.equal(after[key], before[key], key);
    assert.deepEqual(readdirSync(join(home.data, 'Mail')), ['new']);
});

test(
    'messages renamed, moved and removed while they are listed do no harm',
    { timeout: 60_000 },
    async (t) => {
        const home = new Home(t);
        mkdirSync(join(home.data, 'Mail/cur'), { recursive: true });
        for (let i = 0; i < 1000; i++) home.mail(`new/${i}.a`, message(`m ${i}`, 10 + i));
        const lists = [list(home, '31'), list(home, '31'), list(home, '31')];
        for (let i = 0; i < 1000; i++) {
            const from = join(home.data, `Mail/new/${i}.a`);
            if (i % 4 === 0) rmSync(from);
            else renameSync(from, join(home.data, `Mail/cur/${i}.a:2,S`));
            if (i % 20 === 0) await new Promise((resolve) => setTimeout(resolve, 5));
        }
        for (const listed of lists) {
            const found = await listed;
            assert.equal(found.length, 100);
            assert.equal(new Set(found.map((one) => one.id)).size, 100);
        }
    },
);

test('a message renamed between listing and reading is found by its unique part', async (t) => {
    const home = new Home(t);
    home.mail('new/1.a', message('one', 10));
    mkdirSync(join(home.data, 'Mail/cur'));
    // The specifier is made before the rename that the script waits for.
    const source = `(() => {
        const [m] = Application('Mail').inbox.messages.whose({readStatus: false})();
        const until = Date.now() + 1500;
        while (Date.now() < until);
        return [m.content(), m.readStatus()];
    })()`;
    const reading = home.value(source);
    setTimeout(
        () => renameSync(join(home.data, 'Mail/new/1.a'), join(home.data, 'Mail/cur/1.a:2,S')),
        700,
    );
    assert.deepEqual(await reading, ['Hello.', true]);
});

test('20000 messages are listed within a generous limit', { timeout: 120_000 }, async (t) => {
    const home = new Home(t);
    for (let i = 0; i < 20_000; i++) home.mail(`cur/${i}.a:2,S`, message(`m ${i}`, i * 60), i * 60);
    const listed = await subjects(home, '31', '100');
    assert.deepEqual(
        listed,
        Array.from({ length: 100 }, (_, i) => `m ${i}`),
    );
});

test('a Maildir that another program fills is read', async (t) => {
    const home = new Home(t);
    mkdirSync(home.data, { recursive: true });
    const python = `
import mailbox, sys
from email.message import EmailMessage
box = mailbox.Maildir(sys.argv[1], create=True)
for subject, flags in (('Grüße 1', ''), ('二つ', 'S')):
    m = EmailMessage()
    m['Subject'] = subject
    m['From'] = 'Zoë Ünal <zoe@example.org>'
    m['To'] = 'me@example.org'
    m.set_content('Text – ' + subject)
    m.add_alternative('<p>HTML</p>', subtype='html')
    m.add_attachment(b'bytes', maintype='application', subtype='octet-stream', filename='x.bin')
    m = mailbox.MaildirMessage(m)
    m.set_flags(flags)
    m.set_subdir('cur' if flags else 'new')
    box.add(m)
`;
    execFileSync('python3', ['-c', python, join(home.data, 'Mail')]);
    const listed = await list(home);
    assert.deepEqual(listed.map((one) => [one.subject, one.sender, one.read]).sort(), [
        ['Grüße 1', 'Zoë Ünal <zoe@example.org>', false],
        ['二つ', 'Zoë Ünal <zoe@example.org>', true],
    ]);
    for (const { id, subject } of listed) {
        assert.equal((await home.run('mail_read', String(id))).content, `Text – ${subject}`);
    }
});

for (const text of awkward) {
    test(`a subject and a text are what they are: ${JSON.stringify(text)}`, async (t) => {
        const home = new Home(t);
        const encoded = Buffer.from(text).toString('base64');
        const words = encoded
            .match(/.{1,60}/g)
            .map((part) => `=?utf-8?B?${part}?=`)
            .join('\n ');
        const body = Buffer.from(`${text}\n${text}`).toString('base64');
        const type = 'Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: base64\n';
        home.mail('cur/1.a:2,', `Subject: ${words}\n${type}\n${body}\n`);
        const [{ id, subject }] = await list(home);
        const line = text.replace(/[\p{Cc}\u2028\u2029]+/gu, ' ').replace(/^ +| +$/g, '');
        assert.equal(subject, line);
        assert.equal((await home.run('mail_read', String(id))).content, `${text}\n${text}`);
    });
}

for (const id of ['0', '-1', '9007199254740993', '1e3', 'NaN', '5 or 1']) {
    test(`the number ${id} finds nothing`, async (t) => {
        const home = new Home(t);
        home.mail('cur/1.a:2,', message('one', 10));
        utimesSync(join(home.data, 'Mail/cur/1.a:2,'), 1767600000, 1767600000);
        await assert.rejects(home.run('mail_read', id), /no message with id .* in the inbox/);
    });
}
