"""Tests of bench/run.py: what it compares, what it names, and how it ends.

The benches are scripts that write prepared ratios, one set a call. Called by ctest.
"""

import contextlib
import io
import json
import re
import subprocess
import sys
import tempfile
import unittest
from html.parser import HTMLParser
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "bench"))
import history  # noqa: E402
import page  # noqa: E402
import run as bench_run  # noqa: E402

# Takes the next line of the file beside it, which is the ratios of one call, and keeps the arguments of all calls.
FAKE = """#!{python}
import json, re, sys
from pathlib import Path
here = Path(__file__)
with open(here.with_suffix(".calls"), "a") as log:
    log.write(json.dumps(sys.argv[1:]) + "\\n")
lines = here.with_suffix(".lines").read_text().splitlines()
if "--benchmark_list_tests" in sys.argv:
    print("\\n".join(f"{{case}}/{{contender}}" for case, row in json.loads(lines[0]).items() for contender in row))
    sys.exit(0)
here.with_suffix(".lines").write_text("\\n".join(lines[1:] or lines) + "\\n")
if lines[0] == "fail":
    sys.exit(3)
file = next((a.partition("=")[2] for a in sys.argv if a.startswith("--ratios=")), None)
patterns = [a.partition("=")[2] for a in sys.argv if a.startswith("--benchmark_filter=")]
rows = [dict(case=case, contender=contender, unit="ns", median=10 * ratio, ratio=ratio, low=0.9 * ratio, high=1.1 * ratio,
             runs=7)
        for case, row in json.loads(lines[0]).items() for contender, ratio in row.items()
        if not patterns or re.search(patterns[-1], f"{{case}}/{{contender}}")]
if file:
    Path(file).write_text(json.dumps(dict(compiler="g++ 12.2", rows=rows)))
"""


def table(**ratios):
    """Ratios of the case "small": contender=ratio."""
    return {"small": {"sinew": 1, **ratios}}


class BenchTest(unittest.TestCase):
    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory()
        self.folder = Path(self.scratch.name)
        self.programs = self.folder / "bin"
        self.programs.mkdir()
        self.baseline = self.folder / "baseline.json"
        self.page = self.folder / "ratios.html"
        self.growth = self.folder / "growth.csv"

    def tearDown(self):
        self.scratch.cleanup()

    def add_bench(self, name, *calls):
        """A bench with the ratios of each call; the last ones are repeated."""
        program = self.programs / f"{name}_bench"
        program.write_text(FAKE.format(python=sys.executable))
        program.chmod(0o755)
        program.with_suffix(".lines").write_text("\n".join(c if isinstance(c, str) else json.dumps(c) for c in calls) + "\n")

    def calls(self, name):
        return [json.loads(line) for line in (self.programs / f"{name}_bench.calls").read_text().splitlines()]

    def dev(self, *arguments, quick=""):
        """What ./dev bench does after the build: exit status and output, as of a process."""
        (self.folder / "quick.txt").write_text(quick)
        out, err = io.StringIO(), io.StringIO()
        with contextlib.redirect_stdout(out), contextlib.redirect_stderr(err):
            try:
                status = bench_run.main(self.options(arguments))
            except SystemExit as stop:  # by argparse
                status = stop.code
        return subprocess.CompletedProcess(arguments, status, out.getvalue(), err.getvalue())

    def options(self, arguments):
        return ["--programs", str(self.programs), "--baseline", str(self.baseline), "--page", str(self.page), "--quick-list",
                str(self.folder / "quick.txt"), "--growth", str(self.growth), *arguments]

    def update(self, name, *calls):
        """A baseline with the ratios of the first call."""
        self.add_bench(name, *calls)
        self.assertEqual(self.dev("--update").returncode, 0)

    # ---- what falls ----

    def test_equal_ratios_are_good(self):
        self.update("factor", table(reference=4.0, Eigen=2.0))
        run = self.dev("--check")
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertIn("No row has fallen", run.stdout)

    def test_a_row_that_fell_three_times_is_named(self):
        self.update("factor", table(reference=4.0, Eigen=2.0), table(reference=3.0, Eigen=2.0), table(reference=3.1, Eigen=2.0),
                    table(reference=3.2, Eigen=2.0))
        run = self.dev("--check")
        self.assertEqual(run.returncode, 1)
        self.assertIn("| factor | small/reference | 4 | 3, 3.1, 3.2 |", run.stdout)
        self.assertNotIn("small/Eigen |", run.stdout)

    def test_a_row_that_rose_is_not_named(self):
        self.update("factor", table(reference=4.0), table(reference=40.0))
        run = self.dev("--check")
        self.assertEqual(run.returncode, 0)
        self.assertEqual(len(self.calls("factor")), 2)  # the baseline, and one comparison

    def test_a_row_that_fell_twice_and_came_back_is_not_named(self):
        self.update("factor", table(reference=4.0), table(reference=3.0), table(reference=3.0), table(reference=3.9))
        run = self.dev("--check")
        self.assertEqual(run.returncode, 0)
        self.assertNotIn("small/reference", run.stdout)

    def test_fifteen_percent_less_is_the_limit(self):
        self.update("factor", table(reference=100.0), table(reference=85.0))
        self.assertEqual(self.dev("--check").returncode, 0)
        self.update("factor", table(reference=100.0), table(reference=84.9))
        self.assertEqual(self.dev("--check").returncode, 1)

    def test_only_suspicious_cases_are_repeated(self):
        before = {"a (1.5)": {"sinew": 1, "reference": 4.0}, "b": {"sinew": 1, "reference": 4.0}}
        after = {"a (1.5)": {"sinew": 1, "reference": 2.0}, "b": {"sinew": 1, "reference": 4.0}}
        self.update("factor", before, after)
        self.assertEqual(self.dev("--check").returncode, 1)
        calls = self.calls("factor")
        self.assertEqual(len(calls), 4)
        self.assertEqual(calls[2][-1], r"--benchmark_filter=^(a \(1\.5\))/")

    # ---- rows of one side only ----

    def test_missing_rows_are_noted_but_not_fallen(self):
        self.update("factor", table(reference=4.0, CHOLMOD=0.5), table(reference=4.0))
        run = self.dev("--check")
        self.assertEqual(run.returncode, 0)
        self.assertIn("factor: 1 rows of the baseline were not measured: small/CHOLMOD.", run.stdout)

    def test_new_rows_are_noted_but_not_fallen(self):
        self.update("factor", table(reference=4.0), table(reference=4.0, Eigen=0.1))
        run = self.dev("--check")
        self.assertEqual(run.returncode, 0)
        self.assertIn("factor: 1 rows are not in the baseline.", run.stdout)

    def test_a_new_bench_is_noted(self):
        self.update("factor", table(reference=4.0))
        self.add_bench("solve", table(reference=1.0))
        run = self.dev("--check")
        self.assertEqual(run.returncode, 0)
        self.assertIn("solve: not in the baseline.", run.stdout)

    def test_another_compiler_is_noted(self):
        self.update("factor", table(reference=4.0))
        self.baseline.write_text(self.baseline.read_text().replace("g++ 12.2", "clang++ 14.0"))
        self.assertIn("another machine or with another compiler", self.dev("--check").stdout)

    # ---- what cannot be compared ----

    def assert_sentence(self, run, status, words):
        self.assertEqual(run.returncode, status, run.stdout + run.stderr)
        self.assertIn(words, run.stderr)
        self.assertNotIn("Traceback", run.stderr)
        self.assertEqual(len(run.stderr.strip().splitlines()), 1, run.stderr)

    def test_a_missing_baseline_is_a_sentence(self):
        self.add_bench("factor", table(reference=4.0))
        self.assert_sentence(self.dev("--check"), 2, "cannot be read")

    def test_a_malformed_baseline_is_a_sentence(self):
        self.add_bench("factor", table(reference=4.0))
        program = {"machine": "m", "compiler": "c", "date": "d", "rows": {"small": {"reference": [1, 1, 1]}}}
        wrong = ["", "{", "[]", "null", '{"programs": 3}', '{"programs": {"factor": []}}',
                 '{"programs": {"factor": {"rows": {}}}}', "[" * 100000]
        for rows in ({"small": 3}, {"small": {"reference": 4}}, {"small": {"reference": [1, 2]}},
                     {"small": {"reference": [0, 1, 1]}}, {"small": {"reference": ["1", 1, 1]}},
                     {"small": {"reference": [True, 1, 1]}}, {"small": {"reference": [float("nan"), 1, 1]}}, 7):
            wrong.append(json.dumps({"programs": {"factor": {**program, "rows": rows}}}))
        for text in wrong:
            with self.subTest(baseline=text[:80]):
                self.baseline.write_text(text)
                self.assert_sentence(self.dev("--check"), 2, str(self.baseline))
        self.assertFalse((self.programs / "factor_bench.calls").exists())  # nothing is measured in vain

    def test_an_update_does_not_replace_a_malformed_baseline(self):
        self.add_bench("factor", table(reference=4.0))
        self.baseline.write_text("{")
        self.assert_sentence(self.dev("--update"), 2, "not JSON")
        self.assertEqual(self.baseline.read_text(), "{")

    def test_a_bench_that_fails_is_named(self):
        self.update("factor", table(reference=4.0), "fail")
        self.assert_sentence(self.dev("--check"), 1, "factor_bench failed with status 3")

    def test_a_repetition_that_fails_is_named_with_what_fell(self):
        self.update("factor", table(reference=4.0), table(reference=3.0), "fail")
        run = self.dev("--check")
        self.assert_sentence(run, 1, "factor_bench failed with status 3")
        self.assertIn("small/reference", run.stdout)

    def test_the_status_is_that_of_the_process(self):
        self.update("factor", table(reference=4.0), table(reference=3.0))
        run = subprocess.run([sys.executable, str(ROOT / "bench" / "run.py"), *self.options(["--check"])], text=True,
                             capture_output=True, check=False)
        self.assertEqual(run.returncode, 1, run.stderr)
        self.assertIn("| factor | small/reference | 4 | 3, 3, 3 |", run.stdout)

    def test_an_unknown_bench_is_a_sentence(self):
        self.add_bench("factor", table(reference=4.0))
        self.assert_sentence(self.dev("facto"), 2, "There is no bench 'facto'. There are: factor.")

    def test_an_unknown_option_is_refused(self):
        self.add_bench("factor", table(reference=4.0))
        run = self.dev("--chek")
        self.assertEqual(run.returncode, 2)
        self.assertIn("--chek", run.stderr)

    # ---- the baseline ----

    def test_an_update_of_one_bench_keeps_the_others(self):
        self.add_bench("factor", table(reference=4.0))
        self.add_bench("solve", table(reference=1.5), table(reference=1.25))
        self.dev("--update")
        self.dev("--update", "solve")
        programs = history.read_baseline(self.baseline)
        self.assertEqual(programs["factor"]["rows"]["small"]["reference"], [4.0, 3.6, 4.4])
        self.assertEqual(programs["solve"]["rows"]["small"]["reference"], [1.25, 1.125, 1.375])
        self.assertEqual(len(self.calls("factor")), 1)

    def test_the_baseline_names_machine_compiler_and_date(self):
        self.update("factor", table(reference=4.0))
        program = history.read_baseline(self.baseline)["factor"]
        self.assertEqual(program["compiler"], "g++ 12.2")
        self.assertRegex(program["machine"], r"^\S+.*, \d+ cores$")
        self.assertRegex(program["date"], r"^\d{4}-\d\d-\d\d$")

    def test_names_with_quotes_and_commas_come_back(self):
        rows = {'a "b", c\\d': {"sinew": [1.0, 1.0, 1.0], "Eigen LU": [2.0, 1.0, 3.0]}}
        programs = {"p": {"machine": "m", "compiler": "c", "date": "d", "rows": rows}}
        history.write_baseline(self.baseline, programs)
        self.assertEqual(history.read_baseline(self.baseline), programs)

    def test_the_committed_baseline_is_readable_and_names_benches(self):
        for name in history.read_baseline(ROOT / "bench" / "baseline.json"):
            self.assertTrue(bench_run.module_of(name), name)

    # ---- quick ----

    def test_quick_measures_the_listed_rows_and_names_the_others(self):
        rows = {"a": {"sinew": 1, "reference": 4.0}, "b": {"sinew": 1, "reference": 5.0}}
        self.add_bench("factor", rows)
        self.add_bench("solve", rows)
        run = self.dev("--quick", quick="# chosen\nfactor: ^a/\n")
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertIn("Measured 2 of 8 rows", run.stdout)
        self.assertIn("factor 2 of 4, solve 4 of 4.", run.stdout)
        self.assertIn("Without any row: solve.", run.stdout)
        self.assertIn("--benchmark_filter=^a/", self.calls("factor")[0])

    def test_quick_can_be_compared(self):
        rows = {"a": {"sinew": 1, "reference": 4.0}, "b": {"sinew": 1, "reference": 5.0}}
        self.update("factor", rows, {"a": {"sinew": 1, "reference": 2.0}, "b": {"sinew": 1, "reference": 1.0}})
        run = self.dev("--quick", "--check", quick="factor: ^a/\n")
        self.assertEqual(run.returncode, 1)
        self.assertIn("factor | a/reference", run.stdout)
        self.assertNotIn("b/reference", run.stdout)
        self.assertNotIn("not measured", run.stdout)

    def test_the_quick_list_names_benches(self):
        filters = bench_run.quick_filters(ROOT / "bench" / "quick.txt")
        self.assertTrue(filters)
        for name, pattern in filters.items():
            self.assertTrue(bench_run.module_of(name), name)
            re.compile(pattern)

    # ---- growth ----

    def test_growth_is_measured_by_name_only(self):
        self.add_bench("growth", {"evaluate 100": {"sinew": 1, "CGAL": 2}, "implicit fit 20": {"sinew": 1}})
        self.add_bench("factor", table(reference=4.0))
        self.dev("--update")
        self.assertFalse((self.programs / "growth_bench.calls").exists())
        self.assertEqual(self.dev("--update", "growth").returncode, 0)
        lines = self.growth.read_text().splitlines()
        self.assertTrue(lines[0].startswith("#"))
        self.assertEqual(lines[1:], ["method,contender,size,nanoseconds", "evaluate,sinew,100,10", "evaluate,CGAL,100,20",
                                     "implicit fit,sinew,20,10"])
        self.assertEqual(list(history.read_baseline(self.baseline)), ["factor"])

    # ---- the page ----

    def test_the_page_has_all_rows_and_needs_no_network(self):
        self.update("factor", {"a < b & c": {"sinew": 1, "reference": 4000.0, "Eigen": 0.02}})
        self.assertEqual(self.dev("--html").returncode, 0)
        measured = self.page.read_text()
        self.assertEqual(self.dev("--html", "--committed").returncode, 0)
        for written in (measured, self.page.read_text()):
            self.assertIn("a &lt; b &amp; c/reference: 4,000; half of the runs from 3,600 to 4,400", written)
            self.assertEqual(written.count('<rect class="plain"'), 1)
            self.assertEqual(written.count('<rect class="peer"'), 1)
            self.assertNotIn("http", written)
            self.assertNotIn("<script", written)
            self.assertIn("g++ 12.2", written)
        self.assertEqual(len(self.calls("factor")), 2)

    def test_the_page_is_well_formed(self):
        class Parser(HTMLParser):
            depth = []

            def handle_starttag(self, tag, attrs):
                if tag != "meta":
                    self.depth.append(tag)

            def handle_endtag(self, tag):
                assert self.depth.pop() == tag, tag

        parser = Parser()
        parser.feed(page.html([("sparse", "factor", {"x" * 80: {"sinew": [1, 0.9, 1.1], "Eigen": [2, 1, 4]}})], ["c"]))
        self.assertEqual(parser.depth, [])

    def test_bars_start_at_one_and_grow_to_both_sides(self):
        axis = page.Axis([0.05, 300])
        self.assertLess(axis.x(0.5), axis.x(1))
        self.assertAlmostEqual(axis.x(10) - axis.x(1), axis.x(1) - axis.x(0.1))
        self.assertAlmostEqual(axis.x(0.05), page.PLOT_LEFT)
        self.assertGreater(axis.x(300), axis.x(200))
        self.assertLess(axis.x(300), page.PLOT_RIGHT)

    def test_an_axis_has_few_labels_and_always_one(self):
        for values in ([], [1], [0.7, 1.3], [1e-5, 1e6], [2, 3, 4500], [0.5]):
            with self.subTest(values=values):
                axis = page.Axis(values)
                self.assertTrue(any(abs(tick - 1) < 1e-12 for tick in axis.ticks))
                self.assertTrue(3 <= len(axis.ticks) <= 12, axis.ticks)


if __name__ == "__main__":
    unittest.main()
