// Drafts: what is written, and that other programs read it so.

import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import {
    existsSync,
    mkdirSync,
    readFileSync,
    readdirSync,
    statSync,
    symlinkSync,
    writeFileSync,
} from 'node:fs';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { test } from 'node:test';
import { Home, awkward, exchange, program, root, script } from './support.mjs';

const require = createRequire(join(root, 'tests/end_to_end/package.json'));
const { simpleParser } = require('mailparser');

const folder = (home) => join(home.data, 'Mail/.Drafts');

/** The one draft of a home: its bytes and its path. */
function onlyDraft(home) {
    const [name, ...others] = readdirSync(join(folder(home), 'cur'));
    assert.deepEqual(others, []);
    const path = join(folder(home), 'cur', name);
    return { name, path, bytes: readFileSync(path) };
}

async function draft(
    t,
    { to = ['a@example.org'], cc = [], subject = 'Subject', body = 'Body', email = '', sent = {} },
) {
    const home = new Home(t);
    home.variables.EMAIL = email;
    for (const [name, from] of Object.entries(sent)) {
        home.mail(`.Sent/cur/${name}:2,S`, `From: ${from}\nSubject: s\n\nFrom: x@example.org\n`);
    }
    const given = [JSON.stringify(to), JSON.stringify(cc), subject, body];
    assert.deepEqual(await home.run('mail_create_draft', ...given), { saved_as_draft: true });
    return { home, ...onlyDraft(home) };
}

const header = (bytes) => bytes.toString().split('\n\n', 1)[0];
const fields = (bytes) =>
    header(bytes)
        .split(/\n(?![ \t])/)
        .map((line) => line.split(':')[0]);

const readWithPython = `
import sys, json, email, email.policy
m = email.message_from_binary_file(open(sys.argv[1], 'rb'), policy=email.policy.default)
print(json.dumps([m['subject'], str(m['to']), m.get_content()]))
`;

test('a draft is one message among the drafts, marked as draft and seen, for its owner alone', async (t) => {
    const { home, name, path } = await draft(t, {});
    assert.match(name, /^\d+\.M\d+P\d+R[0-9a-f]+\.[\w.-]+:2,DS$/);
    assert.equal(statSync(path).mode & 0o777, 0o600);
    assert.deepEqual(readdirSync(folder(home)).sort(), ['cur', 'maildirfolder', 'new', 'tmp']);
    assert.deepEqual(readdirSync(join(folder(home), 'tmp')), []);
    assert.deepEqual(readdirSync(join(home.data, 'Mail')).sort(), ['.Drafts', 'cur', 'new', 'tmp']);
});

test('its header has what a draft needs, and neither From nor Bcc', async (t) => {
    const { bytes } = await draft(t, { cc: ['c@example.org'] });
    assert.deepEqual(fields(bytes), [
        'Date',
        'Message-ID',
        'To',
        'Cc',
        'Subject',
        'MIME-Version',
        'Content-Type',
        'Content-Transfer-Encoding',
    ]);
    assert.ok(!bytes.includes('\r'));
    const { date, messageId } = await simpleParser(bytes);
    assert.ok(Math.abs(date.getTime() - Date.now()) < 60_000);
    assert.match(messageId, /^<[\w.-]+@[\w.-]+>$/);
});

for (const [what, given, from] of [
    ['the variable EMAIL', { email: 'Zoë <zoe@example.org>' }, ['Zoë', 'zoe@example.org']],
    ['a bare address in EMAIL', { email: 'zoe@example.org' }, ['', 'zoe@example.org']],
    [
        'EMAIL before the sent messages',
        { email: 'zoe@example.org', sent: { 1: 'other@example.org' } },
        ['', 'zoe@example.org'],
    ],
    [
        'the only address of the sent messages',
        { sent: { 1: 'zoe@EXAMPLE.org', 2: '=?utf-8?Q?Zo=C3=AB?= <zoe@example.org>' } },
        ['Zoë', 'zoe@example.org'],
    ],
    [
        'the sent messages if EMAIL is no address',
        { email: 'a@b\nBcc: victim@example.org', sent: { 1: 'zoe@example.org' } },
        ['', 'zoe@example.org'],
    ],
]) {
    test(`a draft is from ${what}`, async (t) => {
        const { bytes } = await draft(t, given);
        const parsed = await simpleParser(bytes);
        const [{ name, address }] = parsed.from.value;
        assert.deepEqual([parsed.from.value.length, name, address], [1, ...from]);
        assert.equal(parsed.bcc, undefined);
    });
}

for (const [what, given] of [
    ['nothing names its sender', {}],
    ['EMAIL names two', { email: 'a@example.org, b@example.org' }],
    ['the sent messages are from two', { sent: { 1: 'a@example.org', 2: 'b@example.org' } }],
]) {
    test(`a draft has no From if ${what}`, async (t) => {
        const { bytes } = await draft(t, given);
        assert.ok(!fields(bytes).includes('From'));
    });
}

test('a draft is not in the inbox', async (t) => {
    const { home } = await draft(t, {});
    assert.deepEqual(await home.run('mail_list', '3', '20', 'false'), { messages: [] });
});

test('drafts saved at once are files of their own', { timeout: 60_000 }, async (t) => {
    const home = new Home(t);
    const one = () => home.run('mail_create_draft', '["a@b"]', '[]', 's', 'b');
    await Promise.all(Array.from({ length: 12 }, one));
    assert.equal(readdirSync(join(folder(home), 'cur')).length, 12);
});

test('a Maildir that is there is used, also through a link, and left as it is', async (t) => {
    const home = new Home(t);
    home.write('../other/.Drafts/cur/1.a:2,D', 'mine');
    home.write('../other/.Drafts/maildirfolder', 'mine');
    mkdirSync(home.data, { recursive: true });
    symlinkSync('../other', join(home.data, 'Mail'));
    await home.run('mail_create_draft', '["a@b"]', '[]', 's', 'b');
    assert.equal(readdirSync(join(home.data, '../other/.Drafts/cur')).length, 2);
    assert.equal(readFileSync(join(home.data, '../other/.Drafts/maildirfolder'), 'utf8'), 'mine');
});

test('a Maildir that cannot be made is an error that says why', async (t) => {
    const home = new Home(t);
    home.write('Mail', 'a file');
    const saving = home.run('mail_create_draft', '["a@b"]', '[]', 's', 'b');
    await assert.rejects(saving, /execution error: Error: Error: the draft cannot be saved: Not a directory/);
});

test('a second save of one message is refused', async (t) => {
    const home = new Home(t);
    const source =
        "const m = Application('Mail').OutgoingMessage({subject: 'x'}); m.save(); m.save()";
    const { errors } = await home.evaluate(source);
    assert.match(errors, /already been saved/);
    onlyDraft(home);
});

test('no other program is started, and no socket is opened', async (t) => {
    const home = new Home(t);
    const log = join(home.path, 'trace');
    const traced = spawnSync('strace', ['-V']).status === 0;
    if (!traced) return t.skip('strace is not installed');
    const traces = ['-f', '-o', log, '-e', 'trace=execve,socket,connect'];
    const started = [program, '-l', 'JavaScript', '-e', script('mail_create_draft')];
    home.variables.EMAIL = 'zoe@example.org';
    const options = { env: home.environment };
    await exchange('strace', options, ...traces, ...started, '["a@b"]', '[]', 's', 'b');
    const calls = readFileSync(log, 'utf8');
    onlyDraft(home);
    assert.equal(calls.match(/execve\(/g).length, 1, calls);
    assert.doesNotMatch(calls, /(socket|connect)\(/);
});

const bodies = [
    'trailing blanks  \t\n  leading ones',
    'From here\n>From there\n.\n..dots\nFrom  \n',
    'a lone \r and a line\r\nend',
    '=3D =\n= =20 soft=\n',
    '\n\nblank lines first',
    `${'long '.repeat(500)}${'x'.repeat(5000)}`,
    `${'ü'.repeat(999)}😀${'漢'.repeat(999)}`,
    '--boundary\n--boundary--\nContent-Type: text/html',
    'control \u0001 \u001b[31m characters',
];
for (const body of [...bodies, ...awkward, awkward.join('\n').repeat(100)]) {
    test(`a text comes back: ${JSON.stringify(body.slice(0, 60))}`, async (t) => {
        const { home, path, bytes } = await draft(t, { body });
        const lines = body.replace(/\r\n/g, '\n');
        const decoded = execFileSync('python3', [
            '-c',
            'import sys, email; sys.stdout.buffer.write(email.message_from_binary_file(open(sys.argv[1], "rb")).get_payload(decode=True))',
            path,
        ]);
        assert.equal(decoded.toString(), `${lines}\n`);
        for (const line of bytes.toString().split('\n')) assert.ok(line.length <= 78, line);
        // And by the reader of messages here, when another program has moved it to the inbox.
        home.mail('cur/1.a:2,', bytes);
        const content = await home.value("Application('Mail').inbox.messages[0].content()");
        assert.equal(content, lines.replace(/\r/g, '\n').replace(/\n+$/, ''));
    });
}

test('a text of 100 KB comes back', async (t) => {
    const body = `${'Zeile mit Umlaut: ä\n'.repeat(4900)}Ende`;
    const { bytes } = await draft(t, { body });
    assert.equal((await simpleParser(bytes)).text, body + '\n');
});

const subjects = [
    ...awkward,
    'two  blanks  and a line that is long enough to be folded  somewhere in  the middle of it',
    '=?utf-8?Q?not_decoded?=',
    'x'.repeat(2000),
    'ü'.repeat(300),
    '😀'.repeat(100),
    'a=?b',
    'Re: Fwd: [list] (x)',
];
for (const subject of subjects) {
    test(`a subject comes back: ${JSON.stringify(subject.slice(0, 60))}`, async (t) => {
        const { home, path, bytes } = await draft(t, { subject: subject.trim() });
        const line = subject.trim().replace(/[\p{Cc}\u2028\u2029]+/gu, ' ');
        const [python] = JSON.parse(
            execFileSync('python3', ['-c', readWithPython, path], { encoding: 'utf8' }),
        );
        assert.equal(python, line);
        home.mail('cur/1.a:2,', bytes);
        assert.equal(
            await home.value("Application('Mail').inbox.messages[0].subject()"),
            line.trim(),
        );
        assert.equal((await simpleParser(bytes)).subject.trim(), line.trim());
    });
}

const evil = [
    'a@example.org\r\nBcc: victim@example.org',
    'a@example.org\nBcc: victim@example.org',
    'a@example.org\rBcc: victim@example.org',
    'a@example.org\r\n\r\n<html>',
    'a@example.org\u2028Bcc: v@example.org',
    '\r\n\r\n',
    'a\0b@example.org',
    'é@example.org\r\nBcc: victim@example.org',
    '"a\r\nBcc: v@example.org" <x@example.org>',
];
for (const text of evil) {
    test(`no text makes a header: ${JSON.stringify(text)}`, async (t) => {
        const usual = fields((await draft(t, { cc: ['c@example.org'] })).bytes);
        for (const given of [
            { to: [text], cc: ['c'] },
            { cc: [text] },
            { cc: ['c'], subject: `x${text}` },
        ]) {
            // A NUL cannot be an argument, but JSON can hold one.
            if (given.subject?.includes('\0')) continue;
            const { bytes } = await draft(t, given);
            assert.deepEqual(fields(bytes), usual);
            const parsed = await simpleParser(bytes);
            assert.equal(parsed.bcc, undefined);
            assert.equal(parsed.text, 'Body\n');
        }
    });
}

const people = [
    ['plain@example.org', '', 'plain@example.org'],
    ['Ana <ana@example.org>', 'Ana', 'ana@example.org'],
    ['"Berg, Ana" <ana@example.org>', 'Berg, Ana', 'ana@example.org'],
    ['Ana Ünal <ana@example.org>', 'Ana Ünal', 'ana@example.org'],
    ['"Ünal, Ana" <ana@example.org>', 'Ünal, Ana', 'ana@example.org'],
    ['山田 <taro@example.jp>', '山田', 'taro@example.jp'],
    ['zoë@bücher.example', '', 'zoë@bücher.example'],
];
for (const [given, name, address] of people) {
    test(`the recipient ${given} is read as it was given`, async (t) => {
        const { home, bytes } = await draft(t, { to: [given, 'last@example.org'] });
        home.mail('cur/1.a:2,', bytes);
        const read =
            "Application('Mail').inbox.messages[0].toRecipients().map(r => [r.name(), r.address()])";
        assert.deepEqual(await home.value(read), [
            [name, address],
            ['', 'last@example.org'],
        ]);
        const { to } = await simpleParser(bytes);
        assert.deepEqual([to.value[0].name, to.value.at(-1).address], [name, 'last@example.org']);
    });
}

for (const given of [
    '@',
    'nobody',
    'Únnamed',
    '"open',
    'open (comment',
    '<a@b',
    'a@b>c',
    'Ü "',
    'x:',
    ';@',
    '',
]) {
    test(`${JSON.stringify(given)} is kept and swallows nobody`, async (t) => {
        const { home, bytes } = await draft(t, { cc: [given, 'last@example.org'] });
        home.mail('cur/1.a:2,', bytes);
        const read = "Application('Mail').inbox.messages[0].ccRecipients().map(r => r.address())";
        const found = await home.value(read);
        assert.equal(found.at(-1), 'last@example.org');
        const { cc } = await simpleParser(bytes);
        assert.equal(cc.value.at(-1).address, 'last@example.org');
        if (/^\p{L}+$/u.test(given)) assert.equal(found[0], given);
    });
}

test('two hundred recipients are all there, in their order', async (t) => {
    const to = Array.from({ length: 200 }, (_, i) => `Person Nº ${i} <p${i}@example.org>`);
    const { bytes } = await draft(t, { to });
    const found = (await simpleParser(bytes)).to.value.map((one) => `${one.name} <${one.address}>`);
    assert.deepEqual(found, to);
});

test('a recipient may be given a name of its own', async (t) => {
    const home = new Home(t);
    await home.evaluate(`const Mail = Application('Mail');
        const m = Mail.OutgoingMessage({subject: 's', content: 'c'});
        m.toRecipients.push(Mail.ToRecipient({name: 'Berg, "Ana"', address: 'ana@example.org'}));
        m.save()`);
    const { to } = await simpleParser(onlyDraft(home).bytes);
    assert.deepEqual([to.value[0].name, to.value[0].address], ['Berg, "Ana"', 'ana@example.org']);
});

const has = (program) => spawnSync('which', [program]).status === 0;

/** Runs mutt on the Maildir of a home as in a terminal, with more settings. It does not know its user. */
function mutt(home, settings, ...given) {
    const rc = join(home.path, 'rc');
    const usual = `set mbox_type=Maildir folder="${join(home.data, 'Mail')}" charset=utf-8`;
    writeFileSync(rc, `${usual} send_charset=utf-8\n${settings}\n`);
    const line = ['mutt', '-n', '-F', rc, ...given].map((one) => `"${one}"`).join(' ');
    // A terminal made by `script` has no size, and newer programs do not start in it.
    spawnSync('script', ['-qec', `stty rows 24 cols 80; ${line}`, '/dev/null'], {
        env: { ...home.environment, EMAIL: '', TERM: 'xterm', LANG: 'C.UTF-8', LC_ALL: 'C.UTF-8' },
        timeout: 20_000,
        input: '',
    });
}

test(
    'mutt lists the draft with its subject and recipient',
    { skip: !has('mutt') && 'mutt is not installed' },
    async (t) => {
        const { home } = await draft(t, {
            to: ['Ana Ünal <ana@example.org>'],
            subject: 'Grüße 🌍',
            body: 'Zeile – eins',
        });
        const out = join(home.path, 'seen');
        // Batch mode needs a command line: pipe each message, decoded, into a file and leave.
        const pushed = `push "<pipe-message>cat >'${out}'<enter><exit>"`;
        mutt(home, `set pipe_decode=yes wait_key=no\n${pushed}`, '-R', '-f', folder(home));
        assert.ok(existsSync(out), 'mutt has read the message');
        const text = readFileSync(out, 'utf8');
        for (const part of [
            'Subject: Grüße 🌍',
            'To: Ana Ünal <ana@example.org>',
            'Zeile – eins',
        ]) {
            assert.ok(text.includes(part), `${part} in ${text}`);
        }
    },
);

for (const [what, given, from] of [
    ['from EMAIL', { email: 'Zoë Ünal <zoe@example.org>' }, 'Zoë Ünal <zoe@example.org>'],
    ['from the sent messages', { sent: { 1: 'zoe@example.org' } }, 'zoe@example.org'],
    ['without a sender', {}, undefined],
]) {
    test(
        `mutt recalls a draft and sends it: ${what}`,
        { skip: !has('mutt') && 'mutt is not installed' },
        async (t) => {
            const { home } = await draft(t, {
                to: ['Ana Ünal <ana@example.org>', 'b@example.org'],
                cc: ['山田 <taro@example.jp>'],
                subject: 'Grüße 🌍',
                body: 'Zeile – eins\n\nFrom zwei  ',
                ...given,
            });
            const sendmail = join(home.path, 'sendmail');
            const sent = join(home.path, 'sent');
            const keep = `printf '%s\\n' "$@" >"${sent}.arguments"; cat >"${sent}"`;
            writeFileSync(sendmail, `#!/bin/sh\n${keep}\n`, { mode: 0o700 });
            const settings = `set sendmail="${sendmail}" sendmail_wait=20 copy=no
set postponed="+.Drafts" editor=true abort_unmodified=no
send2-hook . "push <send-message>"`;
            mutt(home, settings, '-p');
            assert.ok(existsSync(sent), 'mutt has sent the message');
            const [, ...recipients] = readFileSync(`${sent}.arguments`, 'utf8').trim().split('\n');
            assert.deepEqual(recipients, ['ana@example.org', 'b@example.org', 'taro@example.jp']);
            const bytes = readFileSync(sent);
            const names = fields(bytes);
            assert.ok(!names.some((name) => /^(X-|Bcc$)/i.test(name)), names.join());
            const parsed = await simpleParser(bytes);
            const people = [parsed.from, parsed.to, parsed.cc].map((one) =>
                one?.text.replaceAll('"', ''),
            );
            const to = 'Ana Ünal <ana@example.org>, b@example.org';
            assert.deepEqual(people, [from, to, '山田 <taro@example.jp>']);
            assert.equal(parsed.subject, 'Grüße 🌍');
            assert.equal(parsed.text, 'Zeile – eins\n\nFrom zwei  \n');
            assert.deepEqual(readdirSync(join(folder(home), 'cur')), []); // mutt took it away
        },
    );
}

test(
    'notmuch shows the draft with its headers and text',
    { skip: !has('notmuch') && 'notmuch is not installed' },
    async (t) => {
        const { home } = await draft(t, {
            cc: ['山田 <taro@example.jp>'],
            subject: 'Grüße 🌍',
            body: 'Zeile – eins\n\nzwei',
        });
        const config = join(home.path, 'notmuch-config');
        writeFileSync(
            config,
            `[database]\npath=${join(home.data, 'Mail')}\n[user]\nname=x\nprimary_email=x@example.org\n`,
        );
        const env = { ...home.environment, NOTMUCH_CONFIG: config };
        execFileSync('notmuch', ['new', '--quiet'], { env });
        const shown = JSON.parse(
            execFileSync('notmuch', ['show', '--format=json', '--entire-thread=false', '*'], {
                env,
                encoding: 'utf8',
            }),
        );
        const [[[message]]] = shown;
        assert.equal(message.headers.Subject, 'Grüße 🌍');
        assert.equal(message.headers.Cc, '山田 <taro@example.jp>');
        assert.equal(message.body[0].content, 'Zeile – eins\n\nzwei\n');
        assert.ok(message.tags.includes('draft'));
    },
);
