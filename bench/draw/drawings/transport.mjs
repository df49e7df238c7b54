// The cost of a request by contender: bars that show ratios to the limit.

import { colours } from '../render.mjs';

const title = 'What a server costs beside the least a program can do';

/** The rows that are drawn, and their labels. */
const rows = {
    'ping, round trip': 'pings, one after the other',
    'ping, pipelined': 'pings without a pause',
    'ping, CPU for 100,000': 'pings without a pause: CPU time of 100,000',
    'tools/list of velmiro_mcp, pipelined': 'lists of eleven tools without a pause',
    'echo, round trip': 'tool calls, one after the other',
    'echo, pipelined': 'tool calls without a pause',
    'echo of 16 MiB': 'a tool call of 16 MiB',
    'start to first reply': 'start, up to the first reply',
    'peak memory after one ping': 'start, up to the first reply: memory',
};

/** Rounds to three digits, as in the tables. @param {number} ratio */
const shortened = (ratio) => ratio.toFixed(ratio < 10 ? 2 : ratio < 100 ? 1 : 0);

/**
 * Describes the bars of a row, their labels, and the line of the limit.
 * @param {string} row
 * @param {{contender: string, ratio: number, label: string}[]} bars
 * @param {boolean} last
 */
function rowOf(row, bars, last) {
    const names = Object.keys(colours);
    return {
        title: { text: row, fontSize: 12, anchor: 'start', offset: 4 },
        data: { values: bars.map((bar) => ({ ...bar, end: Math.max(bar.ratio, 1) })) },
        width: 620,
        height: { step: 15 },
        encoding: {
            y: {
                field: 'contender',
                type: 'nominal',
                sort: names,
                title: null,
                axis: { ticks: false, domain: false },
            },
            x: {
                field: 'ratio',
                type: 'quantitative',
                scale: { type: 'log', domain: [0.5, 2000], nice: false },
                title: last ? 'times the cost of the limit' : null,
                axis: { values: [1, 10, 100, 1000], format: 'd', ticks: false, domain: false, labels: last },
            },
        },
        layer: [
            {
                mark: { type: 'bar', height: 11 },
                encoding: {
                    x2: { datum: 1 },
                    color: {
                        field: 'contender',
                        type: 'nominal',
                        legend: null, // each bar has its name
                        scale: { domain: names, range: Object.values(colours) },
                    },
                },
            },
            {
                mark: { type: 'text', align: 'left', dx: 4, fontSize: 11, color: '#222222' },
                encoding: { text: { field: 'label' }, x: { field: 'end', type: 'quantitative' } },
            },
            { mark: { type: 'rule', color: '#222222' }, encoding: { x: { datum: 1 }, y: null } },
        ],
    };
}

/**
 * @param {any} results
 * @returns {import('../render.mjs').Drawing | undefined}
 */
export function transport({ transport_bench: measured }) {
    if (!measured?.node) return undefined; // without the peers there is nothing to compare
    const drawn = Object.entries(rows).map(([name, row]) => {
        const figure = measured.figures.find((/** @type {any} */ one) => one.name === name);
        if (!figure) throw new Error(`the results have no row “${name}”`);
        const bars = figure.contenders
            .filter((/** @type {any} */ { name: contender }) => contender !== 'limit')
            .map((/** @type {any} */ { name: contender, ratio, shown }) => ({
                contender,
                ratio,
                label: `${shortened(ratio)} × (${shown})`,
            }));
        return { row, bars };
    });
    return {
        title,
        description: drawn
            .map(
                ({ row, bars }) =>
                    `${row}: ${bars.map((/** @type {any} */ bar) => `${bar.contender} ${bar.label}`).join(', ')}.`,
            )
            .join(' '),
        spec: {
            title: {
                text: title,
                subtitle: [
                    'The limit, 1 ×, finds lines and writes for each a fixed reply as long.',
                    'Shorter is better; on the scale each step is ten times the last.',
                    `All on one CPU, medians of ${measured.rounds} rounds. Node.js ${measured.node},`,
                    'warmed up except where a start is measured.',
                ],
            },
            spacing: 8,
            vconcat: drawn.map(({ row, bars }, index) => rowOf(row, bars, index === drawn.length - 1)),
        },
    };
}
