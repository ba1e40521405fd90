"""The ratios of the benches as one page of HTML: bars on a logarithmic axis with their spread. run.py calls this module.

The page needs no network and no script. It follows the reader's choice of a light or dark background. Its colours differ
for readers with any kind of colour vision (M. Okabe and K. Ito, Color Universal Design, 2008), and each bar is also named.
"""

import html as text
import math

OURS = "sinew"
# How the names of the libraries of others begin. All other contenders are plain methods, or other calls of sinew.
PEERS = ("CGAL", "CHOLMOD", "CXSparse", "Eigen", "Embree", "Imath", "MPFR", "nanoflann", "pugixml")
MODULES = ("core", "queries", "fields", "skinning", "meshfunc", "sparse")

# In units of the pictures, which are pixels on a wide screen.
WIDTH = 1000
NAME_RIGHT = 470  # the names of the contenders end here
PLOT_LEFT = 480
PLOT_RIGHT = 850
LINE = 17  # from one bar to the next
BAR = 10
GAP = 8  # between cases

STYLE = """
:root { color-scheme: light dark; --paper: #ffffff; --ink: #1d2126; --faint: #5c6570; --rule: #dfe3e8;
  --plain: #0072b2; --peer: #e69f00; --spread: #1d2126; }
@media (prefers-color-scheme: dark) {
  :root { --paper: #14171b; --ink: #e8eaed; --faint: #a3abb5; --rule: #333a43; --plain: #56b4e9; --peer: #e69f00;
    --spread: #ffffff; } }
body { background: var(--paper); color: var(--ink); font: 15px/1.5 system-ui, sans-serif; max-width: 1000px;
  margin: 2rem auto; padding: 0 1rem; }
h1 { font-size: 1.5rem; } h2 { font-size: 1.25rem; margin-top: 2.5rem; } h3 { font-size: 1rem; margin-bottom: .25rem; }
p, li { color: var(--faint); } p.legend { color: var(--ink); }
svg { display: block; width: 100%; height: auto; }
svg text { fill: var(--ink); font: 12px system-ui, sans-serif; }
svg .faint { fill: var(--faint); }
.plain { fill: var(--plain); } .peer { fill: var(--peer); } .ours { fill: var(--ink); }
line { stroke: var(--rule); stroke-width: 1; } .one { stroke: var(--ink); } .spread { stroke: var(--spread); stroke-width: 1.5; }
.key { display: inline-block; width: 1.6em; height: .7em; margin: 0 .4em 0 1.2em; }
"""


def kind(contender):
    if contender == OURS:
        return "ours"
    return "peer" if contender.startswith(PEERS) else "plain"


class Axis:
    """A logarithmic axis that contains 1/2, 1, 2 and all values, between two ticks."""

    STEPS = (1, 2, 5)

    def __init__(self, values):
        low, high = min([0.5, *values]), max([2, *values])
        powers = range(math.floor(math.log10(low)), math.ceil(math.log10(high)) + 1)
        marks = [step * 10.0 ** power for power in powers for step in self.STEPS]
        self.low = max(mark for mark in marks if mark <= low * (1 + 1e-9))
        self.high = min(mark for mark in marks if mark >= high * (1 - 1e-9))
        inside = [mark for mark in marks if self.low <= mark <= self.high]
        # Only powers of ten where there is no place for more labels.
        self.ticks = inside if len(inside) <= 9 else [10.0 ** power for power in powers if self.low <= 10.0 ** power <= self.high]

    def x(self, ratio):
        return PLOT_LEFT + math.log(ratio / self.low) / math.log(self.high / self.low) * (PLOT_RIGHT - PLOT_LEFT)


def number(value):
    """Three significant digits, without an exponent."""
    return f"{float(f'{value:.3g}'):,.0f}" if value >= 100 else f"{value:.3g}"


def bar(axis, y, case, contender, ratios):
    """One contender: its name, the bar from 1 to its ratio, the line from quartile to quartile, the number."""
    ratio, low, high = ratios
    of = kind(contender)
    middle = y + BAR / 2
    left, right = sorted((axis.x(1), axis.x(ratio)))
    words = text.escape(f"{case}/{contender}: {number(ratio)}; half of the runs from {number(low)} to {number(high)}")
    parts = [f'<g><title>{words}</title>',
             f'<text x="{NAME_RIGHT}" y="{y + BAR}" text-anchor="end">{text.escape(contender)}</text>']
    if of == "ours":
        parts.append(f'<circle class="ours" cx="{axis.x(1):.1f}" cy="{middle:.1f}" r="3"/>')
    else:
        parts.append(f'<rect class="{of}" x="{left:.1f}" y="{y}" width="{max(right - left, 1):.1f}" height="{BAR}"/>')
    parts.append(f'<line class="spread" x1="{axis.x(low):.1f}" y1="{middle}" x2="{axis.x(high):.1f}" y2="{middle}"/>')
    for end in (low, high):
        parts.append(f'<line class="spread" x1="{axis.x(end):.1f}" y1="{y + 2}" x2="{axis.x(end):.1f}" y2="{y + BAR - 2}"/>')
    parts.append(f'<text x="{PLOT_RIGHT + 10}" y="{y + BAR}">{number(ratio)}'
                 f'<tspan class="faint" dx="8">{number(low)} to {number(high)}</tspan></text></g>')
    return parts


def in_order(contenders):
    """Ours, then plain methods, then peers."""
    order = ("ours", "plain", "peer")
    return sorted(contenders.items(), key=lambda item: order.index(kind(item[0])))


def picture(rows):
    """The cases of one bench, with an axis of their own."""
    axis = Axis([number for contenders in rows.values() for three in contenders.values() for number in three])
    parts, y = [], 18
    for case, contenders in rows.items():
        parts.append(f'<text x="0" y="{y + BAR}">{text.escape(case)}</text>')
        if len(case) > 52:
            y += LINE  # the name takes a line of its own
        for contender, ratios in in_order(contenders):
            parts += bar(axis, y, case, contender, ratios)
            y += LINE
        y += GAP
    grid = []
    for tick in axis.ticks:
        x = axis.x(tick)
        of = ' class="one"' if tick == 1 else ""
        grid.append(f'<line{of} x1="{x:.1f}" y1="14" x2="{x:.1f}" y2="{y}"/>')
        grid.append(f'<text class="faint" x="{x:.1f}" y="10" text-anchor="middle">{tick:g}</text>')
    return f'<svg viewBox="0 0 {WIDTH} {y}" role="img">' + "\n".join(grid + parts) + "</svg>"


def html(programs, conditions):
    """The page.

    programs    (module, name, rows) of each bench; rows: case -> contender -> (ratio, low, high)
    conditions  sentences about machine, compiler and date
    """
    order = {module: index for index, module in enumerate(MODULES)}
    parts = ['<!DOCTYPE html>\n<html lang="en"><head><meta charset="utf-8">',
             '<meta name="viewport" content="width=device-width, initial-scale=1">',
             f"<title>sinew: ratios of the benches</title><style>{STYLE}</style></head><body>",
             "<h1>Ratios of the benches</h1>",
             "<p>Each bar is the median time of a contender divided by the median time of sinew, on a logarithmic axis. "
             "Each bench has its own axis. Bars to the right of 1 mean that sinew is faster. The thin line reaches from the lower to the upper quartile "
             "of the ratios of all pairs of runs. The dot is sinew itself; its line shows the spread of its own runs.</p>",
             '<p class="legend"><svg style="display:inline;width:1em" viewBox="0 0 10 10"><circle class="ours" cx="5" cy="6" '
             'r="3"/></svg> sinew<span class="key" style="background:var(--plain)"></span>plain method, or other calls of sinew'
             '<span class="key" style="background:var(--peer)"></span>library of others</p>',
             "<ul>" + "".join(f"<li>{text.escape(condition)}</li>" for condition in conditions) + "</ul>"]
    last = None
    for module, name, rows in sorted(programs, key=lambda p: (order.get(p[0], len(order)), p[0], p[1])):
        if module != last:
            parts.append(f"<h2>{text.escape(module)}</h2>")
            last = module
        parts.append(f"<h3>{text.escape(name)}</h3>\n{picture(rows)}")
    return "\n".join(parts) + "\n</body></html>\n"
