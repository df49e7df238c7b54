"""Compiles a mutant, and runs tests that may do anything with it."""

import ctypes
import functools
import hashlib
import json
import os
import re
import resource
import shlex
import signal
import subprocess
import tempfile
from dataclasses import dataclass
from pathlib import Path

from listed import ROOT, File, Refused

TESTS = ROOT / "build/test"  # of the preset `test`
BUILD = ROOT / "build/mutants"
GIB = 1 << 30


@dataclass(frozen=True)
class Verdict:
    """What became of a mutant: killed; lives (its own tests pass); alive (all tests pass); same (as the
    file or an earlier mutant, compiled); broken (it does not compile)."""

    kind: str
    by: str = ""  # the test that failed, crashed or hung; if none had begun, how the run ended


@functools.cache
def cage() -> list[str]:
    """Returns the command that runs another one where it sees no process but its own."""
    for user in ([], ["--user", "--map-current-user"]):
        command = ["unshare", *user, "--pid", "--mount-proc", "--fork", "--kill-child", "--"]
        if subprocess.run([*command, "true"], stderr=subprocess.DEVNULL, check=False).returncode == 0:
            return command
    raise Refused("needs unshare with a process namespace: a mutant may signal any process")


def limits() -> None:
    """Ends the process with this one, and keeps it from taking the machine's memory or disk."""
    ctypes.CDLL(None).prctl(1, signal.SIGKILL)  # PR_SET_PDEATHSIG
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_DATA, (4 * GIB, 4 * GIB))
    resource.setrlimit(resource.RLIMIT_FSIZE, (GIB, GIB))


def judge(command: list[str], longest: float) -> Verdict:
    """Runs a test program of GoogleTest's and returns whether it killed the mutant."""
    # The namespace's first process ignores signals that it has not asked for, so it is a shell.
    caged = [*cage(), "sh", "-c", '"$@"; exit $?', "sh", *command]
    with (tempfile.TemporaryDirectory(prefix="mutants-", ignore_cleanup_errors=True) as folder,
          tempfile.TemporaryFile() as output):
        os.chmod(folder, 0o755)  # some tests give up the rights of root
        environment = {**os.environ, "GTEST_FAIL_FAST": "1", "GTEST_COLOR": "no", "TMPDIR": folder}
        process = subprocess.Popen(caged, stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                                   cwd=ROOT, env=environment, preexec_fn=limits,
                                   start_new_session=True)
        try:
            end = f"exit status {process.wait(longest)}"
        except subprocess.TimeoutExpired:
            end = "a hang"
        finally:
            process.kill()
            process.wait()
        output.seek(0)
        text = output.read().decode(errors="replace")
    if end == "exit status 0":
        return Verdict("lives")
    # After a failure GoogleTest lists all other tests as begun and skipped; a crash ends the list.
    failed = re.findall(r"^\[  FAILED  \] ([\w./]+)", text, re.MULTILINE)
    begun = re.findall(r"^\[ RUN      \] ([\w./]+)", text, re.MULTILINE)
    return Verdict("killed", [*failed[:1], *begun[-1:], end][0])


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
