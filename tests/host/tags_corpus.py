"""auspool-tags reads a folder of files of many origins as an independent reader does; skips where the folder is not.

usage: tags_corpus.py PROGRAM FOLDER
       tags_corpus.py --one PROGRAM FILE   what PROGRAM reads of the file, as the folder's own reader would have it"""
import json
import shlex
import subprocess
import sys
from pathlib import Path

SKIPPED = 77
READ = (".aif", ".wav", ".caf", ".mp3", ".flac")  # by parts of file names; .aif serves .aiff and .aifc too
FILMS = (".m4a", ".mp4", ".m4b", ".mov")  # or what may be one

# The expectation finds hexadecimal fields by going back over what it has read; scanf never does, and gives none.
SCANNED = ("gen-m4a_smpb_letters-a.m4a: tags.Autag2GaplessInfo", "gen-m4a_smpb_three_fields-a.m4a: tags.Autag2GaplessInfo")


def read_one(program, path):
    result = json.loads(subprocess.run([program, "read", "--json", path], check=True, stdout=subprocess.PIPE).stdout)
    file = Path(path).read_bytes()
    # A film without a cover gets a picture of its own, which the expectation cannot know.
    if b"vmhd" in file and b"covr" not in file and result["tags"]:
        result["tags"].pop("AlbumCover", None)
    return json.dumps(result)


def differences(program, folder, part):
    command = f"{shlex.quote(program)} read --json"
    if part in FILMS:
        command = f"{shlex.quote(sys.executable)} {shlex.quote(__file__)} --one {shlex.quote(program)}"
    check = [sys.executable, "-B", folder / "check.py", command, folder / "tags", part]
    lines = subprocess.run(check, stdout=subprocess.PIPE, text=True).stdout.splitlines()
    if not lines or not lines[-1].endswith("files differ") or lines[-1].endswith(" 0 files differ"):
        return [f"{part}: nothing was compared", *lines]
    return [line for line in lines[:-1] if not line.startswith(SCANNED)]


if sys.argv[1] == "--one":
    print(read_one(*sys.argv[2:]))
    sys.exit(0)
program, folder = sys.argv[1], Path(sys.argv[2])
if not (folder / "check.py").exists():
    print(f"skipped: there is no corpus of tagged files at {folder}")
    sys.exit(SKIPPED)
failed = [line for part in READ + FILMS for line in differences(program, folder, part)]
print("\n".join(failed))
sys.exit(1 if failed else 0)
