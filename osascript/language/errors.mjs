// What goes wrong in a script, with the numbers that the real system gives.

export class ScriptError extends Error {
    /**
     * @param {string} message
     * @param {number} [number]
     */
    constructor(message, number = -2700) {
        super(message);
        this.number = number;
    }
}

/** What a script names does not exist. */
export const noObject = () => new ScriptError("Can't get object.", -1728);

/** An element of an array is asked for beyond its end. */
export const noElement = () => new ScriptError("Can't get object. (Invalid index.)", -1719);

/** A value is of the wrong kind. */
export const wrongType = () => new ScriptError("Can't convert types.", -1700);

/** @param {string} name of a property that scripts may not change */
export const readOnly = (name) => new ScriptError(`Can't set ${name}.`, -10006);
