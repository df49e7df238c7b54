// How the server's cost grows: lines over the number of pending calls, and over the number of items.

/**
 * A line of a panel: the name of the benchmark's row, and its label in the drawing.
 * @typedef {{row: string, label: string}} Line
 *
 * @typedef {object} Panel
 * @property {string} part of the benchmark
 * @property {string} title
 * @property {string} counted what the horizontal axis counts
 * @property {string} axis what the vertical axis shows
 * @property {number} units factor from the benchmark's unit, seconds or bytes, to the axis's
 * @property {[number, number]} domain of the vertical axis, the same in every drawing
 * @property {Line[]} lines
 */

const title = 'How the server grows';

const ofServer = [
    { row: 'first call of a new server', label: 'first call of a new server' },
    { row: 'a further call', label: 'a further call' },
    { row: 'looking at each file, alone', label: 'looking at each file, alone' },
];

/** @type {Panel[]} */
const panels = [
    {
        part: 'ping',
        title: 'Reply to a ping while tool calls are pending',
        counted: 'pending calls',
        axis: 'microseconds, median',
        units: 1e6,
        domain: [1, 100],
        lines: [
            { row: 'suspended, half of the pings', label: 'suspended' },
            { row: 'blocking, half of the pings', label: 'blocking, a thread each' },
        ],
    },
    {
        part: 'memory',
        title: 'Memory of each pending call',
        counted: 'pending calls',
        axis: 'bytes',
        units: 1,
        domain: [100, 100_000],
        lines: [
            { row: 'suspended, resident memory of each', label: 'suspended' },
            { row: 'blocking, resident memory of each', label: 'blocking, a thread each' },
        ],
    },
    {
        part: 'calendar',
        title: 'The events of 31 days',
        counted: 'events in the calendar',
        axis: 'milliseconds',
        units: 1e3,
        domain: [0.05, 1000],
        lines: ofServer,
    },
    {
        part: 'mail',
        title: 'The messages of three days',
        counted: 'messages in the inbox',
        axis: 'milliseconds',
        units: 1e3,
        domain: [0.05, 1000],
        lines: ofServer,
    },
];

const colours = ['#0072b2', '#d55e00', '#666666'];
/** So that two lines that coincide are both visible. */
const dashes = [[], [6, 6], [2, 3]];

/**
 * @typedef {{line: string, count: number, value: number}} Point
 *
 * @param {Panel} panel
 * @param {any} parts of the results
 * @returns {Point[]}
 */
function pointsOf({ part, lines, units }, parts) {
    const figures = parts[part].flatMap((/** @type {any} */ table) => table.figures);
    return lines.flatMap(({ row, label }) => {
        const figure = figures.find((/** @type {any} */ one) => one.name === row);
        if (!figure) throw new Error(`the results have no row “${row}”`);
        return figure.series
            .map((/** @type {any} */ { count, value }) => ({ line: label, count, value: value * units }))
            .filter((/** @type {Point} */ { count, value }) => count > 0 && value > 0); // for the logarithm
    });
}

/** Returns the smallest number, ten times it and so on, up to the largest. @param {number[]} numbers */
function decades(numbers) {
    const all = [Math.min(...numbers)];
    while (all[0] * 10 ** all.length <= Math.max(...numbers)) all.push(all[0] * 10 ** all.length);
    return all;
}

/** @param {Panel} panel @param {Point[]} points */
function drawn(panel, points) {
    const lines = panel.lines.map(({ label }) => label);
    const line = {
        field: 'line',
        type: 'nominal',
        title: null,
        legend: { orient: 'bottom', columns: 1, labelLimit: 300, symbolType: 'stroke', symbolSize: 600 },
    };
    return {
        title: { text: panel.title, fontSize: 13, anchor: 'start', offset: 8 },
        data: { values: points },
        width: 320,
        height: 220,
        mark: { type: 'line', point: { size: 36, opacity: 1 } },
        encoding: {
            x: {
                field: 'count',
                type: 'quantitative',
                scale: { type: 'log', nice: false },
                title: panel.counted,
                axis: { values: decades(points.map(({ count }) => count)), format: ',d' },
            },
            y: {
                field: 'value',
                type: 'quantitative',
                scale: { type: 'log', domain: panel.domain, nice: false },
                title: panel.axis,
                axis: { values: [0.1, 1, 10, 100, 1000, 10_000, 100_000], format: ',~r' },
            },
            color: { ...line, scale: { domain: lines, range: colours } },
            strokeDash: { ...line, scale: { domain: lines, range: dashes } },
        },
    };
}

/**
 * @param {any} results
 * @returns {import('../render.mjs').Drawing | undefined}
 */
export function scale({ scale_bench: measured }) {
    if (!panels.every(({ part }) => measured?.parts[part])) return undefined;
    const all = panels.map((panel) => ({ panel, points: pointsOf(panel, measured.parts) }));
    return {
        title,
        description: all
            .map(({ panel, points }) => {
                const values = points.map(
                    ({ line, count, value }) => `${line} with ${count}: ${value.toPrecision(3)}`,
                );
                return `${panel.title}, in ${panel.axis}: ${values.join(', ')}.`;
            })
            .join(' '),
        spec: {
            title: {
                text: title,
                subtitle: [
                    'Both scales of each are logarithmic: what grows as its count does',
                    'rises by one line for each line to the right.',
                    `${measured.pinned ? 'All on one CPU' : 'On any CPU'}; medians of ${measured.rounds} rounds.`,
                ],
            },
            concat: all.map(({ panel, points }) => drawn(panel, points)),
            columns: 2,
            bounds: 'flush',
            spacing: { row: 150, column: 100 },
            resolve: { scale: { color: 'independent', strokeDash: 'independent' } },
        },
    };
}
