#!/usr/bin/env python3
"""Breaks the program on purpose, and checks that random histories notice.

    plant.py BUILD_FOLDER COUNT PATCH...

Each patch is applied to copies of the files it names. What depends on them is compiled apart and linked
to a `theorem` of its own, so neither the sources nor the build change. A break is caught if that program
finds a history that breaks the theorem among COUNT. Text before the first file of a patch says what it
breaks. Exits with 0 if every break is caught, 1 if one is not, 2 if a patch does not apply or compile.
"""

import json
import os
import re
import shlex
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path.cwd()
PROGRAM = "bin/theorem"


class Unusable(Exception):
    """A patch does not apply, or the patched program does not compile."""


def output_of(command: list[str], folder: Path) -> str:
    done = subprocess.run(command, cwd=folder, capture_output=True, text=True, errors="replace", check=False)
    if done.returncode != 0:
        raise Unusable(f"{shlex.join(command[:3])} …: {(done.stdout + done.stderr).strip()[-2000:]}")
    return done.stdout


class Build:
    """How the build folder makes the program: its objects, their sources and headers, its link."""

    def __init__(self, folder: Path):
        self.folder = folder
        inputs = set(output_of(["ninja", "-t", "inputs", PROGRAM], folder).split("\n"))
        self.compiled = {}  # the command for each object, by the object
        for entry in json.loads((folder / "compile_commands.json").read_text()):
            made = re.search(r" -o (\S+)", entry["command"])[1]
            if made in inputs:
                self.compiled[made] = entry
        self.link = output_of(["ninja", "-t", "commands", PROGRAM], folder).strip().split("\n")[-1]
        self.needs = {}  # the files of ours that each object is made from
        made = None
        for line in output_of(["ninja", "-t", "deps", *self.compiled], folder).split("\n"):
            if header := re.match(r"^(\S+): #deps", line):
                made = self.needs.setdefault(header[1], set())
            elif line.startswith("    "):
                made.add(os.path.normpath(folder / line.strip()))

    def objects_with(self, files: set[str]) -> list[str]:
        paths = {str(ROOT / file) for file in files}
        return [name for name in self.compiled if self.needs.get(name, set()) & paths]


def patched_files(patch: Path) -> set[str]:
    return set(re.findall(r"^\+\+\+ b/(\S+)", patch.read_text(), re.MULTILINE))


def plant(build: Build, patch: Path, overlay: Path) -> Path:
    """Builds the program with the patch. Returns its path, in the folder `overlay`."""
    files = patched_files(patch)
    if not files:
        raise Unusable("names no file (+++ b/path)")
    for file in files:
        (overlay / file).parent.mkdir(parents=True, exist_ok=True)
        (overlay / file).write_bytes((ROOT / file).read_bytes())
    output_of(["patch", "--quiet", "-p1", "--no-backup-if-mismatch", "-i", str(patch)], overlay)
    objects = build.objects_with(files)
    if not objects:
        raise Unusable(f"nothing in the program depends on {', '.join(sorted(files))}")
    link = build.link
    for number, name in enumerate(objects):
        entry = build.compiled[name]
        source = Path(entry["file"]).relative_to(ROOT)
        command = shlex.split(entry["command"])
        command[command.index("-o") + 1] = f"{overlay}/{number}.o"
        command[command.index("-c") + 1] = str(overlay / source if str(source) in files else ROOT / source)
        compiler = next(at for at, word in enumerate(command) if re.search(r"(\+\+|clang)[-\d.]*$", word))
        command.insert(compiler + 1, f"-I{overlay}")
        output_of([*command, "-w"], build.folder)  # what a patch leaves unused is no matter
        replaced = f" {overlay}/{number}.o "
        link = link.replace(f" {name} ", replaced) if f" {name} " in link else link.replace(" -o ", f"{replaced}-o ", 1)
    program = overlay / "theorem"
    output_of(["sh", "-c", link.replace(f"-o {PROGRAM}", f"-o {program}")], build.folder)
    return program


def outcome(build: Build, patch: Path, count: str) -> tuple[str, str]:
    """Returns caught, missed or unusable, and what was seen."""
    with tempfile.TemporaryDirectory() as overlay:
        try:
            program = plant(build, patch.resolve(), Path(overlay))
        except Unusable as error:
            return "unusable", str(error)
        played = subprocess.run([program, count, "--workers", "24"], capture_output=True, text=True,
                                errors="replace", check=False)
        if played.returncode == 0:
            return "missed", played.stdout.strip()
        after = played.stdout.split(" (")[0]  # so many histories
        said = [line for line in played.stderr.split("\n") if re.match(r"^\S", line)]
        return "caught", f"after {after}, {' '.join(said)}"[:150]


def main() -> int:
    folder, count, *patches = sys.argv[1:]
    build = Build(Path(folder).resolve())
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        seen = pool.map(lambda patch: outcome(build, Path(patch), count), patches)
        kinds = []
        for patch, (kind, what) in zip(patches, seen):
            kinds.append(kind)
            print(f"{kind}: {Path(patch).name}: {what}", flush=True)
    print(f"{kinds.count('caught')} of {len(kinds)} breaks caught")
    return 2 if "unusable" in kinds else 1 if "missed" in kinds else 0


if __name__ == "__main__":
    sys.exit(main())
