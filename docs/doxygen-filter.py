#!/usr/bin/env python3
"""Writes a file as Doxygen is to read it. Line numbers stay as they are.

In a header a comment stands for all the declarations below it, up to the next empty line, and what the compiler
makes by itself needs no comment. In a page, headings get the anchors that links within it lead to.
"""

import itertools
import pathlib
import re
import sys

ENDS_PARAGRAPH = re.compile(r"^\s*((public|protected|private):)?$")
NOT_SHARED = re.compile(r"^\s*(#(?!define)|(namespace|class|struct|enum|extern)\b)")
NOT_IN_ONE_LINE = re.compile(r"^(    |\||- )")
BY_COMPILER = re.compile(r"= (default|delete);$")
BY_COMPILER_COMMENT = {"default": "As the compiler makes it.", "delete": "Not offered."}


def is_comment(line):
    return line.lstrip().startswith("//")


def is_whole_macro(line):
    return line.startswith("#define") and not line.endswith("\\")


def in_one_line(comment):
    """The text of a comment up to its first list, table or example, as a comment on one line."""
    texts = [re.sub(r"^\s*/// ?", "", line) for line in comment if line.lstrip().startswith("///")]
    shown = itertools.takewhile(lambda text: not NOT_IN_ONE_LINE.match(text), texts)
    return "/** " + " ".join(text or "<br>" for text in shown) + " */ "


def share_comment(paragraph):
    """Gives the comment at the head of a paragraph to all its declarations that have none."""
    comment = list(itertools.takewhile(is_comment, paragraph))
    result = list(comment)
    depth = 0
    has_comment = True
    for line in paragraph[len(comment) :]:
        code = line.split("//")[0].rstrip()
        if depth == 0 and not has_comment and code and "///<" not in line:
            line = in_one_line(comment) + line
            has_comment = True
        result.append(line)
        depth += code.count("{") - code.count("}")
        if line.lstrip().startswith("///"):
            has_comment = True
        elif depth == 0 and (code.endswith((";", "}")) or is_whole_macro(code)):
            has_comment = False
    return result


def comment_by_compiler(match):
    return f"{match.group(0)} ///< {BY_COMPILER_COMMENT[match.group(1)]}"


def header(lines):
    result = []
    for ends, group in itertools.groupby(lines, key=lambda line: bool(ENDS_PARAGRAPH.match(line))):
        paragraph = [
            line if is_comment(line) else BY_COMPILER.sub(comment_by_compiler, line)
            for line in group
        ]
        is_shared = not ends and paragraph[0].lstrip().startswith("///")
        if is_shared and not any(NOT_SHARED.match(line) for line in paragraph if not is_comment(line)):
            paragraph = share_comment(paragraph)
        result += paragraph
    return result


def anchor(title):
    """The anchor of a heading, as web hosts of repositories make it."""
    return re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-")


def page(lines, name):
    """Anchors are made unique by the name of the page."""
    result = []
    in_block = False
    for line in lines:
        if line.startswith("```"):
            in_block = not in_block
        elif not in_block:
            heading = re.match(r"^(#+) (.*)$", line)
            if heading and heading.group(1) != "#":
                line += " {#" + name + "-" + anchor(heading.group(2)) + "}"
            line = re.sub(r"\[`([^]]*)`\]\(#", lambda match: "[" + match.group(1).replace("`", "") + "](#", line)
            line = re.sub(r"\]\(#([\w-]+)\)", lambda match: f"](#{name}-{match.group(1)})", line)
            line = re.sub(r"\]\((?:[\w/.-]*/)?([\w-]+)\.md#([\w-]+)\)",
                          lambda match: f"](#{match.group(1)}-{match.group(2)})", line)
        result.append(line)
    return result


def main():
    path = pathlib.Path(sys.argv[1])
    lines = path.read_text().splitlines()
    lines = page(lines, path.stem) if path.suffix == ".md" else header(lines)
    print("\n".join(lines))


if __name__ == "__main__":
    main()
