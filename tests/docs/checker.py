"""Checks of documentation pages. Each returns complaints of the form "page:line: what is wrong".

Blocks of code are checked by their language:

cpp       A program (with a main) is compiled and linked with the library. Other blocks are
          compiled only, after a preamble with the public headers and the namespace.
cmake     A project (with "project(") is configured and built. Its main.cpp is the last program
          above it on the page, its build folder is build/. If the block is saved, the project is
          the folder of the saved file, with the files that the page saved there, and its build
          folder is build/ in it.
          Any other block is configured, with a program for each target that it links.
console   (or no language) Each line "$ COMMAND" is run and must print the lines below it. A line
          "..." matches any lines, and CHECKOUT matches the folder in which commands run. Each page
          has one such folder, with a copy of the samples, links to the rest of the tree, and saved
          blocks. The effects of "cd" and "export" last to the end of the page.
ini       An env file; must be saved.
sh        Commands that are not run; see Commands.
json      Must parse.
mermaid   Must have a known kind of diagram, lines, and balanced quotes and parts. It is not drawn.

Any other language is a complaint.

Directives of a block, separated by ",":

schema NAME      json: must be valid by schema/NAME.schema.json
save PATH        is saved as a file for the commands of the page
file PATH        must equal that file of the tree
output COMMAND   must equal the output of the command
elsewhere TEST   is checked by that test instead
statements       cpp: the block is the body of a function
"""

import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile

import jsonschema

import pages

MERMAID = {
    "flowchart",
    "graph",
    "sequenceDiagram",
    "classDiagram",
    "stateDiagram-v2",
    "block-beta",
}
# The name on pages for the folder in which commands run. The real name is FOLDER and random
# characters. Both have the same length, because the width of a path changes the layout of tables.
CHECKOUT = "/srv/sysconfreader"
FOLDER = "/tmp/docs-"
PREAMBLE = """
#include <SysConfReader.h>
#include <SysConfReaderEvent.h>
#include <SysConfReaderImpl.h>
#include <SysConfReaderStatus.h>
#include <SysConfReader_i.h>
#include <iostream>
#include <list>
#include <map>
#include <set>
#include <string>
#include <unistd.h>
using namespace Quarncommon;
"""


class Wrong(Exception):
    """A complaint about a block or a command."""


def succeed(command, cwd=None):
    """Runs the command. If it fails, its output is the complaint."""
    run = subprocess.run(
        list(map(str, command)),
        cwd=cwd,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        check=False,
    )
    if run.returncode != 0:
        raise Wrong(run.stdout)


class Tree:
    """The source tree and its build folder."""

    def __init__(self, source, build="", cxx="g++", cmake="cmake", launcher="", flags="", tests=()):
        self.source = pathlib.Path(source)
        self.build = pathlib.Path(build)
        self.cxx = cxx
        self.cmake = cmake
        self.launcher = [launcher] if launcher else []
        self.flags = flags.split()
        self.tests = set(tests)
        self._cache = {}

    def text(self, path):
        if path not in self._cache:
            self._cache[path] = (self.source / path).read_text(encoding="utf-8")
        return self._cache[path]

    def text_of_all(self, pattern):
        if pattern not in self._cache:
            self._cache[pattern] = "\n".join(
                path.read_text(encoding="utf-8") for path in sorted(self.source.glob(pattern))
            )
        return self._cache[pattern]

    def tool_help(self, tool, command):
        key = ("help", tool, command)
        if key not in self._cache:
            run = subprocess.run(
                [self.build / "tools" / tool / tool, *command, "--help"],
                capture_output=True,
                text=True,
                check=True,
            )
            self._cache[key] = run.stdout
        return self._cache[key]


class Commands:
    """Checks commands without running them: the program exists and has the options."""

    # Not checked: tools of others and the shell's builtins.
    FOREIGN = {
        "apt-get",
        "etcd",
        "etcdctl",
        "grep",
        "man",
        "sysctl",
        "systemctl",
        "systemd-run",
        "ctest",
        "dpkg-buildpackage",
        "source",
        "cp",
        "cd",
        "export",
        "echo",
        "mkfifo",
        "tr",
        "c++",
        "where-am-i",
    }

    def __init__(self, tree):
        self.tree = tree

    def check(self, line):
        words = re.sub(r"\s#\s.*$", "", line).split()
        while words and re.fullmatch(r"[A-Z_]+=\S*", words[0]):
            words.pop(0)
        if not words or words[0] == "#":
            return
        name, arguments = words[0], words[1:]
        options = [word for word in arguments if word.startswith("-")]
        if name.startswith("scripts/"):
            self.script(name, options)
        elif name in ("sysconfctl", "sysconfsync"):
            self.tool(name, arguments)
        elif name == "cmake":
            self.cmake(arguments)
        elif name == "apt":
            self.apt(arguments)
        elif name not in self.FOREIGN:
            raise Wrong(f"unknown command {name}")

    def apt(self, arguments):
        known = re.findall(r"[\w+-]+", self.tree.text("scripts/lib.sh"))
        for package in arguments[1:]:
            if package not in known:
                raise Wrong(f"scripts/lib.sh does not install {package}")

    def script(self, name, options):
        path = self.tree.source / name
        if not os.access(path, os.X_OK):
            raise Wrong(f"there is no script {name}")
        for option in options:
            if option.split("=")[0] not in self.tree.text(name):
                raise Wrong(f"{name} has no option {option}")

    def tool(self, name, arguments):
        command = tuple(arguments[:1]) if arguments and arguments[0][0] != "-" else ()
        if command and not re.search(rf"(?m)^ +{command[0]}\b", self.tree.tool_help(name, ())):
            raise Wrong(f"{name} has no command {command[0]}")
        text = self.tree.tool_help(name, command)
        for option in arguments:
            if re.match(r"--?[a-z]", option) and not re.search(
                rf"(^|[\s,]){re.escape(option.split('=')[0])}\b", text
            ):
                raise Wrong(f"{name} {' '.join(command)} has no option {option}")

    def cmake(self, arguments):
        lists = self.tree.text_of_all("**/CMakeLists.txt")
        for index, argument in enumerate(arguments):
            variable = re.match(r"-D(SYSCONFREADER_\w+)", argument)
            if variable and not re.search(rf"(option|set)\({variable.group(1)}\b", lists):
                raise Wrong(f"there is no option {variable.group(1)}")
            following = arguments[index + 1] if index + 1 < len(arguments) else ""
            if argument == "--component" and not re.search(rf"COMPONENT {following}\b", lists):
                raise Wrong(f"nothing is installed as component {following}")
            if argument == "--preset" and f'"{following}"' not in self.tree.text(
                "CMakePresets.json"
            ):
                raise Wrong(f"there is no preset {following}")
            if argument == "--target" and not re.search(
                rf"add_(custom_target|library|executable)\(\s*{following}\b", lists
            ):
                raise Wrong(f"there is no target {following}")


class Blocks:
    """Checks the blocks of one page in order."""

    def __init__(self, tree, page, work):
        self.tree = tree
        self.page = page
        self.work = pathlib.Path(work)
        self.folder = None
        self.program = None
        self.fragments = []
        self.lasting = []
        self.counted = 0

    def rule(self, language):
        return {
            "cpp": self.cpp,
            "cmake": self.cmake,
            "console": self.console,
            "": self.console,
            "sh": self.sh,
            "ini": self.ini,
            "json": self.json,
            "mermaid": self.mermaid,
        }.get(language)

    def check(self):
        complaints = []
        for block in self.page.blocks:
            try:
                self.block(block)
                self.counted += 1
            except Wrong as wrong:
                complaints.append(f"{self.page.path}:{block.line}: {wrong}")
        try:
            self.compile_fragments()
        except Wrong as wrong:
            complaints.append(str(wrong))
        if self.folder is not None:
            shutil.rmtree(self.folder)
        return complaints

    def block(self, block):
        directives = {}
        for part in filter(None, re.split(r", *", block.directive)):
            word, _, argument = part.partition(" ")
            if word not in ("schema", "save", "file", "output", "elsewhere", "statements"):
                raise Wrong(f"unknown directive {part}")
            directives[word] = argument
        if block.indented:
            return self.command(block.text)
        if "elsewhere" in directives:
            if directives["elsewhere"] not in self.tree.tests:
                raise Wrong(f"there is no test {directives['elsewhere']}")
            return None
        rule = self.rule(block.language)
        if rule is None:
            raise Wrong(f"there is no rule for a block of {block.language}")
        if "file" in directives and self.tree.text(directives["file"]) != block.text:
            raise Wrong(f"{directives['file']} has another text")
        if "save" in directives:
            path = self.enter_folder() / directives["save"]
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(block.text, encoding="utf-8")
        if "output" in directives:
            [printed] = self.run([directives["output"]])
            self.compare(directives["output"], block.text, printed)
        return rule(block, directives)

    # Commands

    def command(self, line):
        if line.startswith("{"):
            self.parse_json(line)
        else:
            Commands(self.tree).check(line)

    def sh(self, block, _directives):
        for line in block.text.splitlines():
            self.command(line)

    def enter_folder(self):
        if self.folder is None:
            self.folder = pathlib.Path(tempfile.mkdtemp(prefix=FOLDER, dir="/"))
            assert len(str(self.folder)) == len(CHECKOUT), self.folder
            for entry in self.tree.source.iterdir():
                if entry.name == "samples":
                    shutil.copytree(entry, self.folder / entry.name)
                elif entry.name not in ("build", ".git"):
                    (self.folder / entry.name).symlink_to(entry)
        return self.folder

    def run(self, commands):
        """Runs the commands in one shell and returns the output of each."""
        build = self.tree.build
        mark = "----8<----"
        script = "".join(f"{command}\n" for command in self.lasting)
        script += "".join(f"echo '{mark}'\n{command}\n" for command in commands)
        environment = {
            "PATH": f"{build}/tools/sysconfctl:{build}/examples/where-am-i:"
            f"{build}/examples/database-entry:{os.environ['PATH']}",
            "LD_LIBRARY_PATH": f"{build}/src",
            "BUILD": str(build),
            "HOME": str(self.work),
            "LC_ALL": "C.UTF-8",
            "COLUMNS": "80",
        }
        run = subprocess.run(
            ["bash", "-c", script],
            cwd=self.enter_folder(),
            env=environment,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
            timeout=120,
            check=False,
        )
        printed = run.stdout.replace(str(self.folder), CHECKOUT)
        return printed.split(mark + "\n")[1:]

    def console(self, block, _directives):
        commands, expected = [], []
        for line in block.text.splitlines():
            if line.startswith("$ "):
                commands.append(line[2:])
                expected.append("")
            elif not commands:
                raise Wrong('a block that is run must start with "$ "')
            else:
                expected[-1] += line + "\n"
        if not commands:
            raise Wrong("a block without a command")
        printed = self.run(commands)
        if len(printed) != len(commands):
            raise Wrong(f"the shell ended before {commands[len(printed)]}")
        self.lasting += [command for command in commands if re.match("(cd|export) ", command)]
        for command, wanted, text in zip(commands, expected, printed):
            self.compare(command, wanted, text)

    @staticmethod
    def compare(command, wanted, printed):
        parts = re.split(r"(?m)^ *\.\.\.\n", wanted)
        pattern = r"(?:.*\n)*?".join(re.escape(part) for part in parts)
        # Blank lines at the end are ignored.
        if not re.fullmatch(pattern, printed.rstrip("\n") + "\n" if printed.strip() else ""):
            raise Wrong(f"{command}\nprints\n{printed}and not\n{wanted}")

    # Programs

    def compiler(self, arguments):
        tree = self.tree
        flags = subprocess.run(
            ["pkg-config", "--cflags", "jsoncpp", "ACE"],
            stdout=subprocess.PIPE,
            text=True,
            check=True,
        ).stdout.split()
        succeed(
            [*tree.launcher, tree.cxx, "-std=c++17", "-Wall", "-Wextra", *flags, *tree.flags]
            + [f"-I{tree.source}/include", *arguments],
            cwd=self.work,
        )

    def cpp(self, block, directives):
        if re.search(r"\bint main\(", block.text):
            self.program = block.text
            if not any(
                later.language == "cmake" and later.line > block.line for later in self.page.blocks
            ):
                self.compile_program()
            return
        text = block.text
        if "statements" in directives:
            text = "[[maybe_unused]] void run() {\n" + self.at(block) + text + "}\n"
        self.fragments.append(self.at(block) + text)

    def at(self, block):
        return f'#line {block.line} "{self.page.path}"\n'

    def compile_program(self):
        source = self.work / "program.cpp"
        source.write_text(self.program, encoding="utf-8")
        self.compiler(["-c", source, "-o", self.work / "program.o"])
        self.compiler(
            [self.work / "program.o", "-o", self.work / "program"]
            + ["-Wl,--allow-shlib-undefined", self.tree.build / "src/libsysconfreader.so"]
            + ["-ljsoncpp", "-lACE"]
        )

    def compile_fragments(self):
        if not self.fragments:
            return
        source = self.work / "fragments.cpp"
        source.write_text(
            PREAMBLE
            + "".join(
                f"namespace fragment_{number} {{\n{fragment}\n}}\n"
                for number, fragment in enumerate(self.fragments)
            ),
            encoding="utf-8",
        )
        self.compiler(["-fsyntax-only", source])

    def cmake(self, block, directives):
        whole = "project(" in block.text
        if whole and self.program is None:
            raise Wrong("a project without a program before it")
        if whole and "save" in directives:
            project = (self.enter_folder() / directives["save"]).parent
            folder = project / "build"
        else:
            project = self.work / f"project-{block.line}"
            folder = self.enter_folder() / "build" if whole else self.work / f"piece-{block.line}"
            self.write_project(project, block.text, whole)
        package = self.write_package(self.work / f"package-{block.line}")
        commands = [
            [self.tree.cmake, "-S", project, "-B", folder, "-G", "Ninja"]
            + [f"-Dsysconfreader_DIR={package}", f"-DCMAKE_CXX_COMPILER={self.tree.cxx}"]
            + [f"-DCMAKE_CXX_COMPILER_LAUNCHER={';'.join(self.tree.launcher)}"]
        ]
        if whole:
            commands.append([self.tree.cmake, "--build", folder])
        for command in commands:
            succeed(command)

    def write_project(self, project, text, whole):
        project.mkdir(parents=True)
        (project / "main.cpp").write_text(self.program or "", encoding="utf-8")
        around = "cmake_minimum_required(VERSION 3.25)\nproject(piece LANGUAGES CXX)\n"
        for target in sorted(set(re.findall(r"target_link_libraries\(\s*(\S+)", text))):
            around += f"add_executable({target} main.cpp)\n"
        (project / "CMakeLists.txt").write_text(text if whole else around + text, encoding="utf-8")

    def write_package(self, package):
        """Replaces the installed package, which is tested elsewhere."""
        package.mkdir()
        (package / "sysconfreader-config.cmake").write_text(
            f"""
find_package(PkgConfig REQUIRED)
pkg_check_modules(JSONCPP REQUIRED IMPORTED_TARGET jsoncpp)
pkg_check_modules(ACE REQUIRED IMPORTED_TARGET ACE)
add_library(sysconfreader::sysconfreader SHARED IMPORTED)
set_target_properties(sysconfreader::sysconfreader PROPERTIES
  IMPORTED_LOCATION "{self.tree.build}/src/libsysconfreader.so"
  INTERFACE_INCLUDE_DIRECTORIES "{self.tree.source}/include"
  INTERFACE_LINK_LIBRARIES "PkgConfig::JSONCPP;PkgConfig::ACE")
""",
            encoding="utf-8",
        )
        (package / "sysconfreader-config-version.cmake").write_text(
            'set(PACKAGE_VERSION "0.1.0")\nset(PACKAGE_VERSION_COMPATIBLE TRUE)\n',
            encoding="utf-8",
        )
        return package

    # Texts

    @staticmethod
    def parse_json(text):
        try:
            return json.loads(text)
        except ValueError as error:
            raise Wrong(f"not JSON: {error}") from error

    def json(self, block, directives):
        value = self.parse_json(block.text)
        if "schema" not in directives:
            return
        path = self.tree.source / "schema" / (directives["schema"] + ".schema.json")
        schema = json.loads(path.read_text(encoding="utf-8"))
        resolver = jsonschema.RefResolver(path.as_uri(), schema)
        validator = jsonschema.Draft7Validator(
            schema, resolver=resolver, format_checker=jsonschema.FormatChecker()
        )
        for error in validator.iter_errors(value):
            raise Wrong(f"not valid by {path.name}: {error.message}")

    @staticmethod
    def ini(block, directives):
        for line in block.text.splitlines():
            if not re.fullmatch(r"([A-Z_]+=.*|#.*|)", line):
                raise Wrong(f"not a line of an env file: {line}")
        if "save" not in directives:
            raise Wrong("an env file that is not saved")

    @staticmethod
    def mermaid(block, _directives):
        lines = [line for line in block.text.splitlines() if line.strip()]
        if not lines or lines[0].split()[0] not in MERMAID:
            raise Wrong(f"unknown kind of diagram: {lines[0] if lines else ''}")
        if len(lines) < 2:
            raise Wrong("an empty diagram")
        for line in lines:
            if line.count('"') % 2 != 0:
                raise Wrong(f"unbalanced quotes: {line}")
        begun = sum(bool(re.match(r" *(subgraph|alt|opt|loop|par)\b", line)) for line in lines)
        ended = sum(line.strip() == "end" for line in lines)
        if begun != ended:
            raise Wrong(f"{begun} parts start and {ended} end")


# A path of the tree in prose: below one of its folders, without wildcards.
PATH = re.compile(
    r"(?:src|include|docs|scripts|tests|platform|tools|samples|schema|fuzz|benchmarks|examples"
    r"|cmake|packaging)/[\w./+-]*"
)


def check_links(tree, page, anchors_of):
    """Finds broken links, and paths in prose that do not exist."""
    complaints = [f"{page.path}:{line}: {text}" for line, text in page.complaints]

    def complain(line, text):
        complaints.append(f"{page.path}:{line}: {text}")

    for line, target in page.links:
        path, _, anchor = target.partition("#")
        if re.match(r"[a-z]+:", target):
            if not re.fullmatch(r"https?://[\w.-]+\.[a-z]+(/\S*)?", target):
                complain(line, f"{target} is not a web address")
            continue
        leads_to = (page.path.parent / path).resolve() if path else page.path.resolve()
        if not leads_to.exists():
            complain(line, f"there is no {target}")
        elif tree.source.resolve() not in (leads_to, *leads_to.parents):
            complain(line, f"{target} leads out of the project")
        elif anchor and anchor not in anchors_of(leads_to):
            complain(line, f"{leads_to.name} has no heading for #{anchor}")
    for line, code in page.code:
        # A folder in capitals is a placeholder.
        if re.search(r"/[A-Z]+(/|$)", code):
            continue
        if PATH.fullmatch(code) and not (tree.source / code).exists():
            complain(line, f"there is no {code}")
    return complaints


def check_reachable(first, all_pages):
    """Finds pages that cannot be reached by links from the first page."""
    by_path = {page.path.resolve(): page for page in all_pages}
    seen, waiting = set(), [first.resolve()]
    while waiting:
        path = waiting.pop()
        if path in seen or path not in by_path:
            continue
        seen.add(path)
        for _, target in by_path[path].links:
            leads_to = (path.parent / target.partition("#")[0]).resolve()
            waiting.append(leads_to / "README.md" if leads_to.is_dir() else leads_to)
    return [
        f"{page.path}: no link leads here" for path, page in by_path.items() if path not in seen
    ]


def check_complete(source):
    """Finds operations, keys of the files and build options that are not documented."""
    source = pathlib.Path(source)
    keys_page = (source / "docs/configuration-files.md").read_text(encoding="utf-8")
    answers = (source / "docs/answers.md").read_text(encoding="utf-8") + keys_page
    complaints = []
    operations = set()
    for header in "SysConfReader.h", "SysConfReader_i.h":
        text = (source / "include" / header).read_text(encoding="utf-8")
        public = text.partition("public:")[2].partition("private:")[0]
        operations |= set(re.findall(r"^    [\w:<>, ]+ (\w+)\(", public, re.MULTILINE))
    for operation in sorted(operations - {"init_i"}):
        if not re.search(rf"\b{operation}\b", answers):
            complaints.append(f"answers.md: {operation} is missing")

    def members(schema):
        for name, member in schema.get("properties", {}).items():
            yield name
            yield from members(member)
        for key in {"items", "additionalProperties"} & schema.keys():
            yield from members(schema[key])
        for definition in schema.get("definitions", {}).values():
            yield from members(definition)

    for path in sorted(source.glob("schema/*.json")):
        for name in members(json.loads(path.read_text(encoding="utf-8"))):
            if not re.search(rf"`[^`]*\b{name}\b[^`]*`", keys_page):
                complaints.append(f"configuration-files.md: {name} of {path.name} is missing")
    options_page = (source / "docs/platform.md").read_text(encoding="utf-8")
    lists = (source / "CMakeLists.txt").read_text(encoding="utf-8")
    options = set(re.findall(r"option\(\s*(SYSCONFREADER_\w+)", lists))
    options |= set(re.findall(r"set\(\s*(SYSCONFREADER_\w+)[^()]*\bCACHE\b", lists))
    for option in sorted(options):
        if f"| `{option}` |" not in options_page:
            complaints.append(f"platform.md: {option} is missing")
    if len(options) < 8:
        complaints.append(f"only {len(options)} options were found in CMakeLists.txt")
    if len(operations) < 30:
        complaints.append(f"only {len(operations)} operations were found in the headers")
    return complaints


def read_pages(source):
    source = pathlib.Path(source)
    found = [
        *source.glob("*.md"),
        *source.glob("docs/**/*.md"),
        *source.glob("samples/**/*.md"),
        *source.glob("examples/**/*.md"),
        *source.glob("benchmarks/**/*.md"),
    ]
    return [pages.read(path) for path in sorted(found)]
