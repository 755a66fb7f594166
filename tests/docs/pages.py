"""Parses pages of Markdown: headings, links, blocks of code and their directives.

A directive is a comment `<!-- test: WORDS -->` before a block.
"""

import dataclasses
import pathlib
import re

FENCE = re.compile(r"^( *)(`{3,}|~{3,}) *([A-Za-z0-9_+-]*) *$")
DIRECTIVE = re.compile(r"^<!-- test: (.*) -->$")
HEADING = re.compile(r"^(#{1,6}) +(.*?) *#*$")
LINK = re.compile(r"!?\[([^\]]*)\]\(([^()\s]*)\)")
REFERENCE = re.compile(r"^ {0,3}\[[^\]]+\]:|\]\[")
LIST_ITEM = re.compile(r"^ *([-*+]|\d+[.)]) ")
INDENT = "    "


@dataclasses.dataclass
class Block:
    """A fenced block, or one line of an indented block. `line` is the first line of its text."""

    line: int
    language: str
    text: str
    directive: str = ""
    indented: bool = False


@dataclasses.dataclass
class Page:
    path: pathlib.Path
    blocks: list = dataclasses.field(default_factory=list)
    links: list = dataclasses.field(default_factory=list)  # (line, target)
    code: list = dataclasses.field(default_factory=list)  # (line, text between backticks)
    anchors: set = dataclasses.field(default_factory=set)
    complaints: list = dataclasses.field(default_factory=list)  # (line, text)


def anchor(heading):
    """Returns the anchor of a heading in rendered Markdown."""
    text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).lower()
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")


class _Reader:
    def __init__(self, path):
        self.page = Page(path)
        self.lines = path.read_text(encoding="utf-8").splitlines()
        self.directive = None
        self.prose = []  # (line, text) of the paragraph so far: a link may span lines

    def take_directive(self):
        directive, self.directive = self.directive, None
        return directive or ""

    def end_paragraph(self):
        if not self.prose:
            return
        text = "\n".join(line for _, line in self.prose)
        first = self.prose[0][0]
        self.prose = []

        def at(position):
            return first + text.count("\n", 0, position)

        for match in re.finditer(r"`([^`]+)`", text):
            self.page.code.append((at(match.start()), match.group(1)))
        bare = re.sub(r"`[^`]+`", lambda match: "`" + "\n" * match.group().count("\n"), text)
        for match in LINK.finditer(bare):
            self.page.links.append((first + bare.count("\n", 0, match.start()), match.group(2)))
        if REFERENCE.search(bare):
            self.page.complaints.append((first, "a link by reference, which is not checked"))

    def heading(self, text):
        base = anchor(text)
        name, number = base, 0
        while name in self.page.anchors:
            number += 1
            name = f"{base}-{number}"
        self.page.anchors.add(name)

    def fenced(self, index, match):
        indent, fence, language = match.groups()
        end = index + 1
        while end < len(self.lines) and self.lines[end].strip() != fence:
            end += 1
        if end == len(self.lines):
            self.page.complaints.append((index + 1, "a block that does not end"))
        first = index + 1
        text = [row.removeprefix(indent) for row in self.lines[first:end]]
        self.page.blocks.append(
            Block(index + 2, language, "".join(f"{row}\n" for row in text), self.take_directive())
        )
        return end + 1

    def indented(self, index):
        directive = self.take_directive()
        while index < len(self.lines) and self.lines[index].startswith(INDENT):
            text = self.lines[index].removeprefix(INDENT)
            self.page.blocks.append(Block(index + 1, "", text, directive, indented=True))
            index += 1
        return index

    def read(self):
        index = 0
        in_list = False
        blank = True
        while index < len(self.lines):
            line = self.lines[index]
            fence, directive = FENCE.match(line), DIRECTIVE.match(line)
            if fence:
                self.end_paragraph()
                index = self.fenced(index, fence)
                blank = True
                continue
            if directive:
                self.end_paragraph()
                self.directive = directive.group(1)
            elif line.startswith(INDENT) and blank and not in_list:
                self.end_paragraph()
                index = self.indented(index)
                continue
            elif not line.strip():
                self.end_paragraph()
            else:
                if self.directive is not None:
                    self.page.complaints.append((index + 1, "a directive without a block"))
                    self.directive = None
                if blank or LIST_ITEM.match(line):
                    in_list = bool(LIST_ITEM.match(line)) or (in_list and line.startswith("  "))
                heading = HEADING.match(line)
                if heading:
                    self.end_paragraph()
                    self.heading(heading.group(2))
                self.prose.append((index + 1, line))
                if heading:
                    self.end_paragraph()
            blank = not line.strip()
            index += 1
        self.end_paragraph()
        return self.page


def read(path):
    return _Reader(pathlib.Path(path)).read()
