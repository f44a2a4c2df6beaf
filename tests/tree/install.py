"""An installed tree serves a C program, by find_package and by pkg-config, shared and static, also after it was moved.

usage: install.py BUILD-FOLDER LIBDIR CMAKE C-COMPILER"""
import os
import sys
import tempfile
from pathlib import Path

from tree import ROOT, finish, output_of

build, libdir, cmake, compiler = sys.argv[1:5]
program = ROOT / "examples" / "minimal.c"
problems = []


def check_recording(way, folder, binary, **environment):
    """Runs the program, which is to leave a recording of two seconds in its folder."""
    folder.mkdir()
    output_of(binary, cwd=folder, env={**os.environ, **environment})
    sizes = [file.stat().st_size for file in folder.iterdir()]
    if sizes != [54 + 2 * 44100 * 4]:
        problems.append(f"by {way}: the program left files of {sizes} bytes")


def by_find_package(scratch, prefix):
    output_of(cmake, "-G", "Ninja", "-S", ROOT / "tests/tree/consumer", "-B", scratch / "consumer", f"-DPROGRAM={program}",
              f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCMAKE_C_COMPILER={compiler}")
    output_of(cmake, "--build", scratch / "consumer")
    check_recording("find_package", scratch / "of-cmake", scratch / "consumer" / "consumer")


def by_pkg_config(scratch, prefix, *how):
    where = {**os.environ, "PKG_CONFIG_PATH": str(prefix / libdir / "pkgconfig")}
    flags = output_of("pkg-config", *how, "--cflags", "--libs", "auspool", env=where).split()
    name = "-".join(["pkg-config", *how])
    output_of(compiler, "-std=c11", program, "-o", scratch / name, *flags, "-lm")
    check_recording(name, scratch / f"of-{name}", scratch / name, LD_LIBRARY_PATH=str(prefix / libdir))


def check_resources(scratch, prefix):
    """The moved library finds the list of genres beside it: number 17 in a tag is Rock."""
    genre = b"TCON" + (5).to_bytes(4, "big") + b"\0\0" + b"\0(17)"
    tagged = scratch / "tagged.mp3"
    tagged.write_bytes(b"ID3\3\0\0" + len(genre).to_bytes(4, "big") + genre)
    shown = output_of(prefix / "bin" / "auspool-tags", "read", tagged)
    if "Rock" not in shown:
        problems.append(f"genres.plist was not found beside the library: {shown}")


with tempfile.TemporaryDirectory() as folder:
    scratch = Path(folder)
    output_of(cmake, "--install", build, "--prefix", scratch / "installed")
    prefix = (scratch / "installed").rename(scratch / "moved")
    by_find_package(scratch, prefix)
    by_pkg_config(scratch, prefix)
    programs = sorted((prefix / "bin").glob("auspool-*"))
    for installed in programs:
        output_of(installed, "--help")
    check_resources(scratch, prefix)
    for shared in (prefix / libdir).glob("libauspool.so*"):
        shared.unlink()
    by_pkg_config(scratch, prefix, "--static")
if not programs:
    problems.append("no program was installed")
finish(problems, f"two ways to link it shared, one static, and {len(programs)} programs that start")
