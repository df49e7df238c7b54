"""The files that are changed, their mutants, and the survivors that are explained."""

import re
from dataclasses import dataclass
from pathlib import Path

import operators

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent
# No code of files.txt runs in these.
ELSEWHERE = ["Rules.*", "Rooms.*", "Changelog.*", "CardFuzz.*", "EveryZone.*", "Recurrence.*",
             "DateUtil.*", "*LocalFileReplacement.*", "*LocalFileCreation.*", "ParseCacheTest.*"]


class Refused(Exception):
    """What the user has to mend first."""


class File:
    """A file of files.txt, its text, its mutants, and the tests that belong to it."""

    def __init__(self, path: str, suites: str):
        self.path = path
        self.suites = [suite for suite in suites.split() if not suite.startswith("-")]
        self.left_out = [suite[1:] for suite in suites.split() if suite.startswith("-")]
        self.source = (ROOT / path).read_text(encoding="utf-8")
        self.mutants = operators.mutants(self.source)

    def own_tests(self) -> str:
        """Returns GoogleTest's filter for the tests that belong to the file."""
        return ":".join(self.suites) + "-" + ":".join(self.left_out)

    def other_tests(self) -> str:
        return "-" + ":".join([*self.suites, *self.left_out, *ELSEWHERE])

    def place(self, mutant: operators.Mutant) -> "Place":
        before, after = mutant.lines(self.source)
        return Place(self.path, function_at(self.source, mutant.begin), before, after)

    def show(self, mutant: operators.Mutant) -> str:
        before, after = mutant.lines(self.source)
        return f"{self.path}:{mutant.line(self.source)}: - {before}\n" + f"    + {after}"


@dataclass(frozen=True)
class Place:
    """A change as explained.txt describes it."""

    path: str
    function: str
    before: str
    after: str


def function_at(source: str, at: int) -> str:
    """Returns the name of the function or class that a place is within, or its line declares."""
    name = "-"
    for line in source[: source.find("\n", at)].split("\n"):
        kind = re.match(r"(?:class|struct) ([\w:]+) ?[\w:]* ?\{|[^\s#/}].*?([\w:~]+)\(", line)
        if kind and not line.endswith(";"):  # which is a constant, or declares a function elsewhere
            name = kind[1] or kind[2]
        elif line.startswith("}"):
            name = "-"
    return name


def read_files() -> list[File]:
    files = []
    for line in (HERE / "files.txt").read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            path, suites = line.split(": ")
            files.append(File(path, suites))
    return files


def read_explained(text: str) -> dict[Place, str]:
    """Reads entries: a line `FILE FUNCTION`, pairs of lines `- OLD` and `+ NEW`, a reason."""
    explained: dict[Place, str] = {}
    for entry in re.split(r"\n\s*\n", re.sub(r"(?m)^#.*\n", "", text).strip()):
        if not entry:
            continue
        lines = entry.split("\n")
        head = lines.pop(0).split(" ")
        places = []
        while lines and lines[0].startswith("- "):
            if len(lines) < 2 or not lines[1].startswith("+ ") or len(head) != 2:
                raise Refused(f"explained.txt: not an entry: {entry}")
            places.append(Place(*head, lines[0][2:], lines[1][2:]))
            del lines[:2]
        if not places or not lines:
            raise Refused(f"explained.txt: an entry without a change or a reason: {entry}")
        for place in places:
            if place in explained:
                raise Refused(f"explained.txt: twice: {place}")
            explained[place] = " ".join(lines)
    return explained


def stale(explained: dict[Place, str], files: list[File]) -> list[str]:
    """Describes the entries that fit no mutant."""
    places = {file.place(mutant) for file in files for mutant in file.mutants}
    return [f"explained.txt: no such mutant: {place.path} {place.function}\n    - {place.before}\n"
            f"    + {place.after}" for place in explained if place not in places]
