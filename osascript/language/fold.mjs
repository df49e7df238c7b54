// The likeness of texts in a search: case and diacritics do not count, and neither do compatibility forms
// (full-width letters, ligatures). Upper case makes ß and ss alike, ς and σ, ı and i.

// Accents and points: Latin, Greek and Cyrillic marks, Hebrew points, Arabic vowel signs. The vowel signs
// of Indic scripts and the voicing marks of kana are marks for Unicode, but they make another word.
const marks =
    /[\u0300-\u036f\u0483-\u0489\u0591-\u05bd\u05bf\u05c1\u05c2\u05c4\u05c5\u05c7\u0610-\u061a\u064b-\u065f\u0670\u1ab0-\u1aff\u1dc0-\u1dff\u20d0-\u20f0\ufe00-\ufe0f\ufe20-\ufe2f]+/g;

const ascii = /^[\0-\x7f]*$/;

/**
 * @param {string} text
 * @returns {string} what is equal for texts that a search takes as equal
 */
export function fold(text) {
    if (ascii.test(text)) return text.toUpperCase();
    return text.normalize('NFKD').replace(marks, '').toUpperCase().normalize('NFC');
}
