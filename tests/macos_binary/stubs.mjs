// The link stubs: which names of each library the link may use.

import { readFileSync } from 'node:fs';

/** The words of a list in brackets, over several lines perhaps. @param {string} body @param {string} key */
function list(body, key) {
    return [...body.matchAll(new RegExp(`\\b${key}: *\\[([^\\]]*)\\]`, 'g'))].flatMap(([, words]) =>
        words
            .split(',')
            .map((word) => word.trim().replace(/^'(.*)'$/, '$1'))
            .filter((word) => word !== ''),
    );
}

/**
 * Each library's path with the names it offers. A file describes one library, or several one behind
 * the other where the first stands for all.
 * @param {string} path
 */
export function readStub(path) {
    const file = readFileSync(path, 'utf8');
    const library = /install-name: *'([^']*)'/.exec(file)[1];
    const classes = list(file, 'objc-classes');
    const exceptions = list(file, 'objc-eh-types');
    const names = new Set([
        ...list(file, 'symbols'),
        ...classes.flatMap((name) => [`_OBJC_CLASS_$_${name}`, `_OBJC_METACLASS_$_${name}`]),
        ...exceptions.map((name) => `_OBJC_EHTYPE_$_${name}`),
    ]);
    return { library, names, classes, exceptions };
}
