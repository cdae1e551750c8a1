"""Finds the small changes that scripts/mutate makes in a C++ source, and writes them into it, each asleep."""

import re
from dataclasses import dataclass

TOKEN = re.compile(r"""
    (?P<skip>//[^\n]*|/\*.*?\*/|^[ ]*\#(?:[^\n]*\\\n)*[^\n]*|\s+)
  | (?P<text>R"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)"|"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])+')
  | (?P<number>\b\d[\w.']*)
  | (?P<word>[A-Za-z_]\w*)
  | (?P<mark_>\.\.\.|<<=|>>=|->\*|::|->|<<|>>|<=|>=|==|!=|&&|\|\||\+=|-=|\*=|/=|\|=|&=|\^=|%=|\+\+|--|.)
""", re.VERBOSE | re.DOTALL | re.MULTILINE)

OPEN, CLOSE = "([{", ")]}"
# An operand or a condition never holds one of these at its own level.
ENDS = {",", ";", "?", ":", "=", "return", "+=", "-=", "|=", "&=", "<<", "throw", "case"}
# Statements that are no calls, and calls that only save time.
KEYWORDS = {"if", "for", "while", "do", "switch", "using", "static_assert", "catch", "try"}
SAVERS = {"reserve", "static_cast"}
# What is decided when it is compiled cannot be changed later.
COMPILE_TIME = {"constexpr", "static_assert", "using", "template", "enum"}


@dataclass
class Token:
    kind: str
    text: str
    start: int
    end: int
    partner: int = -1


@dataclass
class Change:
    """Texts to insert at places; a place is an offset, and the order in which texts of one place stand."""
    name: str
    line: int
    last_line: int
    edits: list
    is_safe: bool
    number: int = 0


def tokens_of(text):
    tokens, stack = [], []
    for match in TOKEN.finditer(text):
        if match.lastgroup == "skip" or match.group("skip") is not None:
            continue
        kind = "text" if match.group("text") else "number" if match.group("number") else \
            "word" if match.group("word") else "mark"
        token = Token(kind, match.group(), match.start(), match.end())
        if token.kind == "mark" and token.text in OPEN:
            stack.append(len(tokens))
        elif token.kind == "mark" and token.text in CLOSE and stack:
            token.partner = stack.pop()
            tokens[token.partner].partner = len(tokens)
        tokens.append(token)
    return tokens


class Finder:
    def __init__(self, text):
        self.text, self.tokens, self.changes = text, tokens_of(text), []

    def spaced(self, index):
        """A binary operator stands between blanks; brackets of templates and references do not."""
        token = self.tokens[index]
        return self.text[token.start - 1].isspace() and self.text[token.end].isspace()

    def line(self, index):
        return self.text.count("\n", 0, self.tokens[index].start) + 1

    def line_text(self, index):
        start = self.text.rfind("\n", 0, self.tokens[index].start) + 1
        return self.text[start:self.text.index("\n", start)]

    def is_compile_time(self, index):
        """Whether the statement, the list or the declaration around a token says so."""
        while index > 0 and self.tokens[index - 1].text not in {";", "}"}:
            index -= 1
            if self.tokens[index].text in COMPILE_TIME:
                return True
            if self.tokens[index].text == "{" and self.tokens[index - 1].text in {")", "const", "override", "else"}:
                return False
        return False

    def add(self, name, index, edits, is_safe=True):
        if self.is_compile_time(index):
            return
        last_line = self.text.count("\n", 0, max(edit[0] for edit in edits)) + 1
        self.changes.append(Change(name, self.line(index), last_line, edits, is_safe))

    def wrap(self, name, first, last, before, after, is_safe=True):
        """Puts two texts around the tokens from first to last; of nested pairs the longer one stands outside."""
        start, end = self.tokens[first].start, self.tokens[last].end
        self.add(name, first, [(start, -(end - start), before, 0), (end, end - start, after, -1)], is_safe)

    def replace(self, name, index, text, is_safe=False):
        token = self.tokens[index]
        self.add(name, index, [(token.start, 0, text, token.end - token.start)], is_safe)

    def walk(self, index, step, ends):
        """The last token of the operand that begins at index, to the right or to the left."""
        last = None
        while 0 <= index < len(self.tokens):
            token = self.tokens[index]
            brackets = (OPEN, CLOSE) if step > 0 else (CLOSE, OPEN)
            if token.kind == "mark" and token.text in brackets[0]:
                if token.text in "{}" or token.partner < 0:
                    return last
                index = token.partner
            elif token.text in ends or (token.kind == "mark" and token.text in brackets[1]):
                return last
            last = index
            index += step
        return last

    def operands(self, index):
        operator = self.tokens[index].text
        other = {"||"} if operator == "&&" else set()
        for name, first, last in (("left", None, index - 1), ("right", index + 1, None)):
            if first is None:
                first = self.walk(last, -1, ENDS | {operator} | other)
            else:
                last = self.walk(first, 1, ENDS | {"&&", "||"} if operator == "&&" else ENDS | {"||"})
            if first is None or last is None or (name == "left" and self.chained(index, operator)):
                continue
            neutral = "(mutant::is(#) || (" if operator == "&&" else "(!mutant::is(#) && ("
            self.wrap(f"{name} operand of {operator} left out", first, last, neutral, "))")

    def chained(self, index, operator):
        """In "a && b && c" the left operand of the second operator is counted with the first."""
        first = self.walk(index - 1, -1, ENDS | {operator, "||"})
        return first is not None and first > 0 and self.tokens[first - 1].text == operator

    def condition(self, index):
        """if (...) and while (...), unless something is declared there."""
        opening = index + 1
        closing = self.tokens[opening].partner
        inner = self.tokens[opening + 1:closing]
        if self.tokens[opening].text == "(" and not any(token.text in {"=", ";"} for token in inner):
            self.wrap("condition negated", opening + 1, closing - 1, "mutant::is(#) != static_cast<bool>(", ")")

    def choice(self, index):
        """The condition before a question mark."""
        first = self.walk(index - 1, -1, ENDS)
        if first is not None:
            self.wrap("choice negated", first, index - 1, "(mutant::is(#) != static_cast<bool>(", "))")

    def begins_statement(self, index):
        before = self.tokens[index - 1] if index else None
        if before is None or before.text in {";", "{", "}", "else"}:
            return before is not None
        if before.text == ")" and before.partner > 0:
            return self.tokens[before.partner - 1].text in {"if", "for", "while"}
        return before.text == ":" and self.tokens[index - 2].kind == "word"

    def end_of_statement(self, index):
        while index < len(self.tokens) and self.tokens[index].text != ";":
            token = self.tokens[index]
            if token.text in CLOSE and token.kind == "mark":
                return None
            index = token.partner if token.text in OPEN and token.kind == "mark" and token.partner > 0 else index
            index += 1
        return index

    def statement(self, index):
        token = self.tokens[index]
        end = self.end_of_statement(index)
        if end is None or end >= len(self.tokens) or token.text in KEYWORDS:
            return
        if token.kind != "word" and token.text not in {"++", "--", "*"}:
            return
        name = {"continue": "jump", "break": "jump", "throw": "throw"}.get(token.text)
        if name is None and token.text == "return":
            name = "jump" if end == index + 1 else None
        elif name is None:
            name = self.kind_of_statement(index, end)
        if name:
            self.wrap(f"{name} left out", index, end, "{ if (!mutant::is(#)) ", " }")

    def kind_of_statement(self, index, end):
        if self.tokens[index].text in {"++", "--"}:
            return "step"
        if self.tokens[index].text == "*":
            index += 1
        while index < end:
            token = self.tokens[index]
            if (token.kind == "word" or token.text == ">") and self.tokens[index + 1].kind == "word":
                return None
            if token.text in {"=", "+=", "-=", "|=", "&="}:
                return "assignment"
            if token.text in "([" and token.kind == "mark":
                opening, index = index, token.partner
                if self.tokens[index + 1].text == ";":
                    return None if self.tokens[opening - 1].text in SAVERS else "call"
            elif token.kind != "word" and token.text not in {".", "->", "::", "<", ">"}:
                return None
            index += 1
        return None

    def value(self, index):
        token = self.tokens[index]
        if token.text in {"true", "false"}:
            other = "false" if token.text == "true" else "true"
            self.replace(f"{token.text} becomes {other}", index, f"(mutant::is(#) ? {other} : {token.text})")
        elif token.kind == "number" and re.fullmatch(r"\d+", token.text):
            self.replace(f"{token.text} becomes {int(token.text) + 1}", index,
                         f"(mutant::is(#) ? {int(token.text) + 1} : {token.text})")

    def operator(self, index):
        text = self.tokens[index].text
        second = {"<": "<", "<=": "<=", ">": ">", ">=": ">=", "==": "==", "!=": "!="}.get(text)
        if second:
            self.replace(f"{text} at its boundary", index, f"{text} mutant::Compare{{#}} {second}")
        elif text in {"+", "-"} and '"' not in self.line_text(index):
            self.replace(f"{text} turned", index, f"{text} mutant::Add{{#}} {text}")
        elif text in {"&&", "||"}:
            self.operands(index)

    def find(self):
        for index in range(len(self.tokens) - 1):
            token = self.tokens[index]
            if token.text in {"if", "while"}:
                self.condition(index)
            elif token.text == "?":
                self.choice(index)
            elif token.text == "!" and self.tokens[index - 1].text in {"return", "="}:
                self.replace("! left out", index, "mutant::is(#) != !", True)
            elif token.kind == "mark" and self.spaced(index):
                self.operator(index)
            elif token.kind == "number" or token.text in {"true", "false"}:
                self.value(index)
            if self.begins_statement(index):
                self.statement(index)
        return self.changes


def find(text, first_number):
    changes = Finder(text).find()
    for offset, change in enumerate(changes):
        change.number = first_number + offset
    return changes


def apply(text, changes):
    """Writes all changes into the text. No line break is added, so that an error's line is the source's."""
    edits = []
    for change in changes:
        for place, order, inserted, removed in change.edits:
            # At one place, what ends comes before what begins; a replaced token comes last.
            rank = 0 if removed < 0 else 2 if removed > 0 else 1
            edits.append((place, rank, order, inserted.replace("#", str(change.number)), max(removed, 0)))
    out, position = [], 0
    for place, _rank, _order, inserted, removed in sorted(edits):
        out += [text[position:place], inserted]
        position = place + removed
    return "".join(out) + text[position:]
