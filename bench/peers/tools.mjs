// The tools that the peers list, so that all of them send the same bytes.

import { readFileSync } from 'node:fs';

/** The tool that hello_server lists. */
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
 * Returns the tools in a JSON file, or only `echo` if no file is given.
 * @param {string | undefined} file
 * @returns {(typeof echo)[]}
 */
export const listedTools = (file) => (file ? JSON.parse(readFileSync(file, 'utf8')) : [echo]);
