"""A family of src/ includes its own headers, the public ones, src/base/, src/platform/*.h, and the families it builds on."""
import re

from tree import ROOT, finish

SRC, PUBLIC = ROOT / "src", ROOT / "include"

# The families that a family builds on, beside base and platform. Every arrow more makes the library harder to take apart.
ARROWS = {
    "recorder": {"buffers", "tags", "m4a"},
    "auplayer": {"buffers", "resampler"},
    "auline": {"auplayer"},
    "audiskdelay": {"buffers"},
}
LEAVES = {"base"}  # they include nothing of ours but themselves


def target_of(source, name):
    """The file of ours that an include names, or None for the standard library and third parties."""
    for folder in (source.parent, SRC, PUBLIC):
        if (folder / name).is_file():
            return (folder / name).resolve()
    return None


def problem_with(source, target):
    family = source.relative_to(SRC).parts[0]
    if target.is_relative_to(PUBLIC):
        return "base includes nothing of other folders" if family in LEAVES else None
    if not target.is_relative_to(SRC):
        return "the library includes nothing outside src/ and include/"
    parts = target.relative_to(SRC).parts
    if parts[0] == family or (parts[0] == "base" and family not in LEAVES) or parts[0] in ARROWS.get(family, ()):
        return None
    if parts[0] == "platform" and family not in LEAVES:
        return None if len(parts) == 2 else "what lies below src/platform/ stays inside it"
    return f"{family} does not build on {parts[0]}"


problems, seen = [], 0
for source in sorted(SRC.rglob("*")):
    if source.suffix not in (".h", ".cpp", ".inc") or source.parent == SRC:
        continue
    for number, line in enumerate(source.read_text().splitlines(), 1):
        include = re.match(r'\s*#\s*include\s*["<]([^">]+)[">]', line)
        target = include and target_of(source, include.group(1))
        if not target:
            continue
        seen += 1
        problem = problem_with(source, target)
        if problem:
            problems.append(f"{source.relative_to(ROOT)}:{number}: {include.group(1)}: {problem}")
finish(problems, f"{seen} includes between our files, each along an arrow")
