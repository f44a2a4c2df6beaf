"""What the checks of the tree share: where things are, what the public headers export, how a check ends."""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
WARNINGS = "-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror".split()
SKIPPED = 77  # the exit status that CTest counts as skipped


def public_headers():
    return sorted((ROOT / "include" / "auspool").glob("*.h"))


def code_of(text):
    """C or C++ text without comments and preprocessor lines."""
    text = re.sub(r"/\*.*?\*/|//[^\n]*", " ", text, flags=re.S)
    return re.sub(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", "", text, flags=re.M)


def exported(header):
    """What a public header marks AUSPOOL_API: (functions, tables)."""
    functions, tables = [], []
    for declaration in re.findall(r"\bAUSPOOL_API\b([^;]*);", code_of(header.read_text())):
        # A function's name is the first word before a bracket that does not open a pointer's declarator.
        function = re.search(r"\b(\w+)\s*\((?!\s*\*)", declaration)
        if function:
            functions.append(function.group(1))
        else:
            tables.append(re.search(r"(\w+)\s*(?:\[[^\]]*\]\s*)*$", declaration).group(1))
    return functions, tables


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
