// Each sample is read as its golden file says. `UPDATE_EXPECTED=1` writes them anew, to be checked by eye.

import assert from 'node:assert/strict';
import { readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { readMail, readNote } from './reading.mjs';
import { Home, samples } from './support.mjs';

for (const [kind, read] of Object.entries({ mail: readMail, notes: readNote })) {
    const files = readdirSync(join(samples, kind)).filter((file) => !file.endsWith('.json'));
    for (const file of files) {
        test(`the sample ${kind}/${file} is read as expected`, async (t) => {
            const golden = join(samples, kind, file.replace(/\.\w+$/, '.expected.json'));
            const found = await read(new Home(t), file);
            if (process.env.UPDATE_EXPECTED) {
                writeFileSync(golden, `${JSON.stringify(found, null, 4)}\n`);
            }
            assert.deepEqual(found, JSON.parse(readFileSync(golden, 'utf8')));
        });
    }
    test(`there are samples of ${kind}`, () => assert.ok(files.length >= 8));
}
