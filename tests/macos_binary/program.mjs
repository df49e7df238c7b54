// The programs under test, the build's folders, and which tools built them.

import { readFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { halves } from './machO.mjs';

export const root = fileURLToPath(new URL('../../', import.meta.url));
const folder = `${root}build/macos/`;

/** Reads one of the build's programs: its path, its bytes, and its halves by the processor's name. */
function read(name) {
    const path = folder + name;
    const file = readFileSync(path);
    return { name, path, file, programs: halves(file) };
}

export const server = read('velmiro_mcp');
export const approvalHost = read('approval_host');
export const { path, file, programs } = server;

/** On a Mac, Apple's own tools have linked it against the system's libraries. */
export const onAMac = process.platform === 'darwin';

const stubs = `${root}cmake/macos/`;
export const frameworks = ['Contacts', 'CoreFoundation', 'EventKit', 'Foundation'].map(
    (name) => `${stubs}frameworks/${name}.framework/${name}.tbd`,
);
export const runtime = `${stubs}lib/libobjc.tbd`;
