// The command as a host sees it: arguments, results, errors, streams, surroundings.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { closeSync, copyFileSync, openSync, readSync, readdirSync, symlinkSync, writeSync } from 'node:fs';
import { spawnSync } from 'node:child_process';
import { join } from 'node:path';
import { test } from 'node:test';
import { Home, awkward, exchange, message, program, script } from './support.mjs';

const echo = 'function run(argv) { return JSON.stringify(argv); }';
const command = ['-l', 'JavaScript', '-e'];

const optionLike = ['--help', '-e', '-l', '--', '', '-', '--inspect', '--eval=1', '-v', ...awkward];

test('what comes after the first argument reaches run as it is', async (t) => {
    for (const first of ['', '-', 'a', ' -e', '\u2014e']) {
        const { output, errors, status } = await new Home(t).evaluate(echo, first, ...optionLike);
        assert.deepEqual([JSON.parse(output), errors, status], [[first, ...optionLike], '', 0]);
    }
});

test('what comes after two dashes reaches run as it is, without these', async (t) => {
    for (const first of ['-milk', '-e1', '-i', '--', '-', '-1', '']) {
        const { output, errors, status } = await new Home(t).evaluate(echo, '--', first, ...optionLike);
        assert.deepEqual([JSON.parse(output), errors, status], [[first, ...optionLike], '', 0]);
    }
});

test('a first argument that begins with a dash is an option', async (t) => {
    const evaluate = (...given) => new Home(t).evaluate(echo, ...given);
    for (const [first, letter] of [
        ['-milk', 'm'],
        ['-1', '1'],
        ['--help', '-'],
        ['-\u{1f600}', '\ufffd'], // its first byte, as getopt reads letters
    ]) {
        const { output, errors, status } = await evaluate(first, 'a');
        assert.deepEqual([output, status], ['', 1]);
        assert.ok(errors.startsWith(`osascript: illegal option -- ${letter}\nusage: `), errors);
    }
    for (const given of [['-e'], ['-l'], ['-s']]) {
        const { output, errors, status } = await evaluate(...given);
        assert.deepEqual([output, status], ['', 1]);
        assert.ok(errors.startsWith(`osascript: option requires an argument -- ${given[0][1]}\n`), errors);
    }
    assert.equal((await evaluate('-i', 'a')).status, 1);
    assert.equal((await evaluate('-lAppleScript', 'a')).status, 1);
});

test('the lines of several -e are one script, of which the last run counts', async (t) => {
    const other = 'function run(argv) { return "other " + argv; }';
    for (const given of [[`-e${other}`, 'a'], ['-e', other, 'a'], ['-e', other, '--', 'a']]) {
        assert.equal((await new Home(t).evaluate(echo, ...given)).output, 'other a\n');
    }
    const { output } = await new Home(t).evaluate('const text = `one', '-e', 'two`; text');
    assert.equal(output, 'one\ntwo\n');
});

test('-s chooses the form of the result and where errors go', async (t) => {
    const evaluate = (...given) => new Home(t).evaluate(...given);
    assert.equal((await evaluate('"a"', '-ss')).output, '"a"\n');
    assert.equal((await evaluate('"a"', '-ss', '-s', 'h')).output, 'a\n');
    const { output, errors, status } = await evaluate('throw "x"', '-so');
    assert.deepEqual([output, errors, status], ['execution error: Error: x (-2700)\n', '', 1]);
    assert.equal((await evaluate('throw "x"', '-soe')).errors, 'execution error: Error: x (-2700)\n');
    assert.match((await evaluate('"a"', '-sx')).errors, /^osascript: illegal flag -- x\nusage: /);
});

test('an argument of the greatest length that Linux takes arrives whole', async (t) => {
    const long = 'x'.repeat(131_071);
    const { output } = await new Home(t).evaluate(echo, long);
    assert.deepEqual(JSON.parse(output), [long]);
});

test('a returned text is printed as it is, with a line end', async (t) => {
    const { output } = await new Home(t).evaluate('function run() { return "a\\n\\"b\\" ü"; }');
    assert.equal(output, 'a\n"b" ü\n');
});

test('a script without run gives the value of its last expression', async (t) => {
    assert.equal((await new Home(t).evaluate('const a = "1"; a + "2"')).output, '12\n');
});

test('nothing returned is an empty line', async (t) => {
    assert.equal((await new Home(t).evaluate('function run() {}')).output, '\n');
});

for (const value of ['1', 'null', '({})', '[]', 'true', 'Promise.resolve("a")']) {
    test(`a result that is no text is an error: ${value}`, async (t) => {
        const { output, errors, status } = await new Home(t).evaluate(
            `function run() { return ${value}; }`,
        );
        assert.deepEqual([output, status], ['', 1]);
        assert.equal(errors, "execution error: Error: Error: Can't convert types. (-1700)\n");
    });
}

const failures = {
    'throw new Error("no such thing")': 'Error: no such thing',
    'throw new TypeError("not that")': 'TypeError: not that',
    'throw "a text"': 'a text',
    'throw undefined': 'undefined',
    undefinedName: "ReferenceError: Can't find variable: undefinedName",
    'let x = ;': "SyntaxError: Unexpected token ';'",
    'Application("Foo")': "Error: Application can't be found.",
    'Application("constructor")': "Error: Application can't be found.",
};
for (const [source, text] of Object.entries(failures)) {
    test(`an error is told in the form of the real command: ${source}`, async (t) => {
        const { output, errors, status } = await new Home(t).evaluate(source);
        const expected = ['', `execution error: Error: ${text} (-2700)\n`, 1];
        assert.deepEqual([output, errors, status], expected);
    });
}

test('a script sees the standard globals and nothing of other hosts', async (t) => {
    const names =
        '["process","require","Buffer","setTimeout","fetch","module","JSON","Intl","Map"]';
    const seen = await new Home(t).value(`${names}.filter(name => name in globalThis)`);
    assert.deepEqual(seen, ['JSON', 'Intl', 'Map']);
});

test('errors of the stand-in are errors in the script', async (t) => {
    const source =
        '(() => { try { Application("Foo") } catch (e) { return [e instanceof Error, e.errorNumber] } })()';
    assert.deepEqual(await new Home(t).value(source), [true, -2700]);
});

for (const given of [
    [],
    ['-e', '1'],
    ['-l', 'AppleScript', '-e', '1'],
    ['-l', 'JavaScript', '-e'],
    ['x'],
]) {
    test(`another command line is refused: ${given.join(' ')}`, async () => {
        const { output, errors, status } = await exchange(program, {}, ...given);
        assert.deepEqual([output, status], ['', 1]);
        assert.match(errors, /^osascript: .+\nusage: osascript .*\n$/);
    });
}

test('an output of 50 MB is written whole', { timeout: 120_000 }, async (t) => {
    const source = 'function run() { return "0123456789".repeat(5000000); }';
    const { output, status } = await new Home(t).evaluate(source);
    assert.deepEqual([output.length, status], [50_000_001, 0]);
});

test('a reader that goes away is no crash and no message', { timeout: 60_000 }, async (t) => {
    const source = 'function run() { return "x".repeat(10000000); }';
    const options = { env: new Home(t).environment, stdio: ['ignore', 'pipe', 'pipe'] };
    const child = spawn(program, [...command, source], options);
    let errors = '';
    child.stderr.on('data', (part) => (errors += part));
    child.stdout.once('data', () => child.stdout.destroy());
    const [status] = await once(child, 'close');
    assert.deepEqual([status, errors], [1, '']);
});

/** A pipe in which a line waits, as in the pipe of a host; `left` gives what is still in it. */
function pipeWithLine(home) {
    const path = join(home.path, 'pipe');
    spawnSync('mkfifo', [path]);
    const ends = openSync(path, 'r+');
    writeSync(ends, 'a line of the host\n');
    return {
        ends,
        left() {
            writeSync(ends, '|');
            const buffer = Buffer.alloc(100);
            return buffer.toString('utf8', 0, readSync(ends, buffer));
        },
    };
}

test('standard input is left unread', async (t) => {
    const home = new Home(t);
    home.mail('cur/1.a:2,', 'Subject: s\n\nbody\n');
    const { ends, left } = pipeWithLine(home);
    t.after(() => closeSync(ends));
    for (const [name, ...given] of [
        ['mail_list', '3', '20', 'false'],
        ['mail_read', String(await home.value('Application("Mail").inbox.messages[0].id()'))],
        ['mail_create_draft', '["a@b"]', '[]', 's', 'b'],
        ['notes_create', 't', 'b', ''],
        ['notes_search', 't', '5'],
    ]) {
        const options = { env: home.environment, stdio: [ends, 'pipe', 'pipe'] };
        const { status } = await exchange(program, options, ...command, script(name), ...given);
        assert.equal(status, 0, name);
    }
    assert.equal(left(), 'a line of the host\n|');
});

test('closed standard streams do no harm', async (t) => {
    const home = new Home(t);
    home.note('A/a.md', '# one\n');
    const line = `exec "$0" -l JavaScript -e "$1" one 5 <&-`;
    const given = ['-c', line, program, script('notes_search')];
    const { output, status } = await exchange('/bin/sh', { env: home.environment }, ...given);
    assert.equal(JSON.parse(output).notes.length, 1);
    assert.equal(status, 0);
});

test('what the environment says to the engine changes nothing', async (t) => {
    const env = { ...new Home(t).environment, JSC_noSuchOption: '1', JSC_dumpOptions: '2' };
    const { output, errors } = await exchange(program, { env }, ...command, echo, 'a');
    assert.deepEqual([output, errors], ['["a"]\n', '']);
});

test('it is found through symbolic links, and so is its reader of messages', async (t) => {
    const home = new Home(t);
    const first = join(home.path, 'first');
    const second = join(home.path, 'second');
    symlinkSync(program, first);
    symlinkSync('first', second);
    home.mail('cur/1.a:2,', message('one', 10));
    const source = "Application('Mail').inbox.messages[0].content()";
    const { output } = await exchange(second, { env: home.environment }, ...command, source);
    assert.equal(output, 'Hello.\n');
});

test('an environment of nothing is enough', async () => {
    assert.equal((await exchange(program, { env: {} }, ...command, echo)).output, '[]\n');
});

test('without its reader of messages one line says so, and all else works', async (t) => {
    const home = new Home(t);
    const copy = join(home.path, 'osascript');
    copyFileSync(program, copy);
    home.mail('cur/1.a:2,', message('one', 10));
    const run = (source) => exchange(copy, { env: home.environment }, ...command, source);
    const { output, errors, status } = await run("Application('Mail').inbox.messages[0].content()");
    assert.deepEqual([output, status], ['', 1]);
    assert.match(errors, /^execution error: .*message_reader.*\n$/);
    const subject = "Application('Mail').inbox.messages[0].subject()";
    assert.equal((await run(subject)).output, 'one\n');
});

test('sixty-four at once do not disturb each other', { timeout: 120_000 }, async (t) => {
    const home = new Home(t);
    const count = 16;
    const numbers = Array.from({ length: count }, (_, i) => i);
    for (const i of numbers) {
        home.note(`A/${i}.md`, `# title ${i}\n\nword${i}.\n`);
        home.mail(`cur/${i}.a:2,`, message(`subject ${i}`, 60 + i).replace('Hello.', `text ${i}`));
    }
    const bomb = `Content-Type: multipart/mixed; boundary=x\n${'\n--x\n'.repeat(1_000_000)}`;
    home.mail('cur/bomb:2,', message('bomb', 10, bomb));
    const listed = await home.run('mail_list', '1', '100', 'false');
    const numberOf = (subject) => String(listed.messages.find((one) => one.subject === subject).id);
    const all = numbers.flatMap((i) => [
        async () => {
            const { notes } = await home.run('notes_search', `word${i}.`, '5');
            assert.deepEqual(notes.map((note) => note.name), [`title ${i}`]);
        },
        async () => {
            const { content } = await home.run('mail_read', numberOf(`subject ${i}`));
            assert.equal(content, `text ${i}`);
        },
        async () => {
            const { messages } = await home.run('mail_list', '1', '100', 'false');
            assert.equal(messages.length, count + 1);
        },
        async () => {
            const draft = await home.run('mail_create_draft', '["a@b.c"]', '[]', `draft ${i}`, 'b');
            assert.deepEqual(draft, { saved_as_draft: true });
        },
    ]);
    assert.equal(all.length, 64);
    const hostile = home.run('mail_read', numberOf('bomb'));
    await Promise.all(all.map((one) => one()));
    assert.ok((await hostile).content.startsWith('--x'));
    assert.equal(readdirSync(join(home.data, 'Mail/.Drafts/cur')).length, count);
});

for (const [megabytes, succeeds] of [
    [1000, false],
    [6000, false],
    [8192, true],
]) {
    test(`with ${megabytes} MiB of addresses it ${succeeds ? 'works' : 'says so in one line'}`, async (t) => {
        const limited = `ulimit -c unlimited; ulimit -v ${megabytes * 1024}; exec "$0" "$@"`;
        const given = ['-c', limited, program, ...command, '"a"'];
        const options = { cwd: new Home(t).path };
        const { output, errors, status } = await exchange('/bin/sh', options, ...given);
        if (succeeds) {
            assert.deepEqual([output, errors, status], ['a\n', '', 0]);
        } else {
            assert.deepEqual([output, status], ['', 1]);
            assert.match(errors, /^osascript: the script engine needs 8 GiB .* is \d+ MiB\n$/);
        }
    });
}

test('an engine without memory says so in one line and leaves no core file', async (t) => {
    const home = new Home(t);
    const limited = 'ulimit -c unlimited; ulimit -d 100000; exec "$0" "$@"';
    const given = ['-c', limited, program, ...command, '"a"'];
    const { output, errors, status } = await exchange('/bin/sh', { cwd: home.path }, ...given);
    assert.deepEqual([output, status], ['', 1]);
    assert.equal(errors, 'osascript: the script engine failed; memory may be short\n');
    assert.deepEqual(readdirSync(home.path), []);
});

test('what cannot be printed is a failure', async () => {
    for (const closing of ['>&-', '>/dev/full']) {
        const given = ['-c', `exec "$0" -l JavaScript -e '"a"' ${closing}`, program];
        assert.equal((await exchange('/bin/sh', {}, ...given)).status, 1, closing);
    }
});

test('a script that never ends is ended by a signal', { timeout: 60_000 }, async (t) => {
    const child = spawn(program, [...command, 'while (true);'], { env: new Home(t).environment });
    setTimeout(() => child.kill('SIGTERM'), 1000);
    const [status, signal] = await once(child, 'close');
    assert.deepEqual([status, signal], [null, 'SIGTERM']);
});

for (const HOME of [undefined, '', 'relative/home']) {
    test(`a HOME that is ${HOME} is the one of the account`, async () => {
        const env = { ...process.env, HOME };
        if (HOME === undefined) delete env.HOME;
        // Read only: what the account holds is its own.
        const source = `JSON.stringify(Application('Notes').folders.whose({name: 'no such folder'})())`;
        const { output, status } = await exchange(program, { env, cwd: '/' }, ...command, source);
        assert.deepEqual([output, status], ['[]\n', 0]);
    });
}
