#!/usr/bin/env python3
"""Checks that every public name is documented.

Usage: check-documented.py       (in the folder of the project)

Whether anything is missed is tried first, by a header with a name of each kind, none of which is documented.
"""

import pathlib
import re
import subprocess
import sys
import tempfile

HEADER = """#pragma once

#define MISSING_MACRO(text) #text

/// \\file
/// A header.

/// A namespace.
namespace Zovi
{

class MissingClass
{
public:
    MissingClass() = default;
    /* nothing here */ int missingMethod() const;
    struct MissingNested { int missingNestedField; };

protected:
    void missingProtected();

private:
    int privateMember();
};

struct MissingStruct
{
    int missingField;
};

enum class MissingEnum { A };

/// An enumeration.
enum class Shown {
    ONE, ///< the one
};

using MissingAlias = int;

constexpr int MISSING_CONSTANT = 1;

void missingFunction();

template <typename T>
T missingTemplate(T value);

/// Everything of it is told.
void shownFunction();

} // namespace Zovi
"""


# The site is built with classes hidden that are not documented, private ones mostly; then no public one is missed.
SETTINGS = "HIDE_UNDOC_CLASSES = NO\nGENERATE_HTML = NO\nGENERATE_XML = YES\nXML_PROGRAMLISTING = NO\n"


def complaints(folder, settings=""):
    """What Doxygen has to say of the headers, with settings that stand against those of the site."""
    given = pathlib.Path("docs/Doxyfile").read_text() + f"\n{SETTINGS}OUTPUT_DIRECTORY = {folder}\n{settings}\n"
    done = subprocess.run(["doxygen", "-"], input=given, capture_output=True, text=True, check=False, timeout=600)
    if done.returncode == 0:
        return []
    return sorted(set(done.stderr.splitlines())) or [f"doxygen ended with {done.returncode}"]


def missed_and_mistaken(folder):
    header = pathlib.Path(folder, "Missing.h")
    header.write_text(HEADER)
    told = "\n".join(complaints(folder, f"INPUT = {header}"))
    wanted = sorted(set(re.findall(r"\b(?:missing|Missing|MISSING)\w+", HEADER)))
    missed = [name for name in wanted if not re.search(rf"\b{name}\b", told)]
    return missed + re.findall(r"\b[sS]hown\w*|\bprivateMember", told)


def main():
    with tempfile.TemporaryDirectory() as folder:
        wrong = missed_and_mistaken(folder)
        if wrong:
            sys.exit(f"missed or mistaken: {wrong}")
        told = complaints(folder)
    print("\n".join(told) or "every public name is documented")
    sys.exit(1 if told else 0)


if __name__ == "__main__":
    main()
