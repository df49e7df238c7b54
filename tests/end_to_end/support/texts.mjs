// Texts that hurt who takes text for anything else, and texts of great length.

/** Each in one line. */
export const awkward = [
    `quotes ' " and backslashes \\ \\\\ \\n \\'`,
    '</h1></div><h1>not a heading</h1> <script>alert(1)</script>',
    '${process.exit(1)} `${1}` $(id) %s {{x}} \' + run() + \'',
    'emoji 👩‍👩‍👧 🇩🇪 👍🏽 é e\u0301 ﬁ',
    'right to left \u202eabc\u202c \u200fשלום\u200f \u061cعربي',
    '--help -e -l -- "" ; exit 1 | cat > /tmp/x &',
    '../../etc/passwd: ? * <>',
];

/** The longest argument of a program that Linux takes, in bytes. */
export const longest = 131_071;

/** What the agent is told of a longer one. */
export const tooLong = 'osascript could not start: Argument list too long';

/**
 * Lines of every kind of character, so many bytes of them in all.
 * @param {number} bytes
 */
export function textOf(bytes) {
    const line = `"Zeile" 🍵 ist 'lang' — \u200fשלום\u200f, ${'漢字'} $x ${'{}'}\n`;
    const text = line.repeat(Math.floor(bytes / Buffer.byteLength(line)));
    return text + 'x'.repeat(bytes - Buffer.byteLength(text));
}
