"""The version stands in version.h; the library's file, its SONAME and the installed descriptions follow it.

usage: version.py LIBRARY"""
import os
import re
import sys
from pathlib import Path

from tree import ROOT, finish, output_of

library = Path(sys.argv[1])
numbers = dict(re.findall(r"#define AUSPOOL_VERSION_([A-Z]+) (\d+)", (ROOT / "include/auspool/version.h").read_text()))
version = "{MAJOR}.{MINOR}.{PATCH}".format(**numbers)
soname = re.search(r"SONAME.*\[(.*)\]", output_of("readelf", "-d", library)).group(1)
pc = re.search(r"^Version: (.*)$", (library.parent / "auspool.pc").read_text(), re.M).group(1)
package = (library.parent / "auspool-config-version.cmake").read_text()

expected = [
    ("the library's file", os.path.basename(os.path.realpath(library.parent / "libauspool.so")), f"libauspool.so.{version}"),
    ("SONAME", soname, f"libauspool.so.{numbers['MAJOR']}"),
    ("what SONAME leads to", os.path.realpath(library.parent / soname), os.path.realpath(library)),
    ("auspool.pc", pc, version),
    ("auspool-config-version.cmake", re.search(r'PACKAGE_VERSION "(.*)"', package).group(1), version),
]
finish([f"{what}: {found}, not {wanted}" for what, found, wanted in expected if found != wanted], f"version {version}")
