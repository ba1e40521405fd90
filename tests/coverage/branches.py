"""Prints the coverage of the branches of the library, and each branch that the tests never take.

Called by ./dev coverage with the export of llvm-cov. A branch is one outcome of a condition, so each condition has two.
Branches that no test can take are listed in excluded.txt with the reason.
"""

import collections
import json
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
EXCLUDED = Path(__file__).with_name("excluded.txt")
LEAST = 0.98


def outcomes(export):
    """For each condition of each file, (line, column, end line, end column): how often it was true and false."""
    result = collections.defaultdict(lambda: collections.defaultdict(lambda: [0, 0]))
    for file in export["data"][0]["files"]:
        conditions = result[str(Path(file["filename"]).relative_to(ROOT))]
        for branch in file["branches"]:
            counts = conditions[tuple(branch[:4])]
            counts[0] += branch[4]
            counts[1] += branch[5]
    return result


def squeezed(text):
    return re.sub(r"\s+", " ", text).strip()


def exclusions():
    """(file, line of code) -> reason. Entries of excluded.txt are paragraphs of three lines: file, line and why."""
    result = {}
    text = re.sub(r"^#.*\n", "", EXCLUDED.read_text(), flags=re.MULTILINE).strip()
    for paragraph in filter(None, re.split(r"\n\s*\n", text)):
        fields = dict(re.findall(r"^(file|line|why): (.+)$", paragraph, flags=re.MULTILINE))
        if len(fields) != 3:
            sys.exit(f"excluded.txt: this entry is not complete:\n{paragraph}")
        result[fields["file"].strip(), squeezed(fields["line"])] = fields["why"]
    return result


def condition(lines, place):
    first, column, last, end = place
    text = lines[first - 1][column - 1:end - 1] if first == last else lines[first - 1][column - 1:]
    return squeezed(text)


def main():
    excluded = exclusions()
    used = set()
    rows, missed = [], []
    for name, conditions in sorted(outcomes(json.load(open(sys.argv[1]))).items()):
        lines = (ROOT / name).read_text().splitlines()
        taken = total = 0
        for place, counts in sorted(conditions.items()):
            key = (name, squeezed(lines[place[0] - 1]))
            if re.search(r"\bconstexpr\b", key[1]) and not any(counts):
                continue  # the compiler decides
            for outcome, count in zip(("true", "false"), counts):
                if not count and key in excluded:
                    used.add(key)
                    continue
                total += 1
                taken += count > 0
                if not count:
                    missed.append(f"{name}:{place[0]}: never {outcome}: {condition(lines, place)}")
        rows.append((name, taken, total))
    module = collections.defaultdict(lambda: [0, 0])
    for name, taken, total in rows:
        for key in (name.split("/")[1], "all"):
            module[key][0] += taken
            module[key][1] += total
    print("\n".join(missed))
    print("\n| module | branches | taken | |\n|---|--:|--:|--:|")
    for key, (taken, total) in module.items():
        if total and key != "all":
            print(f"| {key} | {total} | {taken} | {taken / total:.2%} |")
    taken, total = module["all"]
    print(f"| all | {total} | {taken} | {taken / total:.2%} |\n\n{len(used)} lines are excluded.")
    stale = sorted(set(excluded) - used)
    for file, line in stale:
        print(f"excluded.txt: no such branch, or a test takes it: {file}: {line}")
    return 1 if stale or taken < LEAST * total else 0


if __name__ == "__main__":
    sys.exit(main())
