// Reads the build's declarations of Apple's libraries: the link stubs, which list the names in each
// library that the link may use, and the headers.

import { readFileSync } from 'node:fs';

/** The words of a list in brackets, over one line or more. @param {string} body @param {string} key */
function list(body, key) {
    return [...body.matchAll(new RegExp(`\\b${key}: *\\[([^\\]]*)\\]`, 'g'))].flatMap(([, words]) =>
        words
            .split(',')
            .map((word) => word.trim().replace(/^'(.*)'$/, '$1'))
            .filter((word) => word !== ''),
    );
}

/**
 * Returns a library's path and the names that it offers. If a file describes several libraries one after
 * another, the first stands for all.
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

/**
 * Returns the messages that an Objective-C header declares, each as the list of names by which it can be
 * sent: a property has two, one to read and one to write it.
 * @param {string} header
 */
export function declaredMessages(header) {
    const text = readFileSync(header, 'utf8').replaceAll(/\/\/.*/g, '');
    const properties = [...text.matchAll(/@property *(\([^)]*\))?([^;]*?)(\w+);/g)].map(([, attributes, , name]) => [
        /getter=(\w+)/.exec(attributes)?.[1] ?? name,
        `set${name[0].toUpperCase()}${name.slice(1)}:`,
    ]);
    const methods = [...text.matchAll(/^[-+] *(\([^;]*);/gm)].map(([, method]) => {
        let rest = method;
        while (/\(/.test(rest)) {
            rest = rest.replaceAll(/\([^()]*\)/g, ' '); // removes the types, innermost first
        }
        const parts = rest.match(/\w+ *:/g)?.map((part) => part.replace(' ', ''));
        return [parts?.join('') ?? rest.trim().split(/\s/)[0]];
    });
    return [...properties, ...methods];
}
