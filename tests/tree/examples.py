"""Each public header of a family begins with an example: a whole C program, indented by three, which compiles.

usage: examples.py C-COMPILER"""
import re
import subprocess
import sys
import tempfile
from pathlib import Path

from tree import ROOT, WARNINGS, finish, public_headers

WITHOUT = {"types.h", "version.h"}  # they declare no function


def example(header):
    """The first run of lines in the opening comment that starts with an #include and stays indented by three."""
    comment = header.read_text().partition("*/")[0]
    found = re.search(r"^ \*   #include.*\n(?: \*(?:   .*)?\n)*", comment, re.M)
    return re.sub(r"^ \*(?:   )?", "", found.group(), flags=re.M) if found else ""


problems = []
with tempfile.TemporaryDirectory() as folder:
    for header in public_headers():
        if header.name in WITHOUT:
            continue
        text = example(header)
        if f"#include <auspool/{header.name}>" not in text or "int main(void)" not in text:
            problems.append(f"{header.name}: no example that includes it and has a main, before the first declaration")
            continue
        source = Path(folder, header.stem + ".c")
        source.write_text(text)
        done = subprocess.run([sys.argv[1], "-std=c11", "-D_POSIX_C_SOURCE=200809L", *WARNINGS, f"-I{ROOT}/include",
                               "-fsyntax-only", str(source)], text=True, capture_output=True)
        if done.returncode != 0:
            problems.append(f"{header.name}: its example does not compile\n{done.stderr}")
finish(problems, f"{len(public_headers()) - len(WITHOUT)} examples compile")
