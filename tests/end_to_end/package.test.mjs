// What is installed and packed: the programs where the server looks for them, a bundle that its own
// description fits, and a description that a registry takes.

import Ajv from 'ajv';
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import { access, chmod, constants, mkdir, readFile, stat, writeFile } from 'node:fs/promises';
import { dirname, join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { binary, Home } from './support/home.mjs';

const checkout = fileURLToPath(new URL('../..', import.meta.url));
const schemas = new URL('./node_modules/@anthropic-ai/mcpb/schemas/', import.meta.url);

/** Runs a program to its end. @param {string} program @param {string[]} given @param {object} [more] */
function run(program, given, more = {}) {
    const ended = spawnSync(program, given, { encoding: 'utf8', timeout: 60_000, ...more });
    assert.equal(ended.status, 0, `${program} ${given.join(' ')}: ${ended.stderr ?? ended.error}`);
    return ended.stdout;
}

/** Installs this build below a folder. @param {string} prefix */
function install(prefix) {
    run('cmake', ['--install', dirname(dirname(binary('velmiro_mcp'))), '--prefix', prefix]);
}

/** The reply of a server to one request. @param {string} server @param {string} method @param {object} env */
function ask(server, method, params = {}, env = {}) {
    const input = `${JSON.stringify({ jsonrpc: '2.0', id: 1, method, params })}\n`;
    return JSON.parse(run(server, [], { input, env })).result;
}

/** @param {string} path */
const isProgram = (path) => access(path, constants.X_OK).then(() => true, () => false);

test('an installed server finds its own programs, wherever it is', async (t) => {
    const home = await Home.make(t);
    const prefix = join(home.path, 'a prefix');
    install(prefix);
    for (const program of ['bin/velmiro_mcp', 'bin/approval_host', 'bin/velmiro_doctor',
        'libexec/velmiro/osascript', 'libexec/velmiro/message_reader']) {
        assert.ok(await isProgram(join(prefix, program)), program);
    }
    for (const name of ['velmiro_mcp', 'approval_host', 'velmiro_doctor']) {
        const manual = await readFile(join(prefix, `share/man/man1/${name}.1`), 'utf8');
        assert.match(manual, new RegExp(`^\\.Nm ${name}$`, 'm'));
    }
    await home.write('Notes/n/1.md', '# Shopping\n\nmilk\n');
    await home.write('Mail/new/1.a.b', `From: a@b.c\nSubject: s\nDate: ${new Date().toUTCString()}\n\nhello\n`);
    await mkdir(join(home.velmiro, 'Mail/cur'));
    await mkdir(join(home.velmiro, 'Mail/tmp'));
    const server = join(prefix, 'bin/velmiro_mcp');
    const call = (/** @type {string} */ name, given = {}) =>
        ask(server, 'tools/call', { name, arguments: given }, { HOME: home.path });
    assert.match(call('notes_search', { query: 'milk' }).content[0].text, /Shopping/);
    const [{ id }] = JSON.parse(call('mail_list').content[0].text).messages;
    assert.match(call('mail_read', { id }).content[0].text, /hello/, 'by the reader in libexec');
});

test('every option that a program has is in its manual, and no other', async (t) => {
    for (const name of ['approval_host', 'velmiro_doctor']) {
        const usage = run(binary(name), ['--help']);
        const manual = await readFile(join(checkout, `package/man/${name}.1`), 'utf8');
        const inUsage = new Set(usage.match(/--[a-z]+/g));
        const inManual = new Set([...manual.matchAll(/Fl -([a-z]+)/g)].map(([, option]) => `--${option}`));
        assert.deepEqual([...inManual].sort(), [...inUsage].sort(), name);
    }
});

test('the user unit is one that systemd takes', async (t) => {
    if (spawnSync('systemd-analyze', ['--version']).error) return t.skip('systemd is not installed');
    const home = await Home.make(t);
    const unit = await readFile(join(checkout, 'package/systemd/velmiro-approval-host.service'), 'utf8');
    assert.match(unit, /^ExecStart=approval_host --window$/m);
    // The program is not in the folders of this machine, so the unit names the one that was built.
    const path = join(home.path, 'velmiro-approval-host.service');
    await writeFile(path,
        unit.replace('ExecStart=', `ExecStart=${dirname(binary('approval_host'))}/`)
            .replace(/^Documentation=.*\n/m, ''));
    const runtime = join(home.path, 'run');
    await mkdir(runtime);
    await chmod(runtime, 0o700);
    const verified = spawnSync('systemd-analyze', ['--user', 'verify', path], {
        encoding: 'utf8', env: { ...process.env, XDG_RUNTIME_DIR: runtime } });
    // Units of the machine that have nothing to do with this one may be complained of as well.
    const complaints = verified.stderr.split('\n').filter((line) => line.includes('velmiro'));
    assert.deepEqual(complaints, []);
    assert.equal(verified.status, 0, verified.stderr);
});

test('the bundle is what its manifest and the registry say', async (t) => {
    const home = await Home.make(t);
    const prefix = join(home.path, 'prefix');
    install(prefix);
    const make = () => run('python3', [join(checkout, 'package/bundle.py'), home.path, '1.0',
        'io.github.ada', 'https://example.org/releases/', prefix]);
    make();
    const path = join(home.path, 'velmiro_mcp.mcpb');
    const bundle = await readFile(path);
    make();
    assert.ok(bundle.equals(await readFile(path)), 'the same programs make the same file');

    const unpacked = join(home.path, 'unpacked');
    run('python3', ['-c', `import os, sys, zipfile
with zipfile.ZipFile(sys.argv[1]) as bundle:
    for entry in bundle.infolist():
        os.chmod(bundle.extract(entry, sys.argv[2]), entry.external_attr >> 16 & 0o777)`, path, unpacked]);
    const manifest = JSON.parse(await readFile(join(unpacked, 'manifest.json'), 'utf8'));
    assert.equal(manifest.manifest_version, '0.3');
    const schema = JSON.parse(await readFile(new URL('mcpb-manifest-v0.3.schema.json', schemas), 'utf8'));
    const validate = new Ajv({ strict: false, validateFormats: false }).compile(schema);
    assert.ok(validate(manifest), JSON.stringify(validate.errors));
    assert.ok(!validate({ ...manifest, licence: 'none' }), 'the schema is one that can refuse');
    assert.equal(manifest.license, undefined, 'none has been chosen');

    const { command } = manifest.server.mcp_config.platform_overrides.linux;
    const server = command.replace('${__dirname}', unpacked);
    assert.equal((await stat(server)).mode & 0o777, 0o755);
    assert.ok(await isProgram(join(unpacked, manifest.server.entry_point)));
    const env = { VELMIRO_ENABLED: manifest.user_config.enabled.default, HOME: home.path };
    const { tools } = ask(server, 'tools/list', {}, env);
    assert.deepEqual(manifest.tools.map((/** @type {any} */ tool) => tool.name),
        tools.map((/** @type {any} */ tool) => tool.name));
    await home.write('Notes/n/1.md', '# Shopping\n\nmilk\n');
    const found = ask(server, 'tools/call', { name: 'notes_search', arguments: { query: 'milk' } }, env);
    assert.match(found.content[0].text, /Shopping/);

    // The registry's schema is in no package of npm, so its rules are spelled out.
    const described = JSON.parse(await readFile(join(home.path, 'server.json'), 'utf8'));
    assert.equal(described.$schema,
        'https://static.modelcontextprotocol.io/schemas/2025-12-11/server.schema.json');
    assert.match(described.name, /^[a-zA-Z0-9.-]+\/[a-zA-Z0-9._-]+$/);
    assert.ok(described.description.length >= 1 && described.description.length <= 100);
    assert.ok(described.title.length >= 1 && described.title.length <= 100);
    assert.match(described.version, /^\d+\.\d+\.\d+$/);
    const [one, ...others] = described.packages;
    assert.deepEqual(others, []);
    assert.deepEqual(Object.keys(one).sort(), ['environmentVariables', 'fileSha256', 'identifier',
        'registryType', 'transport', 'version']);
    assert.equal(one.registryType, 'mcpb');
    assert.equal(one.identifier, 'https://example.org/releases/velmiro_mcp.mcpb');
    assert.ok(one.identifier.includes('mcp'), 'a registry takes no other address');
    assert.equal(one.fileSha256, createHash('sha256').update(bundle).digest('hex'));
    assert.deepEqual(one.transport, { type: 'stdio' });
    assert.equal(one.version, described.version);
});
