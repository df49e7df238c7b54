// The program for macOS, as a file: what the system looks at before it runs it.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { file, onAMac, path, programs, root } from './program.mjs';
import { readSignature } from './signature.mjs';

/** Calls `body` for each half and its name. */
function forEachHalf(body) {
    assert.deepEqual([...programs.keys()].sort(), ['arm64', 'x86_64']);
    for (const [processor, program] of programs) {
        body(program, processor);
    }
}

/** The texts of an Info.plist by their keys. @param {string} plist */
function entries(plist) {
    const pairs = plist.matchAll(/<key>([^<]*)<\/key>\s*<string>([^<]*)<\/string>/g);
    return Object.fromEntries([...pairs].map(([, key, text]) => [key, text]));
}

test('it is one file for both processors, each half an executable', () => {
    forEachHalf((program, processor) => assert.equal(program.processor, processor));
    const told = execFileSync('file', ['--brief', path], { encoding: 'utf8' });
    assert.match(told, /Mach-O universal binary with 2 architectures/);
    assert.match(told, /x86_64.*Mach-O 64-bit.*executable/s);
    assert.match(told, /arm64.*Mach-O 64-bit.*executable/s);
});

test('it loads libraries of the system and no others', () => {
    const known = new Set([
        '/System/Library/Frameworks/Contacts.framework/Versions/A/Contacts',
        '/System/Library/Frameworks/CoreFoundation.framework/Versions/A/CoreFoundation',
        '/System/Library/Frameworks/EventKit.framework/Versions/A/EventKit',
        '/System/Library/Frameworks/Foundation.framework/Versions/C/Foundation',
        '/usr/lib/libSystem.B.dylib',
        '/usr/lib/libobjc.A.dylib',
        ...(onAMac ? ['/usr/lib/libc++.1.dylib'] : []), // elsewhere it is linked in
    ]);
    forEachHalf((program, processor) => {
        assert.deepEqual(new Set(program.libraries()), known, processor);
    });
});

test('it runs on macOS 13.3 and newer', () => {
    const macOS = 1;
    forEachHalf((program, processor) => {
        assert.deepEqual(program.platform(), { system: macOS, oldest: '13.3' }, processor);
    });
});

test('both halves carry the Info.plist that was made for it, byte for byte', () => {
    forEachHalf((program, processor) => {
        const build = onAMac ? 'macos-xcode' : `macos-${processor}`;
        const made = readFileSync(`${root}build/${build}/velmiro_mcp/Info.plist`, 'utf8');
        assert.equal(program.section('__TEXT', '__info_plist')?.toString(), made, processor);
    });
});

test('the Info.plist says who it is and why it asks', () => {
    const version = /project\(velmiro_mcp VERSION (\S+)/.exec(readFileSync(`${root}CMakeLists.txt`, 'utf8'))[1];
    forEachHalf((program) => {
        const { CFBundleIdentifier, ...told } = entries(program.section('__TEXT', '__info_plist').toString());
        assert.match(CFBundleIdentifier, /^[a-z]+(\.[a-z]+)+$/);
        assert.equal(told.CFBundleShortVersionString, version);
        assert.equal(told.CFBundleVersion, version);
        assert.equal(told.LSMinimumSystemVersion, program.platform().oldest);
        for (const key of [
            'NSAppleEventsUsageDescription',
            'NSCalendarsFullAccessUsageDescription',
            'NSCalendarsUsageDescription',
            'NSContactsUsageDescription',
            'NSRemindersFullAccessUsageDescription',
            'NSRemindersUsageDescription',
        ]) {
            assert.match(told[key] ?? '', /^[A-Z].{20,}\.$/, key);
        }
    });
});

// A program without translations of its own is taken for one in English: dates and the system's errors
// would be, too.
test('the system speaks the user’s language through it', () => {
    forEachHalf((program, processor) => {
        const plist = program.section('__TEXT', '__info_plist').toString();
        assert.match(plist, /<key>CFBundleAllowMixedLocalizations<\/key>\s*<true\/>/, processor);
    });
});

test('the half for Apple’s processor is signed, and every page is what was signed', () => {
    const { identifier, ...signed } = readSignature(programs.get('arm64'));
    assert.match(identifier, /velmiro/);
    assert.deepEqual(signed, { adHoc: true, everything: true, changed: [] });
});

test('nothing in it tells where it was built', () => {
    assert.ok(!file.includes(root), root);
});

test('the page on Macs quotes what the program says', () => {
    const page = readFileSync(`${root}docs/macos.md`, 'utf8');
    for (const text of [
        'Velmiro has no access to Contacts. Ask the user to turn it on in Velmiro › Settings › Connectors.',
        'Velmiro has no full access to ',
        '. Ask the user to turn it on in Velmiro › Settings › Connectors.',
        'Velmiro may not control this app yet. Ask the user to allow it in System Settings › Privacy & Security › Automation.',
        'The user did not allow this (',
        '). Do not retry unless the user asks.',
    ]) {
        assert.ok(page.includes(text), `the page has not: ${text}`);
        forEachHalf((program, processor) => assert.ok(program.bytes.includes(text), `${processor} has not: ${text}`));
    }
    const plist = entries(programs.get('arm64').section('__TEXT', '__info_plist').toString());
    for (const key of ['CFBundleIdentifier', ...Object.keys(plist).filter((key) => key.endsWith('UsageDescription'))]) {
        assert.ok(page.includes(key === 'CFBundleIdentifier' ? plist[key] : key), key);
    }
});

const needsAMac = !onAMac && 'a Mac has to run it';
test('it answers, and ends with status 0 at the end of its input', { skip: needsAMac }, () => {
    const input = '{"jsonrpc":"2.0","id":1,"method":"initialize","params":{}}\n';
    const reply = JSON.parse(execFileSync(path, { input, encoding: 'utf8', timeout: 30_000 }));
    assert.deepEqual(reply.result.serverInfo, { name: 'velmiro-apple', version: '1.0' });
});
