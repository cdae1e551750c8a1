#!/usr/bin/env python3
"""Checks that the pages hold what their examples say and do.

Usage: check-pages.py --programs FOLDER [--emulator PROGRAM] [--update] PAGE...

A page says in comments what the block below each of them must be:

    <!-- snippet: examples/Model.cpp create -->   the lines between "// [create]" and "// [/create]",
                                                  or "# [create]" and so on in a file of CMake's,
                                                  or all of the file if the name is "all"
    <!-- output: Model create -->                 what the program Model writes behind the line "[create]",
                                                  up to the next such line
    <!-- values: Limits server -->                 a table, of whose rows the first two columns are "name: value" as
                                                  the program Limits writes them in that section
    <!-- answered by: QueryPage -->               the page is what the program QueryPage makes of it

Files are named from the folder of the page, programs from FOLDER. With --update the pages are brought up to date.
"""

import argparse
import difflib
import functools
import pathlib
import re
import subprocess
import sys
import textwrap

MARKER = re.compile(r"<!-- (snippet|output|values): (\S+) (\S+) -->")
ANSWERED = re.compile(r"<!-- answered by: (\S+) -->")
SECTION = re.compile(r"\[([\w-]+)\]")
REGION = re.compile(r"\s*(?://|#) \[(/?[\w-]+)\]\s*")


class Problem(Exception):
    """Something that a page refers to is not there."""


def marked(line):
    """The name in a comment that marks where a region begins or, with a slash, ends."""
    found = REGION.fullmatch(line)
    return found and found.group(1)


def without_markers(lines):
    return [line for line in lines if not marked(line)]


def snippet(path, name):
    """The lines of a region of a source file, without their common indentation."""
    lines = path.read_text().splitlines()
    if name == "all":
        return without_markers(lines)
    marks = [marked(line) for line in lines]
    try:
        begin = marks.index(name)
        end = marks.index(f"/{name}", begin)
    except ValueError:
        raise Problem(f"{path} has no region {name}") from None
    inner = without_markers(lines[begin + 1 : end])
    return textwrap.dedent("\n".join(inner)).strip("\n").splitlines()


class Programs:
    """Runs the programs of a folder, each once with the same arguments."""

    def __init__(self, folder, emulator):
        self.folder = folder
        self.emulator = emulator

    @functools.lru_cache(maxsize=None)
    def run(self, name, *arguments):
        command = [*self.emulator, str(self.folder / name), *arguments]
        done = subprocess.run(command, stdout=subprocess.PIPE, check=False, text=True, timeout=240)
        if done.returncode != 0:
            raise Problem(f"{name} ended with {done.returncode}")
        return done.stdout

    def section(self, name, section):
        """The lines of the output behind the line [section]."""
        found = None
        for line in self.run(name).splitlines():
            match = SECTION.fullmatch(line)
            if match:
                if found is not None:
                    break
                found = [] if match.group(1) == section else None
            elif found is not None:
                found.append(line)
        if found is None:
            raise Problem(f"{name} writes no section {section}")
        return found


def expected_table(page, lines, values):
    """A table whose second column is brought up to date; `lines` goes on behind it."""
    table = [next(lines, ""), next(lines, "")]
    for value in values:
        name, _, current = value.partition(": ")
        row = next(lines, "").split(" | ", 2)
        if len(row) != 3 or row[0].strip("| `") != name:
            raise Problem(f"{page}: the row that should tell of {name} begins {row[0]!r}")
        table.append(" | ".join([row[0], current, row[2]]))
    line = next(lines, "")
    if line.startswith("|"):
        raise Problem(f"{page}: a row too many: {line}")
    return [*table, line]


def expected_body(page, marker, programs):
    kind, source, name = marker.groups()
    return snippet(page.parent / source, name) if kind == "snippet" else programs.section(source, name)


def expected_page(page, text, programs):
    """The page as it should be."""
    answered = ANSWERED.search(text)
    if answered:
        return programs.run(answered.group(1), str(page))
    result = []
    lines = iter(text.splitlines())
    for line in lines:
        result.append(line)
        marker = MARKER.fullmatch(line)
        if not marker:
            continue
        if marker.group(1) == "values":
            result += expected_table(page, lines, programs.section(*marker.groups()[1:]))
            continue
        opening = next(lines, "")
        if not opening.startswith("```"):
            raise Problem(f"{page}: no block below {line}")
        result += [opening, *expected_body(page, marker, programs), "```"]
        while next(lines, "```") != "```":
            pass
    return "\n".join(result) + "\n"


def check(page, programs, update):
    """True if the page is up to date, or has been brought there."""
    text = page.read_text()
    expected = expected_page(page, text, programs)
    if update:
        page.write_text(expected)
    elif text != expected:
        sys.stdout.writelines(
            difflib.unified_diff(text.splitlines(True), expected.splitlines(True), str(page), "as it should be")
        )
        return False
    return True


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--programs", type=pathlib.Path, required=True)
    parser.add_argument("--emulator", default="")
    parser.add_argument("--update", action="store_true")
    parser.add_argument("pages", type=pathlib.Path, nargs="+")
    arguments = parser.parse_args()
    programs = Programs(arguments.programs, [part for part in arguments.emulator.split(";") if part])
    try:
        results = [check(page, programs, arguments.update) for page in arguments.pages]
    except Problem as problem:
        sys.exit(str(problem))
    sys.exit(0 if all(results) else 1)


if __name__ == "__main__":
    main()
