#!/usr/bin/env python3
"""Runs the tests that CTest knows by some labels, and counts their cases.

    run_tests.py FOLDER LABEL[,LABEL...] TALLY

FOLDER is a build folder. Each suite is summed up in a line when its last shard has ended; what a
failed program printed follows. On a terminal the last line shows what is running, elsewhere a line
does every half a minute. The sums are appended to the file TALLY: passed, failed, skipped.

Cases are counted from the programs' own reports. An entry without a report (a crash, a timeout, a
program that is not there), one whose report holds no case, and one that fails although all of its
cases passed count as one failed case each, so none of them can look like success.
"""

import json
import os
import queue
import re
import shutil
import signal
import subprocess
import sys
import threading
import time
from dataclasses import dataclass, field
from pathlib import Path

SILENCE = 30  # seconds without a line, at most
RESULT = re.compile(r"^ *\d+/\d+ Test +#(\d+): .*?(Passed|\*\*\*.*?|Not Run.*?) +[\d.]+ sec")
START = re.compile(r"^ +Start +(\d+): ")
SHARD = re.compile(r" \d+/\d+$")


@dataclass
class Counts:
    passed: int = 0
    failed: int = 0
    skipped: int = 0
    reasons: list[str] = field(default_factory=list)  # why cases were skipped

    def add(self, other: "Counts") -> None:
        self.passed += other.passed
        self.failed += other.failed
        self.skipped += other.skipped
        self.reasons += other.reasons

    def __str__(self) -> str:
        skipped = f", {self.skipped} skipped" if self.skipped else ""
        return f"{self.passed} passed, {self.failed} failed{skipped}"


def googletest_counts(report: Path) -> Counts:
    counts = Counts()
    for suite in json.loads(report.read_text(encoding="utf-8", errors="replace"))["testsuites"]:
        for case in suite["testsuite"]:
            if case.get("failures"):
                counts.failed += 1
            elif case.get("result") == "COMPLETED":
                counts.passed += 1
            elif case.get("result") in ("SKIPPED", "SUPPRESSED"):
                counts.skipped += 1
                for skipped in case.get("skipped", []):
                    counts.reasons.append(skipped["message"].split("\n", 1)[-1].strip())
    return counts


def tap_counts(report: Path) -> Counts:
    """Reads the totals that Node.js writes last; a case that met its deadline is called cancelled."""
    text = report.read_text(encoding="utf-8", errors="replace")
    totals = {name: int(count) for name, count in re.findall(r"^# (\w+) (\d+)$", text, re.MULTILINE)}
    counts = Counts()
    counts.passed = totals.get("pass", 0)
    counts.failed = totals.get("fail", 0) + totals.get("cancelled", 0)
    counts.skipped = totals.get("skipped", 0)
    counts.reasons = re.findall(r"^ *ok \d+ .* # SKIP (.+)$", text, re.MULTILINE)
    return counts


class Entry:
    """An entry of CTest: a program, or a shard of one."""

    def __init__(self, description: dict):
        self.name = description["name"]
        self.suite = SHARD.sub("", self.name)
        properties = {p["name"]: p["value"] for p in description.get("properties", [])}
        environment = dict(pair.split("=", 1) for pair in properties.get("ENVIRONMENT", []))
        self.json = environment.get("GTEST_OUTPUT", "").removeprefix("json:")
        self.tap = environment.get("TAP_REPORT", "")
        self.since = 0.0
        self.running = False
        self.ended = False
        self.counts = Counts()
        if self.json or self.tap:
            Path(self.json or self.tap).unlink(missing_ok=True)  # that of an earlier run

    def end(self, result: str) -> str:
        """Counts the cases. Returns what is amiss beyond failed cases, or an empty string."""
        self.running = False
        self.ended = True
        passed = result == "Passed"
        if not self.json and not self.tap:
            self.counts = Counts(passed=int(passed), failed=int(not passed))
            return "" if passed else self.name + ": " + result.strip("* ")
        try:
            self.counts = googletest_counts(Path(self.json)) if self.json else tap_counts(Path(self.tap))
            amiss = "" if self.counts.passed + self.counts.failed + self.counts.skipped else "no test ran"
        except (OSError, ValueError, KeyError) as error:
            amiss = f"no report ({error})"
        if not passed and not self.counts.failed:
            amiss = result.strip("* ") + (f", {amiss}" if amiss else "")
        if amiss:
            self.counts.failed += 1
            return f"{self.name}: {amiss}"
        return ""


class Display:
    """Lines for the reader, and beneath them, on a terminal, what is going on."""

    def __init__(self):
        self.terminal = sys.stdout.isatty()
        self.last = time.monotonic()

    def line(self, text: str) -> None:
        print(("\r\033[K" if self.terminal else "") + text, flush=True)
        self.last = time.monotonic()

    def status(self, text: str) -> None:
        if self.terminal:
            print("\r\033[K" + text[: shutil.get_terminal_size().columns - 1], end="", flush=True)
        elif time.monotonic() - self.last >= SILENCE:
            self.line(text)

    def clear(self) -> None:
        if self.terminal:
            print("\r\033[K", end="", flush=True)


class Run:
    def __init__(self, folder: Path, labels: list[str]):
        self.select = ["ctest", "--test-dir", str(folder), "-L", "^(" + "|".join(labels) + ")$"]
        shown = subprocess.run([*self.select, "--show-only=json-v1"], stdout=subprocess.PIPE, check=True)
        tests = json.loads(shown.stdout)["tests"]
        self.entries = {number: Entry(test) for number, test in enumerate(tests, 1)}
        self.numbers: dict[int, Entry] = {}  # by CTest's own number, which counts all of its entries
        self.display = Display()
        self.total = Counts()
        self.failing: Entry | None = None  # the one whose output CTest prints
        self.within_passed = False  # a TAP block of a case that passed
        self.began = time.monotonic()

    def __call__(self) -> Counts:
        if not self.entries:
            self.display.line("no test has one of the labels")
            return Counts(failed=1)
        parallel = str(2 * (os.cpu_count() or 1))  # in halves of a processor; see cmake/Suites.cmake
        ctest = subprocess.Popen([*self.select, "--output-on-failure", "--no-tests=error", "-j", parallel],
                                 stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                 text=True, errors="replace", preexec_fn=usual_signals)
        lines: queue.SimpleQueue = queue.SimpleQueue()

        def read() -> None:
            for line in ctest.stdout:
                lines.put(line.rstrip("\n"))
            lines.put(None)

        threading.Thread(target=read, daemon=True).start()
        while True:
            try:
                line = lines.get(timeout=1)
            except queue.Empty:
                line = ""
            if line is None:
                break
            if line:
                self.take(line)
            self.display.status(self.state())
        self.display.clear()
        status = ctest.wait()
        for entry in self.entries.values():
            if not entry.ended:
                self.end(entry, "not run")
        if status != 0 and not self.total.failed:
            self.display.line(f"ctest: exit status {status}")
            self.total.failed += 1
        return self.total

    def take(self, line: str) -> None:
        """Takes a line of CTest's: a start, a result, or what a test that failed has printed."""
        if start := START.match(line):
            entry = self.find(line.split(": ", 1)[1].strip())
            if entry:
                self.numbers[int(start[1])] = entry
                entry.running = True
                entry.since = time.monotonic()
        elif (result := RESULT.match(line)) and int(result[1]) in self.numbers:
            entry = self.numbers[int(result[1])]
            self.end(entry, result[2])
            self.failing = entry if result[2] != "Passed" else None
        elif re.match(r"^\d+% tests passed", line):
            self.failing = None  # what follows repeats it all
        elif self.failing and not (self.failing.tap and self.of_passed_case(line)):
            self.display.line("    " + line)

    def of_passed_case(self, line: str) -> bool:
        """Says whether a line of TAP is about a case that passed."""
        if re.match(r"^ *ok \d+ ", line):
            self.within_passed = True
        elif re.match(r"^ *(not ok \d+ |1\.\.\d+)", line):
            self.within_passed = False
        return self.within_passed or re.match(r"^ *(# Subtest: |TAP version )", line) is not None

    def find(self, name: str) -> "Entry | None":
        return next((entry for entry in self.entries.values() if entry.name == name), None)

    def end(self, entry: Entry, result: str) -> None:
        if amiss := entry.end(result):
            self.display.line(amiss)
        suite = [other for other in self.entries.values() if other.suite == entry.suite]
        if all(other.ended for other in suite):
            counts = Counts()
            for other in suite:
                counts.add(other.counts)
            since = min((other.since for other in suite if other.since), default=time.monotonic())
            self.display.line(f"{entry.suite:<32} {counts} ({time.monotonic() - since:.0f} s)")
            for reason in counts.reasons:
                self.display.line(f"    skipped: {reason}")
            self.total.add(counts)

    def state(self) -> str:
        ended = sum(entry.ended for entry in self.entries.values())
        running = [entry.name for entry in self.entries.values() if entry.running]
        seconds = time.monotonic() - self.began
        return f"[{ended} of {len(self.entries)} ended, {seconds:.0f} s] running: {', '.join(running)}"


def usual_signals() -> None:
    """Undoes what a shell does to what it runs in the background: the tests send these signals."""
    for name in (signal.SIGINT, signal.SIGQUIT, signal.SIGHUP):
        signal.signal(name, signal.SIG_DFL)


def main() -> int:
    folder, labels, tally = sys.argv[1:]
    counts = Run(Path(folder), labels.split(","))()
    with open(tally, "a", encoding="ascii") as file:
        print(counts.passed, counts.failed, counts.skipped, file=file)
    return 0


if __name__ == "__main__":
    sys.exit(main())
