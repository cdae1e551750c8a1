#!/usr/bin/env python3
"""Checks the links of the guide and reference.

Usage: check-links.py SITE PAGE...

Every link within SITE, a folder of HTML pages, leads to a file and an anchor that are there, and nothing that a page
needs to be shown comes from anywhere else. Every link of a Markdown PAGE to a file leads to one.
"""

import functools
import html.parser
import pathlib
import re
import sys
import urllib.parse

LINK = re.compile(r"\]\(([^)\s]+)\)")


class Page(html.parser.HTMLParser):
    """The anchors of an HTML page, where it leads to, and what it needs."""

    def __init__(self, path):
        super().__init__()
        self.anchors = set()
        self.links = []
        self.needs = []
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        self.anchors.update(filter(None, (attributes.get("id"), attributes.get("name"))))
        if tag in ("a", "area") and attributes.get("href"):
            self.links.append(attributes["href"])
        elif attributes.get("href") or attributes.get("src"):
            self.needs.append(attributes.get("href") or attributes["src"])


@functools.lru_cache(maxsize=None)
def parsed(path):
    return Page(path)


def is_remote(link):
    return bool(re.match(r"([a-z][a-z0-9+.-]*:|//)", link))


def leads_nowhere(path, link):
    """Why a link of a page within the site does not lead anywhere, None if it does."""
    target, _, anchor = link.partition("#")
    file = path.parent / urllib.parse.unquote(target) if target else path
    if not file.exists():
        return "no such file"
    if anchor and file.suffix == ".html" and urllib.parse.unquote(anchor) not in parsed(file).anchors:
        return "no such anchor"
    return None


def check_site(site):
    for path in sorted(site.rglob("*.html")):
        page = parsed(path)
        for need in page.needs:
            if is_remote(need) and not need.startswith(("javascript:", "data:")):
                yield f"{path}: {need}: needs the network"
        for link in page.links + page.needs:
            if is_remote(link) or link == "#":
                continue
            reason = leads_nowhere(path, link)
            if reason:
                yield f"{path}: {link}: {reason}"


def check_page(path):
    text = re.sub(r"^```.*?^```", "", path.read_text(), flags=re.DOTALL | re.MULTILINE)
    for link in LINK.findall(text):
        file = link.partition("#")[0]
        if file and not is_remote(link) and not (path.parent / file).exists():
            yield f"{path}: {link}: no such file"


def main():
    site, *pages = map(pathlib.Path, sys.argv[1:])
    problems = list(check_site(site))
    for page in pages:
        problems += check_page(page)
    for problem in problems:
        print(problem)
    print(f"links: {len(problems)} problems")
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
