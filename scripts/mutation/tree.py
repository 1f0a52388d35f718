"""The built tree: compiles one changed file, links it into the tests, and runs them."""

import functools
import json
import os
import re
import resource
import shlex
import shutil
import signal
import subprocess

TEXT_LIBRARIES = ("kov_text.dir", "kov_card_text.dir")
OPERATIONS = "kov_operations.dir"
# A test that takes more of the whole than this is run last.
SLOW_SHARE = 0.008
MEMORY_BYTES = 4 << 30
# Of the whole runs on the machine in memory those that are compared whole: the tests that
# let call after call fail play thousands, which is minutes for each change.
NO_RUNS = "*Faults.*Fail*:*Every*Stop*:*Soak*"
RUNS = f"-{NO_RUNS}"
# These notice most changes of the operations, and take the least.
FIRST_RUNS = "*NamedWorlds*"
# Headers of the standard library that nearly every file reads, read once for all.
COMMON_HEADERS = """algorithm array bit climits cmath cstddef cstdint cstdio cstdlib cstring
functional initializer_list iterator map memory optional set span string string_view utility
vector""".split()
# What reads past the end of a text or a list, which the sanitizers of the tests proper
# see, ends the program here by the library's own checks. -O2 is only compared.
LEVEL_FLAGS = {"-O0": ["-O0", "-D_GLIBCXX_ASSERTIONS"], "-O2": ["-O2"]}


def processor_seconds():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def limited(cpu_seconds):
    def limit():
        resource.setrlimit(resource.RLIMIT_CPU, (cpu_seconds, cpu_seconds + 1))
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY_BYTES, MEMORY_BYTES))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    return limit


class TestProgram:
    """One of the tree's test programs: how it is linked, and which of its tests are slow."""

    def __init__(self, tree, path, folder, wanted="*"):
        self.tree, self.path, self.folder, self.name = tree, path, folder, os.path.basename(path)
        self.wanted = wanted
        lines = subprocess.run(["ninja", "-C", tree, "-t", "commands", path],
                               capture_output=True, text=True, check=True).stdout.splitlines()
        command = re.sub(r"^: && | && :$", "", lines[-1])
        self.link = shlex.split(command)
        output = self.link.index("-o")
        self.link[output:output + 2] = []
        while not self.link[0].endswith("clang++"):
            self.link.pop(0)
        self.measure()

    def measure(self):
        """Runs every test once on the unchanged tree: all must pass."""
        report = f"{self.tree}/mutants/{self.name}.json"
        before = processor_seconds()
        done = subprocess.run([f"{self.tree}/{self.path}", f"--gtest_filter={self.wanted}",
                               f"--gtest_output=json:{report}"],
                              env=test_environment(), stdout=subprocess.DEVNULL, check=False)
        if done.returncode:
            raise SystemExit(f"{self.name} fails on the unchanged sources.")
        used = processor_seconds() - before
        seconds = {f"{suite['name']}.{test['name']}": float(test["time"].rstrip("s"))
                   for suite in json.load(open(report, encoding="utf-8"))["testsuites"]
                   for test in suite["testsuite"]}
        whole = sum(seconds.values())
        self.slow = [name for name, own in seconds.items() if own > SLOW_SHARE * whole]
        # The clock also counts what others do on the machine, so it only divides.
        slow_share = sum(seconds[name] for name in self.slow) / max(whole, 1e-9)
        self.seconds = {"quick": used * (1 - slow_share), "slow": used * slow_share}

    @functools.lru_cache(maxsize=None)
    def suites_of(self, root, file):
        """The suites of the test files that include the file's header."""
        header = os.path.splitext(file)[0] + ".h"
        suites = set()
        for name in sorted(os.listdir(f"{root}/{self.folder}")):
            text = open(f"{root}/{self.folder}/{name}", encoding="utf-8").read()
            if f'#include "{header}"' in text:
                suites.update(re.findall(r"^TEST(?:_F|_P)?\((\w+),", text, re.MULTILINE))
        return sorted(suites)

    def rounds(self, root, file):
        """(filter, seconds of processor time): first the file's own tests, then the other
        quick ones."""
        if self.wanted != "*":
            seconds = 2 + int(4 * (self.seconds["quick"] + self.seconds["slow"]))
            yield FIRST_RUNS, seconds
            yield f"-{NO_RUNS}:{FIRST_RUNS}", seconds
            return
        own = ":".join(f"{s}.*:*/{s}.*" for s in self.suites_of(root, file))
        slow = ":".join(self.slow)
        if own:
            yield f"{own}-{slow}", 2
        yield f"*-{own}:{slow}", 2 + int(4 * self.seconds["quick"])

    def last_round(self, root, file):
        """The slow tests of the suites that include the file's header."""
        suites = self.suites_of(root, file)
        near = ":".join(t for t in self.slow if t.split(".")[0].split("/")[-1] in suites)
        if near:
            yield near, 4 + int(3 * self.seconds["slow"])


def test_environment():
    return dict(os.environ, LLVM_PROFILE_FILE="/dev/null", GTEST_COLOR="no")


class Tree:
    def __init__(self, root, tree):
        self.root, self.tree = root, tree
        self.scratch = f"{tree}/mutants"
        os.makedirs(self.scratch, exist_ok=True)
        self.arguments, self.operations, self.optimised = {}, set(), {}
        self.survivors = set()  # of last time: known not to be the same code
        for entry in json.load(open(f"{tree}/compile_commands.json", encoding="utf-8")):
            command = entry["command"]
            if not any(part in command for part in TEXT_LIBRARIES + (OPERATIONS,)):
                continue
            file = os.path.relpath(entry["file"], root)
            self.arguments[file] = [a for a in shlex.split(command)
                                    if a.startswith(("-I", "-D", "-std"))]
            if OPERATIONS in command:
                self.operations.add(file)
        self.programs = [TestProgram(tree, "tests/unit_tests", "tests/unit"),
                         TestProgram(tree, "tests/run/run_tests", "tests/run", RUNS)]
        self.compiler = shutil.which("clang++")
        self.resource_folder = subprocess.run([self.compiler, "-print-resource-dir"], check=True,
                                              capture_output=True, text=True).stdout.strip()
        self.read_common_headers()

    def read_common_headers(self):
        self.common = f"{self.scratch}/common.h"
        with open(self.common, "w", encoding="ascii") as file:
            file.writelines(f"#include <{name}>\n" for name in COMMON_HEADERS)
        flags = next(iter(self.arguments.values()))
        for level in ("-O0", "-O2"):
            subprocess.run([self.compiler, *flags, *LEVEL_FLAGS[level], "-w", "-x", "c++-header",
                            self.common, "-o", f"{self.common}{level}.pch"], check=True)

    def reader_arguments(self, file):
        return self.arguments[file] + ["-resource-dir", self.resource_folder, "-w",
                                       *LEVEL_FLAGS["-O0"], "-include-pch",
                                       f"{self.common}-O0.pch"]

    def compile(self, worker, file, text, level):
        """The changed file's object, or nothing when it does not compile."""
        source = f"{worker}/{os.path.basename(file)}"
        with open(source, "wb") as out:
            out.write(text)
        target = f"{worker}/changed{level}.o"
        done = subprocess.run([self.compiler, *self.arguments[file], *LEVEL_FLAGS[level], "-w",
                               "-include-pch", f"{self.common}{level}.pch", "-c", source, "-o",
                               target],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
        return target if done.returncode == 0 else None

    def same_code(self, worker, file, old, new):
        """True when the compiler makes the same of both: no test can tell them apart."""
        if (file, old) not in self.optimised:
            self.optimised[file, old] = self.optimised_code(worker, file, old)
        return self.optimised_code(worker, file, new) == self.optimised[file, old]

    def optimised_code(self, worker, file, text):
        made = self.compile(worker, file, text, "-O2")
        return open(made, "rb").read() if made else None

    def programs_for(self, file):
        """The card is a program of its own: no run of the launcher has its text logic."""
        without = "unit_tests" if file in self.operations else "run_tests"
        if file not in self.operations and not file.startswith("card/"):
            return self.programs
        return [p for p in self.programs if p.name != without]

    def link(self, folder, file, changed):
        """The test programs with the changed object; (program, path) of each."""
        linked = []
        for program in self.programs_for(file):
            path = f"{folder}/{program.name}"
            # Before the libraries: the linker then leaves the unchanged object in its archive.
            subprocess.run([program.link[0], changed, *program.link[1:], "-fuse-ld=lld", "-o",
                            path], cwd=self.tree, stdout=subprocess.DEVNULL, check=True)
            linked.append((program, path))
        return linked

    def failing(self, file, linked, number, rounds):
        """How a test noticed the change, or nothing."""
        environment = dict(test_environment(), KOV_MUTANT=str(number))
        for program, path in linked:
            for wanted, seconds in rounds(program, self.root, file):
                done = subprocess.run([path, f"--gtest_filter={wanted}", "--gtest_fail_fast",
                                       "--gtest_brief=1"], cwd=self.root, env=environment,
                                      stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                      stderr=subprocess.DEVNULL, preexec_fn=limited(seconds),
                                      check=False)
                if done.returncode in (-signal.SIGXCPU, -signal.SIGKILL):
                    return "no end"
                if done.returncode:
                    return "failed"
        return None

    def outcome(self, worker, mutant, old, linked, number):
        """First the tests, the slow ones last; then, once for each mutant, whether the
        compiler makes the same of it."""
        for rounds in (TestProgram.rounds, TestProgram.last_round):
            failing = self.failing(mutant.file, linked, number, rounds)
            if failing:
                return failing
        if mutant.key in self.survivors:
            return "survived"
        same = self.same_code(worker, mutant.file, old, applied(mutant, old))
        return "same code" if same else "survived"

    def outcome_alone(self, worker, mutant, old):
        """Of a change that needs a compilation of its own."""
        changed = self.compile(worker, mutant.file, applied(mutant, old), "-O0")
        if not changed:
            return "not compiled"
        return self.outcome(worker, mutant, old, self.link(worker, mutant.file, changed), 0)


def applied(mutant, old):
    return old[:mutant.begin] + mutant.new + old[mutant.end:]


SWITCH = b"""#include <cstdlib>
static int kov_mutant = 0;
__attribute__((constructor(101))) static void kov_choose() {
  const char* number = std::getenv("KOV_MUTANT");
  if (number) kov_mutant = std::atoi(number);
}
"""


class Batch:
    """All changes within the functions of one file, compiled at once: each function holds
    its changed bodies beside its own, and an environment variable chooses one."""

    def __init__(self, built, file, mutants):
        self.built, self.file = built, file
        self.old = open(f"{built.root}/{file}", "rb").read()
        self.numbers = {m.key: n for n, m in enumerate(mutants, 1)}
        self.rejected, self.linked = set(), []
        self.folder = f"{built.scratch}/{file.replace('/', '_')}"
        os.makedirs(self.folder, exist_ok=True)
        while len(self.rejected) < len(mutants):
            text, lines = self.generated([m for m in mutants if m.key not in self.rejected])
            object_file, errors = self.compiled(text)
            if object_file:
                self.linked = built.link(self.folder, file, object_file)
                if built.failing(file, self.linked, 0, TestProgram.rounds):
                    raise SystemExit(f"{file}: a test fails without any change.")
                return
            wrong = {key for first, last, key in lines if any(first <= e <= last for e in errors)}
            if not wrong:
                raise SystemExit(f"{file}: clang rejects what no single change explains; see "
                                 f"{self.folder}/errors.txt")
            self.rejected |= wrong

    def generated(self, mutants):
        by_body = {}
        for mutant in mutants:
            by_body.setdefault(mutant.body, []).append(mutant)
        text, lines, at = bytearray(SWITCH), [], 0
        # A body can hold another one (a class within a function): the outer one is changed.
        for body in sorted(by_body, key=lambda b: b.begin):
            text += self.old[at:body.begin] + b"{ switch (kov_mutant) {\n"
            for mutant in by_body[body]:
                first = text.count(b"\n") + 1
                text += b"case %d: {\n" % self.numbers[mutant.key]
                text += self.old[body.begin:mutant.begin] + mutant.new
                text += self.old[mutant.end:body.end] + b"\n"
                text += b"__builtin_trap();" if body.returns_value else b"return;"
                text += b" }\n"
                lines.append((first, text.count(b"\n"), mutant.key))
            text += b"default: break; }\n"
            text += self.old[body.begin:body.end] + b"}"
            at = body.end
        return bytes(text + self.old[at:]), lines

    def compiled(self, text):
        """(object, lines with errors)"""
        built, source = self.built, f"{self.folder}/{os.path.basename(self.file)}"
        changed = f"{self.folder}/changed.o"
        if os.path.exists(source) and os.path.exists(changed) and self.is_newer(changed):
            if open(source, "rb").read() == text:
                return changed, []
        with open(source, "wb") as out:
            out.write(text)
        done = subprocess.run([built.compiler, *built.arguments[self.file], *LEVEL_FLAGS["-O0"],
                               "-w", "-ferror-limit=0", "-fno-caret-diagnostics", "-include-pch",
                               f"{built.common}-O0.pch", "-c", source, "-o", changed],
                              stderr=subprocess.PIPE, text=True, check=False)
        if done.returncode == 0:
            return changed, []
        if os.path.exists(changed):
            os.remove(changed)
        with open(f"{self.folder}/errors.txt", "w", encoding="utf-8") as out:
            out.write(done.stderr)
        # Notes too: an error within a template's instance has its place in one.
        return None, [int(n) for n in re.findall(rf"^{re.escape(source)}:(\d+):\d+: (?:fatal )?error",
                                                 done.stderr, re.MULTILINE)]

    def is_newer(self, changed):
        """Than every header of the product; the standard library's do not change."""
        made = os.path.getmtime(changed)
        folders = {os.path.dirname(f) for f in self.built.arguments}
        return all(os.path.getmtime(f"{self.built.root}/{folder}/{name}") < made
                   for folder in folders for name in os.listdir(f"{self.built.root}/{folder}")
                   if name.endswith(".h"))

    def outcome(self, worker, mutant):
        # One that does not compile can take others with it: an #endif too many.
        if mutant.key in self.rejected:
            return self.built.outcome_alone(worker, mutant, self.old)
        return self.built.outcome(worker, mutant, self.old, self.linked,
                                  self.numbers[mutant.key])
