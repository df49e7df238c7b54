// Notes over folders of Markdown files.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import {
    chmodSync,
    existsSync,
    mkdirSync,
    readFileSync,
    readdirSync,
    renameSync,
    rmSync,
    statSync,
    symlinkSync,
    utimesSync,
    writeFileSync,
} from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { Home, awkward, exchange, program, script } from './support.mjs';

const search = async (home, query, limit = '30') =>
    (await home.run('notes_search', query, limit)).notes;
const names = async (home, query = '') => (await search(home, query)).map((note) => note.name);
const files = (home, folder = 'Notes') => readdirSync(join(home.data, 'Notes', folder)).sort();

test('where there is no folder of notes nothing is found and nothing is made', async (t) => {
    const home = new Home(t);
    assert.deepEqual(await search(home, 'a'), []);
    assert.equal(existsSync(home.data), false);
});

test('a found note has its identifier, title, folder, date and beginning', async (t) => {
    const home = new Home(t);
    const file = home.note('Work/plan.md', `# The plan\n\n${'x'.repeat(400)}\n`);
    utimesSync(file, 1767600000.5, 1767600000.5);
    assert.deepEqual(await search(home, 'plan'), [
        {
            id: 'note:Work/plan.md',
            name: 'The plan',
            folder: 'Work',
            modified: '2026-01-05T08:00:00.500Z',
            snippet: `The plan\n${'x'.repeat(291)}`,
        },
    ]);
});

test('the latest comes first, and of one time the lesser path', async (t) => {
    const home = new Home(t);
    home.note('B/old.md', 'old', 500);
    home.note('A/new.md', 'new', 100);
    for (const path of ['B/same.md', 'A/same b.md', 'A/same a.md', 'A/sameé.md']) {
        utimesSync(home.note(path, path), 1767600000, 1767600000);
    }
    const expected = ['new', 'old', 'A/same a.md', 'A/same b.md', 'A/sameé.md', 'B/same.md'];
    assert.deepEqual(await names(home), expected);
});

test('the limit is kept', async (t) => {
    const home = new Home(t);
    for (let i = 0; i < 40; i++) home.note(`A/${i}.md`, `note ${i}`, i);
    assert.equal((await search(home, 'note', '30')).length, 30);
    assert.deepEqual(
        (await search(home, 'note', '1')).map((note) => note.name),
        ['note 0'],
    );
});

test('case and diacritics of a query do not count', async (t) => {
    const home = new Home(t);
    home.note('A/a.md', '# Crème Brûlée\n\nStraße\n');
    for (const query of ['creme brulee', 'CRÈME', 'strasse']) {
        assert.deepEqual(await names(home, query), ['Crème Brûlée'], query);
    }
    assert.deepEqual(await names(home, 'creme brulees'), []);
});

test('marks are not found, text between them is', async (t) => {
    const home = new Home(t);
    home.note('A/a.md', '# T\n\nthis is **very** important, [see](https://x.example)\n');
    assert.deepEqual(await names(home, 'is **very'), []);
    assert.deepEqual(await names(home, 'is very important, see'), ['T']);
    assert.deepEqual(await names(home, '**'), []);
});

test('hidden files and folders, other endings and files in no folder are passed over', async (t) => {
    const home = new Home(t);
    for (const path of [
        'A/.hidden.md',
        '.git/a.md',
        'A/a.html',
        'A/a.md~',
        'top.md',
        'A/sub/a.md',
    ]) {
        home.note(path, 'no');
    }
    home.note('A/yes.MD', 'yes');
    home.note('A/also.txt', 'also', 10);
    assert.deepEqual(await names(home), ['yes', 'also']);
});

test('a folder and a note may be symbolic links', async (t) => {
    const home = new Home(t);
    home.write('../elsewhere/a.md', 'linked folder', 10);
    home.write('../other.md', 'linked note', 20);
    mkdirSync(join(home.data, 'Notes/Real'), { recursive: true });
    symlinkSync(join(home.data, '../elsewhere'), join(home.data, 'Notes/Link'));
    symlinkSync(join(home.data, '../other.md'), join(home.data, 'Notes/Real/b.md'));
    symlinkSync('/nonexistent', join(home.data, 'Notes/Dangling'));
    assert.deepEqual(await names(home), ['linked folder', 'linked note']);
    assert.deepEqual(await home.run('notes_create', 'New', 'b', 'Link'), { created: true });
    assert.ok(existsSync(join(home.data, '../elsewhere/New.md')));
});

test('what is no readable file does not hide the others', { timeout: 30_000 }, async (t) => {
    const home = new Home(t);
    home.note('A/good.md', 'good');
    execFileSync('mkfifo', [join(home.data, 'Notes/A/pipe.md')]);
    mkdirSync(join(home.data, 'Notes/A/folder.md'));
    symlinkSync('/nonexistent', join(home.data, 'Notes/A/dangling.md'));
    symlinkSync('/dev/zero', join(home.data, 'Notes/A/device.md'));
    chmodSync(home.note('A/secret.md', 'secret', 10), 0);
    home.note('A/bytes.md', Buffer.from([0x23, 0x20, 0xff, 0xfe, 0x0a, 0x80]), 20);
    const found = await names(home);
    assert.equal(found[0], 'good');
    assert.equal(found.length, 3);
    assert.deepEqual(await names(home, 'good'), ['good']);
});

test('names that are no text have identifiers of their own', async (t) => {
    const home = new Home(t);
    home.note('A/a.md', 'text');
    for (const byte of [0xfe, 0xff]) {
        const path = Buffer.concat([
            Buffer.from(`${home.data}/Notes/A/`),
            Buffer.from([byte]),
            Buffer.from('.md'),
        ]);
        writeFileSync(path, 'bytes');
    }
    home.note('A/50% a\nb.md', 'percent');
    const ids = (await search(home, '')).map((note) => note.id).sort();
    assert.deepEqual(ids, [
        'note:A/%fe.md',
        'note:A/%ff.md',
        'note:A/50%25 a%0ab.md',
        'note:A/a.md',
    ]);
});

test('an identifier stays over edits', async (t) => {
    const home = new Home(t);
    home.note('A/a.md', '# one\n', 100);
    const [{ id }] = await search(home, 'one');
    home.note('A/a.md', '# two\n\nlonger\n');
    assert.equal((await search(home, 'two'))[0].id, id);
});

test('a new note is a Markdown file with title, blank line and lines', async (t) => {
    const home = new Home(t);
    const result = await home.run(
        'notes_create',
        'Shopping & <more>',
        'milk\n\n- eggs\n  indented',
        '',
    );
    assert.deepEqual(result, { created: true });
    assert.deepEqual(files(home), ['Shopping & <more>.md']);
    const text = readFileSync(join(home.data, 'Notes/Notes/Shopping & <more>.md'), 'utf8');
    assert.equal(text, '# Shopping & \\<more>\n\nmilk\n\n- eggs\n  indented\n');
});

test('without a folder a note goes to Notes, else to the first folder', async (t) => {
    const home = new Home(t);
    mkdirSync(join(home.data, 'Notes/Zoo'), { recursive: true });
    mkdirSync(join(home.data, 'Notes/Home'));
    await home.run('notes_create', 'one', 'b', '');
    assert.deepEqual(files(home, 'Home'), ['one.md']);
    mkdirSync(join(home.data, 'Notes/Notes'));
    await home.run('notes_create', 'two', 'b', '');
    assert.deepEqual(files(home, 'Notes'), ['two.md']);
});

test('a folder is found by its exact name, however its letters are composed', async (t) => {
    const home = new Home(t);
    mkdirSync(join(home.data, 'Notes', 'Café'.normalize('NFD')), { recursive: true });
    await home.run('notes_create', 'one', 'b', 'Café'.normalize('NFC'));
    assert.deepEqual(files(home, 'Café'.normalize('NFD')), ['one.md']);
    await assert.rejects(
        home.run('notes_create', 'one', 'b', 'café'),
        /no Notes folder named café \(-2700\)/,
    );
});

test('a folder that does not exist is an error, and nothing is made', async (t) => {
    const home = new Home(t);
    const expected =
        /^Error: execution error: Error: Error: no Notes folder named \.\.\/x \(-2700\)\n$/;
    await assert.rejects(home.run('notes_create', 'one', 'b', '../x'), expected);
    assert.equal(existsSync(home.data), false);
});

test('notes of one title are files of their own, and none is replaced', async (t) => {
    const home = new Home(t);
    home.note('Notes/Same.md', 'mine');
    for (const body of ['one', 'two', 'three']) await home.run('notes_create', 'Same', body, '');
    assert.deepEqual(files(home), ['Same 2.md', 'Same 3.md', 'Same 4.md', 'Same.md']);
    assert.equal(readFileSync(join(home.data, 'Notes/Notes/Same.md'), 'utf8'), 'mine');
});

test('twenty notes of one title made at once are twenty files', { timeout: 120_000 }, async (t) => {
    const home = new Home(t);
    mkdirSync(join(home.data, 'Notes/Notes'), { recursive: true });
    await Promise.all(
        Array.from({ length: 20 }, (_, i) => home.run('notes_create', 'Same', `body ${i}`, '')),
    );
    assert.equal(files(home).length, 20);
    const bodies = files(home).map((file) =>
        readFileSync(join(home.data, 'Notes/Notes', file), 'utf8'),
    );
    assert.equal(new Set(bodies).size, 20);
});

const titles = {
    'a/b\\c': 'a b\\c.md',
    '...hidden': 'hidden.md',
    '../../etc/passwd': 'etc passwd.md',
    'trailing. . ': 'trailing.md',
    '...': 'Note.md',
    'tab\tand\u0007bell': 'tab and bell.md',
    'two\nlines': 'two lines.md',
    '\u202egnp.exe': 'gnp.exe.md',
    '👩‍👩‍👧': '👩‍👩‍👧.md',
};
for (const [title, file] of Object.entries(titles)) {
    test(`the title ${JSON.stringify(title)} is kept in the file ${file}`, async (t) => {
        const home = new Home(t);
        await home.run('notes_create', title, 'body', '');
        assert.deepEqual(files(home), [file]);
        assert.deepEqual(await names(home, 'body'), [title]);
    });
}

for (const [what, one] of Object.entries({ ascii: 'a', umlaut: 'ü', kanji: '漢', emoji: '👍🏽' })) {
    test(`a long title of ${what} gives a file name of whole characters`, async (t) => {
        const home = new Home(t);
        const title = one.repeat(300);
        await home.run('notes_create', title, 'body', '');
        await home.run('notes_create', title, 'body', '');
        for (const file of files(home)) {
            assert.ok(Buffer.byteLength(file) <= 255);
            assert.match(file, new RegExp(`^(?:${one})+( 2)?\\.md$`, 'u'));
        }
        assert.equal((await search(home, title)).length, 2);
    });
}

/** Creates a note and gives back its title and text as a search shows them. */
async function roundTrip(t, title, body) {
    const home = new Home(t);
    assert.deepEqual(await home.run('notes_create', title, body, ''), { created: true });
    return home.value(
        "(() => { const [n] = Application('Notes').notes(); return [n.name(), n.plaintext()] })()",
    );
}

for (const text of awkward) {
    test(`a note comes back as it was given: ${JSON.stringify(text)}`, async (t) => {
        const title = text.trim();
        const body = `${text}\n\n${awkward.join('\n')}\r\n${text}`;
        assert.deepEqual(await roundTrip(t, title, body), [title, `${title}\n${body}`]);
    });
    test(`a note is found by its own text: ${JSON.stringify(text)}`, async (t) => {
        const home = new Home(t);
        await home.run('notes_create', 'title', `before\n${text}\nafter`, '');
        await home.run('notes_create', 'another', 'nothing of it', '');
        assert.deepEqual(await names(home, text), ['title']);
    });
}

test('a text of 100 KB comes back as it was given', async (t) => {
    const body = awkward
        .join('\n')
        .repeat(400)
        .slice(0, 100_000)
        .replace(/[\ud800-\udbff]$/, '');
    const long = Buffer.from(body)
        .subarray(0, 131_071)
        .toString()
        .replace(/\ufffd+$/, '');
    assert.deepEqual(await roundTrip(t, 'Long', long), ['Long', `Long\n${long}`]);
});

test('the file is whole and flushed before it has its name', async (t) => {
    const home = new Home(t);
    home.note('Notes/a.md', 'a');
    const log = join(home.path, 'trace');
    const calls = 'openat,write,pwrite64,fsync,link,linkat,rename,unlink';
    const given = [
        '-f',
        '-o',
        log,
        '-e',
        `trace=${calls}`,
        program,
        '-l',
        'JavaScript',
        '-e',
        script('notes_create'),
    ];
    const { status, errors } = await exchange(
        'strace',
        { env: home.environment },
        ...given,
        'Title',
        'b',
        '',
    ).catch((error) => ({ status: -1, errors: String(error) }));
    if (status === -1) return t.skip(`strace cannot be run: ${errors}`);
    const lines = readFileSync(log, 'utf8')
        .split('\n')
        .filter((line) => line.includes(' = '));
    const at = (pattern) => lines.findIndex((line) => pattern.test(line));
    const opened = at(/openat\(.*(O_TMPFILE|"\.[^"]+".*O_EXCL)/);
    const linked = at(/link(at)?\(.*"Title\.md"/);
    const flushes = lines.flatMap((line, i) => (/fsync\(/.test(line) ? [i] : []));
    assert.ok(opened >= 0 && linked > opened, 'opened, then linked');
    assert.ok(
        flushes.some((i) => i > opened && i < linked),
        'the file is flushed before it is linked',
    );
    assert.ok(
        flushes.some((i) => i > linked),
        'the folder is flushed after it',
    );
    assert.deepEqual(files(home), ['Title.md', 'a.md']);
});

test('a folder that cannot be written gives an error and leaves nothing', async (t) => {
    if (process.getuid() === 0) return t.skip('root may write everywhere');
    const home = new Home(t);
    home.note('Notes/a.md', 'a');
    chmodSync(join(home.data, 'Notes/Notes'), 0o500);
    await assert.rejects(home.run('notes_create', 'T', 'b', ''), /Permission denied/);
    assert.deepEqual(files(home), ['a.md']);
});

test('a folder that is a file gives an error that says why', async (t) => {
    const home = new Home(t);
    home.write('Notes', 'a file');
    await assert.rejects(
        home.run('notes_create', 'T', 'b', ''),
        /execution error: Error: Error: .*Not a directory/,
    );
});

test('a link that leads nowhere is an error, not an empty folder', async (t) => {
    const home = new Home(t);
    mkdirSync(home.data, { recursive: true });
    symlinkSync('/nonexistent/notes', join(home.data, 'Notes'));
    const expected = /execution error: Error: Error: cannot read .*Notes: No such file/;
    await assert.rejects(search(home, 'x'), expected);
    await assert.rejects(home.run('notes_create', 'T', 'b', ''), expected);
});

test('a search changes nothing', async (t) => {
    const home = new Home(t);
    const file = home.note('A/a.md', '# one\n', 1000);
    const before = statSync(file);
    await search(home, 'one');
    const after = statSync(file);
    assert.deepEqual(
        [after.mtimeMs, after.ctimeMs, after.ino],
        [before.mtimeMs, before.ctimeMs, before.ino],
    );
    assert.deepEqual(files(home, 'A'), ['a.md']);
});

test('notes moved or removed while they are listed do no harm', { timeout: 60_000 }, async (t) => {
    const home = new Home(t);
    for (let i = 0; i < 500; i++) home.note(`A/${i}.md`, `# note ${i}\n`);
    const listing = search(home, 'note');
    for (let i = 0; i < 250; i++) {
        if (i % 2) rmSync(join(home.data, `Notes/A/${i}.md`));
        else
            renameSync(
                join(home.data, `Notes/A/${i}.md`),
                join(home.data, `Notes/A/moved ${i}.md`),
            );
        if (i % 25 === 0) await new Promise((resolve) => setTimeout(resolve, 4));
    }
    assert.equal((await listing).length, 30);
});
