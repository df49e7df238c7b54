// Checks a program's code signature as the kernel does before it runs a page: on Apple's processors
// nothing unsigned runs. The layout is that of <kern/cs_blobs.h>; numbers are big-endian.

import { createHash } from 'node:crypto';
import { text } from './machO.mjs';

const superBlob = 0xfade0cc0;
const directory = 0xfade0c02;
const sha256 = 2;
const adHoc = 0x2;

/**
 * Returns what the signature states, and which pages differ from what was signed. Throws if it cannot
 * be read.
 * @param {import('./machO.mjs').Program} program
 */
export function readSignature(program) {
    const { offset, bytes } = program.signature();
    if (bytes.readUInt32BE(0) !== superBlob) {
        throw new Error('no signature where one should be');
    }
    let found;
    for (let index = 0; index < bytes.readUInt32BE(8); ++index) {
        const blob = bytes.subarray(bytes.readUInt32BE(12 + 8 * index + 4));
        if (blob.readUInt32BE(0) === directory) {
            found = blob.subarray(0, blob.readUInt32BE(4));
        }
    }
    if (found === undefined || found[37] !== sha256) {
        throw new Error('no directory of SHA-256 hashes');
    }
    const pageSize = 2 ** found[39];
    const [hashes, count, end] = [found.readUInt32BE(16), found.readUInt32BE(28), found.readUInt32BE(32)];
    const changed = [];
    for (let page = 0; page < count; ++page) {
        const contents = program.bytes.subarray(page * pageSize, Math.min((page + 1) * pageSize, end));
        const hash = createHash('sha256').update(contents).digest();
        if (!hash.equals(found.subarray(hashes + 32 * page, hashes + 32 * (page + 1)))) {
            changed.push(page);
        }
    }
    return {
        adHoc: (found.readUInt32BE(12) & adHoc) !== 0,
        identifier: text(found.subarray(found.readUInt32BE(20))),
        everything: end === offset && count === Math.ceil(end / pageSize),
        changed,
    };
}
