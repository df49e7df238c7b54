// The programs for macOS as files: what the system reads before it runs one.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { test } from 'node:test';
import { approvalHost, onAMac, root, server } from './program.mjs';
import { readSignature } from './signature.mjs';

const frameworks = {
    velmiro_mcp: ['Contacts.framework/Versions/A/Contacts', 'EventKit.framework/Versions/A/EventKit'],
    approval_host: [],
};

for (const { name, path, file, programs } of [server, approvalHost]) {
    /** Calls `body` with each half and its name. */
    const forEachHalf = (body) => {
        assert.deepEqual([...programs.keys()].sort(), ['arm64', 'x86_64']);
        for (const [processor, program] of programs) {
            body(program, processor);
        }
    };

    test(`${name} is one file for both processors, each half an executable`, () => {
        forEachHalf((program, processor) => assert.equal(program.processor, processor));
        const told = execFileSync('file', ['--brief', path], { encoding: 'utf8' });
        assert.match(told, /Mach-O universal binary with 2 architectures/);
        assert.match(told, /x86_64.*Mach-O 64-bit.*executable/s);
        assert.match(told, /arm64.*Mach-O 64-bit.*executable/s);
    });

    test(`${name} loads libraries of the system and no others`, () => {
        const folder = '/System/Library/Frameworks/';
        const known = new Set([
            ...frameworks[name].map((library) => folder + library),
            `${folder}CoreFoundation.framework/Versions/A/CoreFoundation`,
            `${folder}Foundation.framework/Versions/C/Foundation`,
            '/usr/lib/libSystem.B.dylib',
            '/usr/lib/libobjc.A.dylib',
            ...(onAMac ? ['/usr/lib/libc++.1.dylib'] : []), // elsewhere it is linked in
        ]);
        forEachHalf((program, processor) => {
            assert.deepEqual(new Set(program.libraries()), known, processor);
        });
    });

    test(`${name} runs on macOS 13.3 and newer`, () => {
        const macOS = 1;
        forEachHalf((program, processor) => {
            const { system, oldest } = program.platform();
            assert.deepEqual({ system, oldest }, { system: macOS, oldest: '13.3' }, processor);
        });
    });

    // The system reports write-only access as full access to a program built with an older SDK.
    test(`${name} is linked against an SDK that knows write-only access`, () => {
        forEachHalf((program, processor) => {
            const { sdk } = program.platform();
            assert.ok(Number.parseInt(sdk, 10) >= 14, `${processor}: ${sdk}`);
        });
    });

    // The loader refuses a program built with a newer SDK if its constants lack the flag.
    test(`${name} has constants that are read-only once they are bound`, () => {
        const readOnly = 0x10;
        forEachHalf((program, processor) => {
            const flags = program.segmentFlags().get('__DATA_CONST');
            assert.ok(flags !== undefined && (flags & readOnly) !== 0, processor);
        });
    });

    test(`${name} exports nothing but perhaps its own header`, () => {
        forEachHalf((program, processor) => {
            const names = (program.exports()?.toString('latin1') ?? '').match(/[!-~]{2,}/g) ?? [];
            assert.deepEqual(names.filter((text) => text !== '__mh_execute_header'), [], processor);
        });
    });

    test(`${name} has the system copy, fill and compare memory`, () => {
        forEachHalf((program, processor) => {
            const undefinedSymbols = program.undefinedSymbols();
            const ofSystem = undefinedSymbols.filter(({ library }) => library === '/usr/lib/libSystem.B.dylib');
            const names = new Set(ofSystem.map((symbol) => symbol.name));
            for (const wanted of ['_memcpy', '_memmove', '_memset', '_memcmp']) {
                assert.ok(names.has(wanted), `${processor}: ${wanted}`);
            }
        });
    });

    test(`${name} is signed for Apple’s processor, and every page is what was signed`, () => {
        const { identifier, ...signed } = readSignature(programs.get('arm64'));
        assert.equal(identifier, name);
        assert.deepEqual(signed, { adHoc: true, everything: true, changed: [] });
    });

    test(`${name} does not tell where it was built`, () => {
        assert.ok(!file.includes(root), root);
    });
}
