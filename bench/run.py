"""Runs the benches, compares their ratios with the committed baseline, and draws them. Called by ./dev bench."""

import argparse
import datetime
import os
import platform
import re
import subprocess
import sys
import tempfile
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).parent))
import history  # noqa: E402
import page  # noqa: E402

BENCH = Path(__file__).resolve().parent
ROOT = BENCH.parent
REPETITIONS = 3  # a row has fallen if it falls in each of them
GROWTH_OPTIONS = ["--benchmark_repetitions=3", "--benchmark_min_time=0.02"]  # many sizes
QUICK_OPTIONS = ["--benchmark_repetitions=5", "--benchmark_min_time=0.02"]
FALL = f"{100 * (1 - history.LEAST_SHARE):.0f} %"
# Measured by name only: they have tables of their own, or take many minutes.
BY_NAME_ONLY = ("growth", "limits")


class Failure(Exception):
    """What stops the command: one sentence."""


def machine():
    """What this machine is, without names of products: "x86-64 with AVX2, 2 cores"."""
    name = {"x86_64": "x86-64", "AMD64": "x86-64"}.get(platform.machine(), platform.machine())
    try:
        flags = re.search(r"^flags\s*:(.*)$", Path("/proc/cpuinfo").read_text(encoding="utf-8"), re.MULTILINE)
    except OSError:
        flags = None
    known = flags[1].split() if flags else []
    for flag, title in (("avx512f", " with AVX-512"), ("avx2", " with AVX2")):
        if flag in known:
            name += title
            break
    return f"{name}, {os.cpu_count()} cores"


def module_of(program):
    """The folder of the bench: its module, or an empty text."""
    found = sorted(BENCH.glob(f"*/{program}_bench.cpp"))
    return found[0].parent.name if found else ""


def quick_filters(path):
    """quick.txt: program -> the pattern of the cases that --quick measures."""
    filters = {}
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        line = line.strip()
        if line and not line.startswith("#"):
            program, colon, pattern = line.partition(": ")
            if not colon:
                raise Failure(f"{path}, line {number}: expected 'program: pattern'.")
            filters[program] = pattern
    return filters


def measure(program, options, quiet=False):
    """Runs a bench, which prints its table. Returns its compiler and its rows (see history.read_rows)."""
    with tempfile.TemporaryDirectory() as folder:
        file = Path(folder) / "ratios.json"
        run = subprocess.run([str(program), f"--ratios={file}", *options], check=False,
                             stdout=subprocess.DEVNULL if quiet else None)
        if run.returncode:
            raise Failure(f"{program.name} failed with status {run.returncode}.")
        return history.read_rows(file)


def listed(program):
    """The names of all rows of a bench."""
    run = subprocess.run([str(program), "--benchmark_list_tests"], text=True, capture_output=True, check=False)
    return run.stdout.split("\n")[:-1]


def cases_filter(cases):
    """The pattern of Google Benchmark for these cases with all their contenders."""
    escaped = [re.sub(r"[][.^$*+?(){}|\\]", r"\\\g<0>", case) for case in sorted(cases)]  # nothing else may be escaped
    return f"--benchmark_filter=^({'|'.join(escaped)})/"


class Comparison:
    """The rows that have fallen, over the programs that were measured."""

    def __init__(self, baseline):
        self.baseline = baseline
        self.suspicious = {}  # program -> (case, contender) -> (before, [now, ...])
        self.notes = []

    def first(self, name, compiler, rows, whole):
        """`whole`: whether all rows of the program were asked for."""
        if name not in self.baseline:
            self.notes.append(f"{name}: not in the baseline.")
            return
        before = self.baseline[name]
        if (before["machine"], before["compiler"]) != (machine(), compiler):
            self.notes.append(f"{name}: the baseline was measured on another machine or with another compiler "
                              f"({before['machine']}, {before['compiler']}; now {machine()}, {compiler}).")
        fell = history.fallen(before["rows"], rows)
        if fell:
            self.suspicious[name] = {key: (was, [now]) for key, (was, now) in fell.items()}
        if new := history.added(before["rows"], rows):
            self.notes.append(f"{name}: {len(new)} rows are not in the baseline.")
        if whole and (gone := history.missing(before["rows"], rows)):
            self.notes.append(f"{name}: {len(gone)} rows of the baseline were not measured: "
                              + ", ".join("/".join(key) for key in gone[:5]) + (" and others." if len(gone) > 5 else "."))

    def again(self, programs, options):
        """Measures the suspicious rows once more, and forgets those that have not fallen again."""
        for name, fell in list(self.suspicious.items()):
            _, rows = measure(programs[name], [*options, cases_filter({case for case, _ in fell})], quiet=True)
            repeated = history.fallen(self.baseline[name]["rows"], rows)
            kept = {key: (was, [*now, repeated[key][1]]) for key, (was, now) in fell.items() if key in repeated}
            if kept:
                self.suspicious[name] = kept
            else:
                del self.suspicious[name]

    def report(self):
        for note in self.notes:
            print(note)
        if not self.suspicious:
            print(f"No row has fallen by more than {FALL}.")
            return True
        print(f"\nRows that fell by more than {FALL} in {REPETITIONS} repetitions:\n")
        print("| bench | row | baseline | now |\n|---|---|---:|---|")
        for name, fell in self.suspicious.items():
            for (case, contender), (was, now) in fell.items():
                print(f"| {name} | {case}/{contender} | {was:.3g} | {', '.join(f'{ratio:.3g}' for ratio in now)} |")
        return False


def growth_table(rows):
    """The rows of the bench `growth`, whose cases are named "method size", as the figure reads them."""
    lines = ["# Nanoseconds by method, contender and size, from ./dev bench growth --update: "
             f"{machine()}, {datetime.date.today()}.", "method,contender,size,nanoseconds"]
    for case, contenders in rows.items():
        method, _, size = case.rpartition(" ")
        lines += [f"{method},{contender},{size},{numbers[3]:.6g}" for contender, numbers in contenders.items()]
    return "\n".join(lines) + "\n"


def options_of(arguments):
    """The options of this script, and those of the benches."""
    parser = argparse.ArgumentParser(
        prog="./dev bench", allow_abbrev=False, description="Runs the benches and prints their ratios as Markdown.",
        epilog="Options that begin with --benchmark_ are passed to the benches, for example --benchmark_filter=<pattern>.")
    parser.add_argument("names", nargs="*", metavar="bench", help="default: all, except for growth and limits")
    parser.add_argument("--check", action="store_true",
                        help=f"compare with the baseline; a row that has fallen is measured {REPETITIONS} times")
    parser.add_argument("--update", action="store_true", help="write the ratios into the baseline")
    parser.add_argument("--html", action="store_true", help="draw the ratios with their spread: build/bench/ratios.html")
    parser.add_argument("--committed", action="store_true", help="with --html: draw the baseline, measure nothing")
    parser.add_argument("--quick", action="store_true", help="measure fewer rows (bench/quick.txt), for a shorter time")
    parser.add_argument("--programs", type=Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--baseline", type=Path, default=BENCH / "baseline.json", help=argparse.SUPPRESS)
    parser.add_argument("--quick-list", type=Path, default=BENCH / "quick.txt", help=argparse.SUPPRESS)
    parser.add_argument("--page", type=Path, default=ROOT / "build" / "bench" / "ratios.html", help=argparse.SUPPRESS)
    parser.add_argument("--growth", type=Path, default=ROOT / "docs" / "figures" / "data" / "growth.csv",
                        help=argparse.SUPPRESS)
    parsed, rest = parser.parse_known_args(arguments)
    for option in rest:
        if not option.startswith("--benchmark_"):
            parser.error(f"there is no option '{option}'")
    if parsed.committed and not parsed.html:
        parser.error("--committed is an option of --html")
    if parsed.update and (parsed.quick or rest):
        parser.error("--update measures whole benches, without --quick and other options")
    return parsed, rest


def chosen(parsed):
    """name -> program, of the benches to run."""
    programs = {p.name[:-len("_bench")]: p for p in sorted(parsed.programs.glob("*_bench"))}
    for name in parsed.names:
        if name not in programs:
            raise Failure(f"There is no bench '{name}'. There are: {' '.join(programs)}.")
    if parsed.names:
        return {name: programs[name] for name in parsed.names}
    return {name: program for name, program in programs.items() if name not in BY_NAME_ONLY}


def report_left_out(programs, filters, measured):
    total = {name: len(listed(program)) for name, program in programs.items()}
    print(f"\nMeasured {sum(measured.values())} of {sum(total.values())} rows, each for a shorter time. "
          "Left out, as rows of all rows:", ", ".join(
              f"{name} {total[name] - measured.get(name, 0)} of {total[name]}" for name in programs
              if total[name] > measured.get(name, 0)) + ".")
    if without := [name for name in programs if name not in filters]:
        print("Without any row: " + ", ".join(without) + ".")


class Session:
    """One call of ./dev bench that measures."""

    def __init__(self, parsed, options, baseline):
        self.parsed = parsed
        self.baseline = baseline
        self.programs = chosen(parsed)
        self.filters = quick_filters(parsed.quick_list) if parsed.quick else {}
        self.options = [*(QUICK_OPTIONS if parsed.quick else []), *options]
        self.is_whole = not self.options
        self.comparison = Comparison(baseline)
        self.results = {}  # name -> rows
        self.compilers = set()
        self.failures = []

    def run(self, name):
        """Measures one bench. What it finds goes into the comparison, the baseline or the data of the figure."""
        print(f"\n### {name}", flush=True)
        options = [*(GROWTH_OPTIONS if name == "growth" else []), *self.options]
        if name in self.filters:
            options.insert(0, f"--benchmark_filter={self.filters[name]}")
        try:
            compiler, rows = measure(self.programs[name], options)
        except Failure as failure:
            self.failures.append(str(failure))
            return
        if name == "growth":
            if self.parsed.update:
                self.parsed.growth.parent.mkdir(parents=True, exist_ok=True)
                self.parsed.growth.write_text(growth_table(rows), encoding="utf-8")
            return
        self.results[name] = rows
        self.compilers.add(compiler)
        if self.parsed.check:
            self.comparison.first(name, compiler, rows, self.is_whole)
        if self.parsed.update:
            self.baseline[name] = {"machine": machine(), "compiler": compiler, "date": str(datetime.date.today()),
                                   "rows": history.ratios_of(rows)}
            history.write_baseline(self.parsed.baseline, self.baseline)  # after each bench: a run may be stopped

    def run_limits(self):
        """Prints tables of its own."""
        print("\n### limits", flush=True)
        if status := subprocess.run([str(self.programs["limits"])], check=False).returncode:
            self.failures.append(f"limits_bench failed with status {status}.")

    def run_all(self):
        for name in self.programs:
            if name == "limits":
                self.run_limits()
            elif not self.parsed.quick or name in self.filters:
                self.run(name)
        if self.parsed.quick:
            measured = {name: sum(map(len, rows.values())) for name, rows in self.results.items()}
            report_left_out(self.programs, self.filters, measured)
        if self.parsed.html:
            draw(self.parsed, [(module_of(name), name, history.ratios_of(rows)) for name, rows in self.results.items()],
                 [f"{machine()}, {compiler}, {datetime.date.today()}" for compiler in sorted(self.compilers)])

    def is_good(self):
        """Repeats what has fallen, and prints what has failed."""
        good = True
        if self.parsed.check:
            print()
            try:
                for _ in range(REPETITIONS - 1):
                    self.comparison.again(self.programs, self.options)
            except Failure as failure:  # what has fallen so far is still reported
                self.failures.append(str(failure))
            good = self.comparison.report()
        for failure in self.failures:
            print(failure, file=sys.stderr)
        return good and not self.failures


def draw_committed(parsed, baseline):
    programs = {name: program for name, program in baseline.items() if not parsed.names or name in parsed.names}
    draw(parsed, [(module_of(name), name, program["rows"]) for name, program in programs.items()],
         sorted({f"{p['machine']}, {p['compiler']}, {p['date']}" for p in programs.values()}))


def run_command(arguments):
    """Does what the arguments say. Returns whether all is well."""
    parsed, options = options_of(arguments)
    baseline = {}
    if parsed.check or parsed.committed or (parsed.update and parsed.baseline.exists()):
        baseline = history.read_baseline(parsed.baseline)
    if parsed.committed:
        draw_committed(parsed, baseline)
        return True
    session = Session(parsed, options, baseline)
    session.run_all()
    return session.is_good()


def draw(parsed, programs, conditions):
    parsed.page.parent.mkdir(parents=True, exist_ok=True)
    parsed.page.write_text(page.html(programs, conditions), encoding="utf-8")
    print(f"\n{parsed.page}")


def main(arguments):
    """The exit status: 0, 1 if a row has fallen or a bench has failed, 2 if the command cannot be done."""
    try:
        return 0 if run_command(arguments) else 1
    except (Failure, history.Unreadable) as problem:
        print(f"dev: {problem}", file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
