// File names for new notes: the title as far as a file name can hold it.

/** Control characters, line ends and marks that turn the direction of what follows, and the slash. */
const unfit = /[\p{Cc}\u2028\u2029\u202a-\u202e\u2066-\u2069\p{Cs}/]+/gu;

const mostBytes = 255;
const ending = '.md';
const roomForNumber = 8;

/**
 * @param {string} text
 * @param {number} most
 * @returns {string} as many of its characters, as a reader counts them, as fit into so many bytes
 */
function shortened(text, most) {
    if (Buffer.byteLength(text) <= most) return text;
    let kept = '';
    let length = 0;
    for (const { segment } of new Intl.Segmenter().segment(text.slice(0, most))) {
        length += Buffer.byteLength(segment);
        if (length > most) break;
        kept += segment;
    }
    return kept;
}

/**
 * @param {string} title
 * @returns {Generator<string>} `Title.md`, `Title 2.md`, `Title 3.md` and so on
 */
export function* fileNames(title) {
    const clean = title
        .replace(unfit, ' ')
        .replace(/\s+/gu, ' ')
        .replace(/^[. ]+/, '');
    const stem =
        shortened(clean, mostBytes - ending.length - roomForNumber).replace(/[. ]+$/, '') || 'Note';
    yield `${stem}${ending}`;
    for (let number = 2; ; number++) yield `${stem} ${number}${ending}`;
}
