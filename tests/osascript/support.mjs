// A temporary home, and the stand-in as the server starts it: as a child process.

import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdirSync, mkdtempSync, readFileSync, rmSync, utimesSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { text } from 'node:stream/consumers';
import { fileURLToPath } from 'node:url';

const here = dirname(fileURLToPath(import.meta.url));
export const root = join(here, '../..');
export const samples = join(here, 'samples');
/** The program under test: that of the build that runs these tests, or else that of the test preset. */
export const program = process.env.OSASCRIPT ?? join(root, 'build/test/libexec/velmiro/osascript');

/** Drafts are not from the user who runs the tests. */
const environment = { ...process.env, EMAIL: '' };

const scripts = new Map();

/** One of the five scripts, byte for byte. */
export function script(name) {
    const path = join(root, 'velmiro_mcp/AppleTools/scripts', `${name}.js`);
    if (!scripts.has(name)) scripts.set(name, readFileSync(path, 'utf8'));
    return scripts.get(name);
}

/** Starts a program and gives what it said and how it ended. */
export async function exchange(command, options, ...given) {
    const child = spawn(command, given, { stdio: ['ignore', 'pipe', 'pipe'], ...options });
    const [output, errors, [status, signal]] = await Promise.all([
        text(child.stdout),
        text(child.stderr),
        once(child, 'close'),
    ]);
    return { output, errors, status, signal };
}

export class Home {
    constructor(t) {
        this.path = mkdtempSync(join(tmpdir(), 'osascript-'));
        this.data = join(this.path, 'Library/Application Support/Velmiro');
        this.variables = {}; // of the environment, besides the usual ones
        t.after(() => rmSync(this.path, { recursive: true, force: true }));
    }

    get environment() {
        return { ...environment, ...this.variables, HOME: this.path };
    }

    /** Evaluates a script text. */
    evaluate(source, ...given) {
        const options = { env: this.environment };
        return exchange(program, options, '-l', 'JavaScript', '-e', source, ...given);
    }

    /** Evaluates an expression and gives its value. */
    async value(expression) {
        const { output, errors, status } = await this.evaluate(`JSON.stringify(${expression})`);
        if (status !== 0) throw new Error(errors);
        return JSON.parse(output);
    }

    /** Runs one of the five scripts, called as the server calls it, and gives the value that it would. */
    async run(name, ...given) {
        const end = /^-./s.test(given[0] ?? '') ? ['--'] : [];
        const { output, errors, status } = await this.evaluate(script(name), ...end, ...given);
        if (status !== 0) throw new Error(errors);
        return JSON.parse(output);
    }

    /** Writes a file below the data folder; `age` is in seconds. */
    write(path, content, age = 0) {
        const file = join(this.data, path);
        mkdirSync(dirname(file), { recursive: true });
        writeFileSync(file, content);
        const written = Date.now() / 1000 - age;
        utimesSync(file, written, written);
        return file;
    }

    note(path, content, age) {
        return this.write(join('Notes', path), content, age);
    }

    mail(path, content, age) {
        return this.write(join('Mail', path), content, age);
    }
}

/** The date of a header, so many seconds ago. */
export const headerDate = (age) => new Date(Date.now() - age * 1000).toUTCString();

/** A small message that was received so many seconds ago. */
export const message = (subject, age, more = '') =>
    `Received: from a by b; ${headerDate(age)}\nFrom: Ana <ana@example.org>\nTo: me@example.org\n` +
    `Subject: ${subject}\n${more}\nHello.\n`;

/** Texts that have hurt programs which take text for anything else. */
export const awkward = [
    `quotes ' " \` and backslashes \\ \\\\ \\n \\'`,
    '</h1></div><h1>not a heading</h1> <script>alert(1)</script>',
    '${process.exit(1)} `${1}` $(id) %s %n {{x}}',
    'emoji 👩‍👩‍👧 🇩🇪 é e\u0301 ﬁ',
    'right to left \u202eabc\u202c \u200fשלום \u061c',
    '# heading ## * - + _under_ **bold** `code` [x](y) <http://x> &amp; &#65; \\*',
    '- item',
    '\ttab and  two  blanks',
    '----',
    '```js',
    '日本語 and 한국어 \u2028 separators \u2029 \u0085 \ufeff',
    '--help -e -l --inspect=0 -- ""',
    '%2e%2e/../../etc/passwd : ? * | <>',
];
