"""Counts the instructions of each piece of work of work_bounds for growing sizes, and prints a Markdown table.

Called by ./dev work. Valgrind counts, so the numbers do not depend on what else the machine does.
"""

import argparse
import concurrent.futures
import os
import re
import subprocess
import sys

DOUBLINGS = 3


def instructions(program, work, size):
    command = ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", "--toggle-collect=measuredWork", program, work,
               str(size)]
    run = subprocess.run(command, text=True, capture_output=True, check=False)
    count = re.search(r"Collected : (\d+)", run.stderr)
    if run.returncode or not count:
        sys.exit(f"{work} of size {size} failed ({run.returncode}):\n{run.stderr}")
    return int(count[1])


def measure(program, work, limit, size):
    """One line of the table, and whether no doubling costs more than the limit."""
    sizes = [size << k for k in range(DOUBLINGS + 1)]
    counts = [instructions(program, work, s) for s in sizes]
    factors = [b / a for a, b in zip(counts, counts[1:])]
    good = max(factors) <= limit
    return (f"| `{work}` | {sizes[0]} to {sizes[-1]} | {counts[-1] / sizes[-1]:.0f} | "
            f"{', '.join(f'{f:.2f}' for f in factors)} | {limit:g} |" + ("" if good else " **exceeded** |")), good


def main():
    parser = argparse.ArgumentParser(prog="./dev work", description="Counts instructions while sizes double.")
    parser.add_argument("program")
    parser.add_argument("names", nargs="*", metavar="work", help="names or their beginnings (mesh.query); default: all")
    parsed = parser.parse_args()
    listed = subprocess.run([parsed.program], text=True, capture_output=True, check=True).stdout
    works = [line.split() for line in listed.splitlines()]
    chosen = [w for w in works if not parsed.names or any(w[0].startswith(name) for name in parsed.names)]
    if not chosen:
        parser.error("no work of that name; there are: " + " ".join(w[0] for w in works))
    print("| work | sizes | instructions for one element, largest size | factor of each doubling | limit |\n|---|---|---:|---|---:|")
    exceeded = []
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        rows = pool.map(lambda w: (w[0], measure(parsed.program, w[0], float(w[1]), int(w[2]))), chosen)
        for name, (line, good) in rows:
            print(line, flush=True)
            if not good:
                exceeded.append(name)
    if exceeded:
        print(f"\nExceeded: {' '.join(exceeded)}")
    return 1 if exceeded else 0


if __name__ == "__main__":
    sys.exit(main())
