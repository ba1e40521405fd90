#!/usr/bin/env python3
"""Mutation testing of the library: changes it in one place and expects a test to fail.

    mutate.py [count] [seed] [--file NAME]... [--list]

Draws `count` mutants with `seed`, each in a copy of the project in build/mutation. For each it compiles the objects that
depend on the changed file, runs the tests of the file's module, then those of the modules that use it. Mutants that do not
compile, or that compile to the same code, do not count; others are drawn in their place. A mutant that is listed in
equivalent.txt, with the reason why no test can notice it, does not count either.

Results are kept in build/mutation/results-<seed>.jsonl, and a run that was stopped goes on where it was. A change of a test
or of the library makes earlier results of survivors invalid: they are tested again. Delete the file to begin anew.
The exit status is 0 if at least 97 % of the mutants are killed.
"""

import argparse
import hashlib
import json
import math
import os
import random
import re
import shutil
import sys
import time
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).parent))
import mutants
from workshop import MODULES, Outcome, Workshop

PROJECT = Path(__file__).resolve().parents[2]
EQUIVALENT = Path(__file__).with_name('equivalent.txt')
TABLE_SHARE = 0.1  # lines of tables of numbers are drawn that much less often than other lines
TABLE_LINE = re.compile(r"\s*\{?\{[\s{},\da-fA-FxXpP.'+-]+\}[,;]?\s*$")
REQUIRED = 0.97
USERS = {  # the modules whose tests can notice a change in a module, besides its own
    'detail': ('framework', 'skinning', 'fields', 'meshfunc', 'sparse'),
    'framework': ('skinning', 'meshfunc'),
    'core': ('queries', 'fields', 'skinning', 'meshfunc'),
    'fields': ('meshfunc',),
    'queries': ('skinning',), 'skinning': (), 'meshfunc': (), 'sparse': ('skinning',),
}


def module_of(file):
    folder = file.split('/')[1]
    return folder if folder in MODULES else 'core'


def sources(tree):
    for path in sorted((tree / 'sinew').rglob('*')):
        if path.suffix in ('.h', '.cpp', '.inl'):
            yield str(path.relative_to(tree)), path.read_text()


def drawn(tree, seed, files):
    """All mutants in the order in which they are tested. Modules take turns by the root of their size, and lines are drawn
    evenly within a module."""
    generator = random.Random(seed)
    modules = {}
    for file, text in sources(tree):
        if files and not any(file.endswith(f) for f in files):
            continue
        lines = {}
        for mutant in mutants.mutants_of(file, text):
            lines.setdefault(mutant.line, []).append(mutant)
        for line in sorted(lines):
            at = generator.random()
            if TABLE_LINE.match(lines[line][0].old):
                at = 1 - (1 - at) * TABLE_SHARE if generator.random() > TABLE_SHARE else at
            modules.setdefault(module_of(file), []).append((at, generator.choice(lines[line])))
    order = []
    for module in sorted(modules):
        queue = sorted(modules[module], key=lambda entry: entry[0])
        share = math.sqrt(len(queue))
        order += [((i + generator.random()) / share, mutant) for i, (_, mutant) in enumerate(queue)]
    return [mutant for _, mutant in sorted(order, key=lambda entry: entry[0])]


def equivalents():
    """The keys of the listed mutants. Entries of equivalent.txt are paragraphs of four lines: file, -, + and why."""
    result = set()
    text = EQUIVALENT.read_text() if EQUIVALENT.exists() else ''
    for paragraph in re.split(r'\n\s*\n', re.sub(r'^#.*\n', '', text, flags=re.M).strip()):
        fields = {line.split(' ', 1)[0]: line.split(' ', 1)[1] for line in paragraph.splitlines() if ' ' in line}
        if not paragraph:
            continue
        if not all(fields.get(k) for k in ('file:', '-', '+', 'why:')):
            raise SystemExit(f'equivalent.txt: this entry lacks a line:\n{paragraph}')
        result.add('\n'.join((fields['file:'].strip(), mutants.squeezed(fields['-']), mutants.squeezed(fields['+']))))
    return result


def fingerprint(tree):
    """A hash of everything that can change the fate of a survivor."""
    digest = hashlib.sha256()
    for path in sorted([*(tree / 'sinew').rglob('*'), *(tree / 'tests').rglob('*')]):
        if path.is_file() and 'mutation' not in path.relative_to(tree).parts:
            digest.update(path.read_bytes())
    return digest.hexdigest()[:16]


def judge(workshop, mutant):
    """'killed', 'survived', 'invalid' (does not compile) or 'same code', and what killed it."""
    path = workshop.tree / mutant.file
    text = path.read_text()
    shutil.rmtree(workshop.scratch, ignore_errors=True)
    workshop.scratch.mkdir(parents=True)
    path.write_text(text[:mutant.start] + mutant.replacement + text[mutant.end:])
    try:
        return tested(workshop, mutant)
    finally:
        path.write_text(text)


def tested(workshop, mutant):
    """Compiles and tests in steps, because most mutants die in the first one: the objects that are named as the file is,
    then the others of its module, then those of each other module."""
    own = module_of(mutant.file)
    objects = workshop.objects_of.get(mutant.file, [])
    stem = Path(mutant.file).stem
    steps = [(own, [o for o in objects if re.search(rf'/{stem}(_test)?\.cpp\.o$', o)]),
             (own, [o for o in objects if belongs(o, own, own)])]
    steps += [(m, [o for o in objects if belongs(o, m, own)]) for m in USERS[own]]
    changed, any_change = {}, False
    for module, wanted in steps:
        part = [o for o in wanted if o not in changed]
        new = workshop.compile(part)
        if new is None:
            return 'invalid', Outcome(False, '')
        changed.update(new)
        any_change = any_change or not workshop.same_code(new)
        if not any_change or (module == own and not part):
            continue
        outcome = workshop.test_module(mutant.file, module, changed)
        if outcome is None:
            return 'invalid', Outcome(False, '')
        if outcome.killed:
            return 'killed', outcome
    return ('survived' if any_change else 'same code'), Outcome(False, '')


def belongs(name, module, own):
    """Whether an object is needed to test `module`. The first module that is tested also takes what lies in no module."""
    found = re.search(r'\.dir/(?:\.\./)*(\w+)/', name) if name.startswith('sinew/') else re.match(r'tests/(\w+)/', name)
    place = found.group(1) if found else ''
    return place == module or (module == own and place not in MODULES)


class Results:
    def __init__(self, path, mark):
        self.path, self.mark, self.known = path, mark, {}
        if path.exists():
            for line in path.read_text().splitlines():
                entry = json.loads(line)
                self.known[entry['key'], entry['at']] = entry

    def find(self, mutant):
        entry = self.known.get((mutant.key, self.place(mutant)))
        outdated = entry and entry['result'] == 'survived' and entry['mark'] != self.mark
        return None if outdated else entry

    def add(self, mutant, result, outcome, seconds):
        entry = {'key': mutant.key, 'at': self.place(mutant), 'result': result, 'how': outcome.how, 'test': outcome.test,
                 'mark': self.mark, 'seconds': round(seconds, 1)}
        with self.path.open('a') as file:
            file.write(json.dumps(entry) + '\n')
        self.known[entry['key'], entry['at']] = entry
        return entry

    @staticmethod
    def place(mutant):
        """Tells apart mutants of equal lines."""
        return mutant.kind + ' ' + mutant.replacement + f' {mutant.line}'


def difference(mutant):
    minus = ''.join(f'-{line}\n' for line in mutant.old.splitlines())
    plus = ''.join(f'+{line}\n' for line in mutant.new.splitlines())
    return f'{mutant.file}:{mutant.line} ({mutant.kind})\n{minus}{plus}'


def report(judged, listed, seconds):
    print('\n| module | mutants | killed | by a hang | by a crash | survived | equivalent (listed) |')
    print('|---|--:|--:|--:|--:|--:|--:|')
    total = [0] * 6
    for module in MODULES:
        mine = [(m, e) for m, e in judged if module_of(m.file) == module]
        killed = [e for _, e in mine if e['result'] == 'killed']
        row = [len(mine), len(killed), sum(e['how'] == 'hang' for e in killed), sum(e['how'] == 'crash' for e in killed),
               len(mine) - len(killed), sum(module_of(m.file) == module for m in listed)]
        total = [a + b for a, b in zip(total, row)]
        print(f'| {module} | ' + ' | '.join(map(str, row)) + ' |')
    print('| all | ' + ' | '.join(map(str, total)) + ' |')
    share = total[1] / total[0] if total[0] else 1.0
    print(f'\n{100 * share:.1f} % killed; {seconds:.0f} s')
    survivors = [m for m, e in judged if e['result'] == 'survived']
    if survivors:
        print('\nSurvivors:\n')
        for mutant in survivors:
            print(difference(mutant))
    return share


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('count', nargs='?', type=int, default=50, help='mutants that count (default: 50)')
    parser.add_argument('seed', nargs='?', type=int, default=1, help='of the draw (default: 1)')
    parser.add_argument('--file', action='append', default=[], help='only sources whose path ends so')
    parser.add_argument('--list', action='store_true', help='print the mutants, test nothing')
    arguments = parser.parse_args()
    if arguments.list:
        for mutant in drawn(PROJECT, arguments.seed, arguments.file)[:arguments.count]:
            print(difference(mutant))
        return 0

    folder = PROJECT / 'build' / 'mutation'
    folder.mkdir(parents=True, exist_ok=True)
    launcher = ['-DCMAKE_CXX_COMPILER_LAUNCHER=ccache'] if shutil.which('ccache') else []
    workshop = Workshop(PROJECT, folder, ['-DCMAKE_BUILD_TYPE=None', '-DCMAKE_CXX_FLAGS=-O1 -DNDEBUG', *launcher])
    workshop.scratch.mkdir(parents=True, exist_ok=True)
    workshop.prepare()
    results = Results(folder / f'results-{arguments.seed}.jsonl', fingerprint(workshop.tree))
    known, judged, listed, started = equivalents(), [], [], time.monotonic()
    for mutant in drawn(workshop.tree, arguments.seed, arguments.file):
        if len(judged) >= arguments.count:
            break
        if mutant.key in known:
            listed.append(mutant)
            continue
        entry = results.find(mutant)
        if entry is None:
            before = time.monotonic()
            entry = results.add(mutant, *judge(workshop, mutant), time.monotonic() - before)
            print(f'{len(judged) + 1} {entry["result"]} {entry["how"]} {entry["test"]} {entry["seconds"]} s '
                  f'{mutant.file}:{mutant.line}', flush=True)
            if entry['result'] == 'survived':
                print(difference(mutant), flush=True)
        if entry['result'] in ('killed', 'survived'):
            judged.append((mutant, entry))
    return 0 if report(judged, listed, time.monotonic() - started) >= REQUIRED else 1


if __name__ == '__main__':
    sys.exit(main())
