// Between the HTML that is a note's body and its lines of text. Each block is a line and each <br> ends
// one; marks within a line are left out. White space counts, other than between blocks: scripts put a text
// into the body as it is, and it must come back so.

import { character } from './markdown.mjs';

const token =
    /<(\/?)([a-zA-Z][a-zA-Z0-9]*)(?:\s[^<>]*)?\/?>|&(?:#(\d{1,7})|#[xX]([0-9a-fA-F]{1,6})|(\w{2,6}));|[^<&]+|[<&]/g;
const blocks = /^(?:div|p|h[1-6]|ul|ol|li|table|tbody|tr|td|blockquote|pre|html|body)$/i;

/** @type {Record<string, string>} */
const entities = { amp: '&', lt: '<', gt: '>', quot: '"', apos: "'", nbsp: '\u00a0' };

/**
 * @param {string} html
 * @returns {string[]}
 */
export function linesOf(html) {
    /** @type {string[]} */
    const lines = [];
    let line = '';
    let opened = false; // whether a block has opened since the last one closed or opened

    /** @param {boolean} closing whether a block closes here */
    const boundary = (closing) => {
        if (line.trim() !== '' || (line !== '' && opened && closing)) lines.push(line);
        line = '';
        opened = !closing;
    };
    for (const [text, closing, tag, decimal, hexadecimal, name] of html.matchAll(token)) {
        if (tag) {
            if (blocks.test(tag)) {
                boundary(closing === '/');
            } else if (/^br$/i.test(tag)) {
                lines.push(line);
                line = '';
            }
        } else if (decimal || hexadecimal) {
            line += character(decimal ? parseInt(decimal, 10) : parseInt(hexadecimal, 16));
        } else {
            line += (name && entities[name]) ?? text;
        }
    }
    boundary(false);
    return lines;
}

/** @param {string} text */
const escape = (text) => text.replace(/&/g, '&amp;').replace(/</g, '&lt;').replace(/>/g, '&gt;');

/**
 * @param {string} title
 * @param {string[]} lines
 */
export const htmlOf = (title, lines) =>
    `<div><h1>${escape(title)}</h1></div>${lines.map((line) => `<div>${escape(line) || '<br>'}</div>`).join('')}`;
