"""The pictures of docs/performance.md: SVG that depends on the results and on nothing else."""

import math

import matplotlib

matplotlib.use("svg")
matplotlib.rcParams.update({"svg.hashsalt": "zevka", "svg.fonttype": "none", "font.size": 9,
                            "axes.spines.top": False, "axes.spines.right": False,
                            "legend.frameon": False})
from matplotlib import pyplot, ticker  # noqa: E402  the back end is chosen first

from figures import Row, figure, pick  # noqa: E402
from goals import CODEC_GOALS, LIBRARIES, OURS, SETS  # noqa: E402

COLOURS = {"gmime": "#9aa7b5", "mimetic": "#c9b18c", "libetpan": "#b7c4a1", OURS: "#1f5f9e"}
BYTE_SHAPES = ["base64", "quoted-printable", "8bit"]


def save(chart, path):
    chart.tight_layout()
    chart.savefig(path, format="svg", metadata={"Date": None, "Creator": None})
    pyplot.close(chart)
    # The drawing ends some lines with a blank.
    lines = path.read_text(encoding="utf-8").splitlines()
    path.write_text("\n".join(line.rstrip() for line in lines) + "\n", encoding="utf-8")


def scale(axis, limits, values):
    """A logarithmic axis of whole decades, with plain numbers at each."""
    decades = [10 ** math.floor(math.log10(min(values))), 10 ** math.ceil(math.log10(max(values)))]
    limits(decades[0] if decades[0] < min(values) else decades[0] / 2,
           decades[1] if decades[1] > max(values) else decades[1] * 2)
    axis.set_major_formatter(ticker.FuncFormatter(lambda value, _: f"{value:,.10g}"))
    axis.set_minor_formatter(ticker.NullFormatter())


def bars(rows, title, path):
    """rows: (name, Row) each; lines at the ends of our bars are the slowest and the fastest run."""
    chart, axes = pyplot.subplots(figsize=(8, 3.6))
    names = [*LIBRARIES, OURS]
    width = 0.8 / len(names)
    for place, library in enumerate(names):
        found = [row.ours if library == OURS else row.others.get(library) for _, row in rows]
        at = [index + place * width for index, cell in enumerate(found) if cell]
        cells = [cell for cell in found if cell]
        heights = [cell.median for cell in cells]
        reach = [[max(0, cell.median - cell.slowest) for cell in cells],
                 [max(0, cell.fastest - cell.median) for cell in cells]]
        axes.bar(at, heights, width, color=COLOURS[library], label=library, yerr=reach,
                 error_kw={"linewidth": 0.6, "capsize": 1.5})
    axes.set_yscale("log")
    cells = [cell for _, row in rows for cell in [row.ours, *row.others.values()]]
    scale(axes.yaxis, axes.set_ylim,
          [cell.slowest for cell in cells] + [cell.fastest for cell in cells])
    axes.set_xticks([index + 1.5 * width for index in range(len(rows))])
    axes.set_xticklabels([name for name, _ in rows])
    axes.set_ylabel("MB/s of input")
    axes.set_title(title, loc="left")
    axes.legend(ncol=len(names), loc="upper center", bbox_to_anchor=(0.5, -0.1))
    save(chart, path)


def curves(results, shapes, unit, title, path):
    chart, axes = pyplot.subplots(figsize=(8, 3))
    drawn = {"counts": [], "costs": []}
    for shape in shapes:
        lines = pick(results["growth"], shape=shape)
        counts = list(dict.fromkeys(line["count"] for line in lines))
        costs = [figure(lines, "nanoseconds", count=count).median for count in counts]
        axes.plot(counts, costs, marker="o", markersize=3, label=shape)
        drawn["counts"] += counts
        drawn["costs"] += costs
    axes.set_xscale("log")
    axes.set_yscale("log")
    scale(axes.xaxis, axes.set_xlim, drawn["counts"])
    scale(axes.yaxis, axes.set_ylim, drawn["costs"])
    axes.set_xlabel(f"{unit}s of the message")
    axes.set_ylabel(f"nanoseconds a {unit}")
    axes.set_title(title, loc="left")
    if len(shapes) > 1:
        axes.legend()
    save(chart, path)


def draw(results, folder):
    """Writes all pictures into the folder; the names of the files."""
    folder.mkdir(parents=True, exist_ok=True)
    for job, title in (("full", "Full job"), ("decode", "Parse and decode")):
        rows = [(name, Row(results["jobs"], set=name, job=job)) for name in SETS]
        bars([row for row in rows if row[1].ours], title, folder / f"{job}.svg")
    rows = [(codec, Row(results["codecs"], codec=codec)) for codec in CODEC_GOALS]
    bars(rows, "Codecs alone", folder / "codecs.svg")
    curves(results, BYTE_SHAPES, "byte", "Cost of a byte", folder / "bytes.svg")
    curves(results, ["parts"], "part", "Cost of a part", folder / "parts.svg")
    curves(results, ["fields"], "field", "Cost of a header field", folder / "fields.svg")
