"""Makes mutants of a C++ file: the same text, changed in one place.

The text is not parsed. Comments, strings, the preprocessor's lines and static assertions are blanked
out, and what is left is searched for places that a change can be made at. That relies on the project's
format: a binary operator has a space on both sides, a template's bracket has none. A change that does
not compile costs a second and is not counted.
"""

import re
from dataclasses import dataclass

# Each of these is replaced by the other where it has a space on both sides.
SWAPS = {
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&",
    "+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "&": "|", "|": "&", "<<": ">>", ">>": "<<",
    "+=": "-=", "-=": "+=", "*=": "/=",
}
OPERATOR = re.compile(r"(?<= )(<=|>=|==|!=|&&|\|\||<<|>>|\+=|-=|\*=|<|>|\+|-|\*|/|%|&|\|)(?= |\n)")
STEP = re.compile(r"(\+\+|--)(?=[A-Za-z_])")
NOT = re.compile(r"(?<=[ (])!(?=[\w(:*])")
# Not the size of an array: one that is larger than it has to be changes nothing.
NUMBER = re.compile(r"(?<![\w.'])(0[xX][0-9A-Fa-f']+|\d[\d']*)([uUlL]*)(?![\w.'>])")
TRUTH = re.compile(r"\b(true|false)\b")
CONDITION = re.compile(r"\b(?:if|while) \(")
RETURN = re.compile(r"\b(co_return|return)\s+([^;{}]*(?:\{[^;]*\}[^;{}]*)*);")
CALL = re.compile(r"(?:co_await )?(?:static_cast<void>|[\w:.>\[\]*-]+)\(")
ASSIGNMENT = re.compile(r"[\w:.>\[\]*-]+(?:\([\w.]*\)[\w:.>-]+)* [-+*/|&]?= ")
NOT_CALLS = {"if", "while", "for", "switch", "return", "co_return", "throw", "catch", "static_assert"}
# Without its "!", or with the other of == and !=, such a condition is negated, too.
SIMPLE = r"(?:(?! (?:&&|\|\|) ).)*"
NEGATED_BY_ANOTHER = re.compile(f"!{SIMPLE}|{SIMPLE} [!=]= {SIMPLE}", re.DOTALL)
COMPARES = re.compile(r" (?:&&|\|\||==|!=|<|<=|>|>=) |^!")
DECLARED = re.compile(r"^[\w:<>*& ,]+?[ *&](\w+)(?: = |\{)")
EMPTY = {"{}", "0", "nullptr", "std::nullopt", '""', "false", "true", "*this"}

BLANKED = re.compile(
    r"""//[^\n]*|/\*.*?\*/|R"(?P<end>[^()\s]*)\(.*?\)(?P=end)"|"(?:\\.|[^"\\\n])*"|"""
    r"""(?P<number>\b\d[\w'.]*)|'(?:\\.|[^'\\\n])+'|(?m:^[ ]*\#(?:[^\n]*\\\n)*[^\n]*)|"""
    r"""\bstatic_assert\(.*?\);|\[\[[^\]]*\]\]""", re.DOTALL)


@dataclass(frozen=True)
class Mutant:
    """A change: the characters from `begin` to `end` are replaced by `new`."""

    begin: int
    end: int
    new: str

    def text(self, source: str) -> str:
        return source[: self.begin] + self.new + source[self.end:]

    def line(self, source: str) -> int:
        return source.count("\n", 0, self.begin) + 1

    def lines(self, source: str) -> tuple[str, str]:
        """Returns the lines concerned, before and after, each as one with single spaces."""
        first = source.rfind("\n", 0, self.begin) + 1
        last = source.find("\n", self.end)
        last = len(source) if last < 0 else last
        before = source[first:last]
        after = source[first: self.begin] + self.new + source[self.end: last]
        return " ".join(before.split()), " ".join(after.split())


def blanked(source: str) -> str:
    """Returns the text with spaces for all that is not code. Numbers stay, with the ' within them."""
    def blank(match: re.Match) -> str:
        if match["number"]:
            return match[0]
        text = re.sub(r"[^\n]", " ", match[0])
        # What stands for a literal must not look like an empty place between two operators.
        return "_" + text[1:] if match[0][0] in "\"'R" else text
    return BLANKED.sub(blank, source)


def closing(code: str, opening: int) -> int:
    """Returns where the bracket that is opened at `opening` is closed."""
    depth = 0
    for at in range(opening, len(code)):
        if code[at] in "([{":
            depth += 1
        elif code[at] in ")]}":
            depth -= 1
            if depth == 0:
                return at
    return len(code)


def end_of_operand(code: str, at: int) -> int:
    """Returns where an operand ends: at a ; or a comma, or where the brackets around it close."""
    while at < len(code) and code[at] not in ";,)]}":
        at = closing(code, at) + 1 if code[at] in "([{" else at + 1
    return at


def swapped_operands(source: str, code: str):
    for match in re.finditer(r"\s\? ", code):
        at = match.end()
        nested = 0
        while code[at] not in ";)]}":
            if code[at] in "([{":
                at = closing(code, at)
            elif code.startswith("? ", at):
                nested += 1
            elif code.startswith(": ", at) and code[at - 1].isspace():
                if nested == 0:
                    break
                nested -= 1
            at += 1
        else:
            continue
        end = end_of_operand(code, at + 2)
        yes, no = source[match.end(): at].strip(), source[at + 2: end]
        yield Mutant(match.end(), end, f"{no.strip()} : {yes}")


def negated_conditions(source: str, code: str):
    for match in CONDITION.finditer(code):
        begin, end = match.end(), closing(code, match.end() - 1)
        if code[begin:end] in ("true", "false") or NEGATED_BY_ANOTHER.fullmatch(code[begin:end]):
            continue
        semicolon = code.rfind(";", begin, end)
        if semicolon >= 0:
            begin = semicolon + 2
        declared = DECLARED.match(code[begin:end])
        if declared and match[0].startswith("while"):
            continue
        if declared:
            yield Mutant(begin, end, f"{source[begin:end]}; !{declared[1]}")
        else:
            yield Mutant(begin, end, f"!({source[begin:end]})")


def statements(code: str):
    """Yields the begin and end of each statement that ends with a semicolon."""
    open_brackets: list[str] = []
    begin = None
    starts = []
    for at, letter in enumerate(code):
        if begin is not None and not letter.isspace():
            starts.append(at)
            begin = None
        if letter in "([{":
            open_brackets.append(letter)
        elif letter in ")]}" and open_brackets:
            open_brackets.pop()
        within_braces = open_brackets and open_brackets[-1] == "{"
        if letter in "{}" or (letter == ";" and within_braces) or code.startswith(":\n", at):
            begin = at
    for start in starts:
        end = start
        while end < len(code) and code[end] not in ";}":
            end = closing(code, end) + 1 if code[end] in "([{" else end + 1
        if end < len(code) and code[end] == ";":
            yield start, end + 1


def dropped_statements(code: str):
    for begin, end in statements(code):
        text = code[begin:end]
        call = CALL.match(text)
        if call and text.endswith(");") and re.split(r"\W", text, maxsplit=1)[0] not in NOT_CALLS:
            yield Mutant(begin, end, ";")
        elif ASSIGNMENT.match(text):
            yield Mutant(begin, end, ";")


def replaced_values(code: str):
    for match in RETURN.finditer(code):
        value = match[2].strip()
        if value in EMPTY or re.fullmatch(r"-?[\d']+", value):
            continue
        function = max(code.rfind("\n\n", 0, match.start()), 0)
        header = code[function: match.start()].split("{", 1)[0]
        is_bool = COMPARES.search(value) or re.search(r"(^|\s)bool \S+\(", header)
        for new in ("true", "false") if is_bool else ("{}",):
            yield Mutant(match.start(2), match.end(2), new)


def changed_number(text: str, by: int) -> str:
    value = int(text.replace("'", ""), 0) + by
    return hex(value) if text[:2].lower() == "0x" else str(value)


def mutants(source: str) -> list[Mutant]:
    """Returns all mutants of a file, in the order of their places."""
    code = blanked(source)
    made = [Mutant(m.start(), m.end(), SWAPS[m[1]]) for m in OPERATOR.finditer(code)]
    made += [Mutant(m.start(), m.end(), "--" if m[1] == "++" else "++") for m in STEP.finditer(code)]
    made += [Mutant(m.start(), m.end(), "") for m in NOT.finditer(code)]
    made += [Mutant(m.start(), m.end(), "false" if m[1] == "true" else "true")
             for m in TRUTH.finditer(code)]
    for match in NUMBER.finditer(code):
        for by in (1, -1) if int(match[1].replace("'", ""), 0) > 0 else (1,):
            made.append(Mutant(match.start(1), match.end(1), changed_number(match[1], by)))
    made += swapped_operands(source, code)
    made += negated_conditions(source, code)
    made += dropped_statements(code)
    made += replaced_values(code)
    unique = {mutant.text(source): mutant for mutant in made}
    unique.pop(source, None)
    return sorted(unique.values(), key=lambda mutant: (mutant.begin, mutant.end, mutant.new))
