// The notes belong to the user: the server writes plain Markdown, and finds what an editor writes.

import assert from 'node:assert/strict';
import { appendFile, readFile, stat } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { clients, Session } from './support/clients.mjs';
import { Home } from './support/home.mjs';
import { assertSame, awkward, longest, textOf, tooLong } from './support/texts.mjs';

const deadline = { timeout: 60_000 };

/** A home with a host that says yes, and a session in it. */
async function begin(t) {
    const home = await Home.make(t);
    const host = await home.startHost('--yes');
    const session = await Session.open(clients[0], home);
    return {
        home,
        host,
        create: (title, body, more = {}) => session.call('notes_create', { title, body, ...more }),
        search: async (query, limit = 30) => (await session.payload('notes_search', { query, limit })).notes,
        session,
    };
}

const created = { content: [{ type: 'text', text: '{"created":true}' }], isError: false };
const failure = (text) => ({ content: [{ type: 'text', text }], isError: true });
const names = (notes) => notes.map((note) => note.name);

/** New notes: title and text, and the file that each becomes. */
const files = [
    {
        title: 'Shopping list',
        body: 'milk\n\n- eggs\n  - brown\n1. tea',
        file: 'Shopping list.md',
        markdown: '# Shopping list\n\nmilk\n\n- eggs\n  - brown\n1. tea\n',
    },
    {
        title: `"Double" 'single' \\ back`,
        body: `"a" 'b' \\ c\n\\n is no line end`,
        file: `"Double" 'single' \\ back.md`,
        markdown: `# "Double" 'single' \\ back\n\n"a" 'b' \\ c\n\\n is no line end\n`,
    },
    {
        title: '</h1> ${x} & more',
        body: '</h1><h1>none</h1>\n${process.exit(1)} $(id)\n*not* emphasis',
        file: '< h1> ${x} & more.md',
        markdown:
            '# \\</h1> ${x} & more\n\n\\</h1>\\<h1>none\\</h1>\n${process.exit(1)} $(id)\n\\*not\\* emphasis\n',
    },
    {
        title: '👩‍👩‍👧 Käse',
        body: '🇩🇪 e\u0301\n\u200fשלום\u200f \u202eabc\u202c',
        file: '👩‍👩‍👧 Käse.md',
        markdown: '# 👩‍👩‍👧 Käse\n\n🇩🇪 e\u0301\n\u200fשלום\u200f \u202eabc\u202c\n',
    },
    {
        title: '../../.hidden',
        body: '# no heading',
        file: 'hidden.md',
        markdown: '# ../../.hidden\n\n\\# no heading\n',
    },
];

test('a new note is a Markdown file, to the byte, and is found by all its text', deadline, async (t) => {
    const { home, host, create, search } = await begin(t);
    for (const { title, body, file, markdown } of files) {
        assert.deepEqual(await create(title, body), created);
        assert.equal(await host.next(), `allowed notes_create: ${title}`);
        const path = join(home.velmiro, 'Notes/Notes', file);
        assert.equal(await readFile(path, 'utf8'), markdown);
        const note = {
            id: `note:Notes/${file}`,
            name: title,
            folder: 'Notes',
            modified: (await stat(path)).mtime.toISOString(),
            snippet: `${title}\n${body}`,
        };
        assert.deepEqual(await search(body), [note]);
        assert.deepEqual(await search(title), [note]);
    }
    assert.deepEqual(await home.fileNames('Notes'), files.map(({ file }) => `Notes/${file}`).sort());
});

test('texts are data wherever they occur', deadline, async (t) => {
    const { home, create, search } = await begin(t);
    const body = awkward.join('\n');
    for (const title of awkward) assert.deepEqual(await create(title, body, { folder: ' ' }), created);
    assert.deepEqual(names(await search(body)).sort(), [...awkward].sort());
    for (const title of awkward) {
        const found = await search(`${title}\n${body}`);
        assert.deepEqual(names(found), [title]);
        assert.equal(found[0].snippet, `${title}\n${body}`.slice(0, 300));
    }
    const before = await home.snapshot();
    for (const folder of awkward) {
        const expected = failure(`execution error: Error: Error: no Notes folder named ${folder} (-2700)`);
        assert.deepEqual(await create('t', 'b', { folder }), expected);
    }
    assert.deepEqual(await home.snapshot(), before);
});

test('texts as long as Linux takes them arrive whole', deadline, async (t) => {
    const { home, create, search } = await begin(t);
    const long = textOf(longest);
    assert.deepEqual(await create('Long', long), created);
    const path = join(home.velmiro, 'Notes/Notes/Long.md');
    assertSame(await readFile(path, 'utf8'), `# Long\n\n${long}\n`);
    const title = textOf(100_000).replaceAll('\n', ' ');
    assert.deepEqual(await create(title, textOf(100_000)), created);
    const [first] = await search(title);
    assertSame(first.name, title);
    assert.deepEqual(names(await search(long)), ['Long']);
});

test('a longer text is an error: no note is made and nothing is searched', deadline, async (t) => {
    const { home, create, session } = await begin(t);
    const before = await home.snapshot();
    const longer = textOf(longest + 1);
    assert.deepEqual(await create('Long', longer), failure(tooLong));
    assert.deepEqual(await create(longer, 'b'), failure(tooLong));
    assert.deepEqual(await create('t', 'b', { folder: longer }), failure(tooLong));
    assert.deepEqual(await session.call('notes_search', { query: longer }), failure(tooLong));
    assert.deepEqual(await home.snapshot(), before);
});

test('notes created at once are all there, each whole', deadline, async (t) => {
    const { home, create, search } = await begin(t);
    await home.write('Notes/Notes/Same.md', 'mine\n');
    const bodies = Array.from({ length: 12 }, (_, at) => `body ${at} ${textOf(20_000)}`);
    const answers = await Promise.all([...bodies.map((body) => create('Same', body)), search('mine')]);
    assert.deepEqual(names(answers.pop()), ['mine']);
    assert.deepEqual(answers, bodies.map(() => created));
    const folder = join(home.velmiro, 'Notes');
    const contents = await Promise.all(
        (await home.fileNames('Notes')).map((file) => readFile(join(folder, file), 'utf8')),
    );
    const expected = ['mine\n', ...bodies.map((body) => `# Same\n\n${body}\n`)];
    assertSame(contents.sort().join(''), expected.sort().join(''));
});

test('what an editor writes is found by the next search, the latest first', deadline, async (t) => {
    const { home, search } = await begin(t);
    await home.write('Notes/Work/plan.md', '# Plan\n\nShip **it**.\n');
    assert.deepEqual(names(await search('ship it')), ['Plan']);
    await home.write('Notes/Home/other.md', '# Other\n');
    assert.deepEqual(await search('later'), []);
    await appendFile(join(home.velmiro, 'Notes/Home/other.md'), '\nlater, ship it twice\n');
    assert.deepEqual(names(await search('later')), ['Other']);
    assert.deepEqual(names(await search('ship it', 1)), ['Other']);
});
