// Turns the description of a drawing into the text of a self-contained SVG file.

import * as vega from 'vega';
import { compile } from 'vega-lite';

/**
 * @typedef {object} Drawing
 * @property {string} title one line that names what is drawn
 * @property {string} description the content, for readers who cannot see it
 * @property {object} spec for vega-lite, without the configuration that all drawings share
 */

/** Looks the same on any page, dark ones too: the background is part of the drawing. */
const config = {
    background: 'white',
    padding: 16,
    font: 'Helvetica, Arial, sans-serif',
    title: { anchor: 'start', frame: 'group', fontSize: 16, subtitleFontSize: 12, subtitlePadding: 6, offset: 12 },
    axis: { labelFontSize: 11, titleFontSize: 12, titleFontWeight: 'normal', gridColor: '#e4e4e4' },
    header: { labelFontSize: 12, labelFontWeight: 'bold' },
    view: { stroke: null },
};

/** The contenders' colours in every drawing: ours are blue. Distinguishable for the colour-blind too. */
export const colours = {
    limit: '#666666',
    hello_server: '#56b4e9',
    velmiro_mcp: '#0072b2',
    'TypeScript SDK': '#d55e00',
    'plain Node.js': '#e69f00',
};

/** @param {string} text */
const escaped = (text) =>
    text.replace(/[&<>"]/g, (mark) => ({ '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;' })[mark] ?? mark);

/**
 * @param {Drawing} drawing
 * @returns {Promise<string>}
 */
export async function render({ title, description, spec }) {
    const whole = { $schema: 'https://vega.github.io/schema/vega-lite/v6.json', config, ...spec };
    const compiled = compile(/** @type {any} */ (whole)).spec;
    const svg = await new vega.View(vega.parse(compiled), { renderer: 'none' }).toSVG();
    const named = `<svg role="img" aria-label="${escaped(title)}"`;
    const told = `<title>${escaped(title)}</title><desc>${escaped(description)}</desc>`;
    return `${svg.replace(/^<svg([^>]*)>/, (_, attributes) => `${named}${attributes}>${told}`)}\n`;
}
