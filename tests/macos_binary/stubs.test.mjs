// The link stubs contain everything that the program uses of Apple's libraries and nothing else, so they
// tell a reader what it depends on.

import assert from 'node:assert/strict';
import { readdirSync, readFileSync } from 'node:fs';
import { test } from 'node:test';
import { approvalHost, frameworks, onAMac, programs, root, runtime } from './program.mjs';
import { declaredMessages, readStub } from './stubs.mjs';

const skip = onAMac && 'a Mac links the libraries themselves';
const folder = `${root}velmiro_mcp/platform/macos/`;

/** Returns the platform's sources without their comments. */
function sources() {
    return readdirSync(folder)
        .filter((name) => /\.(mm|cpp|hpp)$/.test(name))
        .map((name) => readFileSync(folder + name, 'utf8').replaceAll(/\/\/.*/g, ''))
        .join('\n');
}

const stubs = [...frameworks, runtime].map(readStub);
const used = [...programs.values()].flatMap((program) => program.undefinedSymbols());

test('every symbol is in the list of the library that it is bound to', { skip }, () => {
    const [system] = readdirSync(`${root}cmake/macos/node_modules/@oven`);
    const libSystem = readStub(`${root}cmake/macos/node_modules/@oven/${system}/lib/libc/darwin/libSystem.tbd`);
    const offered = new Map([...stubs, libSystem].map(({ library, names }) => [library, names]));
    const ofHost = [...approvalHost.programs.values()].flatMap((program) => program.undefinedSymbols());
    const strangers = [...used, ...ofHost].filter(({ name, library }) => !offered.get(library)?.has(name));
    assert.ok(used.length > 100, `${used.length} symbols`);
    assert.deepEqual(strangers, []);
});

test('every symbol in a list is used', { skip }, () => {
    const names = new Set(used.map(({ name }) => name));
    for (const { library, names: offered, classes } of stubs) {
        // For a class it is enough that the class or its metaclass is used.
        const unused = [...offered].filter((name) => !names.has(name) && !/_OBJC_(META)?CLASS_/.test(name));
        const unusedClasses = classes.filter((name) => !names.has(`_OBJC_CLASS_$_${name}`));
        assert.deepEqual([unused, unusedClasses], [[], []], library);
    }
});

test('the classes in the lists are those that the sources send messages to', () => {
    const text = sources();
    const named = new Set([...text.matchAll(/\[\s*((?:NS|EK|CN)\w+)\s+\w/g)].map(([, name]) => name));
    for (const [, superclass] of text.matchAll(/@interface \w+ : (\w+)/g)) {
        named.add(superclass);
    }
    if (text.includes('@[')) {
        named.add('NSArray');
    }
    assert.deepEqual(stubs.flatMap(({ classes }) => classes).sort(), [...named].sort());
    const caught = new Set([...text.matchAll(/@catch \((\w+)/g)].map(([, name]) => name));
    assert.deepEqual(stubs.flatMap(({ exceptions }) => exceptions), [...caught]);
});

test('the functions and constants in the frameworks’ lists occur in the sources', () => {
    const words = new Set(sources().match(/\w+/g));
    for (const { library, names } of frameworks.map(readStub)) {
        // Names with further underscores are the compiler's, such as those that @[] uses.
        const plain = [...names].filter((name) => /^_[A-Z]\w*$/.test(name)).map((name) => name.slice(1));
        assert.deepEqual(plain.filter((name) => !words.has(name)), [], library);
    }
});

test('every message that a header declares is sent', () => {
    const headers = [
        'cmake/macos/frameworks/Foundation.framework/Headers/Foundation.h',
        'tests/macos/frameworks/EventKit/EventKit.h',
        'tests/macos/frameworks/Contacts/Contacts.h',
    ];
    const sent = new Set(programs.get('arm64').section('__TEXT', '__objc_methname').toString().split('\0'));
    const declared = headers.flatMap((header) => declaredMessages(root + header));
    assert.ok(declared.length > 70, `${declared.length} messages`);
    assert.deepEqual(
        declared.filter((names) => !names.some((name) => sent.has(name))),
        [],
    );
});
