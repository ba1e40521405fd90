"""Runs the shell blocks of README.md and the guides as printed, in their order.

The commands run in a folder that has what a reader has there: the sources, the program of README.md as main.cpp, models.
Lines that call ./dev or install packages do not run: the test checks that ./dev has the verb. Called by a test, with the
folder of the program `sinew`.
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

sys.dont_write_bytecode = True
from blocks import ROOT, blocks  # noqa: E402 (the line above keeps the folder of the sources clean)

MODELS = {"model.obj": "koi.obj", "arm.obj": "koi.obj", "arm.tgf": "figure.tgf", "crab.tgf": "figure.tgf"}
WRITTEN = {"crab.glb": "sinew-tour/figure.glb"}  # by a line before the one that reads it


def prepare(work):
    """A folder with the entries of the sources, except for build folders, and the files that the guides name."""
    shutil.rmtree(work, ignore_errors=True)
    (work / "home").mkdir(parents=True)
    for entry in ROOT.iterdir():
        if entry.name not in ("build", "demo-output") and not entry.name.startswith(".git"):
            (work / entry.name).symlink_to(entry)
    programs = [text for name, text in blocks("cpp") if name.startswith("readme") and "int main(" in text]
    (work / "main.cpp").write_text(programs[0], encoding="utf-8")
    for name, model in MODELS.items():
        shutil.copy(ROOT / "tool" / "models" / model, work / name)
    for name, target in WRITTEN.items():
        (work / name).symlink_to(target)


def split(text):
    """The lines of a block that are run, and the verbs of ./dev that it calls."""
    lines = text.splitlines()
    verbs = [verb for line in lines for verb in re.findall(r"^\./dev (\w+)", line)]
    # What is installed by the lines that do not run is not there for the lines after them.
    if any(line.startswith("sudo ") for line in lines):
        return [], verbs
    return [line for line in lines if not line.startswith("./dev")], verbs


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--work", required=True, type=Path)
    parser.add_argument("--cxx", required=True)
    parser.add_argument("--tool", required=True, type=Path, help="the folder of the program sinew")
    options = parser.parse_args()
    prepare(options.work)
    known = set(re.findall(r"^verb_(\w+)\(\)", (ROOT / "dev").read_text(encoding="utf-8"), flags=re.MULTILINE))
    # Without optimisation, to save time.
    env = dict(os.environ, HOME=str(options.work / "home"), PATH=f"{options.tool}:{os.environ['PATH']}", CXX=options.cxx,
               CMAKE_BUILD_TYPE="Debug")
    ran = 0
    for name, text in blocks("sh"):
        lines, verbs = split(text)
        if unknown := set(verbs) - known:
            sys.exit(f"{name}: ./dev has no {', '.join(unknown)}")
        if not lines:
            continue
        run = subprocess.run(["bash", "-euc", "\n".join(lines)], cwd=options.work, env=env, text=True, check=False,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        ran += 1
        if run.returncode:
            sys.exit(f"{name} returns {run.returncode}:\n{text}\n{run.stdout[-4000:]}")
    print(f"{ran} blocks run")
    return 0 if ran >= 3 else 1


if __name__ == "__main__":
    sys.exit(main())
