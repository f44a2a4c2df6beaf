"""The noise-shaping tables are what their generator computes, and do what it is for."""
import re
import sys

from tree import ROOT, finish

sys.path.insert(0, str(ROOT / "tools"))
sys.dont_write_bytecode = True
import shape_tables as generator  # noqa: E402

problems = []
text = (ROOT / "src/bitbox/shape_tables.cpp").read_text()
stored = {name: [float(tap) for tap in re.findall(r"-?\d+\.\d+(?=f)", body)]
          for name, body in re.findall(r"float (\w+)\[\d*\] = \{(.*?)\};", text, re.S)}
computed = generator.tables()
if stored.keys() != computed.keys():
    problems.append(f"the tables are {sorted(stored)}, not {sorted(computed)}")
for name in stored.keys() & computed.keys():
    # The last decimal may differ: the mathematical library of another machine may round otherwise.
    if len(stored[name]) != len(computed[name]) or max(
            abs(a - b) for a, b in zip(stored[name], computed[name])) > 1.5e-7:
        problems.append(f"{name} is not what tools/shape_tables.py computes")
for name, (given, _) in generator.FLOORS.items():
    taps = stored[f"flat_floor_{name}_coeffs"]
    floor = [generator.decibels_at(taps, i / 100) for i in range(64)]
    if max(floor) - min(floor) > 0.03:
        problems.append(f"the floor of {name} is not flat: {min(floor):.3f} to {max(floor):.3f} dB")
finish(problems, f"{len(stored)} tables are as computed")
