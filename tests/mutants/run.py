#!/usr/bin/env python3
"""Changes the code in one place at a time, and tells which changes no test notices.

    run.py FILE | --all | --slice SECONDS [--own] [--list]

script/mutants is the command; it builds what this needs. The files, with the tests that belong to
them, are listed in files.txt, and operators.py makes their mutants. A mutant is compiled into a
shared library, which unit_tests, linked once without that file, loads. It is killed if a test fails,
crashes, or takes ten times as long as with the file as it is. One that its own tests let live meets
all others. Mutants that do not compile, or compile to what the file or an earlier mutant did, are not
counted.

explained.txt holds the survivors that no test can tell apart, each with the reason. An entry is about
a line's text in a function, so it outlives a line that moves. One that fits no mutant any more is an
error, and so is one whose mutant is killed by the tests that belong to the file.

Results are kept in build/mutants/results.json. A mutant runs again if its file has changed, or the
tests that decided about it.

Mutants may signal any process, so each runs in a process namespace of its own, within limits.
"""

import argparse
import datetime
import functools
import hashlib
import json
import os
import random
import re
import resource
import shlex
import subprocess
import sys
import time
from dataclasses import dataclass
from pathlib import Path

sys.dont_write_bytecode = True
import operators  # noqa: E402

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent
TESTS = ROOT / "build/test"  # of the preset `test`
BUILD = ROOT / "build/mutants"
GIB = 1 << 30
SHORTEST = 10  # seconds that a run is given at least: a busy machine is not a hang
SILENCE = 30  # seconds without a line, at most, where the output is no terminal
# No code of files.txt runs in these.
ELSEWHERE = "Rules.*:Rooms.*:Changelog.*:CardFuzz.*:EveryZone.*:Recurrence.*:DateUtil.*"


def sha(*texts: str) -> str:
    return hashlib.sha256("\0".join(texts).encode()).hexdigest()[:32]


class Refused(Exception):
    """What the user has to mend first."""


@dataclass(frozen=True)
class Verdict:
    """What became of a mutant: killed; lives (its own tests pass); alive (all tests pass); same (as the
    file or an earlier mutant, compiled); broken (it does not compile)."""

    kind: str
    by: str = ""  # the test that failed, or how the run ended


class File:
    """A file of files.txt, its text, its mutants, and the tests that belong to it."""

    def __init__(self, path: str, suites: str):
        self.path = path
        self.filter = ":".join(suites.split())
        self.source = (ROOT / path).read_text(encoding="utf-8")
        self.mutants = operators.mutants(self.source)

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
        if kind and not line.startswith("using "):
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


# Running a program that may do anything


@functools.cache
def cage() -> list[str]:
    """Returns the command that runs another one where it sees no process but its own."""
    for user in ([], ["--user", "--map-current-user"]):
        command = ["unshare", *user, "--pid", "--mount-proc", "--fork", "--kill-child", "--"]
        if subprocess.run([*command, "true"], stderr=subprocess.DEVNULL, check=False).returncode == 0:
            return command
    raise Refused("needs unshare with a process namespace: a mutant may signal any process")


def limits() -> None:
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_DATA, (4 * GIB, 4 * GIB))
    resource.setrlimit(resource.RLIMIT_FSIZE, (GIB, GIB))


def judge(command: list[str], longest: float, folder: Path) -> Verdict:
    """Runs a test program of GoogleTest's and returns whether it killed the mutant."""
    home = folder / "home"
    subprocess.run(["rm", "-rf", str(home)], check=True)
    home.mkdir(parents=True)
    environment = {**os.environ, "GTEST_FAIL_FAST": "1", "GTEST_BRIEF": "1", "GTEST_COLOR": "no",
                   "TMPDIR": str(home)}
    # The namespace's first process ignores signals that it has not asked for, so it is a shell.
    with open(folder / "output", "w+b") as output:
        process = subprocess.Popen([*cage(), "sh", "-c", '"$@"; exit $?', "sh", *command],
                                   stdin=subprocess.DEVNULL, stdout=output, stderr=output, cwd=ROOT,
                                   env=environment, preexec_fn=limits, start_new_session=True)
        try:
            status = process.wait(longest)
        except subprocess.TimeoutExpired:
            return Verdict("killed", "a hang")
        finally:
            process.kill()
            process.wait()
        output.seek(0)
        text = output.read().decode(errors="replace")
    if status == 0:
        return Verdict("lives")
    failed = re.search(r"^\[  FAILED  \] ([\w./]+)", text, re.MULTILINE)
    return Verdict("killed", failed[1] if failed else f"exit status {status}")


# Compiling


class Compiler:
    """Compiles one file as the preset `test` does, but unoptimized and for a shared library."""

    def __init__(self):
        commands = json.loads((TESTS / "compile_commands.json").read_text(encoding="utf-8"))
        self.commands = {entry["file"]: shlex.split(entry["command"]) for entry in commands}
        header = next(TESTS.glob("CMakeFiles/standard_headers.dir/cmake_pch.hxx"))
        self.header = BUILD / "precompiled.hxx"
        text = header.read_text(encoding="utf-8")
        made = self.header.with_suffix(".hxx.gch")
        if not made.exists() or self.header.read_text(encoding="utf-8") != text:
            self.header.write_text(text, encoding="utf-8")
            options = self.options(str(ROOT / "MCPStdio/json/JSONReader.cpp"))
            self.run([*options, "-x", "c++-header", str(self.header), "-o", str(made)])

    def options(self, file: str) -> list[str]:
        command = self.commands[file]
        kept = [part for part in command[1:] if re.match(r"-(?:std=|D)", part)]
        includes = re.findall(r"-(?:I|isystem) ?\S+", " ".join(command))
        return [command[0], "-O0", "-fPIC", "-w", *kept, *" ".join(includes).split()]

    @staticmethod
    def run(command: list[str]) -> bool:
        return subprocess.run(["nice", *command], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, cwd=ROOT, check=False).returncode == 0

    def compile(self, file: File, source: str) -> str:
        """Makes the object, and returns its hash; an empty text if it does not compile."""
        (BUILD / "mutant.cpp").write_text(source, encoding="utf-8")
        made = self.run([*self.options(str(ROOT / file.path)), "-include", str(self.header), "-c",
                         str(BUILD / "mutant.cpp"), "-o", str(BUILD / "mutant.o")])
        return hashlib.sha256((BUILD / "mutant.o").read_bytes()).hexdigest() if made else ""

    def link(self) -> None:
        library = BUILD / "libmutant.so"
        library.unlink(missing_ok=True)
        if not self.run(["g++", "-shared", str(BUILD / "mutant.o"), "-o", str(library)]):
            raise Refused("the linker failed for a library")

    def link_program(self) -> None:
        """Links unit_tests against the library instead of the object that it replaces."""
        shown = subprocess.run(["ninja", "-C", str(TESTS), "-t", "commands", "unit_tests"],
                               stdout=subprocess.PIPE, text=True, check=True).stdout
        words = shlex.split(shown.strip().split("\n")[-1])
        words = words[words.index("&&") + 1:]
        words = words[: words.index("&&")]
        words[words.index("-o") + 1] = str(BUILD / "unit_tests")
        # After the tests' objects, which need it, and before the archive that has the file's own.
        first = next(at for at, word in enumerate(words) if word.endswith(".a"))
        words[first:first] = ["-Wl,--no-as-needed", str(BUILD / "libmutant.so"), "-rdynamic",
                              "-Wl,-rpath," + str(BUILD)]
        linked = subprocess.run(["nice", *words], cwd=TESTS, stderr=subprocess.PIPE, text=True,
                                check=False)
        if linked.returncode != 0:
            raise Refused("unit_tests cannot be linked without the file: " + linked.stderr[-2000:])
        shared = self.defined("T", "-D", str(BUILD / "libmutant.so"))
        if not shared or shared & self.defined("T", str(BUILD / "unit_tests")):
            raise Refused("unit_tests would not use the mutants' code")

    @staticmethod
    def defined(kind: str, *what: str) -> set[str]:
        shown = subprocess.run(["nm", *what], stdout=subprocess.PIPE, text=True, check=True).stdout
        return {words[2] for words in map(str.split, shown.split("\n")) if words[1:2] == [kind]}


# Results


class Results:
    """Verdicts by what decided them. That all tests pass holds as long as no test changes, anything
    else as long as the tests that belong to the file stay the same."""

    def __init__(self):
        self.path = BUILD / "results.json"
        self.known = json.loads(self.path.read_text()) if self.path.exists() else {}
        tests = sorted((ROOT / "tests").rglob("*.[ch]pp"))
        self.tests = {path: path.read_text(encoding="utf-8") for path in tests}
        self.all_tests = sha(*self.tests.values())

    @functools.cache
    def own_tests(self, suites: str) -> str:
        names = [re.escape(s.split(".")[0]).replace(r"\*", r"\w*") for s in suites.split(":")]
        of_them = re.compile(r"\bTEST(?:_F|_P)?\((?:" + "|".join(names) + r"),")
        return sha(*[text for text in self.tests.values() if of_them.search(text)])

    def keys(self, file: File, text: str) -> tuple[str, str]:
        return sha(file.filter, self.own_tests(file.filter), text), sha(self.all_tests, text)

    def find(self, file: File, text: str) -> Verdict | None:
        for key in reversed(self.keys(file, text)):
            if key in self.known:
                return Verdict(*self.known[key])
        return None

    def keep(self, file: File, text: str, verdict: Verdict) -> None:
        own, every = self.keys(file, text)
        self.known[every if verdict.kind == "alive" else own] = [verdict.kind, verdict.by]

    def save(self) -> None:
        written = self.path.with_suffix(".new")
        written.write_text(json.dumps(self.known, indent=0))
        written.replace(self.path)


class Display:
    def __init__(self):
        self.terminal = sys.stdout.isatty()
        self.last = time.monotonic()

    def status(self, text: str) -> None:
        if self.terminal:
            print("\r\033[K" + text, end="", flush=True)
        elif time.monotonic() - self.last >= SILENCE:
            print(text, flush=True)
            self.last = time.monotonic()

    def line(self, text: str) -> None:
        print(("\r\033[K" if self.terminal else "") + text, flush=True)
        self.last = time.monotonic()


class Run:
    """Judges mutants, file by file."""

    def __init__(self, explained: dict[Place, str], own: bool, deadline: float):
        self.explained = explained
        self.own = own  # whether the tests that belong to a file decide alone
        self.deadline = deadline
        self.results = Results()
        self.display = Display()
        self.compiler = Compiler()
        self.counts = {"killed": 0, "explained": 0, "alive": 0}
        self.amiss: list[str] = []

    def all_of(self, files: list[File], chosen: dict[File, list[operators.Mutant]]) -> None:
        for file in files:
            before = dict(self.counts)
            self.mutants_of(file, chosen[file])
            made = {kind: self.counts[kind] - before[kind] for kind in self.counts}
            if sum(made.values()):
                self.display.line(f"{file.path:<56} {summary(made)}")

    def mutants_of(self, file: File, mutants: list[operators.Mutant]) -> None:
        verdicts = {m: self.results.find(file, m.text(file.source)) for m in mutants}
        if None in verdicts.values() and self.has_time():
            self.judge_by_own_tests(file, verdicts)
        lives = [m for m, verdict in verdicts.items() if verdict and verdict.kind == "lives"
                 and file.place(m) not in self.explained]
        if lives and not self.own and self.has_time():
            self.judge_by_all_tests(file, lives, verdicts)
        for mutant, verdict in verdicts.items():
            self.count(file, mutant, verdict)

    def judge_by_own_tests(self, file: File, verdicts: dict) -> None:
        own = [str(BUILD / "unit_tests"), "--gtest_filter=" + file.filter]
        objects = {self.prepare(file)}
        self.compiler.link_program()
        longest = self.longest(file, own)
        for number, (mutant, known) in enumerate(verdicts.items()):
            if not self.has_time():
                break
            if known:
                continue
            self.display.status(f"{file.path}: {number} of {len(verdicts)}")
            made = self.compiler.compile(file, mutant.text(file.source))
            if not made:
                verdict = Verdict("broken")
            elif made in objects:
                verdict = Verdict("same")
            else:
                objects.add(made)
                self.compiler.link()
                verdict = judge(own, longest, BUILD)
            self.decide(file, mutant, verdict, verdicts)

    def judge_by_all_tests(self, file: File, mutants: list[operators.Mutant], verdicts: dict) -> None:
        others = [str(BUILD / "unit_tests"), f"--gtest_filter=-{ELSEWHERE}:{file.filter}"]
        self.prepare(file)
        self.compiler.link_program()
        longest = self.longest(file, others)
        for number, mutant in enumerate(mutants):
            if not self.has_time():
                break
            self.display.status(f"{file.path}: {number} of {len(mutants)} under all tests")
            self.compiler.compile(file, mutant.text(file.source))
            self.compiler.link()
            verdict = judge(others, longest, BUILD)
            if verdict.kind == "lives":
                verdict = Verdict("alive")
            self.decide(file, mutant, verdict, verdicts)

    def prepare(self, file: File) -> str:
        """Makes the library from the file as it is, and returns the object's hash."""
        made = self.compiler.compile(file, file.source)
        if not made:
            raise Refused(f"{file.path} does not compile")
        self.compiler.link()
        return made

    def has_time(self) -> bool:
        return time.monotonic() < self.deadline

    @staticmethod
    def longest(file: File, command: list[str]) -> float:
        """Returns how many seconds a run may take, by one with the file as it is."""
        began = time.monotonic()
        verdict = judge(command, 1800, BUILD)
        if verdict.kind != "lives":
            raise Refused(f"the tests of {file.path} fail without any change: {verdict.by}")
        return max(SHORTEST, 10 * (time.monotonic() - began))

    def decide(self, file: File, mutant: operators.Mutant, verdict: Verdict, verdicts: dict) -> None:
        verdicts[mutant] = verdict
        self.results.keep(file, mutant.text(file.source), verdict)
        self.results.save()

    def count(self, file: File, mutant: operators.Mutant, verdict: Verdict | None) -> None:
        if verdict is None or verdict.kind in ("broken", "same"):
            return
        is_explained = file.place(mutant) in self.explained
        if verdict.kind in ("lives", "alive") and not is_explained:
            self.counts["alive"] += 1
            self.display.line(file.show(mutant))
        elif verdict.kind in ("lives", "alive"):
            self.counts["explained"] += 1
        else:
            self.counts["killed"] += 1
            if is_explained:
                self.amiss.append(f"explained, yet {verdict.by} kills it:\n{file.show(mutant)}")


def summary(counts: dict[str, int]) -> str:
    return (f"{sum(counts.values())} mutants: {counts['killed']} killed, "
            f"{counts['explained']} explained, {counts['alive']} alive")


def chosen_files(wanted: str | None, files: list[File]) -> list[File]:
    if wanted is None:
        return files
    found = [file for file in files if file.path == wanted or file.path.endswith("/" + wanted)]
    if not found:
        raise Refused(f"files.txt does not list {wanted}:\n" + "\n".join(f.path for f in files))
    return found


def main() -> int:
    parser = argparse.ArgumentParser(prog="mutants", description="Tells which changes to the code no "
                                     "test notices.")
    which = parser.add_mutually_exclusive_group(required=True)
    which.add_argument("file", nargs="?", help="one of tests/mutants/files.txt")
    which.add_argument("--all", action="store_true", help="all of them; takes hours the first time")
    which.add_argument("--slice", type=int, metavar="SECONDS", help="as many as there is time for, "
                       "others each day, and those first that have not been judged")
    parser.add_argument("--own", action="store_true", help="by the tests that belong to a file alone")
    parser.add_argument("--list", action="store_true", help="only show the mutants")
    arguments = parser.parse_args()
    files = chosen_files(arguments.file, read_files())
    if arguments.list:
        for file in files:
            print("\n".join(file.show(mutant) for mutant in file.mutants))
        print(sum(len(file.mutants) for file in files), "mutants")
        return 0
    explained = read_explained((HERE / "explained.txt").read_text(encoding="utf-8"))
    BUILD.mkdir(parents=True, exist_ok=True)
    deadline = time.monotonic() + arguments.slice if arguments.slice else float("inf")
    run = Run(explained, arguments.own, deadline)
    chosen = {file: file.mutants for file in files}
    if arguments.slice:
        shuffle = random.Random(datetime.date.today().toordinal())
        shuffle.shuffle(files)
        chosen = {file: shuffle.sample(file.mutants, len(file.mutants)) for file in files}
    run.amiss += stale(explained, read_files())
    run.all_of(files, chosen)
    for text in run.amiss:
        run.display.line(text)
    run.display.line(summary(run.counts))
    return 1 if run.counts["alive"] or run.amiss else 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except Refused as refused:
        sys.exit(f"mutants: {refused}")
    except KeyboardInterrupt:
        sys.exit(130)
