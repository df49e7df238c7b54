// Debian's mail programs on the Maildir of a home, as its user would run them.

import { execFile, spawn } from 'node:child_process';
import { once } from 'node:events';
import { chmod, mkdir, readFile, rm, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { text } from 'node:stream/consumers';
import { promisify } from 'node:util';

/** @typedef {import('./home.mjs').Home} Home */

const run = promisify(execFile);

/** Runs a program with the given input; returns its output. */
async function feed(program, given, input, env) {
    const child = spawn(program, given, { env, timeout: 30_000 });
    child.stdin.on('error', () => {}); // a program that does not read it says why on standard error
    child.stdin.end(input);
    const [output, errors, [status]] = await Promise.all([
        text(child.stdout),
        text(child.stderr),
        once(child, 'close'),
    ]);
    if (status !== 0) throw new Error(`${program}: ${errors || status}`);
    return output;
}

/** Creates the Maildir as other programs do; returns its path. @param {Home} home */
async function maildirOf(home) {
    const path = join(home.velmiro, 'Mail');
    for (const folder of ['cur', 'new', 'tmp']) await mkdir(join(path, folder), { recursive: true });
    return path;
}

/**
 * Sets up notmuch on the Maildir of a home, with a database of its own.
 * @param {Home} home
 */
export async function notmuchIn(home) {
    const settings = join(home.path, 'notmuch-config');
    const database = join(home.path, 'notmuch');
    await mkdir(database);
    await writeFile(
        settings,
        `[database]
path=${database}
mail_root=${await maildirOf(home)}
[user]
name=Mira
primary_email=mira@example.net
[new]
tags=unread;inbox
[maildir]
synchronize_flags=true
`,
    );
    const env = { ...process.env, ...home.environment, NOTMUCH_CONFIG: settings };
    await run('notmuch', ['new', '--quiet'], { env });
    return {
        /** Inserts a message into the Maildir. @param {string | Buffer} message @param {string[]} given */
        insert: (message, ...given) => feed('notmuch', ['insert', ...given], message, env),
        run: async (...given) =>
            (await run('notmuch', given, { env, timeout: 30_000, maxBuffer: 10_000_000 })).stdout,
    };
}

/**
 * Sets up mutt on the Maildir of a home. Its messages are saved to a file and sent nowhere.
 * @param {Home} home
 */
export async function muttIn(home) {
    const settings = join(home.path, 'muttrc');
    const sendmail = join(home.path, 'sendmail');
    const sent = join(home.path, 'sent');
    await writeFile(sendmail, `#!/bin/sh\nprintf '%s\\n' "$@" >"${sent}.arguments"\ncat >"${sent}"\n`);
    await chmod(sendmail, 0o700);
    await writeFile(
        settings,
        `set mbox_type=Maildir from="Mira <mira@example.net>" charset=utf-8 send_charset=utf-8
set sendmail="${sendmail}" sendmail_wait=30 copy=yes record="${await maildirOf(home)}"
`,
    );
    const env = { ...process.env, ...home.environment, LC_ALL: 'C.UTF-8' };
    const mutt = (given, input) => feed('mutt', ['-n', '-F', settings, ...given], input, env);
    return {
        /** Sends a message and keeps a copy in the Maildir. */
        send: (to, subject, body) => mutt(['-s', subject, '--', to], body),
        /**
         * Resumes a draft and sends it, without keeping a copy.
         * @param {string} draft
         * @returns {Promise<{recipients: string[], message: Buffer}>}
         */
        async resume(draft) {
            await rm(sent, { force: true });
            await mutt(['-e', 'set copy=no', '-H', draft], '');
            const [, ...recipients] = (await readFile(`${sent}.arguments`, 'utf8')).trim().split('\n');
            return { recipients, message: await readFile(sent) };
        },
    };
}
