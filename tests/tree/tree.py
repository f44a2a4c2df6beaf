"""What the checks of the tree share: where things are, what the public headers export, how a check ends."""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
WARNINGS = "-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wstrict-prototypes -Werror".split()
SKIPPED = 77  # the exit status that CTest counts as skipped


def public_headers():
    return sorted((ROOT / "include" / "auspool").glob("*.h"))


def code_of(text):
    """C or C++ text without comments and preprocessor lines."""
    text = re.sub(r"/\*.*?\*/|//[^\n]*", " ", text, flags=re.S)
    return re.sub(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", "", text, flags=re.M)


def exported(header):
    """The functions that a public header marks AUSPOOL_API; data is not exported, a version of it could not change."""
    names = []
    for declaration in re.findall(r"\bAUSPOOL_API\b([^;]*);", code_of(header.read_text())):
        # The name is the first word before a bracket that does not open a pointer's declarator.
        name = re.search(r"\b(\w+)\s*\((?!\s*\*)", declaration)
        if not name:
            raise SystemExit(f"{header.name}: exports something else than a function: {' '.join(declaration.split())}")
        names.append(name.group(1))
    return names


def output_of(*command, **how):
    done = subprocess.run([str(word) for word in command], text=True, capture_output=True, **how)
    if done.returncode != 0:
        raise SystemExit(f"{' '.join(map(str, command))}\n{done.stdout}{done.stderr}exit status {done.returncode}")
    return done.stdout


def finish(problems, passed):
    """Ends a check: every problem on a line of its own, or one line that says what holds."""
    print("\n".join(problems) or passed)
    sys.exit(1 if problems else 0)


def skip(reason):
    print("skipped: " + reason)
    sys.exit(SKIPPED)
