// Draws the results of the benchmarks: main.mjs RESULTS.json FOLDER
//
// RESULTS.json is a file that --json wrote. Each drawing whose measurements are in it becomes an SVG
// file in FOLDER.

import { mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import process from 'node:process';
import { scale } from './drawings/scale.mjs';
import { transport } from './drawings/transport.mjs';
import { render } from './render.mjs';

/**
 * The functions that turn results into a drawing, by the name of its file. They return undefined if the
 * results lack its measurements.
 * @type {Record<string, (results: any) => import('./render.mjs').Drawing | undefined>}
 */
const drawings = { transport, scale };

const [, , file, folder] = process.argv;
if (!folder) {
    console.error('usage: main.mjs RESULTS.json FOLDER');
    process.exit(1);
}
const results = JSON.parse(readFileSync(file, 'utf8'));
let drawn = 0;
for (const [name, draw] of Object.entries(drawings)) {
    const drawing = draw(results);
    if (!drawing) continue;
    mkdirSync(folder, { recursive: true });
    writeFileSync(join(folder, `${name}.svg`), await render(drawing));
    drawn += 1;
}
if (drawn === 0) {
    console.error(`${file} has nothing that can be drawn`);
    process.exit(1);
}
