#!/usr/bin/env python3
"""Computes the noise-shaping filters and writes src/bitbox/shape_tables.cpp.

    tools/shape_tables.py            writes the file
    tools/shape_tables.py --figures  prints what each filter does to the noise

A filter shapes white noise by H(z) = 1 - sum of tap[k] z^-(k+1). All filters here are free optima: they give the least
weighted noise power that their number of taps allows, which makes them minimum phase (J. Makhoul, "Linear prediction: a
tutorial review", 1975).

F-weighted filters. The weight of a frequency is the inverse of its level on the equal-loudness contour of 20 phon (ISO
226:2003; above 12.5 kHz the threshold of hearing of ISO 389-7 rises from it), levelled at 60 dB, where nothing is heard.
It is corrected by six cosines over the band up to 22.05 kHz, so that the optimum at 44100 opens with six given taps.
The cosines are flat at the band's edge, and above it their value there stands.

Flat-floor filters. The weight is flat up to the floor's edge and falls by a step, in decibels half a cosine. Height,
centre and width of the step are those with which the filter opens with three given taps.
"""
import cmath
import math
import pathlib
import sys

TARGET = pathlib.Path(__file__).resolve().parent.parent / "src/bitbox/shape_tables.cpp"

RATES = {44100: 24, 48000: 24, 64000: 24, 88200: 32, 96000: 32, 128000: 32, 176400: 32, 192000: 32,
         256000: 40, 352800: 40, 384000: 40}  # and taps
REFERENCE_RATE = 44100
REFERENCE_TAPS = (2.39151, -3.28444, 3.67951, -3.63504, 2.52418, -1.1467)
FLOOR_TAPS = 40
FLOORS = {  # the taps that are given, and where the search for the step begins: decibels, centre, half width
    "low": ((0.90868, -0.99152, 0.84997), (16.5, 0.72, 0.09)),
    "med": ((1.22172, -1.51588, 1.49728), (22.0, 0.72, 0.09)),
    "high": ((1.6268, -2.33413, 2.67536), (29.0, 0.72, 0.09)),
}
GRID = 4096  # frequencies from 0 to half the rate
PHON, CEILING = 20, 60

# ISO 226:2003, table 1: frequency, exponent of loudness perception, transfer magnitude, threshold of hearing.
ISO_226 = (
    (20, 0.532, -31.6, 78.5), (25, 0.506, -27.2, 68.7), (31.5, 0.480, -23.0, 59.5), (40, 0.455, -19.1, 51.1),
    (50, 0.432, -15.9, 44.0), (63, 0.409, -13.0, 37.5), (80, 0.387, -10.3, 31.5), (100, 0.367, -8.1, 26.5),
    (125, 0.349, -6.2, 22.1), (160, 0.330, -4.5, 17.9), (200, 0.315, -3.1, 14.4), (250, 0.301, -2.0, 11.4),
    (315, 0.288, -1.1, 8.6), (400, 0.276, -0.4, 6.2), (500, 0.267, 0.0, 4.4), (630, 0.259, 0.3, 3.0),
    (800, 0.253, 0.5, 2.2), (1000, 0.250, 0.0, 2.4), (1250, 0.246, -2.7, 3.5), (1600, 0.244, -4.1, 1.7),
    (2000, 0.243, -1.0, -1.3), (2500, 0.243, 1.7, -4.2), (3150, 0.243, 2.5, -6.0), (4000, 0.242, 1.2, -5.4),
    (5000, 0.242, -2.1, -1.5), (6300, 0.245, -7.1, 6.0), (8000, 0.254, -11.2, 12.6), (10000, 0.271, -10.7, 13.9),
    (12500, 0.301, -3.1, 12.3))
ISO_389_7 = ((14000, 18.4), (16000, 40.2), (18000, 73.2))


def contour():
    """Frequencies and levels of the equal-loudness contour."""
    points = []
    for frequency, exponent, transfer, threshold in ISO_226:
        a = 4.47e-3 * (10 ** (0.025 * PHON) - 1.15) + (0.4 * 10 ** ((threshold + transfer) / 10 - 9)) ** exponent
        points.append((frequency, 10 / exponent * math.log10(a) - transfer + 94))
    above_threshold = points[-1][1] - ISO_226[-1][3]
    return points + [(frequency, threshold + above_threshold) for frequency, threshold in ISO_389_7]


def spline(points):
    """The natural cubic spline through (x, y) points, held beyond its ends."""
    x, y = zip(*points)
    n = len(x)
    rows = [[0.0] * n for _ in range(n)]
    rows[0][0] = rows[-1][-1] = 1.0
    right = [0.0] * n
    for i in range(1, n - 1):
        rows[i][i - 1:i + 2] = x[i] - x[i - 1], 2 * (x[i + 1] - x[i - 1]), x[i + 1] - x[i]
        right[i] = 6 * ((y[i + 1] - y[i]) / (x[i + 1] - x[i]) - (y[i] - y[i - 1]) / (x[i] - x[i - 1]))
    curve = solve(rows, right)

    def value(at):
        at = min(max(at, x[0]), x[-1])
        i = max(k for k in range(n - 1) if x[k] <= at)
        h = x[i + 1] - x[i]
        a, b = (x[i + 1] - at) / h, (at - x[i]) / h
        return a * y[i] + b * y[i + 1] + ((a ** 3 - a) * curve[i] + (b ** 3 - b) * curve[i + 1]) * h * h / 6
    return value


def solve(rows, right):
    """Linear equations, by elimination with pivots."""
    n = len(right)
    m = [list(row) + [value] for row, value in zip(rows, right)]
    for i in range(n):
        pivot = max(range(i, n), key=lambda r: abs(m[r][i]))
        m[i], m[pivot] = m[pivot], m[i]
        for r in range(i + 1, n):
            factor = m[r][i] / m[i][i]
            if factor:
                m[r] = [u - factor * v for u, v in zip(m[r], m[i])]
    result = [0.0] * n
    for i in reversed(range(n)):
        result[i] = (m[i][n] - sum(m[i][k] * result[k] for k in range(i + 1, n))) / m[i][i]
    return result


def correlations(weights, order):
    """Of the signal whose power spectrum the weights are, at lags 0 to `order`."""
    sums = [0.0] * (order + 1)
    for i, weight in enumerate(weights):
        twice = 2 * math.cos(math.pi * (i + 0.5) / len(weights))
        before, now = twice / 2, 1.0
        for lag in range(order + 1):
            sums[lag] += weight * now
            before, now = now, twice * now - before
    return [value / len(weights) for value in sums]


def optimum(weights, order):
    """The taps that leave the least weighted noise: Durbin's recursion."""
    r = correlations(weights, order)
    taps, power = [], r[0]
    for lag in range(1, order + 1):
        reflection = (r[lag] - sum(tap * r[lag - 1 - k] for k, tap in enumerate(taps))) / power
        taps = [tap - reflection * other for tap, other in zip(taps, reversed(taps))] + [reflection]
        power *= 1 - reflection * reflection
    return taps


def meet(wanted, taps_of, start, most):
    """Parameters with which the taps open as wanted: Newton's method, no step beyond `most`."""
    parameters = list(start)
    for _ in range(50):
        taps = taps_of(parameters)
        missing = [w - t for w, t in zip(wanted, taps)]
        if max(map(abs, missing)) < 1e-10:
            return parameters
        columns = []
        for k in range(len(parameters)):
            moved = list(parameters)
            moved[k] += 1e-4 * most[k]
            columns.append([(a - b) / (1e-4 * most[k]) for a, b in zip(taps_of(moved), taps)][:len(wanted)])
        step = solve(list(zip(*columns)), missing)
        shorten = min([1.0] + [m / abs(s) for m, s in zip(most, step) if s])
        parameters = [p + shorten * s for p, s in zip(parameters, step)]
    raise ArithmeticError("the search for the given taps does not end")


def plain_weights(rate):
    level = spline([(math.log(frequency), value) for frequency, value in contour()])
    powers = (10 ** (level(math.log(max((i + 0.5) / GRID * rate / 2, 1.0))) / 10) for i in range(GRID))
    return [1 / power + 10 ** (-CEILING / 10) for power in powers]


def corrected(weights, rate, cosines):
    result = []
    for i, weight in enumerate(weights):
        angle = min((i + 0.5) / GRID * rate / REFERENCE_RATE, 1.0) * math.pi
        result.append(weight * math.exp(sum(c * math.cos((k + 1) * angle) for k, c in enumerate(cosines))))
    return result


def f_weights():
    """The weights at each rate."""
    plain = plain_weights(REFERENCE_RATE)
    cosines = meet(REFERENCE_TAPS, lambda c: optimum(corrected(plain, REFERENCE_RATE, c), RATES[REFERENCE_RATE]),
                   [0.0] * len(REFERENCE_TAPS), [0.5] * len(REFERENCE_TAPS))
    return {rate: corrected(plain_weights(rate), rate, cosines) for rate in RATES}


def floor_weights(step, centre, half_width):
    result = []
    for i in range(GRID):
        along = min(max(((i + 0.5) / GRID - centre + half_width) / (2 * half_width), 0.0), 1.0)
        result.append(10 ** (-step * (0.5 - 0.5 * math.cos(math.pi * along)) / 10))
    return result


def flat_floor(given, start):
    step = meet(given, lambda p: optimum(floor_weights(*p), FLOOR_TAPS), start, (1.0, 0.02, 0.02))
    return optimum(floor_weights(*step), FLOOR_TAPS)


def tables():
    """All taps by the names that they have in the library, as they are printed there."""
    result = {}
    for rate, weights in f_weights().items():
        result[f"fweighted_coeffs_{rate}"] = optimum(weights, RATES[rate])
    for name, (given, start) in FLOORS.items():
        result[f"flat_floor_{name}_coeffs"] = flat_floor(given, start)
    return {name: [round(tap, 7) for tap in taps] for name, taps in result.items()}


def decibels_at(taps, part_of_band):
    turn = cmath.exp(-1j * math.pi * part_of_band)
    return 20 * math.log10(abs(1 - sum(tap * turn ** (k + 1) for k, tap in enumerate(taps))))


def weighted_noise(weights, order):
    """Decibels of the optimum's weighted noise against white noise."""
    r = correlations(weights, order)
    filtered = [1.0] + [-tap for tap in optimum(weights, order)]
    power = sum(a * b * r[abs(i - k)] for i, a in enumerate(filtered) for k, b in enumerate(filtered))
    return 10 * math.log10(power / r[0])


def figures():
    for rate, weights in f_weights().items():
        total = 1 + sum(tap * tap for tap in optimum(weights, RATES[rate]))
        print(f"{rate:7d} {RATES[rate]} taps: weighted noise {weighted_noise(weights, RATES[rate]):+6.2f} dB,"
              f" all noise {10 * math.log10(total):+6.2f} dB")
    for name, taps in tables().items():
        if name.startswith("flat"):
            floor = [decibels_at(taps, i / 1000) for i in range(631)]
            peak = max(decibels_at(taps, i / 1000) for i in range(631, 1001))
            print(f"{name}: {min(floor):.2f} to {max(floor):.2f} dB up to 0.63 of the band, peak {peak:+.2f} dB")


def array(name, taps):
    lines, line = [], "   "
    for tap in taps:
        item = f" {tap:.7f}f,"
        if len(line) + len(item) > 110:
            lines.append(line)
            line = "   "
        line += item
    body = "\n".join(lines + [line])
    return f"constexpr float {name}[] = {{\n{body}\n}};\n"


def source():
    all_taps = tables()
    text = "// Written by tools/shape_tables.py, which tells how the taps are found.\n// clang-format off\n"
    text += '#include "bitbox/shape_tables.h"\n\nnamespace auspool {\nnamespace {\n\n'
    text += "\n".join(array(name, taps) for name, taps in all_taps.items() if name.startswith("fweighted"))
    text += "\n}  // namespace\n\nconst FweightedShape fweighted_shape_coeffs[kFweightedShapes] = {\n"
    for rate, count in RATES.items():
        text += f"    {{{rate}, {count}, fweighted_coeffs_{rate}}},\n"
    text += "};\n\n"
    text += "\n".join(array(name, taps).replace("constexpr", "const").replace("[]", f"[{FLOOR_TAPS}]")
                      for name, taps in all_taps.items() if name.startswith("flat"))
    return text + "\n}  // namespace auspool\n"


if __name__ == "__main__":
    if sys.argv[1:] == ["--figures"]:
        figures()
    elif sys.argv[1:]:
        sys.exit(__doc__)
    else:
        TARGET.write_text(source())
