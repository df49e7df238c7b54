// Reads the parts of a macOS program that the checks need, by the layout that Apple documents in
// <mach-o/fat.h>, <mach-o/loader.h> and <mach-o/nlist.h>. Throws on a read past the end.

const fatMagic = 0xcafebabe;
const objectMagic = 0xfeedfacf; // 64 bits, little-endian
const processors = new Map([
    [0x01000007, 'x86_64'],
    [0x0100000c, 'arm64'],
]);

const segment = 0x19;
const symbolTable = 0x2;
const signature = 0x1d;
const buildVersion = 0x32;
const dyldInfo = 0x80000022;
const exportsTrie = 0x80000033;
const dylibs = new Set([0xc, 0x80000018, 0x8000001f, 0x80000023]); // plain, weak, re-exported, upward
const undefinedExternal = 0x01;
const typeMask = 0x0f; // the type bits and the external bit, without the debugging bits
const debugging = 0xe0;

/** @param {Buffer} bytes @param {number} offset @param {number} length */
function slice(bytes, offset, length) {
    if (offset + length > bytes.length) {
        throw new RangeError(`${length} bytes at ${offset} lie beyond the end, ${bytes.length}`);
    }
    return bytes.subarray(offset, offset + length);
}

/** Returns the text up to the first NUL. @param {Buffer} bytes */
export function text(bytes) {
    const end = bytes.indexOf(0);
    return bytes.toString('utf8', 0, end < 0 ? bytes.length : end);
}

/** Returns the programs in a universal file, by the processor's name. @param {Buffer} file */
export function halves(file) {
    if (file.readUInt32BE(0) !== fatMagic) {
        throw new Error('not a file for several processors');
    }
    const found = new Map();
    for (let index = 0; index < file.readUInt32BE(4); ++index) {
        const entry = slice(file, 8 + 20 * index, 20);
        const offset = entry.readUInt32BE(8);
        const alignment = 2 ** entry.readUInt32BE(16);
        if (offset % alignment !== 0) {
            throw new Error(`a program at ${offset}, which is not aligned to ${alignment}`);
        }
        const processor = processors.get(entry.readUInt32BE(0)) ?? 'unknown';
        found.set(processor, new Program(slice(file, offset, entry.readUInt32BE(12))));
    }
    return found;
}

export class Program {
    /** @param {Buffer} bytes */
    constructor(bytes) {
        if (bytes.readUInt32LE(0) !== objectMagic) {
            throw new Error('not a program of 64 bits');
        }
        this.bytes = bytes;
        this.processor = processors.get(bytes.readUInt32LE(4)) ?? 'unknown';
        this.commands = [...this.#commands()];
    }

    *#commands() {
        let offset = 32;
        for (let index = 0; index < this.bytes.readUInt32LE(16); ++index) {
            const size = this.bytes.readUInt32LE(offset + 4);
            yield { kind: this.bytes.readUInt32LE(offset), bytes: slice(this.bytes, offset, size) };
            offset += size;
        }
    }

    #command(kind) {
        return this.commands.find((command) => command.kind === kind)?.bytes;
    }

    /** The libraries that it loads, in the order of the numbers by which symbols refer to them. */
    libraries() {
        return this.commands
            .filter(({ kind }) => dylibs.has(kind))
            .map(({ bytes }) => text(bytes.subarray(bytes.readUInt32LE(8))));
    }

    /** The kind of system, its oldest version that can run this, and the SDK's version. */
    platform() {
        const command = this.#command(buildVersion);
        const dotted = (/** @type {number} */ version) => `${version >> 16}.${(version >> 8) & 0xff}`;
        return {
            system: command.readUInt32LE(8),
            oldest: dotted(command.readUInt32LE(12)),
            sdk: dotted(command.readUInt32LE(16)),
        };
    }

    /** The flags of each segment, by name. */
    segmentFlags() {
        const segments = this.commands.filter(({ kind }) => kind === segment);
        return new Map(segments.map(({ bytes }) => [text(slice(bytes, 8, 16)), bytes.readUInt32LE(68)]));
    }

    /** The trie of its exports, or undefined. */
    exports() {
        const all = this.#command(dyldInfo);
        const own = this.#command(exportsTrie);
        const [offset, size] = own === undefined ? [40, 44] : [8, 12];
        const command = own ?? all;
        if (command === undefined) {
            return undefined;
        }
        return slice(this.bytes, command.readUInt32LE(offset), command.readUInt32LE(size));
    }

    /** The contents of a section, or undefined. @param {string} segmentName @param {string} name */
    section(segmentName, name) {
        for (const { kind, bytes } of this.commands) {
            for (let at = 72; kind === segment && at < bytes.length; at += 80) {
                if (text(slice(bytes, at, 16)) === name && text(slice(bytes, at + 16, 16)) === segmentName) {
                    return slice(this.bytes, bytes.readUInt32LE(at + 48), Number(bytes.readBigUInt64LE(at + 40)));
                }
            }
        }
        return undefined;
    }

    /** The symbols that it does not define itself, each with the library that it is bound to. */
    undefinedSymbols() {
        const table = this.#command(symbolTable);
        const names = slice(this.bytes, table.readUInt32LE(16), table.readUInt32LE(20));
        const libraries = this.libraries();
        const found = [];
        for (let index = 0; index < table.readUInt32LE(12); ++index) {
            const entry = slice(this.bytes, table.readUInt32LE(8) + 16 * index, 16);
            const type = entry[4];
            if ((type & debugging) === 0 && (type & typeMask) === undefinedExternal) {
                const library = libraries[entry[7] - 1] ?? `number ${entry[7]}`;
                found.push({ name: text(names.subarray(entry.readUInt32LE(0))), library });
            }
        }
        return found;
    }

    /** The offset and the bytes of its signature, or undefined. */
    signature() {
        const command = this.#command(signature);
        if (command === undefined) {
            return undefined;
        }
        const offset = command.readUInt32LE(8);
        return { offset, bytes: slice(this.bytes, offset, command.readUInt32LE(12)) };
    }
}
