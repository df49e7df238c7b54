// Changes a program for macOS where Zig's linker differs from Apple's: finish.mjs PROGRAM. This
// invalidates its signature; llvm-strip makes a new one.
//
// - The segment __DATA_CONST gets the flag SG_READ_ONLY. The system's loader refuses programs that are
//   linked against newer SDKs and have such a segment without the flag.
// - The list of exports is removed: no other program or library looks up a name in this one, and the
//   C++ library inside is for the program's own use.
//
// The layout is that of <mach-o/loader.h>.

import { readFileSync, writeFileSync } from 'node:fs';

const objectMagic = 0xfeedfacf; // 64 bits, little-endian
const segment = 0x19;
const dyldInfo = 0x80000022;
const readOnly = 0x10;

const path = process.argv[2];
const program = readFileSync(path);
if (program.readUInt32LE(0) !== objectMagic) {
    throw new Error(`${path} is no program of 64 bits`);
}
let marked = 0;
let exporting = 0;
let offset = 32;
for (let index = 0; index < program.readUInt32LE(16); ++index) {
    const command = program.subarray(offset, offset + program.readUInt32LE(offset + 4));
    const kind = command.readUInt32LE(0);
    if (kind === segment && command.toString('latin1', 8, 24).replace(/\0+$/, '') === '__DATA_CONST') {
        command.writeUInt32LE(command.readUInt32LE(68) | readOnly, 68);
        ++marked;
    } else if (kind === dyldInfo) {
        command.writeBigUInt64LE(0n, 40); // offset and size of the exports
        ++exporting;
    }
    offset += command.length;
}
if (marked !== 1 || exporting !== 1) {
    throw new Error(`${path} has ${marked} segments of constants and ${exporting} lists of exports`);
}
writeFileSync(path, program);
