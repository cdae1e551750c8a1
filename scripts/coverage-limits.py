#!/usr/bin/env python3
"""Compares the coverage that llvm-cov exported with the limits, leaving out what is listed as an exception.

Usage: coverage-limits.py COVERAGE.lcov COVERAGE.json EXCEPTIONS LINES BRANCHES     (percents)

A line of the exceptions names a file, or * for all of them, a text that the line of code holds, and the reason:
    ZoviLib/src/Command/UrlPath.cpp @ default: @ every value of the enumeration has a case
"""

import json
import os
import sys
from collections import defaultdict

LIBRARIES = ("UtilLib/", "CommunicationLib/", "ZoviLib/")


def read_exceptions(path):
    exceptions = defaultdict(list)
    with open(path, encoding="utf-8") as file:
        for line in file:
            if line.strip() and not line.startswith("#"):
                name, text, _reason = (part.strip() for part in line.split(" @ ", 2))
                exceptions[name].append(text)
    return exceptions


def read_lines(path):
    """File and line, with how often it ran."""
    lines = defaultdict(int)
    with open(path, encoding="utf-8") as file:
        for record in file:
            kind, _, rest = record.strip().partition(":")
            if kind == "SF":
                name = os.path.relpath(rest)
            elif kind == "DA" and name.startswith(LIBRARIES):
                number, count = rest.split(",")[:2]
                lines[name, int(number)] += int(count)
    return lines


def read_branches(path):
    """File, line, column and side of each branch, with how often it was taken, in all instances of a template."""
    branches = defaultdict(int)
    with open(path, encoding="utf-8") as file:
        for entry in json.load(file)["data"][0]["files"]:
            name = os.path.relpath(entry["filename"])
            for line, column, _, _, taken, not_taken, *_ in entry["branches"] if name.startswith(LIBRARIES) else ():
                branches[name, line, column, "true"] += taken
                branches[name, line, column, "false"] += not_taken
    return branches


class Sources:
    def __init__(self, exceptions):
        self.exceptions = exceptions
        self.texts = {}

    def line(self, name, number):
        if name not in self.texts:
            with open(name, encoding="utf-8") as file:
                self.texts[name] = file.read().split("\n")
        return self.texts[name][number - 1]

    def is_excepted(self, name, number):
        """Braces alone are no code of their own."""
        if not any(character.isalnum() for character in self.line(name, number)):
            return True
        return any(text in self.line(name, number) for text in self.exceptions[name] + self.exceptions["*"])

    def report(self, what, counts, limit):
        missed = [key for key, count in sorted(counts.items()) if not count and not self.is_excepted(*key[:2])]
        for name, number, *place in missed:
            print(f"{name}:{':'.join(map(str, [number, *place]))}  {self.line(name, number).strip()}")
        percent = 100.0 * (1 - len(missed) / max(1, len(counts)))
        print(f"{what}: {percent:.2f} % of {len(counts)}")
        return percent >= limit and counts


def main():
    sources = Sources(read_exceptions(sys.argv[3]))
    line_limit, branch_limit = map(float, sys.argv[4:6])
    results = [sources.report("lines", read_lines(sys.argv[1]), line_limit),
               sources.report("branches", read_branches(sys.argv[2]), branch_limit)]
    if not all(results):
        sys.exit(f"coverage: below {line_limit} % of the lines or {branch_limit} % of the branches")


main()
