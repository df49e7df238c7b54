// The npm packages, loaded when they are first needed: listing notes needs none.

import { createRequire } from 'node:module';
import { fileURLToPath } from 'node:url';
import { ScriptError } from './language/errors.mjs';

const require = createRequire(import.meta.url);

/** A package or a part of it that is not installed; its message tells what to do. */
export class MissingPackage extends ScriptError {}

/** @param {string} name @returns {any} */
export function load(name) {
    try {
        return require(name);
    } catch (error) {
        if (/** @type {NodeJS.ErrnoException} */ (error).code !== 'MODULE_NOT_FOUND') throw error;
        const here = fileURLToPath(new URL('.', import.meta.url));
        throw new MissingPackage(
            `npm package ${name} is missing: run "npm ci --omit=dev --ignore-scripts" in ${here}`,
        );
    }
}
