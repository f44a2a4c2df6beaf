"""What the library and the programs link stands in packages.txt, and in README's table of dependencies.

usage: dependencies.py LIBRARY PROGRAM..."""
import re
import shutil
import subprocess
import sys
from pathlib import Path

from tree import ROOT, finish, output_of, skip

TOOL_CHAIN = re.compile(r"lib(c6|gcc-\d+|stdc\+\+-\d+)-dev")


def linked_by(binary):
    names = re.findall(r"NEEDED.*\[(.*)\]", output_of("readelf", "-d", binary))
    return {name for name in names if not name.startswith(("libauspool.", "ld-linux"))}


def package_that_links(soname):
    """The Debian package with the file that -l finds: libsndfile1-dev for libsndfile.so.1."""
    development_name = re.sub(r"\.so\b.*", ".so", soname)
    path = Path(output_of("gcc", f"-print-file-name={development_name}").strip())
    for place in (path, path.parent.resolve() / path.name, path.resolve()):
        owner = subprocess.run(["dpkg", "-S", str(place)], text=True, capture_output=True)
        if owner.returncode == 0:
            return owner.stdout.split(":")[0]
    return None


if not shutil.which("dpkg"):
    skip("no dpkg here to ask which package a library is from")
rows = [line.split() for line in (ROOT / "packages.txt").read_text().splitlines() if re.match("[a-z]", line)]
to_build = {row[1] for row in rows if row[0] == "build"}
readme = ROOT / "README.md"
table = "\n".join(re.findall(r"^\|.*\|$", readme.read_text(), re.M)) if readme.exists() else None

problems = []
sonames = set().union(*map(linked_by, sys.argv[1:]))
for soname in sorted(sonames):
    package = package_that_links(soname)
    if package and TOOL_CHAIN.fullmatch(package):
        continue
    if package not in to_build:
        problems.append(f"packages.txt: {soname} is linked, its package {package} is not in the group build")
    elif table is not None and not re.search(rf"(?<![\w-]){re.escape(package)}(?![\w-])", table):
        problems.append(f"README.md: no table names {package}, which {soname} comes from")
finish(problems, f"{len(sonames)} linked libraries, all accounted for")
