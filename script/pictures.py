#!/usr/bin/env python3
"""Draws docs/pictures/session.svg: a run of the demo in which somebody answers a question.

    pictures.py BIN [--check]

BIN is a build's folder of programs. The demo runs on a terminal of 80 columns, for a fixed day, and a
y is typed when it asks. With --check nothing is written; the status is 1 if the picture is not what
would be drawn.
"""

import fcntl
import itertools
import os
import pty
import re
import select
import struct
import sys
import termios
import time
import unicodedata
from pathlib import Path
from xml.sax.saxutils import escape

root = Path(__file__).resolve().parent.parent
picture = root / "docs/pictures/session.svg"
arguments = ["--interactive", "--today", "2026-10-14"]
typed = "y"
last = "People, notes and mail"  # the heading before which the picture ends

columns, cell, line, margin, bar = 80, 8.4, 20, 20, 36
patience = 60  # seconds
styles = {  # what a terminal's code means here
    "0": "", "1": "b", "2": "d", "32": "g", "33": "y", "35": "m", "36": "c",
}


def session(programs):
    """Runs the demo and returns what the terminal shows."""
    child, terminal = pty.fork()
    if child == 0:
        try:
            os.execve(programs / "demo", [str(programs / "demo"), *arguments],
                      {"PATH": os.environ["PATH"], "TERM": "xterm-256color"})
        finally:
            os._exit(127)
    fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 60, columns, 0, 0))
    shown = b""
    answered = False
    deadline = time.monotonic() + patience
    while True:
        if not select.select([terminal], [], [], max(0, deadline - time.monotonic()))[0]:
            sys.exit("pictures: the demo did not end")
        try:
            part = os.read(terminal, 4096)
        except OSError:  # how a terminal reports that its last program has ended
            part = b""
        if not part:
            break
        shown += part
        if not answered and b"[y/n] " in shown:
            os.write(terminal, typed.encode() + b"\n")
            answered = True
    os.close(terminal)
    if os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) != 0:
        sys.exit("pictures: the demo failed:\n" + shown.decode())
    return shown.decode().replace("\r\n", "\n")


def width(character):
    if unicodedata.combining(character) or unicodedata.category(character) in ("Cf", "Me", "Mn"):
        return 0
    return 2 if unicodedata.east_asian_width(character) in "WF" else 1


def runs(text, style):
    """Returns the parts of a line that look alike, as (column, columns, style, text), and the style
    after the line. Wide characters are parts of their own, because fonts disagree on their width, and
    parts neither hold two blanks in a row nor begin or end with one, because viewers drop those."""
    found = []
    column = 0
    for part in re.split(r"(\x1b\[[\d;]*m)", text):
        if code := re.fullmatch(r"\x1b\[([\d;]*)m", part):
            style = styles[code[1] or "0"]
            continue
        for wide, group in itertools.groupby(part, lambda character: width(character) != 1):
            for piece in re.split(r"( {2,}|^ | $)", "".join(group)):
                used = sum(width(character) for character in piece)
                if piece.strip():
                    found.append((column, used, style, piece))
                column += used
    if column > columns:
        sys.exit(f"pictures: wider than {columns} columns: {text}")
    return found, style


def drawing(shown):
    end = next((at for at, text in enumerate(shown) if last in text), None)
    if end is None:
        sys.exit(f"pictures: the demo says nothing of “{last}”")
    lines = ["$ script/demo " + " ".join(arguments), *shown[:end]]
    while not lines[-1].strip():
        lines.pop()
    wide = columns * cell + 2 * margin
    high = bar + len(lines) * line + margin
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {wide:g} {high:g}" width="{wide:g}" '
        f'height="{high:g}" role="img" aria-labelledby="title">',
        '<title id="title">A session in a terminal: an agent lists events, and the user is asked before '
        "one is added</title>",
        "<style>",
        "text { font: 14px ui-monospace, SFMono-Regular, Menlo, Consolas, 'DejaVu Sans Mono', monospace; "
        "fill: #d5dbe3 }",
        ".b { font-weight: bold; fill: #ffffff } .d { fill: #aab4c0 } .g { fill: #9bd67d } "
        ".y { fill: #f0c95c } .m { fill: #e59ae8 } .c { fill: #74cfe0 }",
        ".e { font-family: 'Apple Color Emoji', 'Segoe UI Emoji', 'Noto Color Emoji', monospace }",
        "</style>",
        f'<rect x="0.5" y="0.5" width="{wide - 1:g}" height="{high - 1:g}" rx="8" fill="#1b2028" '
        'stroke="#596373"/>',
    ]
    for at, colour in enumerate(("#e5695e", "#e3b341", "#6cb85c")):
        parts.append(f'<circle cx="{margin + 6 + 18 * at}" cy="18" r="5" fill="{colour}"/>')
    style = ""
    for row, text in enumerate(lines):
        height = bar + (row + 0.75) * line
        found, style = runs(text, style)
        for column, used, look, piece in found:
            look = "e" if width(piece[0]) == 2 else look
            parts.append(
                f'<text x="{margin + column * cell:g}" y="{height:g}" textLength="{used * cell:g}" '
                f'lengthAdjust="spacingAndGlyphs"' + (f' class="{look}"' if look else "") +
                f">{escape(piece)}</text>")
    return "\n".join([*parts, "</svg>", ""])


def main():
    if len(sys.argv) not in (2, 3) or sys.argv[2:] not in ([], ["--check"]):
        sys.exit(__doc__)
    drawn = drawing(session(Path(sys.argv[1]).resolve()).split("\n"))
    if sys.argv[2:]:
        if not picture.exists() or picture.read_text(encoding="utf-8") != drawn:
            sys.exit(f"{picture.relative_to(root)} is out of date: script/pictures draws it")
    else:
        picture.parent.mkdir(exist_ok=True)
        picture.write_text(drawn, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
