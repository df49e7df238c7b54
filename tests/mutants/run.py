#!/usr/bin/env python3
"""Changes the code in one place at a time, and tells which changes no test notices.

    run.py FILE | --all | [FILE] --slice SECONDS [--own] [--list]

script/mutants is the command; it builds what this needs. The files, with the tests that belong to
them, are listed in files.txt, and operators.py makes their mutants. A mutant is compiled into a
shared library, which unit_tests, linked once without that file, loads. It is killed if a test fails,
crashes, or takes ten times as long as with the file as it is. One that its own tests let live meets
all others. Mutants that do not compile, or compile to what the file or an earlier mutant did, are not
counted.

explained.txt holds the survivors that no test can tell apart, each with the reason. An entry is about
a line's text in a function, so it outlives a line that moves. One that fits no mutant any more is an
error, and so is one whose mutant is killed by the tests that belong to the file.

Results are kept in build/mutants/results.json. A mutant runs again if its file has changed, or what
decided about it: the test that killed it, or any test that let it live.

Mutants may signal any process, so each runs in a process namespace of its own, within limits.
"""

import argparse
import fcntl
import functools
import hashlib
import json
import random
import re
import sys
import time

sys.dont_write_bytecode = True
import operators  # noqa: E402
from judging import BUILD, Compiler, Verdict, judge  # noqa: E402
from listed import HERE, ROOT, File, Place, Refused, read_explained, read_files, stale  # noqa: E402

SHORTEST = 10  # seconds that a run is given at least: a busy machine is not a hang
SHORTEST_SLICE = 30  # seconds for a file; less would go into preparing it
SILENCE = 30  # seconds without a line, at most, where the output is no terminal


def sha(*texts: str) -> str:
    return hashlib.sha256("\0".join(texts).encode()).hexdigest()[:32]


class Results:
    """Verdicts, each with a hash of what it rests on. That a mutant was killed holds as long as the
    test that did it stays as it is, that it lives as long as no test of its file changes, and that it
    is alive as long as no test at all does."""

    def __init__(self):
        self.path = BUILD / "results.json"
        self.known = json.loads(self.path.read_text()) if self.path.exists() else {}
        tests = sorted((ROOT / "tests").rglob("*.[ch]pp"))
        self.tests = [path.read_text(encoding="utf-8") for path in tests]

    @functools.cache
    def text_of(self, pattern: str, whole: bool) -> str:
        """Returns the tests of this name, or the files that hold any."""
        end = "" if whole else r"\).*?\n}\n"
        found = re.compile(r"\bTEST(?:_F|_P)?\(" + pattern + end, re.DOTALL)
        return "".join(text if whole else match[0] for text in self.tests
                       if (match := found.search(text)))

    def basis(self, file: File, verdict: Verdict) -> str:
        if verdict.kind == "alive":
            return sha(*self.tests)
        if verdict.kind == "lives":
            names = [re.escape(suite.split(".")[0]).replace(r"\*", r"\w*") for suite in file.suites]
            return sha(file.own_tests(), self.text_of("(?:" + "|".join(names) + "),", True))
        if test := re.match(r"(?:\w+/)?(\w+)\.(\w+)", verdict.by):
            return sha(self.text_of(f"{test[1]}, {test[2]}", False))
        return ""

    def find(self, file: File, text: str) -> Verdict | None:
        kind, by, basis = self.known.get(sha(file.path, text), ("", "", ""))
        verdict = Verdict(kind, by)
        return verdict if kind and self.basis(file, verdict) == basis else None

    def lived(self, file: File, text: str) -> bool:
        """Returns whether the mutant lived when it was judged last, perhaps under other tests."""
        return self.known.get(sha(file.path, text), [""])[0] in ("lives", "alive")

    def keep(self, file: File, text: str, verdict: Verdict) -> None:
        self.known[sha(file.path, text)] = [verdict.kind, verdict.by, self.basis(file, verdict)]

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

    def __init__(self, explained: dict[Place, str], own: bool, end: float):
        self.explained = explained
        self.own = own  # whether the tests that belong to a file decide alone
        self.end = end
        self.deadline = end  # of the current file
        self.results = Results()
        self.display = Display()
        self.compiler = Compiler()
        self.counts = {"killed": 0, "explained": 0, "alive": 0}
        self.amiss: list[str] = []

    def all_of(self, files: list[File], chosen: dict[File, list[operators.Mutant]]) -> None:
        for number, file in enumerate(files):
            now = time.monotonic()
            self.deadline = now + max((self.end - now) / (len(files) - number), SHORTEST_SLICE)
            before = dict(self.counts)
            self.mutants_of(file, chosen[file])
            made = {kind: self.counts[kind] - before[kind] for kind in self.counts}
            if sum(made.values()):
                self.display.line(f"{file.path:<56} {summary(made)}")

    def mutants_of(self, file: File, mutants: list[operators.Mutant]) -> None:
        # First those that lived: somebody may have written a test for them.
        mutants = sorted(mutants, key=lambda m: not self.results.lived(file, m.text(file.source)))
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
        own = [str(BUILD / "unit_tests"), "--gtest_filter=" + file.own_tests()]
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
                verdict = judge(own, longest)
            self.decide(file, mutant, verdict, verdicts)

    def judge_by_all_tests(self, file: File, mutants: list[operators.Mutant], verdicts: dict) -> None:
        others = [str(BUILD / "unit_tests"), "--gtest_filter=" + file.other_tests()]
        self.prepare(file)
        self.compiler.link_program()
        longest = self.longest(file, others)
        for number, mutant in enumerate(mutants):
            if not self.has_time():
                break
            self.display.status(f"{file.path}: {number} of {len(mutants)} under all tests")
            self.compiler.compile(file, mutant.text(file.source))
            self.compiler.link()
            verdict = judge(others, longest)
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
        return time.monotonic() < min(self.deadline, self.end)

    @staticmethod
    def longest(file: File, command: list[str]) -> float:
        """Returns how many seconds a run may take, by one with the file as it is."""
        began = time.monotonic()
        verdict = judge(command, 1800)
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
    parser = argparse.ArgumentParser(prog="mutants", description="Lists the changes to the code that "
                                     "no test notices.")
    parser.add_argument("file", nargs="?", help="one of tests/mutants/files.txt")
    parser.add_argument("--all", action="store_true", help="all of them; takes hours the first time")
    parser.add_argument("--slice", type=int, metavar="SECONDS", help="as many mutants, chosen at "
                        "random, as there is time for")
    parser.add_argument("--own", action="store_true", help="by the tests that belong to a file alone")
    parser.add_argument("--list", action="store_true", help="only show the mutants")
    arguments = parser.parse_args()
    if arguments.file and arguments.all or not (arguments.file or arguments.all or arguments.slice):
        parser.error("which ones: a file, --all, or --slice SECONDS")
    files = chosen_files(arguments.file, read_files())
    if arguments.list:
        for file in files:
            print("\n".join(file.show(mutant) for mutant in file.mutants))
        print(sum(len(file.mutants) for file in files), "mutants")
        return 0
    explained = read_explained((HERE / "explained.txt").read_text(encoding="utf-8"))
    BUILD.mkdir(parents=True, exist_ok=True)
    lock = open(BUILD / "lock", "w", encoding="ascii")  # two runs would share a library
    fcntl.flock(lock, fcntl.LOCK_EX)
    end = time.monotonic() + arguments.slice if arguments.slice else float("inf")
    run = Run(explained, arguments.own, end)
    chosen = {file: file.mutants for file in files}
    if arguments.slice:
        random.shuffle(files)
        chosen = {file: random.sample(file.mutants, len(file.mutants)) for file in files}
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
