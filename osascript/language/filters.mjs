// The filters of `whose`: `{name: 'Work'}`, `{name: {_contains: 'w'}}`, `{date: {'>': since}, read: false}`,
// `{_or: [{…}, {…}]}`. Conditions side by side must all hold. An object is asked for a property only when
// the answer needs it, and first for what is known of it without reading it.

import { types } from 'node:util';
import { fold } from './fold.mjs';
import { ScriptError, noObject } from './errors.mjs';

/** @typedef {import('./specifiers.mjs').Kind} Kind */
/** @typedef {(self: any) => boolean} Predicate */

/**
 * A value that orders and equals as scripts expect: dates by their time, texts by their characters however
 * these are composed.
 * @param {unknown} value
 * @returns {unknown}
 */
function comparable(value) {
    if (types.isDate(value)) return Number(value);
    return typeof value === 'string' ? value.normalize('NFC') : value;
}

/** @param {(value: any, wanted: any) => boolean} holds for values of one type */
const ordered = (holds) => (/** @type {unknown} */ wanted) => {
    const than = comparable(wanted);
    return (/** @type {unknown} */ value) => {
        const having = comparable(value);
        return typeof having === typeof than && having !== null && holds(having, than);
    };
};

/** @param {(text: string, part: string) => boolean} holds for folded texts */
const textual = (holds) => (/** @type {unknown} */ wanted) => {
    const part = fold(String(wanted));
    return (/** @type {unknown} */ value) => typeof value === 'string' && holds(fold(value), part);
};

const equal = ordered((value, wanted) => value === wanted);
const above = ordered((value, wanted) => value > wanted);
const notBelow = ordered((value, wanted) => value >= wanted);
const below = ordered((value, wanted) => value < wanted);
const notAbove = ordered((value, wanted) => value <= wanted);

/** @type {Record<string, (wanted: unknown) => (value: unknown) => boolean>} */
const operators = {
    '=': equal,
    _equals: equal,
    '>': above,
    _greaterThan: above,
    '>=': notBelow,
    _greaterThanEquals: notBelow,
    '<': below,
    _lessThan: below,
    '<=': notAbove,
    _lessThanEquals: notAbove,
    _contains: textual((text, part) => text.includes(part)),
    _beginsWith: textual((text, part) => text.startsWith(part)),
    _endsWith: textual((text, part) => text.endsWith(part)),
};

/** Those that only a value at least as great as some other can fulfil. */
const upward = new Set([above, notBelow]);

/**
 * @param {unknown} value
 * @returns {value is object}
 */
const isConditions = (value) => typeof value === 'object' && value !== null && !types.isDate(value);

/**
 * @param {string} name of a property
 * @param {unknown} wanted a value, or operators with their values
 * @param {Kind} kind
 * @returns {Predicate}
 */
function condition(name, wanted, kind) {
    if (!Object.hasOwn(kind.properties, name)) throw noObject();
    const { read, atMost } = kind.properties[name];
    const tests = Object.entries(isConditions(wanted) ? wanted : { _equals: wanted }).map(
        ([operator, value]) => {
            if (!Object.hasOwn(operators, operator))
                throw new ScriptError(`Can't filter by ${operator}.`, -1700);
            const make = operators[operator];
            return { holds: make(value), upward: upward.has(make) };
        },
    );
    return (self) => {
        if (atMost && tests.some((test) => test.upward && !test.holds(atMost(self)))) return false;
        const value = read(self);
        return tests.every((test) => test.holds(value));
    };
}

/**
 * @param {unknown} filter as a script gives it
 * @param {Kind} kind the class of the objects
 * @returns {Predicate}
 * @throws {ScriptError} when the filter is none, or names what the class does not have
 */
export function predicate(filter, kind) {
    if (!isConditions(filter)) throw new ScriptError("Can't filter by that.", -1700);
    const parts = Object.entries(filter).map(([name, wanted]) => {
        const several = () => [...wanted].map((part) => predicate(part, kind));
        switch (name) {
            case '_and': {
                const all = several();
                return {
                    cost: 1,
                    holds: (/** @type {any} */ self) => all.every((part) => part(self)),
                };
            }
            case '_or': {
                const any = several();
                return {
                    cost: 1,
                    holds: (/** @type {any} */ self) => any.some((part) => part(self)),
                };
            }
            case '_not': {
                const none = several();
                return {
                    cost: 1,
                    holds: (/** @type {any} */ self) => !none.some((part) => part(self)),
                };
            }
            default:
                return {
                    cost: kind.properties[name]?.known ? 0 : 1,
                    holds: condition(name, wanted, kind),
                };
        }
    });
    const holds = parts.sort((a, b) => a.cost - b.cost).map((part) => part.holds);
    return (self) => holds.every((part) => part(self));
}
