"""What the checks share: finding the sources, and reading C++ far enough to tell code from
comments and texts. A check is a function from the root of a tree to a list of findings, each
"path:line: words"; `run` turns it into a program.
"""
import pathlib
import re
import sys

FOLDERS = ("src", "host", "demo", "tests", "bench", "fuzz")

_TOKEN = re.compile(
    r"""(?P<comment>//(?:\\\n|[^\n])*|/\*.*?\*/)
      |(?P<raw>\b(?:u8|u|U|L)?R"(?P<mark>[^()\\\s]{0,16})\(.*?\)(?P=mark)")
      |(?P<include>^[ \t]*\#[ \t]*include[^\n]*)
      |(?P<text>"(?:\\.|[^"\\\n])*")
      |(?P<number>\b\d(?:'?[\w.])*)
      |(?P<char>'(?:\\.|[^'\\\n])+')""",
    re.VERBOSE | re.DOTALL | re.MULTILINE)


def _blank(text):
    return re.sub(r"[^\n]", " ", text)


def code_only(source):
    """The source with comments and the insides of texts blanked out; lines and columns stay."""
    def replace(match):
        kind = match.lastgroup if match.lastgroup != "mark" else "raw"
        token = match.group(0)
        if kind == "number":
            return token
        if kind == "include":
            return re.sub(r"(//|/\*).*", lambda tail: _blank(tail.group(0)), token)
        if kind == "text":
            return '"' + _blank(token[1:-1]) + '"'
        return _blank(token)
    return _TOKEN.sub(replace, source)


def sources(root, folders=FOLDERS, suffixes=(".h", ".cpp")):
    """(path relative to the root with "/", text) of each source file, in order."""
    found = []
    for folder in folders:
        for path in sorted((pathlib.Path(root) / folder).rglob("*")):
            if path.suffix in suffixes and path.is_file():
                found.append((path.relative_to(root).as_posix(), path.read_text("utf-8")))
    return found


def line_of(text, offset):
    return text.count("\n", 0, offset) + 1


def includes(source):
    """(line, name, quoted) of each #include."""
    pattern = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)
    code = code_only(source)
    return [(line_of(code, match.start(match.lastindex)), match.group(match.lastindex),
             match.lastindex == 1) for match in pattern.finditer(code)]


def run(name, check):
    """The check as a program: [ROOT] as its argument, by default the tree it stands in."""
    default = pathlib.Path(__file__).resolve().parents[2]
    root = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else default
    count = len(sources(root))
    findings = check(root) if count else [f"{root}: holds no sources"]
    for finding in findings:
        print(finding)
    print(f"{name}: {count} files, {len(findings)} findings")
    return 1 if findings else 0
