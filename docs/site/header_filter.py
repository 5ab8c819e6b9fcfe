#!/usr/bin/env python3
"""Doxygen's input filter for the public headers: makes their plain comments Doxygen's, line by line.

    header_filter.py HEADER    prints the header

A comment above declarations describes all of them up to the next blank line or comment. A comment behind a declaration
describes that one. A comment that is followed by a blank line describes the file. Comments in the bodies of functions
stay as they are. Each line keeps its number.
"""

import re
import sys

CONTAINER = re.compile(r'^extern "C"|^(typedef |inline )?(namespace|class|struct|enum|union)\b|^template\b.*\b(class|struct)\b[^()]*$')
STRING = re.compile(r'"(?:[^"\\]|\\.)*"|\'(?:[^\'\\]|\\.)\'')
FULL, TRAILING = re.compile(r"^( *)// ?(.*)$"), re.compile(r"^( *\S.*?) +// ?(.*)$")
NOT_DOCUMENTATION = re.compile(r"^(NOLINT|IWYU|clang-format)")


def escaped(text):
    """The text without what Doxygen would take for a command; code between backticks stays."""
    parts = re.split(r"(`[^`]*`)", text)
    return "".join(part if part.startswith("`") else re.sub(r"([\\@<>&#])", r"\\\1", part) for part in parts)


class Scopes:
    """Says of each line whether it is a declaration, not the inside of a function."""

    def __init__(self):
        self.containers = []  # for each open brace: whether it contains declarations
        self.parentheses = 0
        self.statement = ""

    def is_declaration(self):
        return all(self.containers) and self.parentheses == 0

    def read(self, line):
        code = STRING.sub("0", re.sub(r"//.*", "", line)) if "extern" not in line else line
        if code.startswith("#"):
            return
        for token in re.split(r"([{};()])", code):
            if token == "{":
                self.containers.append(bool(CONTAINER.search(self.statement.strip())) and self.parentheses == 0)
                self.statement = ""
            elif token == "}":
                if self.containers:
                    self.containers.pop()
                self.statement = ""
            elif token in ("(", ")"):
                self.parentheses += 1 if token == "(" else -1
                self.statement += token
            elif token == ";":
                self.statement = ""
            elif token.strip() and not re.fullmatch(r"\s*(public|private|protected):\s*", token):
                self.statement += " " + token.strip()


def comment_block(lines, begin):
    """The line after the comment that begins at line `begin`, and the texts of the comment."""
    end = begin
    texts = []
    while end < len(lines) and (found := FULL.match(lines[end])):
        texts.append(found[2])
        end += 1
    return end, texts


def documented(texts, indent, first):
    """The lines of a comment; indented ones are code."""
    result, in_code = [first] if first else [], False
    for number, text in enumerate(texts):
        following = next((later for later in texts[number:] if later), "")
        is_code = text.startswith("  ") or (in_code and following.startswith("  "))
        if is_code != in_code:
            result.append("@code{.cpp}" if is_code else "@endcode")
        in_code = is_code
        result.append(text if is_code else escaped(text))
    return [f"{indent}/// {text}".rstrip() for text in result + ["@endcode"] * in_code]


def function_name(line):
    """The name of the function that the line declares; empty for other lines."""
    found = re.match(r"^ *[^(=]*?\b([A-Za-z]\w*)\(", line)
    return found[1] if found and "operator" not in line else ""


def begin_alike(first, second):
    """Whether two names differ only in their last word, or one of them is only the first word of the other."""
    words = [re.findall(r"[A-Z]?[a-z0-9]+|[A-Z]+", name) for name in (first, second)]
    count = max(1, min(map(len, words)) - 1)
    return bool(first and second) and words[0][:count] == words[1][:count]


class HeaderFilter:
    """Converts one header; `undocumented` has the functions that no comment describes."""

    def __init__(self, text):
        self.lines = text.split("\n")
        self.scopes = Scopes()
        self.result, self.undocumented = [], []
        self.column = None  # of the comment behind the last line
        self.block, self.name, self.is_new = [], "", False  # the last comment above a declaration, and what it describes

    def run(self):
        number = 0
        while number < len(self.lines):
            number = self.read(number)
        return "\n".join(self.result)

    def read(self, number):
        """Converts a line, or the whole comment that begins at this line. Returns the number of the next line."""
        line = self.lines[number]
        comment = FULL.match(line) if self.scopes.is_declaration() else None
        if comment and self.column == len(comment[1]):
            self.result.append(f"{comment[1]}///< {escaped(comment[2])}")  # continues the comment at the end of the previous line
            return number + 1
        self.column = None
        if comment and not NOT_DOCUMENTATION.match(comment[2]):
            return self.read_block(number, comment[1])
        self.read_code(line)
        return number + 1

    def read_block(self, number, indent):
        end, texts = comment_block(self.lines, number)
        is_loose = end == len(self.lines) or not self.lines[end].strip() or self.lines[end].startswith("#")
        lines = documented(texts, indent, "@file" if is_loose else "")
        self.result += lines
        self.block, self.is_new, self.name = ([], False, "") if is_loose else (lines, True, "")
        return end

    def read_code(self, line):
        is_start = self.scopes.is_declaration() and not self.scopes.statement.strip()
        if not line.strip():
            self.block = []
        elif is_start and not line.startswith("#"):
            name = function_name(line)
            if self.is_new:
                self.name = name
            elif name and self.block and begin_alike(self.name, name):
                self.result += self.block
            elif name:
                self.undocumented.append(name)
            self.is_new = False
        trailing = TRAILING.match(line) if self.scopes.is_declaration() and not line.startswith(("}", "#")) else None
        if trailing and not NOT_DOCUMENTATION.match(trailing[2]) and '"' not in trailing[1]:
            self.column = line.index("//", len(trailing[1]))
            self.result.append(f"{trailing[1]}  ///< {escaped(trailing[2])}")
        else:
            self.result.append(line)
        self.scopes.read(line)


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as header:
        sys.stdout.write(HeaderFilter(header.read()).run())
