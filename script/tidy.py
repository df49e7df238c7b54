#!/usr/bin/env python3
"""Checks the files of build/lint by clang-tidy; script/lint configures that folder.

Most of a run would go into the standard library's headers, through which each check walks once for
each file. So files that are compiled alike are joined, dozens at a time, and checked as one. If that
fails, those with the errors and the others are checked anew, each lot joined: what is reported was found
in a file alone, and files pass that fail only together (two may have the same name for something of
their own).

Some checks would miss something in joined files, and get each file apart, over precompiled headers:
the analyzer, which skips a function after it has followed a call of it, and those that look for names
that the file does not use. The analyzer leaves the tests out: it would spend most of its time in
GoogleTest's macros.

A file that passed is checked again if it, any header or a setting has changed since.
"""

import bisect
import collections
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

HERE = Path.cwd()
BUILD = HERE / "build/lint"
JOINED = BUILD / "joined"
TOGETHER = 40  # files
ANALYZER = "clang-analyzer-*"
UNUSED = "misc-unused-alias-decls,misc-unused-using-decls"
NAMES = re.compile(r"^ *(using [\w:]+::|namespace \w+ =)", re.MULTILINE)  # what can be unused
ENTRY = re.compile(r'^(extern "C" )?int (main|LLVMFuzzerTestOneInput)\(', re.MULTILINE)  # of a program
SETTINGS = {".clang-tidy", "CMakePresets.json", "CMakeLists.txt", "tidy.py"}
SUFFIXES = {".hpp", ".h", ".cmake"}
PRECOMPILED = re.compile(r" -Winvalid-pch| -Xclang (-include-pch|-include) -Xclang \S+")


def newest_setting() -> float:
    """Returns when a header or a setting has changed last."""
    newest = 0.0
    for folder, folders, names in os.walk(HERE):
        folders[:] = set(folders) - {"build", "node_modules", ".git"}
        for path in (Path(folder, name) for name in names):
            if path.name in SETTINGS or path.suffix in SUFFIXES:
                newest = max(newest, path.stat().st_mtime)
    return newest


class Stamps:
    """Says which files passed one kind of check, across runs: an empty file each, as old as the check."""

    def __init__(self, kind: str, setting: float):
        self.folder = BUILD / "clean" / kind
        self.setting = setting
        self.now = time.time()  # before any file was read

    def fresh(self, name: str) -> bool:
        try:
            return (self.folder / name).stat().st_mtime > max(self.setting, Path(name).stat().st_mtime)
        except FileNotFoundError:
            return False

    def set(self, name: str) -> None:
        stamp = self.folder / name
        stamp.parent.mkdir(parents=True, exist_ok=True)
        stamp.touch()
        os.utime(stamp, (self.now, self.now))


def tidy(database: Path, checks: str, file: Path) -> str | None:
    """Returns what clang-tidy has found, or None if the file passed."""
    run = subprocess.run(["clang-tidy-19", "--quiet", f"--config-file={HERE}/.clang-tidy", "-p", str(database),
                          f"--checks={checks}", str(file)],
                         stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                         text=True, errors="replace")
    return run.stdout or f"{file}: clang-tidy ended with {run.returncode}\n" if run.returncode else None


def blamed(found: str, joined: Path, begins: list[int]) -> set[int]:
    """Returns the indexes of the files that errors are in or, if these are in headers, that notes are in."""
    for kind in "error", "note":
        lines = re.findall(rf"^{re.escape(str(joined))}:(\d+):\d+: {kind}:", found, re.MULTILINE)
        if lines:
            return {bisect.bisect(begins, int(line)) - 1 for line in lines}
    return set()


def check(names: list[str], command: str, directory: str) -> list[tuple[str, str | None]]:
    """Checks files that are compiled alike. Returns what was found in each that failed alone."""
    folder = Path(tempfile.mkdtemp(dir=JOINED))
    file = HERE / names[0]
    begins = []  # the number of each file's first line
    if len(names) > 1:
        file = folder / "joined.cpp"
        text = ""
        for name in names:
            begins.append(text.count("\n") + 1)
            text += Path(name).read_text(encoding="utf-8")
        file.write_text(text, encoding="utf-8")
    entry = {"directory": directory, "file": str(file), "command": command.replace("\0", str(file))}
    (folder / "compile_commands.json").write_text(json.dumps([entry]))
    found = tidy(folder, f"-{ANALYZER},-" + UNUSED.replace(",", ",-"), file)
    if found is None or len(names) == 1:
        return [(name, found) for name in names]
    apart = blamed(found, file, begins)
    if len(apart) in (0, len(names)):
        apart = set(range(len(names) // 2))
    return (check([name for index, name in enumerate(names) if index not in apart], command, directory)
            + check([names[index] for index in sorted(apart)], command, directory))


def main() -> int:
    shutil.rmtree(JOINED, ignore_errors=True)
    JOINED.mkdir()
    setting = newest_setting()
    joined, apart = Stamps("joined", setting), Stamps("apart", setting)
    alike = collections.defaultdict(list)
    single = []
    entries = {entry["file"]: entry for entry in json.loads((BUILD / "compile_commands.json").read_text())}
    for path, entry in sorted(entries.items()):
        name = str(Path(path).relative_to(HERE))
        if name.startswith("build/"):
            continue
        if not joined.fresh(name):
            command = re.sub(r" -o \S+", "", PRECOMPILED.sub("", entry["command"])).replace(path, "\0")
            alone = name if ENTRY.search(Path(path).read_text(encoding="utf-8")) else ""
            alike[command, entry["directory"], alone].append(name)
        if not apart.fresh(name):
            single.append(name)

    failed = False

    def report(stamps: Stamps, name: str, found: str | None) -> None:
        nonlocal failed
        if found is None:
            stamps.set(name)
        else:
            failed = True
            print(found, end="", flush=True)

    def check_joined(names: list[str], command: str, directory: str) -> None:
        for name, found in check(names, command, directory):
            report(joined, name, found)

    def check_apart(name: str) -> None:
        found = None
        if not name.startswith("tests/"):
            found = tidy(BUILD, f"-*,{ANALYZER},{UNUSED}", HERE / name)
        elif NAMES.search(Path(name).read_text(encoding="utf-8")):
            found = tidy(BUILD, f"-*,{UNUSED}", HERE / name)
        report(apart, name, found)

    with ThreadPoolExecutor(os.cpu_count()) as pool:
        jobs = []
        for (command, directory, _), names in alike.items():
            count = -(-len(names) // TOGETHER)
            for part in range(count):
                some = names[part * len(names) // count:(part + 1) * len(names) // count]
                jobs.append(pool.submit(check_joined, some, command, directory))
        jobs += [pool.submit(check_apart, name) for name in single]
        for job in jobs:
            job.result()
    return int(failed)


if __name__ == "__main__":
    sys.exit(main())
