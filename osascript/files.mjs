// Files by their exact names. A file name on Linux is bytes, so names and paths are kept here as byte
// strings: one character for each byte. Comparing two compares their bytes.

import {
    closeSync,
    constants,
    fstatSync,
    fsyncSync,
    linkSync,
    mkdirSync,
    openSync,
    readdirSync,
    readSync,
    statSync,
    unlinkSync,
    writeSync,
} from 'node:fs';
import { randomBytes } from 'node:crypto';
import { userInfo } from 'node:os';

/** @typedef {string} ByteString */

/** @param {string} text @returns {ByteString} */
export const bytesOf = (text) => Buffer.from(text).toString('latin1');

/** @param {ByteString} bytes @returns {string} with U+FFFD where they are not UTF-8 */
export const textOf = (bytes) => Buffer.from(bytes, 'latin1').toString();

/** @param {ByteString} path */
const onDisk = (path) => Buffer.from(path, 'latin1');

/** @param {unknown} error */
export const codeOf = (error) => /** @type {NodeJS.ErrnoException} */ (error).code;

/** @returns {ByteString} the folder that holds the user's data, which need not exist */
export function dataFolder() {
    const home = process.env.HOME?.startsWith('/') ? process.env.HOME : userInfo().homedir;
    return `${bytesOf(home)}/Library/Application Support/Velmiro`;
}

/**
 * @param {ByteString} folder
 * @returns {ByteString[]} the visible names in it in the order of their bytes; none where it cannot be read
 */
export function names(folder) {
    try {
        const found = /** @type {string[]} */ (readdirSync(onDisk(folder), { encoding: 'latin1' }));
        return found.filter((name) => name[0] !== '.').sort();
    } catch {
        return [];
    }
}

/** @param {ByteString} path @returns {import('node:fs').Stats | undefined} of what a link leads to */
export function stat(path) {
    try {
        return statSync(onDisk(path), { throwIfNoEntry: false });
    } catch {
        return undefined;
    }
}

/**
 * Reads a regular file, or its beginning.
 * @param {ByteString} path
 * @param {number} most this many bytes at most
 * @returns {Buffer | undefined} nothing where there is none that can be read
 */
export function read(path, most) {
    let file = -1;
    try {
        // Not to wait for a pipe that has taken a file's place.
        file = openSync(
            onDisk(path),
            constants.O_RDONLY | constants.O_NONBLOCK | constants.O_NOCTTY,
        );
        const about = fstatSync(file);
        if (!about.isFile()) return undefined;
        const content = Buffer.allocUnsafe(Math.min(most, about.size));
        let length = 0;
        while (length < content.length) {
            const count = readSync(file, content, length, content.length - length, length);
            if (count === 0) break;
            length += count;
        }
        return content.subarray(0, length);
    } catch {
        return undefined;
    } finally {
        if (file !== -1) closeSync(file);
    }
}

/** @param {ByteString} folder whose entries are to outlast a crash */
function flush(folder) {
    const descriptor = openSync(onDisk(folder), constants.O_RDONLY | constants.O_DIRECTORY);
    try {
        fsyncSync(descriptor);
    } finally {
        closeSync(descriptor);
    }
}

/**
 * @param {ByteString} folder is made where it is missing; another process may make it at the same time
 * @param {boolean} [above] whether those above it are made too
 */
export function makeFolder(folder, above = true) {
    const parent = folder.slice(0, folder.lastIndexOf('/'));
    try {
        mkdirSync(onDisk(folder), { mode: 0o700 });
        flush(parent);
    } catch (error) {
        if (codeOf(error) === 'EEXIST') return;
        if (codeOf(error) !== 'ENOENT' || !above || parent === '') throw error;
        makeFolder(parent);
        makeFolder(folder, false);
    }
}

/** @param {ByteString} path @param {Buffer} content */
function writeNew(path, content) {
    const file = openSync(onDisk(path), 'wx', 0o600);
    try {
        for (let done = 0; done < content.length;) done += writeSync(file, content, done);
        fsyncSync(file);
    } finally {
        closeSync(file);
    }
}

/**
 * Makes a new file under the first of the names that is free. It appears whole and on the disk, or not at
 * all, and never in place of another.
 * @param {ByteString} folder that it comes into
 * @param {Iterable<ByteString>} candidates names for it
 * @param {Buffer} content
 * @param {ByteString} [workshop] a folder on the same disk where it is written first
 * @returns {boolean} whether a name was free
 */
export function create(folder, candidates, content, workshop = folder) {
    const draft = `${workshop}/.${process.pid}.${randomBytes(8).toString('hex')}`;
    try {
        writeNew(draft, content);
        for (const name of candidates) {
            try {
                linkSync(onDisk(draft), onDisk(`${folder}/${name}`));
                flush(folder);
                return true;
            } catch (error) {
                if (codeOf(error) !== 'EEXIST') throw error;
            }
        }
        return false;
    } finally {
        try {
            unlinkSync(onDisk(draft));
        } catch {
            // It was never made.
        }
    }
}
