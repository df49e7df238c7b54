// The address book belongs to the user: khard and the server read the same vCards.

import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import { mkdir, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { promisify } from 'node:util';
import { clients, Session } from './support/clients.mjs';
import { Home } from './support/home.mjs';

const deadline = { timeout: 60_000 };
const run = promisify(execFile);

/** Returns a function that runs khard on one folder of the home's address book. */
async function khardIn(home, folder) {
    const path = join(home.velmiro, 'Contacts', folder);
    await mkdir(path, { recursive: true });
    const settings = join(home.path, 'khard.conf');
    await writeFile(
        settings,
        `[addressbooks]
[[${folder}]]
path = ${path}
[general]
default_action = list
[vcard]
preferred_version = 3.0
`,
    );
    return async (...rest) => {
        const options = { env: { ...process.env, ...home.environment, LC_ALL: 'C.UTF-8' }, timeout: 30_000 };
        return (await run('khard', ['-c', settings, ...rest], options)).stdout;
    };
}

/** The lines of khard's machine-readable output, sorted, each as a list of fields. */
const rows = (output) =>
    output
        .split('\n')
        .filter((line) => line.includes('\t'))
        .map((line) => line.split('\t'))
        .sort();

const card = (...lines) => ['BEGIN:VCARD', ...lines, 'END:VCARD', ''].join('\r\n');

test('khard reads the cards that the server reads', deadline, async (t) => {
    const home = await Home.make(t);
    const khard = await khardIn(home, 'people');
    const cards = [
        card('VERSION:3.0', 'UID:zoe', "N:O'Brien;Zoë;Maria;Dr.;", "FN:Dr. Zoë O'Brien", 'NICKNAME:Annie',
            'ORG:Acme\\, Inc.;Research', 'item1.EMAIL;TYPE=INTERNET:zoe@ex', ' ample.org', 'item1.X-ABLabel:Other',
            'EMAIL;TYPE=work:z@work.example', 'TEL;TYPE=CELL:+49 170 1234', 'TEL;TYPE="home,voice":030/12'),
        card('VERSION:4.0', 'UID:urn:uuid:1', 'FN:Anna Berg', 'N:Berg;Anna;;;', 'EMAIL;PREF=1:anna@example.org',
            'TEL;VALUE=uri;TYPE="voice,home":tel:+1-555-0100'),
        card('VERSION:3.0', 'UID:taro', 'N:山田;太郎;;;', 'FN:山田 太郎'),
        card('VERSION:3.0', 'UID:acme', 'N:;;;;', 'FN:Acme', 'ORG:Acme', 'TEL;TYPE=work:1'),
    ];
    for (const [at, text] of cards.entries()) await home.write(`Contacts/people/${at}.vcf`, text);

    const session = await Session.open(clients[0], home);
    const search = async (query) => (await session.payload('contacts_search', { query })).contacts;
    for (const [query, expected] of [
        ['zoë', ['zoe']],
        ['brien', ['zoe']],
        ['acme', ['acme', 'zoe']],
        ['Anna Berg', ['urn:uuid:1']],
        ['太郎', ['taro']],
    ]) {
        const found = await search(query);
        assert.deepEqual(found.map((contact) => contact.id).sort(), expected, query);
        const listed = rows(await khard('list', '--parsable', query.split(' ')[0]));
        assert.deepEqual(listed.map(([uid]) => uid), expected, query);
    }
    for (const query of ['zoë', 'anna']) {
        const [{ emails, phones }] = await search(query);
        const first = (output) => rows(output).map(([value]) => value);
        assert.deepEqual(first(await khard('email', '--parsable', query)), [...emails].sort());
        assert.deepEqual(first(await khard('phone', '--parsable', query)), [...phones].sort());
    }
});

test('the server finds the people that khard adds', deadline, async (t) => {
    const home = await Home.make(t);
    const khard = await khardIn(home, 'people');
    const add = async (version, template) => {
        const file = join(home.path, 'template.yaml');
        await writeFile(file, template);
        await khard('new', '-a', 'people', '--vcard-version', version, '-i', file);
    };
    const session = await Session.open(clients[0], home);
    const search = async (query) => (await session.payload('contacts_search', { query })).contacts;
    assert.deepEqual(await search('zoe'), []);

    for (const version of ['3.0', '4.0']) {
        await add(
            version,
            `First name : [Zoë, Anna]
Additional : Maria
Last name : O'Brien ${version[0]}
Nickname : Mountain
Organisation :
    -
        - "Acme, Inc.; West"
        - Research
Phone :
    cell : +49 170 1234567
Email :
    home : zoe@example.org
    work : [a@work.example, b@work.example]
Note : ${'ein langer Text mit Umlauten (äöü)  '.repeat(20)}
`,
        );
        const [contact, ...others] = await search(`zoe obrien ${version[0]}`);
        assert.equal(others.length, 0);
        const [[uid]] = rows(await khard('list', '--parsable', `O'Brien ${version[0]}`));
        assert.deepEqual(contact, {
            id: uid,
            name: `O'Brien ${version[0]} Zoë Anna`,
            organization: 'Acme, Inc.; West',
            emails: ['zoe@example.org', 'a@work.example', 'b@work.example'],
            phones: ['+49 170 1234567'],
        });
        assert.ok((await search('mountain maria acme')).some(({ id }) => id === uid));
    }

    await add('4.0', 'Organisation : Baker\nPhone :\n    work : "030 12"\n');
    const [{ id, ...baker }] = await search('baker');
    assert.ok(id);
    assert.deepEqual(baker, { name: '', organization: 'Baker', emails: [], phones: ['030 12'] });
});
