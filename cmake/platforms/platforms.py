"""Builds the library on many platforms, compares its results, runs its tests, and prints a Markdown table.

Called by ./dev platforms, which installs the packages. Each platform is built twice: with the system's math library and
with the portable elementary functions. In both builds the program sinew_selftest compares the results of every public
operation with the committed table. The test suites run in the build with the system's math library.
"""

import argparse
import collections
import concurrent.futures
import datetime
import hashlib
import os
import re
import shutil
import subprocess
import sys
import threading
import time
from pathlib import Path
from typing import NamedTuple

ROOT = Path(__file__).resolve().parents[2]
TOOLCHAINS = ROOT / "cmake" / "platforms"
BUILDS = ROOT / "build" / "platforms"
SUITE_SECONDS = 3600  # for one test program in an emulator


class Platform(NamedTuple):
    name: str  # also the build folder, and the toolchain file <name>.cmake if there is one
    title: str
    flags: str  # of the optimised build
    packages: str  # from Debian, beside those of every build
    compiler: str = ""  # empty: the toolchain file names it
    run_by: str = ""  # the command before each program
    build_of: str = ""  # the row whose build this one runs, if not its own
    options: tuple = ()  # of CMake
    suites: bool = True  # False: another row with the same compiler runs the test suites


LTO = ("-DCMAKE_INTERPROCEDURAL_OPTIMIZATION=ON",)
X86_64 = "x86-64, "
PLATFORMS = [
    Platform("gcc-O0", X86_64 + "g++", "-O0", "g++", "g++", suites=False),
    Platform("gcc-O2", X86_64 + "g++", "-O2", "g++", "g++"),
    Platform("gcc-O3", X86_64 + "g++", "-O3", "g++", "g++", suites=False),
    Platform("gcc-Os", X86_64 + "g++", "-Os", "g++", "g++", suites=False),
    Platform("gcc-lto", X86_64 + "g++, link-time optimisation", "-O2", "g++", "g++", options=LTO, suites=False),
    Platform("gcc-native", X86_64 + "g++", "-O3 -march=native", "g++", "g++"),
    Platform("clang-O0", X86_64 + "clang++", "-O0", "clang", "clang++", suites=False),
    Platform("clang-O2", X86_64 + "clang++", "-O2", "clang", "clang++"),
    Platform("clang-O3", X86_64 + "clang++", "-O3", "clang", "clang++", suites=False),
    Platform("clang-Os", X86_64 + "clang++", "-Os", "clang", "clang++", suites=False),
    Platform("clang-lto", X86_64 + "clang++, link-time optimisation", "-O2", "clang lld llvm", "clang++", suites=False,
             options=LTO + ("-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld", "-DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=lld")),
    Platform("clang-native", X86_64 + "clang++", "-O2 -march=native", "clang", "clang++", suites=False),
    Platform("clang-libcxx", X86_64 + "clang++ with libc++", "-O2", "clang libc++-dev libc++abi-dev", "clang++",
             options=("-DCMAKE_CXX_FLAGS=-stdlib=libc++",)),
    Platform("no-gnu", X86_64 + "clang++ with libc++, GNU extensions off (what other compilers see)", "-O2",
             "clang libc++-dev libc++abi-dev", "clang++", suites=False,
             options=(f"-DCMAKE_CXX_FLAGS=-stdlib=libc++ -include {TOOLCHAINS / 'no_gnu.h'}",)),
    Platform("masked", X86_64 + "g++, glibc without FMA", "-O2", "g++", "g++", build_of="gcc-O2",
             run_by="env GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2,-FMA"),
    Platform("nehalem", X86_64 + "g++, a processor without AVX and FMA (qemu)", "-O2", "g++ qemu-user", "g++",
             build_of="gcc-O2", run_by="qemu-x86_64 -cpu Nehalem"),
    Platform("aarch64", "aarch64 (qemu), g++", "-O2", "g++-aarch64-linux-gnu qemu-user",
             run_by="qemu-aarch64 -L /usr/aarch64-linux-gnu"),
    Platform("i686", "i686 with SSE2, g++", "-O2", "g++-i686-linux-gnu",
             run_by="/usr/i686-linux-gnu/lib/ld-linux.so.2 --library-path /usr/i686-linux-gnu/lib"),
    Platform("riscv64", "riscv64 (qemu), g++", "-O2", "g++-riscv64-linux-gnu qemu-user",
             run_by="qemu-riscv64 -L /usr/riscv64-linux-gnu"),
    Platform("s390x", "s390x, big-endian (qemu), g++", "-O2", "g++-s390x-linux-gnu qemu-user",
             run_by="qemu-s390x -L /usr/s390x-linux-gnu"),
    Platform("windows", "Windows x64 (Wine), MinGW-w64 g++", "-O2", "g++-mingw-w64-x86-64-posix wine64",
             run_by="/usr/lib/wine/wine64"),
    # This emscripten takes a node that has fetch() for a browser, and then finds no files.
    Platform("wasm", "wasm32 (node), emscripten", "-O2", "emscripten nodejs", run_by="node --no-experimental-fetch"),
]

# What --quick runs, without suites and only with the portable functions: one row of each kind.
QUICK = ["clang-libcxx", "aarch64", "windows", "wasm"]

# Tests that a platform cannot run: a pattern for GoogleTest, and why.
LEFT_OUT = {
    "wasm": {
        "MatrixPrint.*": "the standard output of a WebAssembly program cannot be redirected",
        "CommaLocale.*:*InEveryLocale:*UnderADecimalComma:Stream.UsesTheLocaleOfTheStreamAndNotThatOfTheProcess":
            "its C library has only one locale",
        "HostState.ChangesAreNoticed:*.OtherRoundingModes*": "WebAssembly has only one rounding mode",
    },
}

NOT_TRIED = ["macOS (Apple clang)", "Windows, Visual C++"]


LOCKS = collections.defaultdict(threading.Lock)  # of each build folder: rows that share one run after each other


class Failure(Exception):
    """What stops one row of the table."""


def say(text):
    print(f"\n== {text}", file=sys.stderr, flush=True)


def run(command, log, **options):
    """Runs a command with its output appended to a file."""
    with open(log, "a", encoding="utf-8", errors="replace") as out:
        out.write("$ " + " ".join(map(str, command)) + "\n")
        out.flush()
        return subprocess.run(command, stdout=out, stderr=subprocess.STDOUT, check=False, **options).returncode


def environment(platform):
    """The environment in which a platform's programs are built and run."""
    env = dict(os.environ)
    if platform.name == "windows":
        # Programs need the DLLs of the compiler's run-time library, and Wine a folder of its own.
        dll = subprocess.run(["x86_64-w64-mingw32-g++-posix", "-print-file-name=libstdc++-6.dll"], text=True, check=True,
                             capture_output=True).stdout.strip()
        prefix = BUILDS / "wine"
        prefix.mkdir(parents=True, exist_ok=True)
        env.update(WINEDEBUG="-all", WINEPREFIX=str(prefix),
                   WINEPATH=f"{Path(dll).parent};/usr/x86_64-w64-mingw32/lib")
    if platform.name == "wasm":
        # Debian's modules, for a node that is not Debian's.
        env["NODE_PATH"] = ":".join(filter(None, [env.get("NODE_PATH"), "/usr/share/nodejs"]))
    return env


def configure_options(platform, math, target):
    options = ["-DCMAKE_BUILD_TYPE=Release", f"-DCMAKE_CXX_FLAGS_RELEASE={platform.flags} -DNDEBUG", f"-DSINEW_MATH={math}",
               "-DSINEW_OPTIONAL_PEERS=ON", "-DSINEW_WERROR=ON", "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST",
               *platform.options]
    options.append(f"-DSINEW_TESTS={'ON' if target == 'all' else 'OFF'}")
    if target != "all":  # the fingerprints, with one library
        options += ["-DSINEW_EXAMPLES=OFF", "-DSINEW_TOOL=OFF",
                    f"-DSINEW_STATIC={'ON' if platform.name == 'wasm' else 'OFF'}"]
    elif platform.compiler or platform.name == "wasm":
        options.append("-DSINEW_TOOL=OFF")
    else:
        # The tool needs cairo for its pictures, which Debian does not have for the targets, and the headers of CLI11 alone,
        # without those of this machine's C library beside them.
        headers = BUILDS / "headers"
        headers.mkdir(parents=True, exist_ok=True)
        if not (headers / "CLI").exists():
            (headers / "CLI").symlink_to("/usr/include/CLI")
        options += ["-DSINEW_TOOL=ON", "-DSINEW_TOOL_PICTURES=OFF", f"-DSINEW_CLI11_INCLUDE={headers}"]
    if platform.compiler:
        options.append(f"-DCMAKE_CXX_COMPILER={platform.compiler}")
    else:
        options += ["--toolchain", str(TOOLCHAINS / f"{platform.name}.cmake"), "-DEigen3_DIR=/usr/share/eigen3/cmake",
                    "-DCMAKE_CROSSCOMPILING_EMULATOR=" + platform.run_by.replace(" ", ";")]
    # Debian's GoogleTest fits only the system's own compiler and standard library.
    if not platform.compiler or "-stdlib=libc++" in " ".join(platform.options):
        options.append("-DSINEW_GOOGLETEST_SOURCES=/usr/src/googletest")
    if shutil.which("ccache"):
        options.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
    return options


def build(platform, math, target, jobs):
    """Builds a target, and returns the build folder."""
    folder = BUILDS / f"{platform.build_of or platform.name}-{math}"
    folder.mkdir(parents=True, exist_ok=True)
    log = folder / "build.log"
    log.unlink(missing_ok=True)
    configure = ["cmake", "-S", ROOT, "-B", folder, "-G", "Ninja", *configure_options(platform, math, target)]
    make = ["cmake", "--build", folder, "--parallel", str(jobs), "--target", target, "--", "-k", "0"]
    env = environment(platform)
    if run(configure, log, env=env) or run(make, log, env=env):
        lines = log.read_text(encoding="utf-8", errors="replace").splitlines()
        # The build goes on after a failure, so what failed may stand far above the end.
        print("\n".join([line for line in lines if "FAILED" in line or "error" in line][:20] + lines[-20:]), file=sys.stderr)
        raise Failure(f"**the {math} build failed**")
    return folder


def programs(folder, name):
    """The programs of a build with a name, of which * may be a part."""
    found = []
    for suffix in ("", ".exe", ".js"):
        found += [p for p in folder.rglob(name + suffix) if p.is_file() and (suffix or os.access(p, os.X_OK))]
    return sorted(found)


def fingerprints(platform, folder):
    """What sinew_selftest says: how many groups of results equal the table, with a hash over all groups that must."""
    found = programs(folder, "sinew_selftest")
    if not found:
        raise Failure("**sinew_selftest is missing**")
    log = folder / "selftest.txt"
    log.unlink(missing_ok=True)
    status = run([*platform.run_by.split(), str(found[0])], log, env=environment(platform), timeout=SUITE_SECONDS)
    # Lines of: group, number of inputs, hash, verdict.
    pattern = re.compile(r"^(\S+) +\d+ +([0-9a-f]{16}) +(ok|differs|not in the table|system math)\r?$", re.MULTILINE)
    groups = pattern.findall(log.read_text(encoding="utf-8", errors="replace"))
    strict = [group for group in groups if group[2] != "system math"]
    different = [name for name, _, verdict in strict if verdict != "ok"]
    total = hashlib.sha256(" ".join(f"{name} {value}" for name, value, _ in strict).encode()).hexdigest()[:12]
    text = f"{len(strict) - len(different)} of {len(strict)} equal, `{total}`"
    if status or not strict or different:
        raise Failure(f"{text}; **status {status}, different: {' '.join(different) or 'unknown'}**")
    return text


def ctest(platform, folder):
    """Runs the tests that are not those of the test programs: examples, hosts of the installed package, the tool."""
    log = folder / "ctest.txt"
    log.unlink(missing_ok=True)
    status = run(["ctest", "--test-dir", folder, "--output-on-failure", "-R", r"^(arithmetic|example|package|program)\."], log,
                 env=environment(platform))
    output = log.read_text(encoding="utf-8", errors="replace")
    passed = len(re.findall(r" Passed +[0-9.]+ sec", output))
    broken = re.findall(r"^\s+\d+ - (\S+) \(", output, re.MULTILINE)
    return passed, [f"ctest ({status}): {', '.join(broken)}"] if status else []


def suites(platform, folder):
    """Runs every test program; says how many tests passed."""
    passed, broken = (0, []) if platform.build_of else ctest(platform, folder)
    pattern = ":".join(LEFT_OUT.get(platform.name, {}))
    for program in programs(folder, "sinew_*_tests"):
        log = folder / (program.stem + ".txt")
        log.unlink(missing_ok=True)
        command = [*platform.run_by.split(), str(program), "--gtest_brief=1", f"--gtest_filter=*-{pattern}"]
        try:
            status = run(command, log, env=environment(platform), timeout=SUITE_SECONDS)
        except subprocess.TimeoutExpired:
            status = f"more than {SUITE_SECONDS} s"
        output = log.read_text(encoding="utf-8", errors="replace")
        passed += sum(map(int, re.findall(r"^\[  PASSED  \] (\d+) test", output, re.MULTILINE)))
        if status:
            failures = sorted(set(re.findall(r"^\[  FAILED  \] (\S+?),? ", output, re.MULTILINE)))
            broken.append(f"{program.stem} ({status}): {', '.join(failures[:5]) or 'crashed'}")
    if broken or not passed:
        raise Failure(f"{passed} passed; **failed: {'; '.join(broken)}**")
    return f"{passed} passed"


def check(platform, quick, jobs):
    """The cells of one row, and whether all is well."""
    cells, good = [], True

    def cell(action):
        nonlocal good
        try:
            cells.append(action())
        except Failure as failure:
            good = False
            cells.append(str(failure))

    runs_suites = platform.suites and not quick
    if quick:
        cells.append("")
    else:
        target = "all" if runs_suites else "sinew_selftest"
        cell(lambda: fingerprints(platform, build(platform, "system", target, jobs)))
    cell(lambda: fingerprints(platform, build(platform, "portable", "sinew_selftest", jobs)))
    if runs_suites:
        cell(lambda: suites(platform, build(platform, "system", "all", jobs)))
    else:
        cells.append("")
    return cells, good


def arguments():
    parser = argparse.ArgumentParser(prog="./dev platforms", description="Compares the results on many platforms.",
                                     epilog="platforms: " + " ".join(p.name for p in PLATFORMS))
    parser.add_argument("names", nargs="*", metavar="platform", help="default: all")
    parser.add_argument("--quick", action="store_true",
                        help=f"only {', '.join(QUICK)}; no test suites, only the build with the portable functions")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="platforms, and compilers of each, at the same time")
    parser.add_argument("--packages", action="store_true", help="print the Debian packages that are needed, and stop")
    parsed = parser.parse_args()
    known = {p.name: p for p in PLATFORMS}
    names = parsed.names or (QUICK if parsed.quick else list(known))
    for name in names:
        if name not in known:
            parser.error(f"there is no platform '{name}'; there are: {' '.join(known)}")
    return parsed, [known[name] for name in names]


def row(platform, quick, jobs):
    """One line of the table, and whether all is well."""
    with LOCKS[platform.build_of or platform.name]:
        say(f"{platform.name}: {platform.title} {platform.flags}")
        begin = time.monotonic()
        cells, good = check(platform, quick, jobs)
        cells += [f"{time.monotonic() - begin:.0f} s"]
        line = f"| {platform.title} | `{platform.flags}` | " + " | ".join(cells) + " |"
        print(line, file=sys.stderr, flush=True)
        return line, good


def main():
    parsed, platforms = arguments()
    if parsed.packages:
        print(" ".join(sorted({package for p in platforms for package in p.packages.split()})))
        return 0
    header = ["| platform | options | system's math library | portable functions | test suites | time |",
              "|---|---|---|---|---|---:|"]
    # An emulator uses one core, so several platforms run at the same time.
    with concurrent.futures.ThreadPoolExecutor(parsed.jobs) as pool:
        rows = list(pool.map(lambda platform: row(platform, parsed.quick, parsed.jobs), platforms))
    lines = [line for line, _ in rows]
    failed = [platform.name for platform, (_, good) in zip(platforms, rows) if not good]
    if not parsed.quick and not parsed.names:
        lines += [f"| {title} | | not tried | not tried | not tried | |" for title in NOT_TRIED]
    print(f"\n{datetime.date.today()}\n\n" + "\n".join(header + lines))
    for platform in platforms:
        for pattern, reason in LEFT_OUT.get(platform.name, {}).items():
            print(f"\nLeft out on {platform.title}: `{pattern}`: {reason}")
    if failed:
        print(f"\nFailed: {' '.join(failed)}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
