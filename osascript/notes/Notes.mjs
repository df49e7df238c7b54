// The application Notes over `Notes/<folder>/*.md` and `*.txt`.

import { bytesOf, create, dataFolder, makeFolder, names, read, stat, textOf } from '../files.mjs';
import { noObject, readOnly, wrongType } from '../language/errors.mjs';
import { htmlOf, linesOf } from './html.mjs';
import { compose, parse } from './markdown.mjs';
import { fileNames } from './naming.mjs';

/** @typedef {import('../files.mjs').ByteString} ByteString */
/** @typedef {import('../language/specifiers.mjs').Kind} Kind */

const root = () => `${dataFolder()}/Notes`;
const mostOfANote = 16 * 1024 * 1024;
const usualFolder = 'Notes';

/**
 * A name as part of an identifier: itself, with escapes for bytes that are no text and for the escape.
 * @param {ByteString} name
 */
function identifying(name) {
    const text = textOf(name);
    const unclear = text.includes('\ufffd') ? /[^ -~]|%/g : /[\0-\x1f\x7f%]/g;
    return (text.includes('\ufffd') ? name : text).replace(
        unclear,
        (one) => `%${one.charCodeAt(0).toString(16).padStart(2, '0')}`,
    );
}

class Folder {
    /** @param {ByteString} name */
    constructor(name) {
        this.name = name;
        this.path = `${root()}/${name}`;
    }

    /** @returns {Note[]} */
    notes() {
        /** @type {Note[]} */
        const found = [];
        for (const name of names(this.path)) {
            if (!/\.(?:md|txt)$/i.test(name)) continue;
            const about = stat(`${this.path}/${name}`);
            if (about?.isFile()) found.push(new Note(this, name, about));
        }
        return found;
    }
}

class Note {
    /** @param {Folder} folder @param {ByteString} name of the file @param {import('node:fs').Stats} about */
    constructor(folder, name, about) {
        this.folder = folder;
        this.file = name;
        this.path = `${folder.path}/${name}`;
        this.modified = about.mtime;
        this.order = about.mtimeMs;
        this.created =
            about.birthtimeMs > 0 && about.birthtimeMs < about.mtimeMs
                ? about.birthtime
                : about.mtime;
    }

    /** @type {{title: string, lines: string[]} | undefined} */
    #content;

    /** The file is read when something of it is first asked for; one that cannot be is an empty note. */
    get content() {
        return (this.#content ??= parse(
            (read(this.path, mostOfANote) ?? '').toString(),
            !/\.txt$/i.test(this.file),
        ));
    }

    get title() {
        return this.content.title || textOf(this.file).replace(/\.[^.]*$/, '');
    }

    get text() {
        const { title, lines } = this.content;
        return title === '' ? '' : [title, ...lines].join('\n');
    }
}

/** A note that a script has made and not yet put anywhere. */
class NewNote {
    html = '';
}

/** @returns {Folder[]} */
const folders = () =>
    names(root())
        .filter((name) => stat(`${root()}/${name}`)?.isDirectory())
        .map((name) => new Folder(name));

/** @returns {Folder} the one that is meant where none is named */
function defaultFolder() {
    const all = folders();
    const usual = all.find((folder) => folder.name === usualFolder) ?? all[0];
    if (usual) return usual;
    const made = new Folder(usualFolder);
    makeFolder(made.path);
    return made;
}

/** @param {Folder} folder @param {unknown} note */
function add(folder, note) {
    if (!(note instanceof NewNote)) throw wrongType();
    const [title = '', ...lines] = linesOf(note.html);
    const candidates = function* () {
        for (const name of fileNames(title)) yield bytesOf(name);
    };
    create(folder.path, candidates(), Buffer.from(compose(title, lines)));
}

/** @param {Note[]} notes @returns {Note[]} the latest first */
const arranged = (notes) => notes.sort((a, b) => b.order - a.order || (a.path < b.path ? -1 : 1));

/** @param {(note: Note) => unknown} ofNote what is known of a note that lies in a folder */
const stored = (ofNote) => ({
    read: (/** @type {Note | NewNote} */ note) => {
        if (note instanceof NewNote) throw noObject();
        return ofNote(note);
    },
});

/** @type {Kind} */
const folder = {
    properties: {
        id: {
            read: (/** @type {Folder} */ self) => `folder:${identifying(self.name)}`,
            known: true,
        },
        name: { read: (/** @type {Folder} */ self) => textOf(self.name), known: true },
    },
};

/** @type {Kind} */
const note = {
    properties: {
        id: {
            ...stored((self) => `note:${identifying(self.folder.name)}/${identifying(self.file)}`),
            known: true,
        },
        name: stored((self) => self.title),
        plaintext: stored((self) => self.text),
        body: {
            read: (/** @type {Note | NewNote} */ self) =>
                self instanceof NewNote ? self.html : htmlOf(self.title, self.content.lines),
            write: (self, html) => {
                if (!(self instanceof NewNote)) throw readOnly('body');
                if (typeof html !== 'string') throw wrongType();
                self.html = html;
            },
        },
        container: { ...stored((self) => self.folder), kind: folder, known: true },
        creationDate: { ...stored((self) => self.created), known: true },
        modificationDate: { ...stored((self) => self.modified), known: true },
    },
};

folder.elements = {
    notes: { kind: note, all: (/** @type {Folder} */ self) => self.notes(), arranged, push: add },
};

const everywhere = {
    folders: { kind: folder, all: folders },
    notes: {
        kind: note,
        all: () => folders().flatMap((one) => one.notes()),
        arranged,
        push: (/** @type {unknown} */ _, /** @type {unknown} */ one) => add(defaultFolder(), one),
    },
};

/** @type {Kind} */
const account = {
    properties: {
        name: { read: () => 'Velmiro', known: true },
        defaultFolder: { read: defaultFolder, kind: folder },
    },
    elements: everywhere,
};

/** @type {Kind} */
const application = {
    properties: {
        name: { read: () => 'Notes', known: true },
        defaultAccount: { read: () => null, kind: account },
    },
    elements: { ...everywhere, accounts: { kind: account, all: () => [null] } },
    constructors: { Note: { kind: note, make: () => new NewNote() } },
};

export const Notes = () => application;
