// Runs one script in a JavaScript world of its own: the standard globals and `Application`, nothing of
// Node.js. The world is separate so that scripts see what they see on the real system, not to lock
// anything in: the scripts are the server's own.

import { Script, createContext } from 'node:vm';
import { ScriptError, wrongType } from './language/errors.mjs';
import { dictionary } from './language/specifiers.mjs';

/** @typedef {import('./language/specifiers.mjs').Kind} Kind */

/**
 * Makes values of the script's own world: an Error of ours would not be an `Error` there.
 * @typedef {object} Realm
 * @property {(message: string, number: number) => Error} error
 * @property {(items: unknown[]) => unknown[]} array
 * @property {(milliseconds: number) => Date} date
 */

const realmSource = `({
  error: (message, number) => Object.assign(new Error(message), {errorNumber: number}),
  array: items => [...items],
  date: milliseconds => new Date(milliseconds),
})`;

/**
 * @param {unknown} thrown
 * @returns {string} the text of an error as osascript prints it
 */
function failureText(thrown) {
    const number = Object(thrown).errorNumber;
    return `Error: ${String(thrown)} (${Number.isInteger(number) ? number : -2700})`;
}

/**
 * Evaluates a script: the result is what its function `run` returns, or without one the value of its last
 * expression.
 * @param {string} source
 * @param {string[]} argv what `run` is given
 * @param {Record<string, () => Kind>} applications by name
 * @returns {{output: string, failure?: undefined} | {output?: undefined, failure: string}}
 */
export function evaluate(source, argv, applications) {
    const context = createContext({});
    /** @param {string} text @param {string} [filename] @returns {any} */
    const run = (text, filename) => new Script(text, { filename }).runInContext(context);

    /** @type {Realm} */
    const realm = run(realmSource);
    const specifiers = dictionary(realm);
    context.Application = specifiers.guarded((/** @type {unknown} */ name) => {
        const application = Object.hasOwn(applications, String(name)) && applications[String(name)];
        if (!application) throw new ScriptError("Application can't be found.", -2700);
        return specifiers.object(application(), undefined);
    });

    try {
        const last = run(source, 'script');
        const main = run("typeof run === 'function' ? run : undefined");
        const result = main ? main(realm.array(argv)) : last;
        if (result === undefined) return { output: '' };
        if (typeof result !== 'string') throw specifiers.translated(wrongType());
        return { output: result };
    } catch (error) {
        return { failure: failureText(error) };
    }
}
