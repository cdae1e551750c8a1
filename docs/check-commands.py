#!/usr/bin/env python3
"""Runs the commands on a page against a service and compares the answers that the page shows.

Usage: check-commands.py --serve NAME=COMMAND... [--page-address HOST:PORT] [--shape] [--run-all] [--done LINE]...
                         [--update] PAGE

COMMAND starts a service and makes it print where it listens; the page asks the first one until a comment names another,
<!-- served by: NAME -->. A block of the kind "sh" with a curl in it is run as it stands, with the address on the page
replaced by the real one; the next block, if it is "json" or "text", is what it writes. A block of the kind "ws" is a talk
on a WebSocket: what is sent behind "> ", what then comes behind "< ". Times may differ, and so may the id of what a POST
creates, for which the one on the page stands from then on. With --shape every value may differ, as on another machine,
and then the two must have the same keys and types.

With --run-all every other block of the kind "sh" is run, too, and must succeed, except for a LINE that the caller sees
to. If the next block is "console", it is what is typed into the command ("> ") and what it writes ("< ").
"""

import argparse
import contextlib
import difflib
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import threading

from running import Service, Talk

BLOCK = re.compile(r"^```(\w+)\n(.*?)^```$|^<!-- served by: (\w+) -->$", re.DOTALL | re.MULTILINE)
UUID = re.compile(r"[0-9a-f]{8}(?:-[0-9a-f]{4}){3}-[0-9a-f]{12}")
# What a program writes to move the cursor of a terminal.
CONTROL = re.compile(r"\x1b(?:\[[0-9;]*[A-Za-z]|[78])")
PATIENCE = 60
MASKS = (
    (r'"(timestamp|measured|temperature)":[\d.]+', r'"\1":0'),
    (r"(?m)^Date: .*$", "Date: ..."),
)


def shell(command):
    return ["bash", "-c", command]


def creates(command):
    return " -d " in command and " -X " not in command


def run(command):
    done = subprocess.run(shell(command), stdout=subprocess.PIPE, check=False, timeout=PATIENCE)
    text = done.stdout.decode().replace("\r", "")
    return text if text.endswith("\n") else text + "\n"


def run_at_home(command):
    """Runs a command whose home is a folder of its own; None if it succeeds, what it wrote if not."""
    with tempfile.TemporaryDirectory() as home:
        environment = {**os.environ, "HOME": home}
        done = subprocess.run(shell("set -e\n" + command), check=False, env=environment, stdout=subprocess.PIPE, text=True)
    return None if done.returncode == 0 else done.stdout


def next_reply(lines):
    for line in lines:
        line = CONTROL.sub("", line).strip()
        if line.startswith("< "):
            return line
    return '< "nothing"'


def hold_dialog(command, typed_and_written):
    """Types what a page types, and gives the same lines with what was really written."""
    process = subprocess.Popen(shell("exec " + command), stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1)
    watch = threading.Timer(PATIENCE, process.kill)
    watch.start()
    result = []
    for line in typed_and_written.splitlines():
        if line.startswith("> "):
            process.stdin.write(line[2:] + "\n")
        result.append(next_reply(process.stdout) if line.startswith("< ") else line)
    watch.cancel()
    process.kill()
    process.wait()
    return "".join(line + "\n" for line in result)


def masked(text):
    for pattern, replacement in MASKS:
        text = re.sub(pattern, replacement, text)
    return text


def shape(value):
    """A value with everything left out that depends on the machine."""
    if isinstance(value, dict):
        return {key: shape(entry) for key, entry in value.items()}
    if isinstance(value, list):
        return [shape(value[0])] if value else []
    return type(value).__name__


def comparable(kind, text, is_shape):
    if is_shape and kind == "json":
        return json.dumps(shape(json.loads(text)), indent=1, sort_keys=True) + "\n"
    if is_shape and kind == "console":
        replies = (comparable("json", line[2:], True) if line.startswith("< ") else line for line in text.splitlines())
        return "\n".join(replies) + "\n"
    return masked(text)


class Checker:
    """Goes through the blocks of a page in their order."""

    def __init__(self, arguments):
        self.arguments = arguments
        self.commands = dict(serve.split("=", 1) for serve in arguments.serve)
        self.start(next(iter(self.commands)))
        self.talk = None
        self.is_new = False
        self.given = None
        self.dialog = None
        self.asked = 0
        self.wrong = 0

    def start(self, name):
        self.service = Service(self.commands[name])
        # What stands on the page, and what the service has in its place.
        self.real = {self.arguments.page_address: self.service.address}

    def to_service(self, text):
        for shown, real in self.real.items():
            text = text.replace(shown, real)
        return text

    def to_page(self, text):
        for shown, real in self.real.items():
            text = text.replace(real, shown)
        return text

    def learn_id(self, shown, given):
        """From now on the first id on the page stands for the one that the service has made up."""
        on_page, real = UUID.search(shown), UUID.search(given)
        if on_page and real:
            self.real[on_page.group()] = real.group()

    def close(self):
        if self.talk:
            self.talk.close()
            self.talk = None
        self.service.close()

    def block(self, match):
        """What stands in place of a block."""
        kind, body, name = match.groups()
        if name:
            self.close()
            self.start(name)
            return match.group(0)
        if kind == "sh":
            self.given = None
            self.command(body, match.string[match.end() :].lstrip().startswith("```console"))
            return match.group(0)
        if kind == "ws":
            self.given = self.converse(body)
        if kind == "console" and self.dialog:
            self.given, self.dialog = hold_dialog(self.dialog, body), None
        if self.given is None:
            return match.group(0)
        if self.is_new:
            self.learn_id(body, self.given)
            self.is_new = False
        self.given = self.to_page(self.given)
        body = self.compare(kind, body)
        self.given = None
        return f"```{kind}\n{body}```"

    def command(self, body, is_dialog):
        """Runs the block of a command, unless what is to be typed into it is still to come."""
        self.is_new = creates(body)
        if "curl " in body:
            self.given = self.ask(body)
        elif self.arguments.run_all and is_dialog:
            self.asked += 1
            self.dialog = self.to_service(body)
        elif self.arguments.run_all:
            self.run_lines([line for line in body.splitlines() if line not in self.arguments.done])

    def run_lines(self, lines):
        self.asked += len(lines)
        written = run_at_home("\n".join(lines)) if lines else None
        if written is not None:
            print(written, "failed:", *lines, sep="\n")
            self.wrong += 1

    def ask(self, command):
        self.asked += 1
        return run(self.to_service(command))

    def converse(self, body):
        """The lines of a talk, as it really goes."""
        self.asked += 1
        self.talk = self.talk or Talk(self.service.address)
        lines = []
        for line in body.splitlines():
            if line.startswith("> "):
                self.talk.send(self.to_service(line[2:]))
            lines.append(line if line.startswith("> ") else "< " + self.talk.receive())
        return "\n".join(lines) + "\n"

    def compare(self, kind, body):
        expected, actual = (comparable(kind, side, self.arguments.shape) for side in (body or "null", self.given))
        if expected == actual:
            return body
        self.wrong += not self.arguments.update
        if not self.arguments.update:
            difference = difflib.unified_diff(expected.splitlines(True), actual.splitlines(True), "page", "service")
            sys.stdout.writelines(difference)
        return self.given


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--serve", action="append", required=True)
    parser.add_argument("--page-address", default="127.0.0.1:8080")
    parser.add_argument("--shape", action="store_true")
    parser.add_argument("--run-all", action="store_true")
    parser.add_argument("--done", action="append", default=[])
    parser.add_argument("--update", action="store_true")
    parser.add_argument("page", type=pathlib.Path)
    arguments = parser.parse_args()
    checker = Checker(arguments)
    text = arguments.page.read_text()
    with contextlib.closing(checker):
        text = BLOCK.sub(checker.block, text)
    if arguments.update:
        arguments.page.write_text(text)
    print(f"{arguments.page}: {checker.asked} commands, {checker.wrong} wrong answers")
    sys.exit(1 if checker.wrong or not checker.asked else 0)


if __name__ == "__main__":
    main()
