"""data/genres.plist is what tools/genres.py prints."""
import subprocess
import sys

from tree import ROOT, finish

printed = subprocess.run([sys.executable, "-B", ROOT / "tools" / "genres.py"], capture_output=True, check=True).stdout
same = (ROOT / "data" / "genres.plist").read_bytes() == printed
finish([] if same else ["data/genres.plist differs: run tools/genres.py > data/genres.plist"], "genres.plist as generated")
