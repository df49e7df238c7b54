// Object specifiers and filters, as scripts use them.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Home, message } from './support.mjs';

/** Three notes, the latest first: gamma, Beta, alpha. */
function threeNotes(t) {
    const home = new Home(t);
    home.note('Work/alpha.md', '# alpha\n\nten apples\n', 3000);
    home.note('Work/beta.md', '# Beta\n\nno fruit\n', 2000);
    home.note('Home/gamma.md', '# gamma\n\npéars\n', 1000);
    return home;
}

const named = (filter) => `Application('Notes').notes.whose(${filter})().map(n => n.name())`;

const filters = {
    "{name: 'alpha'}": ['alpha'],
    "{name: 'ALPHA'}": [],
    "{name: {_equals: 'Beta'}}": ['Beta'],
    "{name: {'=': 'Beta'}}": ['Beta'],
    "{name: {_contains: 'A'}}": ['gamma', 'Beta', 'alpha'],
    "{plaintext: {_contains: 'pears'}}": ['gamma'],
    "{plaintext: {_contains: 'PÉARS'}}": ['gamma'],
    "{plaintext: {_contains: ''}}": ['gamma', 'Beta', 'alpha'],
    "{name: {_beginsWith: 'AL'}}": ['alpha'],
    "{name: {_endsWith: 'ta'}}": ['Beta'],
    "{name: {'>': 'alpha'}}": ['gamma'],
    "{name: {'>=': 'alpha', '<=': 'beta'}}": ['alpha'],
    "{name: {_greaterThan: 'alpha', _lessThan: 'z'}}": ['gamma'],
    "{name: {'>': 5}}": [],
    "{modificationDate: {'>': new Date(Date.now() - 2500000)}}": ['gamma', 'Beta'],
    "{modificationDate: {'<': new Date(Date.now() - 2500000)}}": ['alpha'],
    "{_or: [{name: 'alpha'}, {plaintext: {_contains: 'fruit'}}]}": ['Beta', 'alpha'],
    "{_and: [{name: {_contains: 'a'}}, {plaintext: {_contains: 'ten'}}]}": ['alpha'],
    "{_not: [{name: {_contains: 'm'}}]}": ['Beta', 'alpha'],
    "{name: {_contains: 'a'}, plaintext: {_contains: 'ten'}}": ['alpha'],
    '{}': ['gamma', 'Beta', 'alpha'],
};
for (const [filter, names] of Object.entries(filters)) {
    test(`whose(${filter}) finds ${names.join(', ') || 'nothing'}`, async (t) => {
        assert.deepEqual(await threeNotes(t).value(named(filter)), names);
    });
}

const expressions = {
    "Application('Notes').notes.length": 3,
    "Application('Notes').notes[1].name()": 'Beta',
    "Application('Notes').notes.at(2).name()": 'alpha',
    "Application('Notes').notes.name()": ['gamma', 'Beta', 'alpha'],
    "Application('Notes').notes.byName('Beta').container.name()": 'Work',
    "Application('Notes').notes.whose({name: 'Beta'}).whose({name: 'alpha'}).length": 0,
    "Application('Notes').folders.name()": ['Home', 'Work'],
    "Application('Notes').folders[0].notes().length": 1,
    "Application('Notes').defaultAccount().folders().length": 2,
    "Application('Notes').notes[0]().name()": 'gamma',
    "Application('Notes').notes() instanceof Array": true,
    "Application('Notes').notes[0].modificationDate() instanceof Date": true,
    "String(Application('Notes').notes)": '[object ObjectSpecifier]',
    "Application('Notes').name()": 'Notes',
};
for (const [expression, value] of Object.entries(expressions)) {
    test(`${expression} is ${JSON.stringify(value)}`, async (t) => {
        assert.deepEqual(await threeNotes(t).value(expression), value);
    });
}

test('identifiers find what bears them', async (t) => {
    const source =
        "(() => { const all = Application('Notes').notes; return all.byId(all[1].id()).name() })()";
    assert.equal(await threeNotes(t).value(source), 'Beta');
});

const mistakes = {
    "Application('Notes').nots": -1728,
    "Application('Notes').notes[0].titel": -1728,
    "Application('Notes').notes[0].titel()": -1728,
    "Application('Notes').notes.titel": -1728,
    "Application('Notes').notes[0].name.length": -1728,
    "Application('Notes').Nota({})": -1728,
    "Application('Notes').Note({bodie: 'x'})": -1728,
    "Application('Notes').Note({body: 5})": -1700,
    "Application('Notes').notes[3]": -1719,
    "Application('Notes').notes.at(-1)": -1719,
    "Application('Notes').notes.byName('delta')": -1728,
    "Application('Notes').notes.whose({nam: 'x'})": -1728,
    "Application('Notes').notes.whose({name: {_like: 'x'}})": -1700,
    "Application('Notes').notes.whose('x')": -1700,
    "Application('Notes').notes.push({})": -1700,
    "Application('Notes').notes.push(Application('Notes').notes[0])": -1700,
    "Application('Notes').folders.push(Application('Notes').Note({}))": -1700,
    "Application('Notes').notes[0].name = 'x'": -10006,
    "Application('Mail').sendAll": -1728,
    "Application('Mail').OutgoingMessage({}).send()": -1728,
};
for (const [source, number] of Object.entries(mistakes)) {
    test(`${source} is an error`, async (t) => {
        const { output, errors, status } = await threeNotes(t).evaluate(source);
        assert.deepEqual([output, status], ['', 1]);
        assert.match(errors, new RegExp(`^execution error: Error: Error: .+ \\(${number}\\)\n$`));
    });
}

test('a filter on dates opens no message that is older than it asks for', async (t) => {
    const home = new Home(t);
    home.mail('cur/1.new:2,', message('new', 60), 60);
    // Its file is older than the bound: were it opened, its own date would let it in.
    home.mail('cur/2.old:2,', message('old', 60), 500_000);
    const source = `Application('Mail').inbox.messages.whose({dateReceived: {'>': new Date(Date.now() - 86400000)}})()
        .map(m => m.subject())`;
    assert.deepEqual(await home.value(source), ['new']);
});
