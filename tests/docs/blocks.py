"""Compiles every C++ block of README.md, the guides and the comments of headers as printed, and runs those that are programs.

A block that is only a part of a program has a frame in frames/, named after its guide and its number in it; the line
"// THE BLOCK" stands for the block. Blocks of headers are the inside of a function, the frame of all of them is reference.cpp. Called by a test, with the compiler and its options.
"""

import argparse
import concurrent.futures
import os
import re
import subprocess
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]


def blocks(language):
    """(name, text) of each block: core_2 is the second one of docs/core.md."""
    for path in [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]:
        found = re.findall(rf"^```{language}\n(.*?)^```$", path.read_text(encoding="utf-8"), flags=re.MULTILINE | re.DOTALL)
        for number, text in enumerate(found, 1):
            yield f"{path.stem.lower()}_{number}", text


def header_blocks():
    """(name, text) of each block of a comment: reference_spd_matrix_1 is the first one of sinew/sparse/spd_matrix.h."""
    for path in sorted((ROOT / "sinew").rglob("*.h")):
        found = re.findall(r"^ */// @code\n(.*?)^ */// @endcode$", path.read_text(encoding="utf-8"),
                           flags=re.MULTILINE | re.DOTALL)
        for number, text in enumerate(found, 1):
            yield f"reference_{path.stem}_{number}", re.sub(r"^ */// ?", "", text, flags=re.MULTILINE)


def framed(name, text):
    frame = HERE / "frames" / ("reference.cpp" if name.startswith("reference_") else f"{name}.cpp")
    if not frame.exists():
        return text
    before, mark, after = frame.read_text(encoding="utf-8").partition("// THE BLOCK\n")
    if not mark:
        sys.exit(f"{frame} has no line '// THE BLOCK'")
    return before + text + after


def output_of(command):
    run = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    return run.returncode, run.stdout


def check(options, name, text):
    """What is wrong with a block, or nothing."""
    source = options.work / f"{name}.cpp"
    source.write_text(framed(name, text), encoding="utf-8")
    is_program = "int main(" in source.read_text(encoding="utf-8")
    program = options.work / name
    command = [options.cxx, *options.flags, str(source)]
    command += [*options.libraries, "-o", str(program)] if is_program else ["-fsyntax-only"]
    status, output = output_of(command)
    if status:
        return f"{name} does not compile:\n{output}"
    if is_program:
        status, output = output_of([str(program)])
        if status:
            return f"{name} returns {status}:\n{output}"
    return ""


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--cxx", required=True)
    parser.add_argument("--work", required=True, type=Path)
    parser.add_argument("--flags", type=str.split, default=[])
    parser.add_argument("--libraries", type=str.split, default=[])
    parser.add_argument("--without", type=str.split, default=[], help="blocks that need what is not installed")
    options = parser.parse_args()
    options.work.mkdir(parents=True, exist_ok=True)
    found = [*blocks("cpp"), *header_blocks()]
    chosen = [(name, text) for name, text in found if name not in options.without]
    unused = {frame.stem for frame in (HERE / "frames").glob("*.cpp")} - {name for name, _ in found} - {"reference"}
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        faults = list(filter(None, pool.map(lambda block: check(options, *block), chosen)))
    faults += [f"frames/{name}.cpp belongs to no block" for name in sorted(unused)]
    print("\n".join(faults) or f"{len(chosen)} blocks compile")
    return 1 if faults or not chosen else 0


if __name__ == "__main__":
    sys.exit(main())
