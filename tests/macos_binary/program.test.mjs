// The server for macOS as a file: what the system reads in no other program.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { onAMac, path, programs, root } from './program.mjs';

/** Calls `body` with each half and its name. */
function forEachHalf(body) {
    for (const [processor, program] of programs) {
        body(program, processor);
    }
}

/** Returns the strings of an Info.plist, by key. @param {string} plist */
function entries(plist) {
    const pairs = plist.matchAll(/<key>([^<]*)<\/key>\s*<string>([^<]*)<\/string>/g);
    return Object.fromEntries([...pairs].map(([, key, text]) => [key, text]));
}

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

// The system takes a program without translations of its own for an English one; dates and the system's
// errors would then be in English too.
test('the system speaks the user’s language through it', () => {
    forEachHalf((program, processor) => {
        const plist = program.section('__TEXT', '__info_plist').toString();
        assert.match(plist, /<key>CFBundleAllowMixedLocalizations<\/key>\s*<true\/>/, processor);
    });
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

test('the entitlements to sign it with are those that the page on Macs asks for', () => {
    const file = readFileSync(`${root}velmiro_mcp/platform/macos/velmiro_mcp.entitlements`, 'utf8');
    const page = readFileSync(`${root}docs/macos.md`, 'utf8');
    const given = [...file.matchAll(/<key>([^<]*)<\/key>\s*<true\/>/g)].map(([, key]) => key);
    const asked = new Set(page.match(/com\.apple\.security\.(?:personal-information|automation)\.[a-z-]+/g));
    assert.equal(given.length, 3);
    assert.deepEqual(new Set(given), asked);
    assert.match(page, /codesign .*\\\n +--entitlements velmiro_mcp\/platform\/macos\/velmiro_mcp\.entitlements /);
});

const needsAMac = !onAMac && 'a Mac has to run it';
test('it answers, and ends with status 0 at the end of its input', { skip: needsAMac }, () => {
    const input = '{"jsonrpc":"2.0","id":1,"method":"initialize","params":{}}\n';
    const reply = JSON.parse(execFileSync(path, { input, encoding: 'utf8', timeout: 30_000 }));
    assert.deepEqual(reply.result.serverInfo, { name: 'velmiro-apple', version: '1.0' });
});
