// The command `osascript -l JavaScript -e SCRIPT [ARGUMENT]…`: evaluates the script, prints what it
// returns. Standard input belongs to whoever started the server and is never opened.

import { writeSync } from 'node:fs';
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
    const [language, javaScript, evaluation, source, ...argv] = process.argv.slice(2);
    if (
        language !== '-l' ||
        javaScript !== 'JavaScript' ||
        evaluation !== '-e' ||
        source === undefined
    ) {
        print(2, 'usage: osascript -l JavaScript -e SCRIPT [ARGUMENT]...\n');
        return 1;
    }
    const { output, failure } = evaluate(source, argv, applications);
    if (failure !== undefined) {
        print(2, `execution error: ${failure}\n`);
        return 1;
    }
    print(1, `${output}\n`);
    return 0;
}

let status = 1;
try {
    status = main();
} catch {
    // Nobody reads what was to be said.
}
process.exit(status);
