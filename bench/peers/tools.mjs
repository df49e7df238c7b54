// What the peers have in common: the tools they list, so that all do so in the same words.

import { readFileSync } from 'node:fs';

/** What hello_server lists. */
const echo = {
    name: 'echo',
    description: 'Give back a text.',
    inputSchema: {
        type: /** @type {const} */ ('object'),
        properties: { text: { type: 'string' } },
        required: ['text'],
    },
    annotations: { readOnlyHint: true, destructiveHint: false },
};

/**
 * The tools of a JSON file, or `echo` alone where none is given.
 * @param {string | undefined} file
 * @returns {(typeof echo)[]}
 */
export const listedTools = (file) => (file ? JSON.parse(readFileSync(file, 'utf8')) : [echo]);
