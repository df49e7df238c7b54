// A thread that turns messages into readable text. The MIME library answers by promises, and scripts
// cannot wait for one; here it can be waited for, and a message made to exhaust it harms only this thread.

import { workerData } from 'node:worker_threads';
import { MissingPackage, load } from '../packages.mjs';
import { installDecoder } from './charsets.mjs';

/** @param {string} html @returns {string} */
function readable(html) {
    const { convert } = /** @type {typeof import('html-to-text')} */ (load('html-to-text'));
    return convert(html, {
        wordwrap: false,
        limits: {
            maxInputLength: 4 * 1024 * 1024,
            maxDepth: 200,
            maxChildNodes: 20000,
            ellipsis: '…',
        },
        selectors: [
            {
                selector: 'a',
                options: { ignoreHref: false, hideLinkHrefIfSameAsText: true, noAnchorUrl: true },
            },
            { selector: 'img', format: 'skip' },
            ...['h1', 'h2', 'h3', 'h4', 'h5', 'h6'].map((selector) => ({
                selector,
                options: { uppercase: false },
            })),
            { selector: 'table', options: { uppercaseHeaderCells: false } },
        ],
    });
}

/** @param {string} text @returns {string} as it was written: mail programs and parts add line ends */
function withoutLastLineEnds(text) {
    let end = text.length;
    while (text[end - 1] === '\n') end--;
    return text.slice(0, end);
}

/** @param {ArrayBuffer} message @returns {Promise<string>} */
async function content(message) {
    installDecoder();
    const { default: PostalMime } = /** @type {typeof import('postal-mime')} */ (
        load('postal-mime')
    );
    const { text = '', html = '' } = await PostalMime.parse(message, { maxNestingDepth: 50 });
    // Some programs send an empty text beside the HTML that holds all of it.
    const plain = text.trim() === '' && html !== '' ? readable(html) : text;
    return withoutLastLineEnds(plain.replace(/\r\n?/g, '\n'));
}

/** @type {{port: import('node:worker_threads').MessagePort, answered: Int32Array}} */
const { port, answered } = workerData;

port.on('message', async (message) => {
    let reply;
    try {
        reply = { text: await content(message) };
    } catch (error) {
        reply = { missing: error instanceof MissingPackage ? error.message : undefined };
    }
    port.postMessage(reply);
    Atomics.store(answered, 0, 1);
    Atomics.notify(answered, 0);
});
