// The program under test, the build's folders, and what built it.

import { readFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { halves } from './machO.mjs';

export const root = fileURLToPath(new URL('../../', import.meta.url));
export const path = process.env.VELMIRO_MACOS_PROGRAM ?? `${root}build/macos/velmiro_mcp`;
export const file = readFileSync(path);
export const programs = halves(file);

/** On a Mac Apple's own tools have linked it, against the system's libraries. */
export const onAMac = process.platform === 'darwin';

const stubs = `${root}cmake/macos/`;
export const frameworks = ['Contacts', 'CoreFoundation', 'EventKit', 'Foundation'].map(
    (name) => `${stubs}frameworks/${name}.framework/${name}.tbd`,
);
export const runtime = `${stubs}lib/libobjc.tbd`;
