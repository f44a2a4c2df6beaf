"""auspool-tags reads a folder of files of many origins as an independent reader does; skips where the folder is not.

usage: tags_corpus.py PROGRAM FOLDER"""
import shlex
import subprocess
import sys
from pathlib import Path

SKIPPED = 77
READ = (".aif", ".wav", ".caf", ".mp3", ".flac")  # by parts of file names; .aif serves .aiff and .aifc too

program, folder = sys.argv[1], Path(sys.argv[2])
check = folder / "check.py"
if not check.exists():
    print(f"skipped: there is no corpus of tagged files at {folder}")
    sys.exit(SKIPPED)
command = f"{shlex.quote(program)} read --json"
failed = [part for part in READ if subprocess.run([sys.executable, "-B", check, command, folder / "tags", part]).returncode]
sys.exit(1 if failed else 0)
