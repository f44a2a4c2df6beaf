"""Each public header compiles alone, twice in a row, as C11 and as C++20, and a C program links all that it declares.

usage: headers.py C-COMPILER C++-COMPILER LIBRARY [SANITIZERS]"""
import subprocess
import sys
import tempfile
from pathlib import Path

from tree import ROOT, WARNINGS, exported, finish, public_headers

c, cxx, library = sys.argv[1:4]
sanitize = [f"-fsanitize={sys.argv[4]}"] if sys.argv[4:] and sys.argv[4] else []


def program(headers):
    """A C program that takes the address of all that these headers export, each included twice."""
    includes = "".join(f"#include <auspool/{header.name}>\n" for header in headers) * 2
    functions, tables = (sum(names, []) for names in zip(*map(exported, headers)))
    addresses = "".join(f"  (void (*)(void)){name},\n" for name in functions)
    places = "".join(f"  {name},\n" for name in tables)
    return f"{includes}\nvoid (*const functions[])(void) = {{\n{addresses}  0}};\n" \
           f"const void *const tables[] = {{\n{places}  0}};\n" \
           f"int main(void) {{ return functions[{len(functions)}] != 0 || tables[{len(tables)}] != 0; }}\n"


def compile_and_run(folder, name, headers):
    source = Path(folder, name + ".c")
    source.write_text(program(headers))
    thing, binary = source.with_suffix(".o"), source.with_suffix("")
    include = f"-I{ROOT}/include"
    # With sanitizers the library needs the C++ part of their runtime, which the C compiler does not link.
    linker = cxx if sanitize else c
    commands = [
        [c, "-std=c11", *WARNINGS, "-Wstrict-prototypes", *sanitize, include, "-c", source, "-o", thing],
        [cxx, "-x", "c++", "-std=c++20", *WARNINGS, include, "-fsyntax-only", source],
        [linker, *sanitize, thing, "-o", binary, library, f"-Wl,-rpath,{Path(library).parent}"],
        [binary],
    ]
    for command in commands:
        done = subprocess.run([str(word) for word in command], text=True, capture_output=True)
        if done.returncode != 0:
            return [f"{name}: {' '.join(map(str, command))}\n{done.stdout}{done.stderr}"]
    return []


problems = []
with tempfile.TemporaryDirectory() as folder:
    for header in public_headers():
        problems += compile_and_run(folder, header.stem, [header])
    problems += compile_and_run(folder, "all_together", public_headers())
finish(problems, f"{len(public_headers())} headers, alone and together")
