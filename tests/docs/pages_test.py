#!/usr/bin/python3
"""Checks every page of the documentation against the source tree and the build folder.

usage: pages_test.py SOURCE-DIRECTORY BUILD-DIRECTORY

CXX, CMAKE and LAUNCHER name the compiler, CMake and a compiler cache.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

import checker


def test_names(build):
    listed = subprocess.run(
        ["ctest", "--test-dir", build, "-N"], stdout=subprocess.PIPE, text=True, check=True
    ).stdout
    return re.findall(r"(?m)^ *Test +#\d+: (.*)$", listed)


def main():
    source, build = map(pathlib.Path, sys.argv[1:])
    tree = checker.Tree(
        source,
        build,
        cxx=os.environ.get("CXX", "g++"),
        cmake=os.environ.get("CMAKE", "cmake"),
        launcher=os.environ.get("LAUNCHER", ""),
        tests=test_names(build),
    )
    all_pages = checker.read_pages(source)
    anchors = {page.path.resolve(): page.anchors for page in all_pages}
    complaints = checker.check_reachable(source / "README.md", all_pages)
    complaints += checker.check_complete(source)
    for page in all_pages:
        complaints += checker.check_links(tree, page, lambda path: anchors.get(path, set()))
        with tempfile.TemporaryDirectory() as work:
            blocks = checker.Blocks(tree, page, work)
            complaints += blocks.check()
        print(
            f"{page.path.relative_to(source)}: {blocks.counted} of {len(page.blocks)} blocks,"
            f" {len(page.links)} links"
        )
    for complaint in complaints:
        print(complaint, file=sys.stderr)
    if len(all_pages) < 15:
        complaints.append("too few pages")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
