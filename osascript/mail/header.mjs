// The header of a message: read without its body, and decoded only where it is asked for.

import { load } from '../packages.mjs';
import { decodeUnlabelled, installDecoder } from './charsets.mjs';

/** @typedef {{name: string, address: string}} Mailbox */

/** @returns {typeof import('postal-mime')} */
function library() {
    installDecoder();
    return load('postal-mime');
}

/** Longer values are cut: no person reads them, and they are written to make readers slow. */
const mostOfAValue = 64 * 1024;

/**
 * @param {Buffer} bytes the beginning of a message
 * @returns {number} where its header ends, -1 where that is not among them
 */
export function headerEnd(bytes) {
    for (let at = bytes.indexOf(10); at >= 0; at = bytes.indexOf(10, at + 1)) {
        if (bytes[at + 1] === 10 || (bytes[at + 1] === 13 && bytes[at + 2] === 10)) return at + 1;
    }
    return bytes[0] === 10 || (bytes[0] === 13 && bytes[1] === 10) ? 0 : -1;
}

/** @param {string} text @returns {string} without line ends and other control characters */
const inOneLine = (text) => text.replace(/[\p{Cc}\u2028\u2029]+/gu, ' ').trim();

/** @param {string} bytes one character for each */
const textOfValue = (bytes) => decodeUnlabelled(Buffer.from(bytes, 'latin1'));

export class Header {
    /** @param {Buffer} bytes */
    constructor(bytes) {
        this.bytes = `\n${bytes.toString('latin1')}`;
    }

    /**
     * @param {string} name
     * @returns {string[]} the values of all fields of that name, unfolded, not decoded
     */
    all(name) {
        const field = new RegExp(`\\n${name}[ \\t]*:([^\\n]*(?:\\n[ \\t][^\\n]*)*)`, 'gi');
        return [...this.bytes.matchAll(field)].map(([, value]) =>
            value.slice(0, mostOfAValue).replace(/\r?\n/g, '').trim(),
        );
    }

    /** @param {string} name @returns {string} the decoded value of the first such field, empty where there is none */
    decoded(name) {
        const value = textOfValue(this.all(name)[0] ?? '');
        return inOneLine(value.includes('=?') ? library().decodeWords(value) : value);
    }

    /** @param {string} name @returns {Mailbox[]} those of all such fields; the members of a group one by one */
    mailboxes(name) {
        return this.all(name).flatMap((value) =>
            library()
                .addressParser(textOfValue(value).replace(/\s+/g, ' '), { flatten: true })
                .map(({ name: called = '', address = '' }) => ({
                    name: inOneLine(called),
                    // The library takes a name without an address for both, and decodes the one.
                    address: address.startsWith('=?') ? '' : inOneLine(address),
                })),
        );
    }
}
