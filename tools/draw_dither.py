#!/usr/bin/env python3
"""Draws what dither does to the noise, as docs/dither.svg and docs/dither-rates.svg, and prints its figures.

    tools/draw_dither.py build/release/tools/make_dither_spectra            writes the pictures
    tools/draw_dither.py build/release/tools/make_dither_spectra --figures  prints the table of docs/formats.md

The program measures the running library. Weighted noise is that under the weights of tools/shape_tables.py, against the
white noise of "tpdf".
"""
import math
import pathlib
import subprocess
import sys

import shape_tables

DOCS = pathlib.Path(__file__).resolve().parent.parent / "docs"
WHITE = 0.25  # squared codes: a twelfth of rounding and a sixth of triangular noise
COLOURS = {"rpdf": "#888888", "tpdf": "#222222", "simp": "#d95f02", "ff_f": "#a6761d", "fwgt": "#1b9e77",
           "ff-4": "#9ecae1", "ff-6": "#4292c6", "ff-8": "#084594"}
RATE_COLOURS = {44100: "#1b9e77", 48000: "#66a61e", 96000: "#e6ab02", 192000: "#d95f02", 384000: "#7570b3"}
WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 760, 400, 56, 20, 34, 40


def spectra(program):
    """{(type, rate): {"measured" or "designed": decibels of each band}}"""
    result = {}
    text = subprocess.run([program], check=True, capture_output=True, text=True).stdout
    for line in text.splitlines():
        name, rate, what, *levels = line.split()
        result.setdefault((name, int(rate)), {})[what] = [float(level) for level in levels]
    return result


def total(levels):
    """Decibels against white noise."""
    return 10 * math.log10(sum(10 ** (level / 10) for level in levels) / len(levels) / WHITE)


def weighted(levels, weights):
    each = len(weights) // len(levels)
    bands = [sum(weights[i * each:(i + 1) * each]) for i in range(len(levels))]
    power = sum(weight * 10 ** (level / 10) for weight, level in zip(bands, levels))
    return 10 * math.log10(power / sum(bands) / WHITE)


def figures(all_spectra):
    weights = shape_tables.f_weights()
    rates = (44100, 48000, 96000, 192000)
    print("| Type | " + " | ".join(f"{rate} Hz" for rate in rates) + " |\n" + "|---" * (len(rates) + 1) + "|")
    for name in COLOURS:
        cells = []
        for rate in rates:
            levels = all_spectra[name, rate]["measured"]
            heard, whole = (round(level, 1) + 0.0 for level in (weighted(levels, weights[rate]), total(levels)))  # no -0.0
            cells.append(f"{heard:+.1f} ({whole:+.1f})")
        print(f"| `{name}` | " + " | ".join(cells) + " |")


class Picture:
    """Curves over a frequency axis from 0 to `hertz` and a level axis."""

    def __init__(self, title, hertz, lowest, highest, grid_hertz):
        self.hertz, self.lowest, self.highest = hertz, lowest, highest
        self.parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
                      'font-family="sans-serif" font-size="12">',
                      f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>',
                      f'<text x="{LEFT}" y="20" font-size="14">{title}</text>']
        for level in range(lowest, highest + 1, 10):
            y = self.y(level)
            self.parts.append(f'<path d="M{LEFT} {y:.1f}H{WIDTH - RIGHT}" stroke="#dddddd"/>'
                              f'<text x="{LEFT - 6}" y="{y + 4:.1f}" text-anchor="end">{level:+d}</text>')
        for step in range(int(hertz / grid_hertz) + 1):
            x = self.x(step * grid_hertz)
            self.parts.append(f'<path d="M{x:.1f} {TOP}V{HEIGHT - BOTTOM}" stroke="#dddddd"/><text x="{x:.1f}" '
                              f'y="{HEIGHT - BOTTOM + 16}" text-anchor="middle">{step * grid_hertz // 1000}</text>')
        self.parts.append(f'<text x="{(LEFT + WIDTH - RIGHT) / 2}" y="{HEIGHT - 8}" text-anchor="middle">kHz</text>')

    def x(self, hertz):
        return LEFT + (WIDTH - LEFT - RIGHT) * hertz / self.hertz

    def y(self, level):
        return TOP + (HEIGHT - TOP - BOTTOM) * (self.highest - level) / (self.highest - self.lowest)

    def curve(self, label, row, colour, rate, levels):
        points = []
        for i, level in enumerate(levels):
            hertz = (i + 0.5) / len(levels) * rate / 2
            if hertz <= self.hertz:
                level = min(max(level - 10 * math.log10(WHITE), self.lowest), self.highest)
                points.append(f"{self.x(hertz):.1f} {self.y(level):.1f}")
        y = TOP + 16 + 15 * row
        self.parts.append(f'<path d="M{"L".join(points)}" fill="none" stroke="{colour}" stroke-width="1.5"/>'
                          f'<path d="M{LEFT + 10} {y - 4}h18" stroke="{colour}" stroke-width="3"/>'
                          f'<text x="{LEFT + 34}" y="{y}">{label}</text>')

    def write(self, name):
        (DOCS / name).write_text("\n".join(self.parts + ["</svg>", ""]))


def draw(all_spectra):
    picture = Picture("Noise at 44100 Hz against white noise, dB", 22050, -40, 40, 2000)
    for row, (name, colour) in enumerate(COLOURS.items()):
        picture.curve(name, row, colour, 44100, all_spectra[name, 44100]["measured"])
    picture.write("dither.svg")
    picture = Picture("Noise of fwgt against white noise, dB", 48000, -50, 40, 4000)
    for row, (rate, colour) in enumerate(RATE_COLOURS.items()):
        picture.curve(f"{rate} Hz", row, colour, rate, all_spectra["fwgt", rate]["measured"])
    picture.write("dither-rates.svg")


if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[2:] not in ([], ["--figures"]):
        sys.exit(__doc__)
    measured = spectra(sys.argv[1])
    figures(measured) if sys.argv[2:] else draw(measured)
