// Between a Markdown file and the text that Notes would show for it. Line by line:
//
//   shown as plain text    headings, *emphasis*, **strong**, ~~struck~~, `code`, [links](…) and ![images](…)
//                          by their text, <https://…> by the address, &amp; and \* by the character meant
//   list bullets           `*` and `+` become `-`; check boxes and numbers stay
//   fenced code            its lines as they are, the fences left out
//   front matter           left out
//   everything else        as it is: indentation, quotes, tables, rules, HTML
//
// A mark without its partner, one inside a word (snake_case, 2*3*4) and one in code is text.
//
// written() is the inverse: it changes only a text that would not come back as it is, or that other
// programs would take for Markdown, and then puts a backslash before each character that could be a mark.

/** @type {Record<string, string>} */
const namedCharacters = { amp: '&', lt: '<', gt: '>', quot: '"', apos: "'", nbsp: '\u00a0' };

const escaped = /\\([!-/:-@[-`{-~])/y;
const reference = /&(?:#(\d{1,7})|#[xX]([0-9a-fA-F]{1,6})|(amp|lt|gt|quot|apos|nbsp));/y;
const address = /<((?:https?:|mailto:)[^\s<>]+)>/iy;
const link =
    /!?\[((?:\\.|[^\\[\]])*)\]\((?:<[^<>]*>|[^\s()<>]*)(?:[ \t]+(?:"[^"]*"|'[^']*'))?[ \t]*\)/y;
const run = /([*_~])\1*/y;
const ticks = /`+/y;
const other = /[^\\`*_~&<[!]+|[^]/y;

const blank = /^\s?$/u;
const wordly = /[\p{L}\p{N}_]/u;
const asciiWordly = /\w/;

/**
 * @param {RegExp} pattern a sticky one
 * @param {string} text
 * @param {number} position
 */
function match(pattern, text, position) {
    pattern.lastIndex = position;
    return pattern.exec(text);
}

/** @param {number} point @returns {string} */
export function character(point) {
    const valid = point > 0 && point <= 0x10ffff && !(point >= 0xd800 && point < 0xe000);
    return valid ? String.fromCodePoint(point) : '\ufffd';
}

/** @param {RegExpExecArray} found by `reference` */
function referred([, decimal, hexadecimal, name]) {
    if (name) return namedCharacters[name];
    return character(decimal ? parseInt(decimal, 10) : parseInt(hexadecimal, 16));
}

/**
 * Whether a run of marks may begin or end emphasis, by what stands around it.
 * @param {string} mark @param {number} length @param {string} before @param {string} after
 */
function emphasis(mark, length, before, after) {
    if (length > 3 || (mark === '~' && length !== 2)) return { opens: false, closes: false };
    const inWord = mark === '_' ? wordly : asciiWordly;
    const within = mark === '_' || length === 1;
    const glued = within && inWord.test(before) && inWord.test(after);
    return { opens: !glued && !blank.test(after), closes: !glued && !blank.test(before) };
}

/**
 * Finds pairs of runs, each of one mark and one length. A pair inside another is fine; of two that cross,
 * the one that ends first stays.
 */
class Pairs {
    /** @type {Map<string, number[]>} the pieces of open runs by their text, the latest last */
    open = new Map();

    /**
     * @param {string} text of the run
     * @param {number} piece that holds it
     * @param {{opens: boolean, closes: boolean}} may
     * @returns {number} the piece of its partner, or -1
     */
    partner(text, piece, { opens, closes }) {
        const same = this.open.get(text) ?? [];
        const opener = closes ? same.pop() : undefined;
        if (opener !== undefined) {
            for (const runs of this.open.values())
                while (runs[runs.length - 1] > opener) runs.pop();
            return opener;
        }
        if (opens) {
            same.push(piece);
            this.open.set(text, same);
        }
        return -1;
    }
}

/** @param {string} code between its ticks */
const shownCode = (code) =>
    /^ [^]* $/.test(code) && code.trim() !== '' ? code.slice(1, -1) : code;

/**
 * @param {string} text within a line
 * @returns {string} without the marks
 */
function shownText(text) {
    if (!/[\\`*_~&<[]/.test(text)) return text;
    /** @type {string[]} */
    const pieces = [];
    const pairs = new Pairs();
    for (let at = 0; at < text.length;) {
        let found;
        if ((found = match(escaped, text, at))) {
            pieces.push(found[1]);
        } else if ((found = match(reference, text, at))) {
            pieces.push(referred(found));
        } else if ((found = match(address, text, at))) {
            pieces.push(found[1]);
        } else if ((found = match(link, text, at))) {
            pieces.push(shownText(found[1]));
        } else if ((found = match(ticks, text, at))) {
            const from = at + found[0].length;
            const end = closingTicks(text, from, found[0].length);
            pieces.push(end < 0 ? found[0] : shownCode(text.slice(from, end)));
            at = end < 0 ? from : end + found[0].length;
            continue;
        } else if ((found = match(run, text, at))) {
            const before = text.slice(0, at).slice(-1);
            const after = text.slice(at + found[0].length, at + found[0].length + 1);
            const partner = pairs.partner(
                found[0],
                pieces.length,
                emphasis(found[1], found[0].length, before, after),
            );
            if (partner >= 0) pieces[partner] = '';
            pieces.push(partner >= 0 ? '' : found[0]);
        } else {
            found = /** @type {RegExpExecArray} */ (match(other, text, at));
            pieces.push(found[0]);
        }
        at += found[0].length;
    }
    return pieces.join('');
}

/** @param {string} text @param {number} from @param {number} length @returns {number} where as many ticks stand, or -1 */
function closingTicks(text, from, length) {
    for (let at = text.indexOf('`', from); at >= 0; at = text.indexOf('`', at)) {
        const [{ length: here }] = /** @type {RegExpExecArray} */ (match(ticks, text, at));
        if (here === length) return at;
        at += here;
    }
    return -1;
}

// [^] and not a dot: a line here may hold characters that are line ends elsewhere.
const fence = /^ {0,3}(?:(`{3,})[^`]*|(~{3,})[^]*)$/;
const heading = /^ {0,3}#{1,6}(?:[ \t]+([^]*))?$/;
const bullet = /^([ \t]*)[*+]([ \t]+[^]*)?$/;

/** @param {string} text @param {string} characters @returns {string} without these at its end */
function withoutEnd(text, characters) {
    let end = text.length;
    while (end > 0 && characters.includes(text[end - 1])) end--;
    return text.slice(0, end);
}

const blanks = ' \t';

/** @param {string} content of a heading @returns {string} its text, without blanks around it and marks that close it */
function headingText(content) {
    const opened = withoutEnd(content.replace(/^[ \t]+/, ''), blanks);
    const closed = withoutEnd(opened, '#');
    const mayClose = closed === '' || blanks.includes(closed[closed.length - 1]);
    return shownText(mayClose ? withoutEnd(closed, blanks) : opened);
}

/** @param {string} line outside of fenced code @returns {string} */
function shownLine(line) {
    const [, title] = heading.exec(line) ?? [];
    if (title !== undefined) return headingText(title);
    if (/^ {0,3}#{1,6}$/.test(line)) return '';
    const [, indent, item] = bullet.exec(line) ?? [];
    return indent === undefined ? shownText(line) : `${indent}-${shownText(item ?? '')}`;
}

/** @param {string[]} lines of a file @returns {string[]} */
function shownLines(lines) {
    /** @type {string[]} */
    const shown = [];
    let open = '';
    for (const line of lines) {
        const [, backticks, tildes] = fence.exec(line) ?? [];
        const mark = backticks ?? tildes ?? '';
        if (open) {
            const closes = mark.startsWith(open) && line.trim() === mark;
            if (closes) open = '';
            else shown.push(line);
        } else if (mark) {
            open = mark;
        } else {
            shown.push(shownLine(line));
        }
    }
    return shown;
}

/** @param {string[]} lines @returns {string[]} without the settings that some programs keep on top, between lines of `---` */
function withoutFrontMatter(lines) {
    const end =
        lines[0] === '---' && /^[\w-]+:/.test(lines[1] ?? '') ? lines.indexOf('---', 1) : -1;
    return end < 0 ? lines : lines.slice(end + 1);
}

const titleLine = /^ {0,3}#[ \t]+([^]*)$/;

/**
 * @param {string} source of a note
 * @param {boolean} markdown whether it is; else the first line alone may bear a mark
 * @returns {{title: string, lines: string[]}} an empty title where the file has no text
 */
export function parse(source, markdown) {
    const lines = withoutFrontMatter(source.replace(/^\ufeff/, '').split(/\r?\n/));
    if (lines[lines.length - 1] === '') lines.pop();
    const [, marked] = titleLine.exec(lines[0] ?? '') ?? [];
    const title = marked === undefined ? '' : headingText(marked);
    if (title !== '') {
        const text = lines.slice(lines[1] === '' ? 2 : 1);
        return { title, lines: markdown ? shownLines(text) : text };
    }
    const shown = markdown ? shownLines(lines) : lines;
    const first = shown.findIndex((line) => line.trim() !== '');
    return first < 0
        ? { title: '', lines: [] }
        : { title: shown[first].trim(), lines: shown.slice(first + 1) };
}

/** @param {string} line @returns {boolean} whether other programs take it for a tag, a rule or the line under a heading */
const foreign = (line) =>
    /<[a-zA-Z/!?]/.test(line) || /^(?:=+|-{2,}|\*{3,}|_{3,})$/.test(line.replace(/[ \t]/g, ''));

const marks = /[\\`*_~[\]<&]/g;

/** @param {string} text @returns {string} with references for line ends, which a line cannot hold */
const inOneLine = (text) => text.replace(/[\r\n]/g, (end) => `&#${end.charCodeAt(0)};`);

/** @param {string} line @returns {string} Markdown that is shown as the line */
function written(line) {
    if (!/[\r\n]/.test(line) && !foreign(line) && !fence.test(line) && shownLine(line) === line)
        return line;
    return inOneLine(
        line.replace(marks, '\\$&').replace(/^([ \t]*)([#+=]|-(?=[ \t]*(?:-|$)))/, '$1\\$2'),
    );
}

/** @param {string} title @returns {string} the content of a heading that is shown as the title */
function writtenTitle(title) {
    if (!/[\r\n]/.test(title) && !foreign(title) && headingText(title) === title) return title;
    const marked = inOneLine(title.replace(marks, '\\$&').replace(/#/g, '\\#'));
    const inner = withoutEnd(marked, blanks);
    const outer = /** @param {string} text */ (text) =>
        text.replace(/[ \t]/g, (blank) => `&#${blank.charCodeAt(0)};`);
    return inner.replace(/^[ \t]+/, outer) + outer(marked.slice(inner.length));
}

/**
 * @param {string} title
 * @param {string[]} lines
 * @returns {string} a file that parse() turns into the same
 */
export const compose = (title, lines) =>
    `# ${writtenTitle(title)}\n\n${lines.map((line) => `${written(line)}\n`).join('')}`;
