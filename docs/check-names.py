#!/usr/bin/env python3
"""Checks that what the pages name is there.

Usage: check-names.py ROOT PAGE...

In code marks, `Suite.Name` is a test, and what begins with a folder of the project, as `scripts/test` does, is a file
or a folder below ROOT.
"""

import pathlib
import re
import sys

TEST = re.compile(r"^TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", re.MULTILINE)
FENCED = re.compile(r"^```.*?^```", re.DOTALL | re.MULTILINE)
CODE = re.compile(r"`([^`\n]+)`")
TEST_NAME = re.compile(r"([A-Z]\w+)\.([A-Z]\w+)")
FOLDERS = ("benchmarks", "cmake", "docs", "examples", "fuzz", "scripts", "tests")
SUFFIX_OF_FIXTURES = "Test"


def suite_of(name):
    """A fixture is named after its class with a suffix, which a page may leave out."""
    return name.removesuffix(SUFFIX_OF_FIXTURES)


def all_tests(root):
    return {
        (suite_of(suite), name)
        for path in (root / "tests").rglob("*.cpp")
        for suite, name in TEST.findall(path.read_text(encoding="utf-8"))
    }


def missing(page, root, tests):
    for code in CODE.findall(FENCED.sub("", page.read_text(encoding="utf-8"))):
        test = TEST_NAME.fullmatch(code)
        if test and (suite_of(test.group(1)), test.group(2)) not in tests:
            yield f"{page}: no test is called {code}"
        path = code.split()[0]
        if path.split("/")[0] in FOLDERS and "/" in path and not re.search(r"[<*]", path):
            if not (root / path).exists():
                yield f"{page}: there is no {path}"


def main():
    root, *pages = map(pathlib.Path, sys.argv[1:])
    tests = all_tests(root)
    problems = [problem for page in pages for problem in missing(page, root, tests)]
    print("\n".join(problems))
    print(f"names: {len(problems)} problems, {len(tests)} tests known")
    sys.exit(1 if problems or not tests else 0)


if __name__ == "__main__":
    main()
