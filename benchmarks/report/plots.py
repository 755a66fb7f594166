"""Grids of line plots, written as SVG by hand."""

import html
import math

PANEL_WIDTH, PANEL_HEIGHT = 200, 170
LEFT, RIGHT, TOP, BOTTOM = 52, 12, 30, 32
HEADER, FOOTER = 64, 26
STYLES = {
    "baseline": ("#8a8a8a", "6 4"),
    "product": ("#0b62b8", ""),
    "limit": ("#c4560f", "2 3"),
    "ideal": ("#3f8f4f", "1 4"),
}


class Axis:
    """Values between two ends, linear or logarithmic, with a label for each tick."""

    def __init__(self, ticks, low, high, logarithmic):
        self.ticks, self.low, self.high = ticks, low, high
        self.scale = math.log if logarithmic else float

    def at(self, value):
        """Where a value is, from 0 to 1."""
        low, high = self.scale(self.low), self.scale(self.high)
        return (self.scale(value) - low) / (high - low)


def text(x, y, content, anchor="middle", size=11, extra=""):
    return (f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" font-size="{size}"{extra}>'
            f"{html.escape(content)}</text>")


def line(x1, y1, x2, y2, colour):
    return (f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{colour}" '
            'stroke-width="1"/>')


def axes(left, top, x_axis, y_axis):
    parts = []
    bottom, right = top + PANEL_HEIGHT, left + PANEL_WIDTH
    for value, label in x_axis.ticks:
        x = left + PANEL_WIDTH * x_axis.at(value)
        parts += [line(x, top, x, bottom, "#e4e4e4"), text(x, bottom + 14, label, size=10)]
    for value, label in y_axis.ticks:
        y = bottom - PANEL_HEIGHT * y_axis.at(value)
        parts += [line(left, y, right, y, "#e4e4e4"), text(left - 5, y + 3.5, label, "end", 10)]
    parts.append(f'<rect x="{left}" y="{top}" width="{PANEL_WIDTH}" height="{PANEL_HEIGHT}" '
                 'fill="none" stroke="#777"/>')
    return parts


def curve(left, top, x_axis, y_axis, kind, points):
    colour, dashes = STYLES[kind]
    places = [(left + PANEL_WIDTH * x_axis.at(x), top + PANEL_HEIGHT * (1 - y_axis.at(y)))
              for x, y in points]
    path = " ".join(f"{x:.1f},{y:.1f}" for x, y in places)
    parts = [f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="1.8" '
             f'stroke-dasharray="{dashes}"/>']
    if kind != "ideal":
        parts += [f'<circle cx="{x:.1f}" cy="{y:.1f}" r="2.4" fill="{colour}"/>'
                  for x, y in places]
    return parts


def legend(kinds, names):
    parts, x = [], LEFT
    for kind in kinds:
        colour, dashes = STYLES[kind]
        parts.append(f'<line x1="{x}" y1="46" x2="{x + 30}" y2="46" stroke="{colour}" '
                     f'stroke-width="1.8" stroke-dasharray="{dashes}"/>')
        parts.append(text(x + 36, 50, names[kind], "start", 12))
        x += 62 + 7 * len(names[kind])
    return parts


def write_grid(path, title, footer, names, panels, x_axis, y_axis, columns):
    """Panels are pairs of a title and a dict from kind of line to points (x, y)."""
    rows = math.ceil(len(panels) / columns)
    cell_width, cell_height = LEFT + PANEL_WIDTH + RIGHT, TOP + PANEL_HEIGHT + BOTTOM
    width, height = columns * cell_width + RIGHT, HEADER + rows * cell_height + FOOTER
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
             f'viewBox="0 0 {width} {height}" font-family="sans-serif" fill="#222">',
             f"<title>{html.escape(title)}</title>",
             f'<rect width="{width}" height="{height}" fill="#fff"/>',
             text(LEFT, 26, title, "start", 16, ' font-weight="bold"')]
    parts += legend([kind for kind in names if any(kind in lines for _, lines in panels)], names)
    for index, (panel_title, lines) in enumerate(panels):
        left = index % columns * cell_width + LEFT
        top = HEADER + index // columns * cell_height + TOP
        parts.append(text(left + PANEL_WIDTH / 2, top - 8, panel_title, size=12))
        parts += axes(left, top, x_axis, y_axis)
        for kind, points in lines.items():
            parts += curve(left, top, x_axis, y_axis, kind, points)
    parts += [text(LEFT, height - 10, footer, "start", 11), "</svg>"]
    with open(path, "w", encoding="utf-8") as file:
        file.write("\n".join(parts) + "\n")
