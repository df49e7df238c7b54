// Object specifiers: what scripts hold instead of objects. `Notes.notes` is no array yet but a place to
// look; calling it looks. A property is read by calling it: `note.name()`.
//
// An application describes its classes (Kind) in plain functions over whatever it keeps for one object
// (self); this file alone knows how scripts see them. A name that a class does not have is an error at
// once, never undefined.

import { types } from 'node:util';
import { predicate } from './filters.mjs';
import { ScriptError, noElement, noObject, readOnly, wrongType } from './errors.mjs';

/** @typedef {import('../evaluate.mjs').Realm} Realm */

/**
 * @typedef {object} Property
 * @property {(self: any) => unknown} read a text, number, boolean, Date or null; with `kind`, an object of it
 * @property {Kind} [kind]
 * @property {(self: any, value: unknown) => void} [write] absent where scripts may not change it
 * @property {(self: any) => unknown} [atMost] a value that this one cannot exceed, known for less
 * @property {boolean} [known] whether reading it costs nothing
 */

/**
 * @typedef {object} Elements
 * @property {Kind} kind
 * @property {(self: any) => any[]} all
 * @property {(found: any[]) => any[]} [arranged] puts those found in order; may leave out what has gone
 * @property {(self: any, element: any) => void} [push]
 */

/**
 * One class of an application's dictionary.
 * @typedef {object} Kind
 * @property {Record<string, Property>} properties
 * @property {Record<string, Elements>} [elements]
 * @property {Record<string, (self: any) => void>} [commands]
 * @property {Record<string, {kind: Kind, make: () => any}>} [constructors] of new objects that lie nowhere yet
 */

/**
 * @template T
 * @param {Record<string, T> | undefined} table
 * @param {string} name
 * @returns {T | undefined}
 */
const entry = (table, name) => (table && Object.hasOwn(table, name) ? table[name] : undefined);

/** What JavaScript itself asks of any object: serializing, awaiting and printing one is no mistake. */
const silent = new Set(['toJSON', 'then']);
const printed = new Set(['toString', 'valueOf']);

/** @param {Realm} realm of the script */
export function dictionary(realm) {
    /** @type {WeakMap<object, {kind: Kind, self: any}>} */
    const behind = new WeakMap();

    /** @param {unknown} error @returns {unknown} the same as an Error of the script's world */
    const translated = (error) =>
        error instanceof Error
            ? realm.error(error.message, error instanceof ScriptError ? error.number : -2700)
            : error;

    /**
     * @template {unknown[]} A
     * @template R
     * @param {(...args: A) => R} action
     * @returns {(...args: A) => R}
     */
    const guarded =
        (action) =>
        (...args) => {
            try {
                return action(...args);
            } catch (error) {
                throw translated(error);
            }
        };

    /**
     * @param {() => unknown} call what calling it gives
     * @param {(name: string) => unknown} get
     * @param {(name: string, value: unknown) => void} [set]
     * @returns {any}
     */
    function specifier(
        call,
        get,
        set = (name) => {
            throw readOnly(name);
        },
    ) {
        return new Proxy(() => undefined, {
            apply: guarded(() => call()),
            get: guarded((_, name) => {
                if (typeof name === 'symbol' || silent.has(name)) return undefined;
                return printed.has(name) ? () => '[object ObjectSpecifier]' : get(name);
            }),
            set: guarded((_, name, value) => {
                set(String(name), value);
                return true;
            }),
        });
    }

    /** @param {Property} property @param {any} self */
    function value(property, self) {
        const found = property.read(self);
        if (property.kind) return object(property.kind, found);
        return types.isDate(found) ? realm.date(Number(found)) : found;
    }

    /**
     * @param {Kind} kind
     * @param {any} self
     * @returns {any} the object as scripts see it
     */
    function object(kind, self) {
        const seen = specifier(
            () => seen,
            (name) => {
                const property = entry(kind.properties, name);
                if (property) {
                    const whole = () => value(property, self);
                    return specifier(whole, (inner) => {
                        if (!property.kind) throw noObject();
                        return whole()[inner];
                    });
                }
                const members = entry(kind.elements, name);
                if (members)
                    return array(
                        members,
                        () => members.all(self),
                        (element) => members.push?.(self, element),
                    );
                const command = entry(kind.commands, name);
                if (command) return guarded(() => command(self));
                const made = entry(kind.constructors, name);
                if (made) return guarded((given) => create(made.kind, made.make(), given));
                throw noObject();
            },
            (name, given) => assign(kind, self, name, given),
        );
        behind.set(seen, { kind, self });
        return seen;
    }

    /** @param {Kind} kind @param {any} self @param {string} name @param {unknown} given */
    function assign(kind, self, name, given) {
        const property = entry(kind.properties, name);
        if (!property) throw noObject();
        if (!property.write) throw readOnly(name);
        property.write(self, given);
    }

    /** @param {Kind} kind @param {any} self @param {unknown} given the properties at the start */
    function create(kind, self, given) {
        for (const [name, wanted] of Object.entries(given ?? {})) assign(kind, self, name, wanted);
        return object(kind, self);
    }

    /**
     * @param {Elements} members
     * @param {() => any[]} all
     * @param {(element: any) => void} [push]
     * @returns {any}
     */
    function array(members, all, push) {
        const { kind, arranged = (found) => found } = members;
        const found = () => arranged(all());
        /** @param {number} index */
        const at = (index) => {
            const list = found();
            if (!Number.isInteger(index) || index < 0 || index >= list.length) throw noElement();
            return object(kind, list[index]);
        };
        /** @param {string} property @param {unknown} wanted */
        const first = (property, wanted) => {
            const [one] = arranged(all().filter(predicate({ [property]: wanted }, kind)));
            if (one === undefined) throw noObject();
            return object(kind, one);
        };
        /** @type {Record<string, (given: any) => unknown>} */
        const methods = {
            whose: (filter) => {
                const holds = predicate(filter, kind);
                return array(members, () => all().filter(holds));
            },
            push: (element) => {
                const { kind: given, self } = behind.get(Object(element)) ?? {};
                if (!push || !members.push || given !== kind) throw wrongType();
                push(self);
            },
            at,
            byId: (id) => first('id', id),
            byName: (name) => first('name', name),
        };
        return specifier(
            () => realm.array(found().map((self) => object(kind, self))),
            (name) => {
                if (name === 'length') return found().length;
                if (/^\d+$/.test(name)) return at(Number(name));
                const method = entry(methods, name);
                if (method) return guarded(method);
                const property = entry(kind.properties, name);
                if (property)
                    return guarded(() => realm.array(found().map((self) => value(property, self))));
                throw noObject();
            },
        );
    }

    return { object, guarded, translated };
}
