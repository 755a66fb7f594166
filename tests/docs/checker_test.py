#!/usr/bin/python3
"""Tests the checker with small pages that have one mistake each.

usage: checker_test.py SOURCE-DIRECTORY BUILD-DIRECTORY
"""

import os
import pathlib
import sys
import tempfile
import unittest

import checker
import pages

SOURCE = pathlib.Path(sys.argv[1])
BUILD = pathlib.Path(sys.argv[2])


def fenced(language, text, directive=""):
    comment = f"<!-- test: {directive} -->\n\n" if directive else ""
    return f"{comment}```{language}\n{text}```\n"


class CheckerTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name) / "tree"
        self.root.mkdir()
        for name in "include", "schema", "samples", "scripts", "CMakePresets.json":
            (self.root / name).symlink_to(SOURCE / name)
        (self.root / "CMakeLists.txt").write_text(
            'option(SYSCONFREADER_THING "A thing" ON)\nadd_custom_target(docs)\n'
            "install(FILES a COMPONENT library)\n"
        )
        self.tree = checker.Tree(
            self.root,
            BUILD,
            cxx=os.environ.get("CXX", "g++"),
            cmake=os.environ.get("CMAKE", "cmake"),
            launcher=os.environ.get("LAUNCHER", ""),
            tests=["Some.Test"],
        )

    def complaints(self, text):
        path = self.root / "page.md"
        path.write_text(text)
        page = pages.read(path)
        with tempfile.TemporaryDirectory() as work:
            blocks = checker.Blocks(self.tree, page, work)
            found = blocks.check()
            self.assertEqual(blocks.counted + len(found) >= len(page.blocks), True)
            if blocks.folder is not None:
                self.assertFalse(blocks.folder.exists(), "the folder is not removed")
        return found + checker.check_links(self.tree, page, lambda path: {"there-is"})

    def assert_right(self, text):
        self.assertEqual(self.complaints(text), [])

    def assert_wrong(self, text, complaint, line=None):
        found = self.complaints(text)
        self.assertEqual(len(found), 1, found)
        self.assertIn(complaint, found[0])
        if line is not None:
            self.assertIn(f"page.md:{line}: ", found[0])

    def test_a_block_of_a_language_without_a_rule(self):
        self.assert_wrong("# A\n\n" + fenced("python", "print()\n"), "no rule", line=4)

    def test_a_block_that_does_not_end(self):
        self.assert_wrong("```json\n{}\n", "does not end", line=1)

    def test_a_directive_that_is_unknown_or_without_a_block(self):
        self.assert_wrong(fenced("json", "{}\n", "skip"), "unknown directive skip")
        self.assert_wrong("<!-- test: statements -->\n\nText\n", "directive without a block")

    def test_a_block_that_differs_from_its_file_or_names_no_test(self):
        self.assert_wrong(fenced("json", "{}\n", "file CMakePresets.json"), "has another text")
        self.assert_wrong(
            fenced("cpp", "int main(\n", "elsewhere Other.Test"), "no test Other.Test"
        )
        self.assert_right(fenced("cpp", "int main(\n", "elsewhere Some.Test"))

    def test_broken_links(self):
        self.assert_right(
            "[a](CMakeLists.txt) [b](#there-is) [c](https://example.org/x) `scripts/test`\n"
        )
        self.assert_wrong("Text\nwith [a\nlink](missing.md)\n", "no missing.md", line=2)
        self.assert_wrong("[a](page.md#gone)\n", "no heading for #gone")
        self.assert_wrong("[a](#gone)\n", "no heading for #gone")
        self.assert_wrong("[a](../outside)\n", "no ../outside")
        self.assert_wrong("[a](../)\n", "out of the project")
        self.assert_wrong("[a](https:/example.org)\n", "not a web address")
        self.assert_wrong("[a](mailto:me)\n", "not a web address")
        self.assert_wrong("Text [a][b].\n", "by reference")
        self.assert_wrong("Text `scripts/missing`.\n", "no scripts/missing")

    def test_anchors_of_headings(self):
        path = self.root / "page.md"
        path.write_text("# Two Words, `code`\n\n## A [link](page.md)\n\n## A link\n")
        self.assertEqual(pages.read(path).anchors, {"two-words-code", "a-link", "a-link-1"})

    def test_a_page_that_no_link_reaches(self):
        for name, text in {
            "README.md": "[a](a.md)\n",
            "a.md": "A\n",
            "lost.md": "[a](a.md)\n",
        }.items():
            (self.root / name).write_text(text)
        all_pages = [pages.read(path) for path in sorted(self.root.glob("*.md"))]
        found = checker.check_reachable(self.root / "README.md", all_pages)
        self.assertEqual(
            [complaint.split("/")[-1] for complaint in found], ["lost.md: no link leads here"]
        )

    def test_commands_with_different_output(self):
        self.assert_right(
            fenced("console", "$ echo a; pwd\na\n/srv/sysconfreader\n$ true\n$ echo b\nb\n")
        )
        self.assert_wrong(
            fenced("console", "$ true\n$ echo a\nb\n"), "echo a\nprints\na\nand not\nb"
        )
        self.assert_wrong(fenced("", "$ echo a\n"), "prints\na\nand not")
        self.assert_wrong(fenced("console", "$ true\na\n"), "prints\nand not\na")
        self.assert_wrong(fenced("console", "$ nothing-of-that-name\n"), "command not found")

    def test_lines_that_match_any_lines(self):
        self.assert_right(fenced("console", "$ seq 5\n1\n...\n4\n5\n"))
        self.assert_right(fenced("console", "$ seq 5\n...\n"))
        self.assert_wrong(fenced("console", "$ seq 5\n2\n...\n"), "seq 5")
        self.assert_wrong(fenced("console", "$ seq 5\n...\n4\n"), "seq 5")

    def test_cd_and_export_last_to_the_end_of_the_page(self):
        self.assert_right(
            fenced("console", "$ cd samples\n$ export A=1\n")
            + "\n"
            + fenced("console", "$ ls README.md; echo $A\nREADME.md\n1\n")
        )

    def test_blocks_without_commands(self):
        self.assert_wrong(fenced("console", "text\n"), 'start with "$ "')
        self.assert_wrong(fenced("console", ""), "without a command")
        self.assert_wrong(fenced("console", "$ exit\n$ true\n"), "the shell ended before true")

    def test_commands_that_are_not_run(self):
        self.assert_right(
            "Text:\n\n    scripts/test --sanitize address # a comment\n"
            "    cmake -S . -B build -DSYSCONFREADER_THING=ON\n"
            "    cmake --build build --target docs\n"
            "    cmake --install build --component library\n"
            "    sysconfctl show --env-file some.env\n"
            "    apt install g++ libace-dev\n"
            '    {"a":1}\n'
        )
        for line, complaint in {
            "scripts/missing": "no script scripts/missing",
            "scripts/test --missing": "no option --missing",
            "scripts/lib.sh": "no script",
            "sysconfctl missing": "no command missing",
            "sysconfctl show --missing": "no option --missing",
            "cmake -S . -DSYSCONFREADER_MISSING=ON": "no option SYSCONFREADER_MISSING",
            "cmake --build build --target missing": "no target missing",
            "cmake --install build --component missing": "component missing",
            "cmake --preset missing": "no preset missing",
            "apt install libmissing-dev": "does not install libmissing-dev",
            "missing --option": "unknown command missing",
            "{": "not JSON",
        }.items():
            with self.subTest(line=line):
                self.assert_wrong(f"Text:\n\n    {line}\n", complaint, line=3)
                self.assert_wrong(fenced("sh", line + "\n"), complaint)

    def test_indented_text_of_a_list_is_not_a_command(self):
        self.assert_right("- A point:\n\n    and more of it\n")

    def test_output_of_a_command(self):
        self.assert_right(fenced("json", "{}\n", "output echo {}"))
        self.assert_wrong(fenced("json", "{}\n", "output echo []"), "echo []\nprints")

    def test_json_that_is_malformed_or_not_valid_by_its_schema(self):
        self.assert_wrong(fenced("json", "{,}\n"), "not JSON")
        self.assert_right(fenced("json", '{"nodeList": {}}\n', "schema node-list"))
        self.assert_right(fenced("json", '{"nodeList": {}}\n', "schema manager-node-list"))
        self.assert_wrong(
            fenced("json", '{"nodeList": []}\n', "schema node-list"), "not valid by node-list"
        )
        self.assert_wrong(
            fenced("json", '{"nodeList": {"a": {"extAttr": 1}}}\n', "schema manager-node-list"),
            "not valid by manager-node-list",
        )

    def test_files_for_the_commands_of_a_page(self):
        self.assert_right(
            fenced("ini", "# Comment\nAPP_ROOT=a\n", "save some/file.env")
            + "\n"
            + fenced("console", "$ tail -1 some/file.env\nAPP_ROOT=a\n")
        )
        self.assert_wrong(fenced("ini", "APP_ROOT=a\n"), "is not saved")
        self.assert_wrong(fenced("ini", "APP_ROOT a\n", "save a.env"), "not a line of an env file")

    def test_diagrams(self):
        self.assert_right(fenced("mermaid", "flowchart LR\n  a --> b\n"))
        self.assert_wrong(fenced("mermaid", "flowchrt LR\n  a --> b\n"), "unknown kind of diagram")
        self.assert_wrong(fenced("mermaid", ""), "unknown kind of diagram")
        self.assert_wrong(fenced("mermaid", "flowchart LR\n"), "empty diagram")
        self.assert_wrong(fenced("mermaid", 'flowchart LR\n  a["a]\n'), "unbalanced quotes")
        self.assert_wrong(
            fenced("mermaid", "flowchart LR\n  subgraph a\n"), "1 parts start and 0 end"
        )

    def test_errors_in_fragments_are_reported_at_their_lines(self):
        self.assert_right(
            fenced("cpp", "int answer();\n")
            + fenced("cpp", "SysConfReader::Instance()->getLocalPort();\n", "statements")
        )
        found = self.complaints("# A\n\n" + fenced("cpp", "int one();\nmissing two();\n"))
        self.assertEqual(len(found), 1)
        self.assertIn("page.md:5:1: error", found[0])
        self.assert_wrong(
            fenced("cpp", "SysConfReader::Instance()->missing();\n", "statements"), "missing"
        )

    def test_programs_that_do_not_compile_or_link(self):
        self.assert_wrong(fenced("cpp", "int main() { return missing; }\n"), "missing")
        self.assert_wrong(
            fenced("cpp", "int missing();\nint main() { return missing(); }\n"), "missing"
        )

    def test_projects(self):
        program = fenced("cpp", '#include <cstdio>\nint main() { std::puts("a"); }\n')
        project = "project(a LANGUAGES CXX)\nadd_executable(a main.cpp)\n"
        self.assert_right(
            program
            + fenced("cmake", "cmake_minimum_required(VERSION 3.25)\n" + project)
            + fenced("console", "$ build/a\na\n")
        )
        saved = "cmake_minimum_required(VERSION 3.25)\n" + project
        self.assert_right(
            program.replace("```cpp", "<!-- test: save try/main.cpp -->\n\n```cpp")
            + fenced("cmake", saved, "save try/CMakeLists.txt")
            + fenced("console", "$ try/build/a\na\n")
        )
        self.assert_wrong(program + fenced("cmake", saved, "save try/CMakeLists.txt"), "main.cpp")
        self.assert_wrong(fenced("cmake", project), "without a program")
        self.assert_wrong(
            program
            + fenced("cmake", "cmake_minimum_required(VERSION 3.25)\nproject(a CXX)\nmissing()\n"),
            "missing",
        )

    def test_pieces_of_projects(self):
        piece = "find_package(sysconfreader 0.1 REQUIRED)\n"
        link = "target_link_libraries(a PRIVATE sysconfreader::{})\n"
        self.assert_right(fenced("cmake", piece + link.format("sysconfreader")))
        self.assert_wrong(fenced("cmake", piece + link.format("missing")), "sysconfreader::missing")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
