#!/usr/bin/env python3
"""What each test adds to the coverage: runs every GoogleTest case of the coverage
build alone (scripts/coverage.sh makes build/coverage), reads its counts with gcov and
prints, per test function, its non-blank lines and the product lines and branches that
no other test of any suite reaches. A test with nothing of its own is a candidate for
removal, unless it is the only check of a result (a byte format, a message text, a
known answer), which coverage cannot see.

    scripts/coverage-per-test.py [BUILD_FOLDER [BINARY_NAME_PATTERN]] > per-test.txt

BUILD_FOLDER defaults to build/coverage; a pattern ("base_tests") limits the run to
those test programs, whose cases are then compared only with each other.
"""
import collections
import concurrent.futures
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
BUILD = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else os.path.join(ROOT, "build", "coverage"))
ONLY = re.compile(sys.argv[2] if len(sys.argv) > 2 else ".")
PRODUCT = ("src/", "plugins/", "include/", "converter/")


def test_binaries():
    for folder, _, names in os.walk(os.path.join(BUILD, "tests")):
        for name in names:
            path = os.path.join(folder, name)
            if (name.endswith("_tests") and ONLY.search(name) and os.path.isfile(path)
                    and os.access(path, os.X_OK)):
                yield path


def test_cases(binary):
    listing = subprocess.run([binary, "--gtest_list_tests"], capture_output=True, text=True,
                             cwd=os.path.dirname(binary), timeout=120).stdout
    suite = None
    for line in listing.splitlines():
        if not line.strip():
            continue
        if line.startswith(" "):
            yield suite + line.split("#")[0].strip()
        else:
            suite = line.split("#")[0].strip()


def covered_by(binary, case, scratch):
    """Runs one case with its counts written below `scratch`; returns the product
    lines and branches it reached."""
    env = dict(os.environ, GCOV_PREFIX=scratch, GCOV_PREFIX_STRIP="0")
    subprocess.run([binary, "--gtest_filter=" + case], cwd=os.path.dirname(binary), env=env,
                   capture_output=True, timeout=600)
    counts = []
    for folder, _, names in os.walk(scratch):
        for name in names:
            if name.endswith(".gcda"):
                written = os.path.join(folder, name)
                notes = written[len(scratch):-5] + ".gcno"
                if os.path.exists(notes):
                    os.symlink(notes, written[:-5] + ".gcno")
                    counts.append(written)
    lines, branches = set(), set()
    if counts:
        output = subprocess.run(["gcov", "-b", "--json-format", "--stdout"] + counts, capture_output=True,
                                text=True, cwd=scratch).stdout
        for document in output.splitlines():
            if not document.strip():
                continue
            for source in json.loads(document)["files"]:
                name = os.path.normpath(os.path.join(BUILD, source["file"]))
                relative = os.path.relpath(name, ROOT)
                if not relative.startswith(PRODUCT):
                    continue
                for line in source["lines"]:
                    if line["count"] > 0:
                        lines.add((relative, line["line_number"]))
                    for index, branch in enumerate(line["branches"]):
                        if branch["count"] > 0 and not branch.get("throw", False):
                            branches.add((relative, line["line_number"], index))
    return lines, branches


def test_function_sizes():
    """(suite, name) -> (file, non-blank lines of its body)."""
    pattern = re.compile(r"^(TEST|TEST_F|TEST_P)\(\s*(\w+)\s*,\s*(\w+)\s*\)")
    sizes = {}
    for folder, _, names in os.walk(os.path.join(ROOT, "tests")):
        for name in names:
            if not name.endswith(".cpp"):
                continue
            path = os.path.join(folder, name)
            text = open(path, errors="replace").read().split("\n")
            for start, line in enumerate(text):
                match = pattern.match(line)
                if not match:
                    continue
                depth, opened, end = 0, False, start
                while end < len(text):
                    depth += text[end].count("{") - text[end].count("}")
                    opened = opened or "{" in text[end]
                    if opened and depth <= 0:
                        break
                    end += 1
                body = [x for x in text[start:end + 1] if x.strip() and not x.strip().startswith("//")]
                sizes[(match.group(2), match.group(3))] = (os.path.relpath(path, ROOT), len(body))
    return sizes


def function_of(case):
    suite, name = case.split(".", 1)
    return suite.split("/")[-1], name.split("/")[0]


def main():
    jobs = [(binary, case) for binary in sorted(test_binaries()) for case in test_cases(binary)]
    scratch_root = tempfile.mkdtemp(prefix="coverage-per-test-")
    results = {}

    def run(job):
        scratch = tempfile.mkdtemp(dir=scratch_root)
        try:
            return job, covered_by(job[0], job[1], scratch)
        finally:
            shutil.rmtree(scratch, ignore_errors=True)

    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        for job, reached in pool.map(run, jobs):
            results[job] = reached
    shutil.rmtree(scratch_root, ignore_errors=True)

    line_users, branch_users = collections.Counter(), collections.Counter()
    by_function = collections.defaultdict(lambda: (set(), set()))
    for (_, case), (lines, branches) in results.items():
        function = function_of(case)
        by_function[function][0].update(lines)
        by_function[function][1].update(branches)
    for lines, branches in by_function.values():
        line_users.update(lines)
        branch_users.update(branches)
    sizes = test_function_sizes()
    rows = []
    for function, (lines, branches) in by_function.items():
        own_lines = sum(1 for x in lines if line_users[x] == 1)
        own_branches = sum(1 for x in branches if branch_users[x] == 1)
        where, size = sizes.get(function, ("?", 0))
        rows.append((where, own_lines + own_branches, -size, function, size, own_lines, own_branches))
    print("# test function | lines | product lines only it reaches | branches only it reaches")
    for where, _, _, function, size, own_lines, own_branches in sorted(rows):
        print("%-45s %-70s %4d %4d %4d" % (where, ".".join(function), size, own_lines, own_branches))


if __name__ == "__main__":
    main()
