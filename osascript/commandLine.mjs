// Reads the command line as the system's osascript does, by the rules of the C library's getopt: what
// begins with "-" is options until an argument comes that does not, that is "-" alone, or "--", which is
// swallowed. Letters may share an argument, and a value may be a part of its option's.

/** A command line that cannot be read, or that asks for what is not here. */
export class CommandLineError extends Error {}

export const usage = 'usage: osascript -l JavaScript -e SCRIPT [-e SCRIPT]... [-s FLAGS] [ARGUMENT]...';

const withValue = 'els';
const without = 'i';
const resultFlags = 'hseo';

/**
 * @typedef {object} CommandLine
 * @property {string} source the lines given by each -e
 * @property {string[]} argv what `run` is given
 * @property {boolean} asSource whether the result is printed as its source (-ss)
 * @property {boolean} errorsToOutput whether errors go to standard output (-so)
 */

/**
 * The options in their order, and what is left.
 * @param {string[]} given
 * @returns {{options: [string, string][], rest: string[]}}
 */
function getopt(given) {
    /** @type {[string, string][]} */
    const options = [];
    let next = 0;
    while (next < given.length && given[next].length > 1 && given[next].startsWith('-')) {
        const letters = given[next++].slice(1);
        if (letters === '-') {
            break;
        }
        for (let at = 0; at < letters.length; ++at) {
            const letter = String.fromCodePoint(letters.codePointAt(at) ?? 0);
            if (without.includes(letter)) {
                options.push([letter, '']);
                continue;
            }
            if (!withValue.includes(letter)) {
                throw new CommandLineError(`illegal option -- ${letter}`);
            }
            const value = letters.slice(at + 1) || given[next++];
            if (value === undefined) {
                throw new CommandLineError(`option requires an argument -- ${letter}`);
            }
            options.push([letter, value]);
            break;
        }
    }
    return { options, rest: given.slice(next) };
}

/**
 * @param {string[]} given the arguments after the program's name
 * @returns {CommandLine}
 */
export function readCommandLine(given) {
    const { options, rest } = getopt(given);
    /** @param {string} wanted */
    const values = (wanted) => options.filter(([letter]) => letter === wanted).map(([, value]) => value);
    if (values('i').length > 0) {
        throw new CommandLineError('scripts cannot be typed in here');
    }
    const flags = values('s').join('');
    const unknown = [...flags].find((flag) => !resultFlags.includes(flag));
    if (unknown !== undefined) {
        throw new CommandLineError(`illegal flag -- ${unknown}`);
    }
    const lines = values('e');
    if (values('l').at(-1) !== 'JavaScript' || lines.length === 0) {
        throw new CommandLineError('only JavaScript, given by -l and -e, is run here');
    }
    // Of two flags that exclude each other the later one counts.
    return {
        source: lines.join('\n'),
        argv: rest,
        asSource: flags.lastIndexOf('s') > flags.lastIndexOf('h'),
        errorsToOutput: flags.lastIndexOf('o') > flags.lastIndexOf('e'),
    };
}
