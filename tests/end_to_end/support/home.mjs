// A temporary home for one test: its data, its approval host. Removed when the test ends.

import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { lstat, mkdir, mkdtemp, readFile, readdir, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { dirname, join, relative } from 'node:path';
import { createInterface } from 'node:readline';
import { fileURLToPath } from 'node:url';

const build = process.env.BUILD_FOLDER ?? fileURLToPath(new URL('../../../build/release', import.meta.url));

/** @param {string} name */
export const binary = (name) => join(build, 'bin', name);

/** The server of the tests on the framework alone. */
export const testServer = process.env.CONFORMANCE_SERVER ?? '';
export const skipWithoutTestServer = testServer === '' && 'this build has no test server';

/**
 * The lines that a child process prints.
 * @param {import('node:stream').Readable} stream
 * @returns {AsyncIterator<string>}
 */
export const linesOf = (stream) => createInterface({ input: stream })[Symbol.asyncIterator]();

/** @typedef {import('node:test').TestContext} TestContext */

export class Home {
    /** @param {string} path */
    constructor(path) {
        this.path = path;
        this.velmiro = join(path, 'Library/Application Support/Velmiro');
        this.calendars = join(this.velmiro, 'Calendars');
        /** Runs when the test ends, in reverse order. @type {(() => Promise<unknown>)[]} */
        this.cleanups = [];
        this.environment = { HOME: path, TZ: 'Europe/Berlin', LC_ALL: 'en_GB.UTF-8' };
    }

    /** @param {TestContext} test @returns {Promise<Home>} */
    static async make(test) {
        const home = new Home(await mkdtemp(join(tmpdir(), 'velmiro-')));
        test.after(async () => {
            for (const cleanUp of home.cleanups.reverse()) await cleanUp();
            await rm(home.path, { recursive: true });
        });
        return home;
    }

    /**
     * Writes a file in the application's data folder.
     * @param {string} name @param {string} content
     */
    async write(name, content) {
        const path = join(this.velmiro, name);
        await mkdir(dirname(path), { recursive: true });
        await writeFile(path, content);
    }

    /**
     * Returns the contents of every calendar file, by path.
     * @returns {Promise<Map<string, string>>}
     */
    async calendarFiles() {
        const found = await readdir(this.calendars, { recursive: true, withFileTypes: true });
        const files = found.filter((entry) => entry.isFile()).map((entry) => join(entry.parentPath, entry.name));
        files.sort();
        const contents = await Promise.all(files.map((file) => readFile(file, 'latin1')));
        return new Map(files.map((file, at) => [relative(this.calendars, file), contents[at]]));
    }

    /**
     * Returns everything in a folder of the data, or in all of them, by path: the mode, the contents,
     * and when and in which inode they were written.
     * @param {string} folder
     * @returns {Promise<Map<string, {mode: bigint, inode: bigint, written: bigint, content: string}>>}
     */
    async snapshot(folder = '.') {
        const root = join(this.velmiro, folder);
        const entries = await readdir(root, { recursive: true });
        const described = entries.sort().map(async (name) => {
            const path = join(root, name);
            const { mode, ino, mtimeNs } = await lstat(path, { bigint: true });
            const content = (mode & 0o170000n) === 0o100000n ? await readFile(path, 'latin1') : '';
            return [name, { mode, inode: ino, written: mtimeNs, content }];
        });
        return new Map(await Promise.all(described));
    }

    /** Returns the paths of all files in a folder of the data. @param {string} folder */
    async fileNames(folder) {
        const entries = await readdir(join(this.velmiro, folder), { recursive: true, withFileTypes: true });
        const files = entries.filter((entry) => !entry.isDirectory());
        return files.map((entry) => relative(join(this.velmiro, folder), join(entry.parentPath, entry.name))).sort();
    }

    /**
     * Starts the real approval host, and ends it when the test ends.
     * @param {'--yes' | '--no'} answer
     */
    async startHost(answer) {
        await mkdir(this.velmiro, { recursive: true });
        const host = spawn(binary('approval_host'), [answer], {
            env: { ...process.env, ...this.environment, VELMIRO_APPROVAL_SOCKET: '' },
            stdio: ['ignore', 'pipe', 'inherit'],
        });
        const lines = linesOf(host.stdout);
        this.cleanups.push(async () => {
            host.kill('SIGTERM');
            if (host.exitCode === null && host.signalCode === null) await once(host, 'exit');
        });
        const first = await lines.next();
        if (first.value !== `listening at ${join(this.velmiro, 'approval.sock')}`) {
            throw new Error(`the approval host said: ${first.value}`);
        }
        return { next: async () => (await lines.next()).value };
    }
}
