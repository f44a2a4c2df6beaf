"""The noise of each dither at each common rate, measured from the running library, is as its filter was designed.

usage: dither_noise.py make_dither_spectra"""
import sys

from tree import ROOT, finish

sys.path.insert(0, str(ROOT / "tools"))
sys.dont_write_bytecode = True
import draw_dither  # noqa: E402
import shape_tables  # noqa: E402

ALLOWED = 0.5  # decibels

problems = []
weights = shape_tables.f_weights()
spectra = draw_dither.spectra(sys.argv[1])
if spectra.keys() != {(name, rate) for name in draw_dither.COLOURS for rate in shape_tables.RATES}:
    problems.append(f"measured are {sorted(spectra)}")
for (name, rate), levels in spectra.items():
    measured, designed = (draw_dither.weighted(levels[what], weights[rate]) for what in ("measured", "designed"))
    if name == "fwgt":  # what the generator promises
        designed = shape_tables.weighted_noise(weights[rate], shape_tables.RATES[rate])
    if abs(measured - designed) > ALLOWED:
        problems.append(f"{name} at {rate}: weighted noise {measured:+.2f} dB, designed {designed:+.2f}")
    # A band has the mean of some 2400 values: a tone would stand out. Rectangular noise leaves some of the signal.
    worst = max(abs(a - b) for a, b in zip(levels["measured"], levels["designed"]))
    if name != "rpdf" and worst > 1:
        problems.append(f"{name} at {rate}: a band is {worst:.2f} dB off its design")
finish(problems, f"{len(spectra)} spectra are as designed")
