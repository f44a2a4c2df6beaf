"""The shared library exports what the public headers mark AUSPOOL_API: nothing more, nothing less.

usage: exports.py LIBRARY"""
import sys

from tree import exported, finish, output_of, public_headers

promised = {name: header.name for header in public_headers() for name in sum(exported(header), [])}
symbols = [line.split() for line in output_of("nm", "-D", "--defined-only", sys.argv[1]).splitlines()]
found = {symbol[-1].split("@")[0] for symbol in symbols if symbol[-2] != "A"}  # A: the version's own name

problems = [f"{promised[name]} declares {name}, which the library does not export" for name in promised.keys() - found]
problems += [f"the library exports {name}, which no public header marks AUSPOOL_API" for name in found - promised.keys()]
finish(sorted(problems), f"{len(found)} exported names, as the headers say")
