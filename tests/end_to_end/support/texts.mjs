// Texts that break programs which take text for anything else, and very long texts.

import assert from 'node:assert/strict';

/** Each on one line. */
export const awkward = [
    `quotes ' " and backslashes \\ \\\\ \\n \\'`,
    '</h1></div><h1>not a heading</h1> <script>alert(1)</script>',
    '${process.exit(1)} `${1}` $(id) %s {{x}} \' + run() + \'',
    'emoji 👩‍👩‍👧 🇩🇪 👍🏽 é e\u0301 ﬁ',
    'right to left \u202eabc\u202c \u200fשלום\u200f \u061cعربي',
    '--help -e -l -- "" ; exit 1 | cat > /tmp/x &',
    '../../etc/passwd: ? * <>',
];

/** The longest argument that Linux passes to a program, in bytes. */
export const longest = 131_071;

/** The error that the agent receives for a longer one. */
export const tooLong =
  'osascript could not start: Argument list too long. A text is longer than the system hands to a ' +
  'script: make it shorter than 128 KiB, in UTF-8';

/**
 * Returns lines of every kind of character, `bytes` bytes in all.
 * @param {number} bytes
 */
export function textOf(bytes) {
    const line = `"Zeile" 🍵 ist 'lang' — \u200fשלום\u200f, ${'漢字'} $x ${'{}'}\n`;
    const text = line.repeat(Math.floor(bytes / Buffer.byteLength(line)));
    return text + 'x'.repeat(bytes - Buffer.byteLength(text));
}

/**
 * Asserts that long texts are equal. A failure is reported faster than by comparing line by line.
 * @param {string} actual @param {string} expected
 */
export function assertSame(actual, expected) {
    if (actual === expected) return;
    let at = 0;
    while (at < expected.length && actual[at] === expected[at]) at++;
    const around = (text) => JSON.stringify(text.slice(Math.max(0, at - 20), at + 20));
    const lengths = `${actual.length} characters, not ${expected.length}`;
    assert.fail(`${lengths}, and other ones from ${at}: ${around(actual)}, not ${around(expected)}`);
}
