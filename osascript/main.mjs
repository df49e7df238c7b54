// The command `osascript -l JavaScript -e SCRIPT [ARGUMENT]…`: evaluates the script, prints what it
// returns. Standard input belongs to whoever started the server and is never opened.

import { writeSync } from 'node:fs';
import { CommandLineError, readCommandLine, usage } from './commandLine.mjs';
import { evaluate } from './evaluate.mjs';
import { Mail } from './mail/Mail.mjs';
import { Notes } from './notes/Notes.mjs';

const applications = { Mail, Notes };

/**
 * Writes all of a text before it returns. Streams would buffer it past the end of the process, and would
 * switch a descriptor that others share to non-blocking.
 * @param {number} descriptor
 * @param {string} text
 */
function print(descriptor, text) {
    let rest = Buffer.from(text);
    while (rest.length > 0) {
        try {
            rest = rest.subarray(writeSync(descriptor, rest));
        } catch (error) {
            if (/** @type {NodeJS.ErrnoException} */ (error).code !== 'EAGAIN') throw error;
            Atomics.wait(new Int32Array(new SharedArrayBuffer(4)), 0, 0, 2); // a reader that is slower than we
        }
    }
}

/** @returns {number} the exit status */
function main() {
    const { source, argv, asSource, errorsToOutput } = readCommandLine(process.argv.slice(2));
    const { output, failure } = evaluate(source, argv, applications);
    if (failure !== undefined) {
        print(errorsToOutput ? 1 : 2, `execution error: ${failure}\n`);
        return 1;
    }
    print(1, `${asSource ? JSON.stringify(output) : output}\n`);
    return 0;
}

let status = 1;
try {
    status = main();
} catch (error) {
    // Of all else nobody reads what was to be said.
    if (error instanceof CommandLineError) print(2, `osascript: ${error.message}\n${usage}\n`);
}
process.exit(status);
