"""README is true: its C program is examples/minimal.c, its commands, packages and links exist."""
import os
import re

from tree import ROOT, finish, skip

readme = ROOT / "README.md"
if not readme.exists():
    skip("there is no README.md")
text = readme.read_text()
blocks = re.findall(r"^```(\w*)\n(.*?)^```", text, re.M | re.S)
packages = re.findall(r"^[a-z]+\s+(\S+)", (ROOT / "packages.txt").read_text(), re.M)

problems = []
if (ROOT / "examples/minimal.c").read_text() not in [body for language, body in blocks if language == "c"]:
    problems.append("no C program in it equals examples/minimal.c")
for language, body in blocks:
    for command in re.findall(r"^(?:\$ )?(\./[\w./-]+)", body, re.M):
        if not os.access(ROOT / command, os.X_OK):
            problems.append(f"{command} is not a program")
    for line in re.findall(r"apt(?:-get)? install (.*)", body):
        problems += [f"{word} is not in packages.txt" for word in line.split() if word[0] != "-" and word not in packages]
for program in set(re.findall(r"\bauspool-(\w+)\b", text)):
    if not list((ROOT / "examples").glob(program + ".c*")) and not (ROOT / "cmake" / f"auspool-{program}.cmake.in").exists():
        problems.append(f"auspool-{program} is not among the examples")
for link in re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", text):
    if not (ROOT / link).exists():
        problems.append(f"the link to {link} leads nowhere")
finish([f"README.md: {problem}" for problem in problems], "its program, commands, packages and links are there")
