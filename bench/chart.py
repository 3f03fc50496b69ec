"""Draws the growth curve."""
from __future__ import annotations

import math
from collections.abc import Mapping, Sequence
from html import escape

WIDTH, HEIGHT = 720, 440
LEFT, RIGHT, TOP, BOTTOM = 80, 30, 60, 60
COLOURS = ("#1b5e9b", "#c0532a", "#5b8c3a", "#7a5195")

Curve = Sequence[tuple[float, float]]


class Axis:
    """A logarithmic scale from data to picture."""

    def __init__(self, values: Sequence[float], start: float, end: float):
        self.low = math.floor(math.log10(min(values)))
        self.high = math.ceil(math.log10(max(values)))
        self.start, self.end = start, end

    def place(self, value: float) -> float:
        """Where a value lies in the picture."""
        share = (math.log10(value) - self.low) / (self.high - self.low)
        return self.start + share * (self.end - self.start)

    def decades(self) -> list[float]:
        """The values that get a line."""
        return [10.0 ** power for power in range(self.low, self.high + 1)]


def label(value: float) -> str:
    """A power of ten for people."""
    for unit, name in ((1e9, "G"), (1e6, "M"), (1e3, "k")):
        if value >= unit:
            return f"{value / unit:g} {name}"
    return f"{value:g}"


def text(x: float, y: float, words: str, anchor: str = "middle", more: str = "") -> str:
    """One piece of text."""
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}"{more}>{escape(words)}</text>'


def grid(horizontal: Axis, vertical: Axis) -> list[str]:
    """The lines of the decades and their labels."""
    parts = []
    for value in horizontal.decades():
        x = horizontal.place(value)
        parts.append(f'<path d="M{x:.1f} {vertical.start}V{vertical.end}" stroke="#ddd"/>')
        parts.append(text(x, vertical.start + 20, label(value)))
    for value in vertical.decades():
        y = vertical.place(value)
        parts.append(f'<path d="M{horizontal.start} {y:.1f}H{horizontal.end}" stroke="#ddd"/>')
        parts.append(text(horizontal.start - 8, y + 4, label(value), "end"))
    return parts


def draw(title: str, across: str, up: str, curves: Mapping[str, Curve]) -> str:
    """An SVG picture of curves on two logarithmic scales."""
    points = [point for curve in curves.values() for point in curve]
    horizontal = Axis([x for x, _ in points], LEFT, WIDTH - RIGHT)
    vertical = Axis([y for _, y in points], HEIGHT - BOTTOM, TOP)
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif" '
             'font-size="13">', f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>',
             text(WIDTH / 2, 26, title, more=' font-size="16"'), *grid(horizontal, vertical),
             text(WIDTH / 2, HEIGHT - 16, across),
             text(20, HEIGHT / 2, up, more=f' transform="rotate(-90 20 {HEIGHT / 2:g})"')]
    for index, (name, curve) in enumerate(curves.items()):
        colour = COLOURS[index]
        line = " ".join(f"{horizontal.place(x):.1f},{vertical.place(y):.1f}" for x, y in curve)
        parts.append(f'<polyline points="{line}" fill="none" stroke="{colour}" stroke-width="2"/>')
        parts += [f'<circle cx="{horizontal.place(x):.1f}" cy="{vertical.place(y):.1f}" r="3.5" fill="{colour}"/>'
                  for x, y in curve]
        y = TOP + 16 + 20 * index
        parts.append(f'<rect x="{LEFT + 16}" y="{y - 9}" width="12" height="12" fill="{colour}"/>')
        parts.append(text(LEFT + 36, y + 2, name, "start"))
    return "\n".join([*parts, "</svg>", ""])
