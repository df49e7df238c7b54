// A Maildir's messages, found by name alone. A name is the message's own unique part and, after `:2,`, its
// flags; other programs change the flags, and move messages from `new` to `cur`, at any moment.

import { createHash } from 'node:crypto';
import { names, read, stat } from '../files.mjs';

/** @typedef {import('../files.mjs').ByteString} ByteString */

/** In this order, so that a message seen in both while it is being moved is taken from `cur`. */
const places = ['new', 'cur'];

/** @param {ByteString} name */
function parts(name) {
    const at = name.indexOf(':2,');
    return at < 0
        ? { unique: name, flags: '' }
        : { unique: name.slice(0, at), flags: name.slice(at + 3) };
}

/** @param {ByteString} unique @returns {number} whole, from 1 to 2^53 - 1: all that JavaScript holds exactly */
function hashed(unique) {
    const digest = createHash('sha256').update(unique, 'latin1').digest();
    return (digest.readUInt32BE(0) & 0x1fffff) * 2 ** 32 + digest.readUInt32BE(4) || 1;
}

/**
 * Gives each message a number that stays the same while its flags and place change. Two that hash to one
 * number keep apart by the order of their names: the later takes the next that is free.
 * @param {ByteString[]} uniques
 * @param {(unique: ByteString) => number} [hash]
 * @returns {Map<ByteString, number>}
 */
export function identifiers(uniques, hash = hashed) {
    /** @type {Map<ByteString, number>} */
    const given = new Map();
    const taken = new Set();
    for (const unique of [...uniques].sort()) {
        let number = hash(unique);
        while (taken.has(number)) number = number === Number.MAX_SAFE_INTEGER ? 1 : number + 1;
        taken.add(number);
        given.set(unique, number);
    }
    return given;
}

export class Maildir {
    /** @param {ByteString} path */
    constructor(path) {
        this.path = path;
    }

    /** @returns {{place: string, name: ByteString, unique: ByteString, flags: string}[]} one for each message */
    entries() {
        const found = new Map();
        for (const place of places) {
            for (const name of names(`${this.path}/${place}`)) {
                const { unique, flags } = parts(name);
                found.set(unique, { place, name, unique, flags });
            }
        }
        return [...found.values()];
    }
}

/** One message's file, wherever it is by now. */
export class MessageFile {
    /** @param {Maildir} maildir @param {{place: string, name: ByteString, unique: ByteString, flags: string}} entry */
    constructor(maildir, entry) {
        this.maildir = maildir;
        this.unique = entry.unique;
        this.flags = entry.flags;
        this.path = `${maildir.path}/${entry.place}/${entry.name}`;
    }

    /**
     * @template T
     * @param {(path: ByteString) => T | undefined} look
     * @returns {T | undefined} nothing where the message is gone
     */
    #found(look) {
        const seen = look(this.path);
        if (seen !== undefined) return seen;
        const entry = this.maildir.entries().find((one) => one.unique === this.unique);
        if (!entry) return undefined;
        this.flags = entry.flags;
        this.path = `${this.maildir.path}/${entry.place}/${entry.name}`;
        return look(this.path);
    }

    /** @returns {number} when it was last written, in milliseconds; NaN where there is no such file */
    get written() {
        const about = this.#found(stat);
        return about?.isFile() ? about.mtimeMs : NaN;
    }

    /** @param {number} most bytes @returns {Buffer | undefined} */
    beginning(most) {
        return this.#found((path) => read(path, most));
    }
}
