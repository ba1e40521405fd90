"""A copy of the project and a build of it, in which mutants are compiled, linked and tested.

The objects of the build are never replaced: a mutant has its own few objects, and its programs are linked from these and
from the objects of the build.
"""

import json
import os
import re
import resource
import shlex
import shutil
import subprocess
import time
from dataclasses import dataclass, field
from pathlib import Path

MODULES = ('detail', 'framework', 'core', 'queries', 'fields', 'skinning', 'meshfunc', 'sparse')
MEMORY_LIMIT = 6 << 30  # bytes; a mutant may allocate without end


@dataclass
class Program:
    """A test program of the build."""
    name: str
    module: str
    path: Path
    link: list  # the command that links it
    members: set  # the members of libsinew.a that it contains
    arguments: list = field(default_factory=list)
    cpu_seconds: float = 0.0  # of the unchanged library

    @property
    def is_googletest(self):
        return self.name != 'sinew_selftest'


@dataclass
class Outcome:
    killed: bool
    how: str  # 'test', 'hang', 'crash' or ''
    test: str = ''  # the first test that failed


class Workshop:
    def __init__(self, project, folder, options):
        self.project, self.folder = Path(project), Path(folder)
        self.tree, self.build, self.scratch = self.folder / 'tree', self.folder / 'build', self.folder / 'mutant'
        self.options = options
        self.killers = {}  # file: tests that killed a mutant of it, the last one first

    # ---- the build without mutants ----

    def prepare(self):
        self.copy_tree()
        self.configure_and_build()
        self.read_commands()
        self.read_dependencies()
        self.find_programs()
        self.measure_programs()

    def copy_tree(self):
        """Copies changed files only, so that an unchanged copy needs no build."""
        names = subprocess.run(['git', 'ls-files', '-z', '--cached', '--others', '--exclude-standard'], cwd=self.project,
                               check=True, capture_output=True, text=True).stdout.split('\0')
        wanted = {n for n in names if n and (self.project / n).is_file()}
        for name in wanted:
            source, target = self.project / name, self.tree / name
            if not target.exists() or target.read_bytes() != source.read_bytes():
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(source, target)
        for path in [p for p in self.tree.rglob('*') if p.is_file()]:
            if str(path.relative_to(self.tree)) not in wanted:
                path.unlink()

    def configure_and_build(self):
        subprocess.run(['cmake', '-S', self.tree, '-B', self.build, '-G', 'Ninja', '--log-level=WARNING',
                        '-DCMAKE_EXPORT_COMPILE_COMMANDS=ON', '-DCMAKE_SKIP_BUILD_RPATH=ON',
                        '-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST', '-DSINEW_TOOL=OFF', '-DSINEW_EXAMPLES=OFF',
                        '-DSINEW_INSTALL=OFF', *self.options], check=True)
        subprocess.run(['ninja', '-C', self.build, '--quiet', *self.jobs(), 'tests/all', 'selftest/all'], check=True,
                       env=self.environment(self.build / 'sinew'))

    def environment(self, libraries):
        """The programs look for libsinew in `libraries`, and for the libraries of test hosts beside themselves."""
        return dict(os.environ, LD_LIBRARY_PATH=f'{libraries}:{self.build}/tests/core')

    @staticmethod
    def jobs():
        return ['-j', os.environ['SINEW_MUTATE_JOBS']] if 'SINEW_MUTATE_JOBS' in os.environ else []

    def read_commands(self):
        self.commands = {}  # object: its compile command
        for entry in json.loads((self.build / 'compile_commands.json').read_text()):
            words = shlex.split(entry['command'])
            if words[0].endswith('ccache'):
                words = words[1:]
            self.commands[words[words.index('-o') + 1]] = words + ['-w']

    def read_dependencies(self):
        self.objects_of = {}  # file of the tree: the objects that are compiled from it
        text = subprocess.run(['ninja', '-t', 'deps'], cwd=self.build, check=True, capture_output=True, text=True).stdout
        for block in text.split('\n\n'):
            lines = block.splitlines()
            if not lines or lines[0].split(':')[0] not in self.commands:
                continue
            for line in lines[1:]:
                path = Path(os.path.normpath(self.build / line.strip()))
                if self.tree in path.parents:
                    self.objects_of.setdefault(str(path.relative_to(self.tree)), []).append(lines[0].split(':')[0])

    def find_programs(self):
        self.programs = []
        for path in sorted((self.build / 'tests').glob('*/sinew_*_tests')):
            if path.parent.name in MODULES:
                link = self.link_command(path)
                self.programs.append(Program(path.name, path.parent.name, path, link, self.members_of(link)))
        selftest = self.build / 'selftest/sinew_selftest'
        link = self.link_command(selftest)
        self.programs += [Program(selftest.name, m, selftest, link, self.members_of(link), [m]) for m in MODULES[1:]]
        library = max((self.build / 'sinew').glob('libsinew.so.*'), key=lambda path: len(path.name))
        self.library = self.link_command(library)

    def link_command(self, path):
        text = subprocess.run(['ninja', '-t', 'commands', '-s', str(path.relative_to(self.build))], cwd=self.build, check=True, capture_output=True,
                              text=True).stdout
        link = next(part for part in text.split(' && ') if ' -o ' in part)
        return shlex.split(link)

    def members_of(self, link):
        """The names of the members that the linker takes from the static library."""
        traced = self.scratch / 'traced'
        words = list(link) + [f'-Wl,-Map={traced}.map']
        words[words.index('-o') + 1] = str(traced)
        subprocess.run(words, cwd=self.build, check=True)
        return set(re.findall(r'libsinew\.a\(([^)]+)\)', Path(f'{traced}.map').read_text()))

    def measure_programs(self):
        """CPU times, which limit those of mutants. They are kept with the build."""
        kept = self.folder / 'times.json'
        times = json.loads(kept.read_text()) if kept.exists() else {}
        for program in self.programs:
            key = ' '.join([program.name, *program.arguments])
            if key not in times:
                before = resource.getrusage(resource.RUSAGE_CHILDREN)
                outcome = self.run(program, program.path, self.build / 'sinew', 3600, '')
                after = resource.getrusage(resource.RUSAGE_CHILDREN)
                if outcome.killed:
                    raise RuntimeError(f'{key} fails without a mutant: {outcome}')
                times[key] = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
                kept.write_text(json.dumps(times))
            program.cpu_seconds = times[key]

    # ---- one mutant ----

    def compile(self, objects):
        """Compiles the objects again. Returns {object: new object}, or None if one does not compile."""
        result = {}
        for name in objects:
            out = self.scratch / f'{len(list(self.scratch.glob("*.o")))}.o'
            words = list(self.commands[name])
            words[words.index('-o') + 1] = str(out)
            for option in ('-MF', '-MT'):
                if option in words:
                    words[words.index(option) + 1] = str(out) + '.d'
            if subprocess.run(words, cwd=self.build, capture_output=True).returncode != 0:
                return None
            result[name] = out
        return result

    def same_code(self, changed):
        """Whether no object differs from that of the build: the compiler found the mutant equivalent."""
        return all((self.build / name).read_bytes() == new.read_bytes() for name, new in changed.items())

    def link(self, command, changed, target):
        """Links with the changed objects. The first definition counts, so they stand before the static library."""
        words = [str(changed.get(w, w)) for w in command]
        words[words.index('-o') + 1] = str(target)
        archive = next((i for i, w in enumerate(words) if w.endswith('libsinew.a')), None)
        if archive is not None:
            words[archive:archive] = [str(new) for name, new in changed.items()
                                      if name.startswith('sinew/') and 'portable' not in name and str(new) not in words]
        return subprocess.run(words, cwd=self.build, capture_output=True).returncode == 0

    def programs_for(self, module):
        return [p for p in self.programs if p.module == module]

    def test_module(self, mutant_file, module, changed):
        """Links the programs of a module with the changed objects, and runs them. None if one does not link."""
        libraries = self.build / 'sinew'
        if any(w in changed for w in self.library):
            libraries = self.scratch
            if not self.link(self.library + ['-Wl,-z,defs'], changed, self.scratch / 'libsinew.so.2'):
                return None
        for program in self.programs_for(module):
            path = program.path
            own_change = any(w in changed for w in program.link)
            from_archive = any(name.startswith('sinew/') and Path(name).name in program.members for name in changed)
            from_library = any('libsinew.so' in w for w in program.link) and libraries == self.scratch
            if not (own_change or from_archive or from_library):
                continue  # the program does not contain the mutant
            if own_change or from_archive:
                path = self.scratch / program.name
                if not self.link(program.link, changed, path):
                    return None
            outcome = self.run_with_killers(program, path, libraries, mutant_file)
            if outcome.killed:
                return outcome
        return Outcome(False, '')

    def run_with_killers(self, program, path, libraries, mutant_file):
        """Tests that killed earlier mutants of the file run first, since they probably kill this one."""
        known = self.killers.get(mutant_file, [])
        filters = [':'.join(known)] if known and program.is_googletest else []
        for tests in filters + ['']:
            outcome = self.run(program, path, libraries, 4 * program.cpu_seconds + 20, tests)
            if outcome.killed:
                if outcome.test:
                    self.killers[mutant_file] = [outcome.test, *[t for t in known if t != outcome.test]][:8]
                return outcome
        return outcome

    def run(self, program, path, libraries, cpu_limit, tests):
        def limit():
            resource.setrlimit(resource.RLIMIT_CPU, (int(cpu_limit), int(cpu_limit) + 5))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            if not any('sanitize' in o for o in self.options):
                resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
        arguments = list(program.arguments)
        if program.is_googletest:
            arguments += ['--gtest_brief=1', '--gtest_fail_fast', f'--gtest_filter={tests or "*"}']
        environment = self.environment(libraries)
        started = time.monotonic()
        try:
            done = subprocess.run([str(path), *arguments], cwd=self.scratch, env=environment, preexec_fn=limit,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL,
                                  timeout=max(60.0, 12 * cpu_limit))
        except subprocess.TimeoutExpired:
            return Outcome(True, 'hang')
        if done.returncode == 0:
            return Outcome(False, '')
        failed = re.search(r'^\[  FAILED  \] ([\w/.]+)', done.stdout.decode('utf-8', 'replace'), re.M)
        if failed:
            return Outcome(True, 'test', failed.group(1))
        hung = done.returncode in (-24, -9) and time.monotonic() - started > cpu_limit / 2
        return Outcome(True, 'hang' if hung else 'crash' if done.returncode < 0 else 'test')
