// Text in the character sets of mail. The MIME library decodes through the global TextDecoder, and that of
// Node.js is not the Encoding Standard's: some releases read windows-1252 as control characters, all read
// EUC-KR without its extension. So what iconv-lite knows is left to it, and TextDecoder is replaced before
// the library is loaded.

import { load } from '../packages.mjs';

const Native = globalThis.TextDecoder;

/** @returns {typeof import('iconv-lite')} loaded at the first text that is not UTF-8 */
const iconv = () => load('iconv-lite');

/** Labels that mean more than they say, as every mail program reads them. */
const meant = new Map([
    ['us-ascii', 'windows-1252'],
    ['ascii', 'windows-1252'],
    ['iso-8859-1', 'windows-1252'],
    ['iso8859-1', 'windows-1252'],
    ['iso_8859-1', 'windows-1252'],
    ['latin1', 'windows-1252'],
    ['iso-8859-9', 'windows-1254'],
    ['iso-8859-8-i', 'iso-8859-8'],
    ['iso-8859-8-e', 'iso-8859-8'],
    ['gb2312', 'gb18030'],
    ['gbk', 'gb18030'],
]);

const utf8 = /^utf-?8$/;

/**
 * The standard makes an error of an escape to ASCII that another escape follows; Japanese programs that
 * put texts together write them.
 * @param {Buffer} bytes
 */
const withoutIdleEscapes = (bytes) =>
    Buffer.from(bytes.toString('latin1').replace(/\x1b\([BJ](?=\x1b[($])/g, ''), 'latin1');

class MailDecoder {
    /** @type {InstanceType<typeof Native> | undefined} */
    #native;

    constructor(label = 'utf-8') {
        const named = String(label).trim().toLowerCase();
        this.encoding = meant.get(named) ?? named;
        if (utf8.test(this.encoding) || !iconv().encodingExists(this.encoding))
            this.#native = new Native(this.encoding);
    }

    /** @param {ArrayBuffer | ArrayBufferView<ArrayBuffer>} [input] */
    decode(input = new ArrayBuffer(0)) {
        const bytes = ArrayBuffer.isView(input)
            ? Buffer.from(input.buffer, input.byteOffset, input.byteLength)
            : Buffer.from(input);
        if (!this.#native) return iconv().decode(bytes, this.encoding);
        return this.#native.decode(
            this.encoding === 'iso-2022-jp' ? withoutIdleEscapes(bytes) : bytes,
        );
    }
}

/** Decodes mail as mail programs do from here on, in this thread. */
export function installDecoder() {
    globalThis.TextDecoder = /** @type {any} */ (MailDecoder);
}

/**
 * @param {Buffer} bytes that say nothing of their character set
 * @returns {string} UTF-8, or else what is most likely
 */
export function decodeUnlabelled(bytes) {
    const text = bytes.toString('latin1');
    if (!/[\x80-\xff]/.test(text)) return text;
    try {
        return new Native('utf-8', { fatal: true }).decode(bytes);
    } catch {
        return iconv().decode(bytes, 'windows-1252');
    }
}
