#!/usr/bin/env python3
"""Do the tests of a room notice when its code is wrong?

Makes small mutations, one at a time, in the sources of a folder: a comparison that takes in its
limit or leaves it out, a number one too large, a dropped statement, + for -, float for double.
Builds the folder's test executable with each and runs it. A mutant that no test notices survives.

  scripts/mutate.py refinement --sample 25          # 25 of the folder's mutants
  scripts/mutate.py core --files 'core/undo.cpp'    # those of one file
  scripts/mutate.py core --at core/undo.cpp:96      # all mutants of one line
  scripts/mutate.py smoothing --list                # only say what could be tried

The sources are copied to build/mutants first: the working copy isn't touched. A seed makes the same
choice again. Mutants that change nothing anyone can see are argued in tests/equivalent_mutants.txt,
in the form in which survivors are printed, and aren't tried.
"""
import argparse
import fnmatch
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
EQUIVALENT = ROOT / "tests" / "equivalent_mutants.txt"

# Binary operators have spaces around them in formatted code, template brackets have none.
SWAPS = [
    (r"(?<= )<(?= )", "<="), (r"(?<= )<=(?= )", "<"),
    (r"(?<= )>(?= )", ">="), (r"(?<= )>=(?= )", ">"),
    (r"(?<= )==(?= )", "!="), (r"(?<= )!=(?= )", "=="),
    (r"(?<= )&&(?= )", "||"), (r"(?<= )\|\|(?= )", "&&"),
    (r"(?<=[\w)\]] )\+(?= )", "-"), (r"(?<=[\w)\]] )-(?= )", "+"),
    (r"(?<= )\+=(?= )", "-="), (r"(?<= )-=(?= )", "+="),
    (r"\btrue\b", "false"), (r"\bfalse\b", "true"),
    (r"\bstd::min\b", "std::max"), (r"\bstd::max\b", "std::min"),
    (r"static_cast<double>", "static_cast<float>"),
    (r"(?<![<\w])double(?= \w+ = )", "float"),
]
NUMBER = re.compile(r"(?<![\w.])(?<![eE]-)(\d+)(?=[UL]*\b)(?![\w.]*[.eExX])")
STATEMENT = re.compile(r"^\s*(?!return\b|using\b|const|auto\b|static|break|continue|template|"
                       r"namespace|struct|class|enum|typedef|friend|else|case|default|delete\b)"
                       r"((\+\+|--)?[\w:>.\-\[\]()*&<, +]*"
                       r"(\(.*\)| [+\-*|&]?= .*|\+\+|--));$")
GUARD = re.compile(r"^\s*(if \(.*\)) (return\b.*|continue|break);$")
ROOM = re.compile(r"^\s*[\w:<>*]+ \*?\w+(\[[^\]]*\])+( = \{\})?;$")
DECLARATION = re.compile(r"^\s*[\w:<>,]+[*&]*( const)?[ *&]+\w+( =|\(|\[|;)")


def blanked(text):
    """The text with comments, strings and preprocessor lines replaced by spaces."""
    keep = lambda m: re.sub(r"[^\n]", " ", m.group())
    text = re.sub(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|(?<!\d)\'(?:\\.|[^\'\\\n])+\'', keep,
                  text, flags=re.S)
    return re.sub(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", keep, text, flags=re.M)


def without_other_platforms(code):
    """Blanks what isn't compiled here: Windows, the fuzzers, processors without vectors."""
    out, branches = [], []  # of each open condition: is this branch skipped, is the rest
    for line in code.split("\n"):
        directive = re.match(r"\s*#\s*(if|ifdef|ifndef|elif|else|endif)\b(.*)", line)
        if directive:
            word, rest = directive.group(1), directive.group(2)
            absent = re.search(r"_WIN32|FUZZING_BUILD_MODE", rest) is not None
            present = re.search(r"__SSE2__|__GNUC__|__linux__", rest) is not None
            if "!" in rest or word == "ifndef":
                absent, present = present, absent
            if word in ("if", "ifdef", "ifndef"):
                branches.append((absent, present))
            elif word == "endif" and branches:
                branches.pop()
            elif branches:
                rest_skipped = branches[-1][1]
                branches[-1] = (rest_skipped or (word == "elif" and absent),
                                rest_skipped or (word == "elif" and present))
        out.append("" if any(skipped for skipped, _ in branches) else line)
    return "\n".join(out)


class Mutant:
    def __init__(self, path, number, old, new):
        self.path, self.number, self.old, self.new = path, number, old, new

    def key(self):
        return (self.path, self.old, self.new)

    def __str__(self):
        return f"{self.path}\n- {self.old}\n+ {self.new}"


def mutants_of_line(path, number, line, code, before):
    found = []

    def add(start, end, text):
        found.append(Mutant(path, number, line, line[:start] + text + line[end:]))

    # Room made beforehand or to spare, and fetching ahead, are no behaviour.
    if ROOM.match(code) or re.search(r"\b(reserve|shrink_to_fit|prefetch|touch_pages)\(", code):
        return found
    if re.match(r"\s*(static_assert|template|using|assert)\b", code) or "operator" in code:
        return found
    for pattern, text in SWAPS:
        for m in re.finditer(pattern, code):
            add(m.start(), m.end(), text)
    for m in NUMBER.finditer(code):
        add(m.start(1), m.end(1), str(int(m.group(1)) + 1))
    starts_here = before == "" or before[-1] in ";{}:"
    if starts_here and STATEMENT.match(code) and not DECLARATION.match(code):
        indent = len(line) - len(line.lstrip())
        add(indent, len(line), ";")
    guard = GUARD.match(code)
    if starts_here and guard:
        add(guard.start(1), len(line), ";")
    return found


def mutants_of(path):
    text = (ROOT / path).read_text()
    lines = text.split("\n")
    code = blanked(without_other_platforms(text)).split("\n")
    found, before = [], ""
    for i, (line, bare) in enumerate(zip(lines, code)):
        found += mutants_of_line(path, i + 1, line, bare.rstrip(), before)
        before = bare.strip() or before
    return found


def equivalents():
    """Blocks of a path, a line with - and one with +, and the argument; blank lines between."""
    known = set()
    if not EQUIVALENT.exists():
        return known
    for block in EQUIVALENT.read_text().split("\n\n"):
        lines = [l for l in block.split("\n") if l and not l.startswith("#")]
        if len(lines) < 4 or not lines[1].startswith("- ") or not lines[2].startswith("+ "):
            if lines:
                sys.exit(f"{EQUIVALENT.name}: not a mutant with its argument:\n{block}")
            continue
        known.add((lines[0].strip(), lines[1][2:], lines[2][2:]))
    return known


class Workshop:
    """A copy of the sources, its build, and the test executable of one room."""

    def __init__(self, place, room, timeout):
        self.tree, self.room, self.timeout = place, room, timeout
        self.build = place / "build" / "tests"
        self.target = f"{room}_tests"
        # Tests find their golden files by the full names of their sources.
        self.environment = {k: v for k, v in os.environ.items() if not k.startswith("CCACHE_BASE")}

    def prepare(self):
        files = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, check=True,
                               capture_output=True, text=True).stdout.split("\n")
        for name in filter(None, files):
            source, target = ROOT / name, self.tree / name
            if not source.is_file():
                continue
            if target.exists() and target.read_bytes() == source.read_bytes():
                continue
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(source, target)
            shutil.copymode(source, target)
        # Release builds have no assertions: they mustn't do the tests' work here.
        self.command(["cmake", "-S", self.tree, "-B", self.build, "-DCMAKE_BUILD_TYPE=Debug",
                      "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -DNDEBUG", "-DSCANMESH_INSTALL=OFF"])
        if not self.make():
            sys.exit("the unchanged sources don't build")
        start = time.monotonic()
        if not self.passes(600):
            sys.exit("the unchanged sources don't pass")
        elapsed = time.monotonic() - start
        self.timeout = self.timeout or 20 + 5 * elapsed
        print(f"{self.target}: {elapsed:.1f} s unchanged", flush=True)

    def command(self, arguments):
        result = subprocess.run([str(a) for a in arguments], env=self.environment, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if result.returncode != 0:
            sys.exit(result.stdout)

    def make(self):
        return subprocess.run(["cmake", "--build", self.build, "--target", self.target, "-j",
                               str(os.cpu_count())], env=self.environment,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0

    def passes(self, timeout):
        def limits():
            os.setsid()  # so that a run past its time goes with all that it started
            # A mutant mustn't fill the disk with what it writes or leaves behind when it dies.
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 30, 1 << 30))
            resource.setrlimit(resource.RLIMIT_AS, (1 << 36, 1 << 36))
        run = subprocess.Popen([self.build / "tests" / self.target, "--gtest_brief=1",
                                "--gtest_fail_fast"], cwd=self.build / "tests", preexec_fn=limits,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            return run.wait(timeout) == 0
        except subprocess.TimeoutExpired:
            os.killpg(run.pid, signal.SIGKILL)
            run.wait()
            return False

    def verdict(self, mutant):
        target = self.tree / mutant.path
        original = target.read_text()
        lines = original.split("\n")
        lines[mutant.number - 1] = mutant.new
        target.write_text("\n".join(lines))
        try:
            if not self.make():
                return "unbuilt"
            return "survived" if self.passes(self.timeout) else "killed"
        finally:
            target.write_text(original)


def arguments():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("room", help="a folder with sources, e.g. refinement")
    parser.add_argument("--sample", type=int, default=0, help="how many mutants; all by default")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--files", default="*", help="a pattern of paths")
    parser.add_argument("--at", default="", help="one line, as path:line")
    parser.add_argument("--timeout", type=float, default=0, help="seconds per run")
    parser.add_argument("--place", type=pathlib.Path, default=ROOT / "build" / "mutants")
    parser.add_argument("--list", action="store_true")
    return parser.parse_args()


def chosen(options):
    paths = sorted(str(p.relative_to(ROOT)) for ending in ("*.cpp", "*.h")
                   for p in (ROOT / options.room).glob(ending))
    paths = [p for p in paths if fnmatch.fnmatch(p, options.files)]
    if options.at:
        paths = [options.at.rsplit(":", 1)[0]]
    known = equivalents()
    mutants = [m for p in paths for m in mutants_of(p) if m.key() not in known]
    if options.at:
        mutants = [m for m in mutants if m.number == int(options.at.rsplit(":", 1)[1])]
    random.Random(options.seed).shuffle(mutants)
    return mutants


def main():
    options = arguments()
    mutants = chosen(options)
    wanted = options.sample or len(mutants)
    if options.list:
        for mutant in mutants[:wanted]:
            print(f"{mutant}\nline {mutant.number}\n")
        return 0
    shop = Workshop(options.place.resolve(), options.room, options.timeout)
    shop.prepare()
    count = {"killed": 0, "survived": 0, "unbuilt": 0}
    for mutant in mutants:
        if count["killed"] + count["survived"] == wanted:
            break
        result = shop.verdict(mutant)
        count[result] += 1
        if result != "unbuilt":
            print(f"{result} {mutant.path}:{mutant.number}", flush=True)
        if result == "survived":
            print(f"{mutant}\n", flush=True)
    tried = count["killed"] + count["survived"]
    share = 100.0 * count["killed"] / tried if tried else 100.0
    print(f"{options.room}: {count['killed']} of {tried} killed, {share:.0f} %")
    return 0 if share >= 95 else 1


if __name__ == "__main__":
    sys.exit(main())
