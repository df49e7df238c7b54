// Drafts: written as messages into the Maildir folder `.Drafts`, where mail programs resume them. Nothing
// here can send: of the library only the encoders are loaded.

import { randomBytes } from 'node:crypto';
import { hostname } from 'node:os';
import { bytesOf, create, makeFolder, stat } from '../files.mjs';
import { ScriptError } from '../language/errors.mjs';
import { load } from '../packages.mjs';

/** @typedef {import('../files.mjs').ByteString} ByteString */

/**
 * @typedef {object} Draft
 * @property {string} subject
 * @property {string} content
 * @property {{name: string, address: string}[]} to
 * @property {{name: string, address: string}[]} cc
 */

/** @returns {{encodeWord(text: string, encoding: string, length: number): string, foldLines(text: string, length: number): string}} */
const words = () => load('nodemailer/lib/mime-funcs');

/** @returns {{encode(text: string): string, wrap(text: string, length: number): string}} */
const quotedPrintable = () => load('nodemailer/lib/qp');

/** @returns {typeof import('postal-mime').addressParser} */
const addressParser = () => load('postal-mime').addressParser;

const longestWord = 52;

/** No header can hold these, and a line end among them would begin another header. */
const controls = /[\p{Cc}\u2028\u2029]+/gu;

const printable = /^[ -~]*$/;

/** @param {string} text @returns {string} encoded words, which hold any text */
const encoded = (text) => words().encodeWord(text, 'B', longestWord);

/** @param {string} text @returns {string} a text that is read as itself */
function unstructured(text) {
    const line = text.replace(controls, ' ');
    // Some readers lose a blank where two meet a fold.
    const plain = printable.test(line) && !/^ |  | $|=\?|\S{900}/.test(line);
    return plain ? line : encoded(line);
}

/** @param {string} name @returns {string} as part of an address */
const phrase = (name) =>
    printable.test(name) ? `"${name.replace(/["\\]/g, '\\$&')}"` : encoded(name);

/**
 * One recipient as it was given, as far as a header can hold it. Names are encoded where they must be; an
 * address is never changed. What would swallow the recipients behind it is made a name.
 * @param {{name: string, address: string}} recipient
 * @returns {string}
 */
function recipient({ name, address }) {
    const given = address.replace(controls, ' ').trim();
    const called = name.replace(controls, ' ').trim();
    if (called) return `${phrase(called)} <${given.replace(/[<>]/g, '')}>`;
    const parse = addressParser();
    const alone = parse(given, { flatten: true });
    const followed = parse(`${given}, next@example.org`, { flatten: true });
    const closed =
        followed.length === alone.length + 1 &&
        followed[alone.length].address === 'next@example.org';
    if (!closed || alone.length === 0) return phrase(given);
    if (printable.test(given)) return given;
    const understood = alone
        .map((one) =>
            one.name && one.address ? `${one.name} <${one.address}>` : one.name || one.address,
        )
        .join(', ');
    if (understood !== given.replace(/"/g, '')) return phrase(given);
    return alone
        .map((one) =>
            !one.address
                ? phrase(one.name)
                : one.name
                  ? `${phrase(one.name)} <${one.address}>`
                  : one.address,
        )
        .join(', ');
}

/** @param {string} name @param {{name: string, address: string}[]} recipients @returns {string[]} */
function recipients(name, recipients) {
    if (recipients.length === 0) return [];
    return [words().foldLines(`${name}: ${recipients.map(recipient).join(', ')}`, 76)];
}

/** @param {string} text @returns {string} its lines in quoted-printable, exact to the last blank */
function body(text) {
    const { encode, wrap } = quotedPrintable();
    // A lone CR would be taken for a line end, "From " for the beginning of the next message of a mailbox.
    const safe = encode(text.replace(/\r\n/g, '\n'))
        .replace(/\r/g, '=0D')
        .replace(/^From /gm, '=46rom ');
    return wrap(safe, 76);
}

/**
 * Without a From, which the mail program that sends it knows.
 * @param {Draft} draft
 * @param {Date} now
 * @param {string} identifier
 * @returns {Buffer}
 */
export function composed(draft, now, identifier) {
    const header = [
        `Date: ${now.toUTCString().replace('GMT', '+0000')}`,
        `Message-ID: <${identifier}>`,
        ...recipients('To', draft.to),
        ...recipients('Cc', draft.cc),
        words().foldLines(`Subject: ${unstructured(draft.subject)}`, 76),
        'X-Unsent: 1',
        'MIME-Version: 1.0',
        'Content-Type: text/plain; charset=utf-8',
        'Content-Transfer-Encoding: quoted-printable',
    ];
    return Buffer.from(`${header.join('\n')}\n\n${body(draft.content)}\n`.replace(/\r\n/g, '\n'));
}

/**
 * @param {ByteString} mail the Maildir
 * @param {Draft} draft
 */
export function save(mail, draft) {
    const drafts = `${mail}/.Drafts`;
    for (const folder of ['cur', 'new', 'tmp']) {
        makeFolder(`${mail}/${folder}`);
        makeFolder(`${drafts}/${folder}`);
    }
    // What tells a folder of a Maildir from a Maildir.
    if (!stat(`${drafts}/maildirfolder`)) create(drafts, ['maildirfolder'], Buffer.alloc(0));

    const now = new Date();
    const host = hostname().replace(/[^\w.-]/g, '_') || 'localhost';
    const random = randomBytes(8).toString('hex');
    const unique = `${Math.floor(now.getTime() / 1000)}.M${now.getTime() % 1000}P${process.pid}R${random}.${host}`;
    const message = composed(draft, now, `${now.getTime()}.${random}@${host}`);
    const created = create(`${drafts}/cur`, [bytesOf(`${unique}:2,DS`)], message, `${drafts}/tmp`);
    if (!created) throw new ScriptError('another message bears the name of the draft');
}
