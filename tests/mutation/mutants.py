"""Samples mutants, runs the unit tests of their class on each, and prints what survived."""

import argparse
import concurrent.futures
import json
import os
import pathlib
import random
import resource
import shlex
import shutil
import subprocess
import sys
import tempfile
import time
from collections import Counter
from typing import NamedTuple

from operators import OPERATORS, Mutant, mutants_of

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = ROOT / "build/dev"
EQUIVALENT = pathlib.Path(__file__).with_name("equivalent.txt")
# The unit tests of each class, without "unit_".
TESTS = {
    "kaProfile": ["profile"],
    "kaCases": ["cases"],
    "kaCaseCheck": ["casecheck"],
    "kaCaseIndex": ["caseindex"],
    "kaSpeechbuilder": ["speechbuilder", "speechbuilder_announcements", "speechbuilder_files"],
    "kaMessageTxt": ["messagetxt"],
    "kaRBLDataFormat": ["rbldataformat"],
    "kaLexicon": ["lexicon", "lexiconcache", "speechbuilder_announcements"],
}
TEST_SECONDS = 20
TEST_MEMORY = 1 << 30  # bytes; a loop that never ends often fills it first
LEAST_SCORE = 90.0  # per cent


class Result(NamedTuple):
    mutant: Mutant
    fate: str  # "killed", "survived", "equivalent" or "uncompilable"


class Lines(NamedTuple):
    """The lines that a mutant touches, before and after it, each as one without indentation."""

    number: int
    original: str
    mutated: str


def lines_of(mutant: Mutant, source: str) -> Lines:
    begin = source.rfind("\n", 0, mutant.begin) + 1
    end = source.find("\n", mutant.end)
    mutated = source[begin:mutant.begin] + mutant.text + source[mutant.end:end]
    number = source.count("\n", 0, mutant.begin) + 1
    return Lines(number, " ".join(source[begin:end].split()), " ".join(mutated.split()))


def read_equivalents() -> set[tuple[str, str, str]]:
    """(file, original, mutated) of the mutants that no test can tell from the original."""
    found, file, original = set(), "", ""
    for line in EQUIVALENT.read_text().splitlines():
        kind, text = line[:2], line[2:].strip()
        if kind == "@ ":
            file = text
        elif kind == "- ":
            original = text
        elif kind == "+ ":
            found.add((file, original, text))
    return found


class Bench:
    """Compiles, links and runs mutants in directories of their own."""

    def __init__(self, work: pathlib.Path):
        self.work = work
        entries = json.loads((BUILD / "compile_commands.json").read_text())
        self.compile = {pathlib.Path(e["file"]).stem: self.plain(e["command"]) for e in entries}
        self.link = {test: self.link_command(test) for tests in TESTS.values() for test in tests}
        self.sources = {file: (ROOT / f"src/{file}.cpp").read_text() for file in TESTS}
        self.equivalents = read_equivalents()
        self.headers: dict[str, pathlib.Path] = {}

    @staticmethod
    def plain(command: str) -> list[str]:
        """A compiler's command line without cache, input and output, and without optimisation."""
        words = shlex.split(command)
        words = words[1:] if words[0].endswith("ccache") else words
        return words[:words.index("-o")] + ["-O0", "-g0", "-w"]

    @staticmethod
    def link_command(test: str) -> list[str]:
        commands = subprocess.run(["ninja", "-C", BUILD, "-t", "commands", f"bin/unit_{test}"],
                                  check=True, capture_output=True, text=True).stdout
        command = commands.splitlines()[-1].removeprefix(": && ").split(" && ")[0]
        return shlex.split(command)

    def precompile_headers(self, file: str) -> None:
        """What the file includes, which takes most of the time of compiling it."""
        header = self.work / f"{file}-includes.h"
        lines = self.sources[file].splitlines(keepends=True)
        header.write_text("".join(line for line in lines if line.startswith("#include")))
        subprocess.run([*self.compile[file], "-x", "c++-header", "-o", f"{header}.gch", header],
                       cwd=BUILD, check=True)
        self.headers[file] = header

    def fate_of(self, mutant: Mutant) -> Result:
        source = self.sources[mutant.file]
        lines = lines_of(mutant, source)
        if (mutant.file, lines.original, lines.mutated) in self.equivalents:
            return Result(mutant, "equivalent")
        mutated = source[:mutant.begin] + mutant.text + source[mutant.end:]
        with tempfile.TemporaryDirectory(dir=self.work) as place:
            fate = self.fate_of_source(mutant.file, mutated, pathlib.Path(place))
        return Result(mutant, fate)

    def fate_of_source(self, file: str, source: str, place: pathlib.Path) -> str:
        (place / f"{file}.cpp").write_text(source)
        compiled = subprocess.run(
            [*self.compile[file], "-include", self.headers[file], "-o", place / "mutant.o", "-c",
             place / f"{file}.cpp"],
            cwd=BUILD, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        if compiled.returncode != 0:
            return "uncompilable"
        try:
            passed = all(self.passes(test, place) for test in TESTS[file])
        except subprocess.CalledProcessError:  # a definition has become another one
            return "uncompilable"
        return "survived" if passed else "killed"

    def passes(self, test: str, place: pathlib.Path) -> bool:
        """Whether the test passes with the mutated object in front of the library."""
        output = self.link[test].index("-o") + 1
        words = [*self.link[test][:output], place / test, "-fuse-ld=gold", "-Wl,-S",
                 place / "mutant.o", *self.link[test][output + 1:]]
        subprocess.run(words, cwd=BUILD, check=True, stderr=subprocess.DEVNULL)
        (place / "tmp").mkdir(exist_ok=True)
        process = subprocess.Popen(
            [place / test, "--gtest_brief=1", "--gtest_fail_fast"], cwd=place / "tmp",
            env={**os.environ, "TMPDIR": str(place / "tmp")}, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, preexec_fn=limit_memory)
        try:
            return process.wait(TEST_SECONDS) == 0
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
            return False


def limit_memory() -> None:
    resource.setrlimit(resource.RLIMIT_AS, (TEST_MEMORY, TEST_MEMORY))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def first_that_compiles(bench: Bench, group: list[Mutant]) -> list[Result]:
    """Takes mutants from the group until one compiles."""
    results = []
    while group:
        results.append(bench.fate_of(group.pop()))
        if results[-1].fate != "uncompilable":
            break
    return results


def try_sample(bench: Bench, groups: list[list[Mutant]], count: int, jobs: int) -> list[Result]:
    """Goes round the groups, one mutant of each, until `count` mutants compiled."""
    results: list[Result] = []
    tried = 0
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        while tried < count and any(groups):
            turn = [group for group in groups if group][:count - tried]
            for found in pool.map(lambda group: first_that_compiles(bench, group), turn):
                results += found
                if found[-1].fate == "survived":
                    print(describe(bench, found[-1].mutant), file=sys.stderr)
            tried = sum(result.fate != "uncompilable" for result in results)
            print(f"  {tried} of {count} mutants tried", file=sys.stderr, flush=True)
    return results


def describe(bench: Bench, mutant: Mutant) -> str:
    lines = lines_of(mutant, bench.sources[mutant.file])
    return (f"\nsurvived: src/{mutant.file}.cpp:{lines.number} ({mutant.operator})\n"
            f"  - {lines.original}\n  + {lines.mutated}")


def print_table(title: str, names: list[str], generated: Counter, fates: Counter) -> None:
    print(f"\n{title:<16} generated  sampled   killed survived equivalent  not compiled   killed")
    for name in [*names, ""]:
        count = [fates[name, fate] for fate in ("killed", "survived", "equivalent", "uncompilable")]
        killed, survived, equivalent, uncompilable = count
        share = f"{score(killed, survived):.1f} %" if killed + survived else "-"
        print(f"{name or 'all':<16} {generated[name]:>9} {killed + survived + equivalent:>8} "
              f"{killed:>8} {survived:>8} {equivalent:>10} {uncompilable:>13} {share:>8}")


def score(killed: int, survived: int) -> float:
    return 100.0 * killed / max(killed + survived, 1)


def report(bench: Bench, mutants: list[Mutant], results: list[Result], files: list[str]) -> float:
    for title, names, field in [("file", files, "file"), ("operator", OPERATORS, "operator")]:
        generated = Counter(getattr(mutant, field) for mutant in mutants)
        fates = Counter((getattr(r.mutant, field), r.fate) for r in results)
        generated[""] = len(mutants)
        fates.update(("", result.fate) for result in results)
        print_table(title, names, generated, fates)
    survivors = [result.mutant for result in results if result.fate == "survived"]
    for mutant in sorted(survivors):
        print(describe(bench, mutant))
    return score(sum(result.fate == "killed" for result in results), len(survivors))


def main() -> int:
    parser = argparse.ArgumentParser(prog="mutants", description=__doc__)
    parser.add_argument("count", nargs="?", type=int, default=330)
    parser.add_argument("--file", choices=TESTS, action="append", help="only this file of src/")
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    start = time.monotonic()
    files = options.file or list(TESTS)
    work = pathlib.Path(tempfile.mkdtemp(prefix="ka-mutants-"))
    try:
        bench = Bench(work)
        for file in files:
            bench.precompile_headers(file)
            place = work / file
            place.mkdir()
            if bench.fate_of_source(file, bench.sources[file], place) != "survived":
                sys.exit(f"mutants: the tests of {file} fail without any mutation")
        mutants = [m for file in files for m in mutants_of(file, bench.sources[file])]
        dice = random.Random(options.seed)
        dice.shuffle(mutants)
        groups = [[m for m in mutants if (m.file, m.operator) == (file, operator)]
                  for file in files for operator in OPERATORS]
        dice.shuffle(groups)
        jobs = min(2, int(os.environ.get("KA_JOBS", 2)))
        results = try_sample(bench, groups, options.count, jobs)
        reached = report(bench, mutants, results, files)
    finally:
        shutil.rmtree(work)
    print(f"\n{reached:.1f} % of the mutants that are not equivalent were killed, in "
          f"{(time.monotonic() - start) / 60:.0f} minutes (seed {options.seed})")
    return 0 if reached >= LEAST_SCORE else 1


if __name__ == "__main__":
    sys.exit(main())
