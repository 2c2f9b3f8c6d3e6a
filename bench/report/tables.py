"""The tables of docs/performance.md, and of the terminal, as lines of Markdown."""

import pathlib

from figures import Ratio, Row, figure, pick
from goals import (CODEC_GOALS, FULL_GOALS, FROM_MEMORY, LIBRARIES, MEMORY_GOALS, OURS, SETS, THREADS_GOAL)

INSTRUCTIONS = pathlib.Path(__file__).resolve().parent.parent / "instructions.tsv"


def number(value):
    if value is None:
        return "-"
    if value >= 100:
        return f"{value:,.0f}"
    return f"{value:.1f}" if value >= 10 else f"{value:.2f}"


def cell(found):
    return number(found.median) if found else "-"


def spread(found):
    return f"{number(found.slowest)}-{number(found.fastest)}" if found else "-"


def table(heads, rows):
    """The first column is text, the others are figures."""
    lines = ["| " + " | ".join(heads) + " |", "|---" + "|--:" * (len(heads) - 1) + "|"]
    return lines + ["| " + " | ".join(row) + " |" for row in rows]


def reached(row, goal):
    """Whether the goal is met: in MB/s, or as a ratio to the best other library."""
    speed, best_then = goal
    if row.ours.median >= speed:
        return "yes"
    if best_then and row.ratio and row.ratio.median >= speed / best_then:
        return "yes"
    return "no"


def goal_cells(row, goal):
    if goal is None:
        return ["-", "-", "-"]
    speed, best_then = goal
    ratio = f"{speed / best_then:.2f}" if best_then else "-"
    return [number(speed), ratio, reached(row, goal)]


def comparison(rows, goals):
    """rows: (title, Row, goal) each. Without goals the columns for them are left out."""
    heads = ["", *LIBRARIES, f"**{OURS}**", "spread", "ratio to the best"]
    if goals:
        heads += ["goal", "goal, ratio", "met"]
    lines = []
    for title, row, goal in rows:
        ratio = f"**{row.ratio.median:.2f}** ({spread(row.ratio)})" if row.ratio else "-"
        others = [cell(row.others.get(name)) for name in LIBRARIES]
        line = [title, *others, f"**{cell(row.ours)}**", spread(row.ours), ratio]
        lines.append(line + (goal_cells(row, goal) if goals else []))
    return table(heads, lines)


def job_rows(results, job):
    for name in SETS:
        row = Row(results["jobs"], set=name, job=job)
        if row.ours:
            yield name, row


def full_table(results):
    rows = [(f"{name}: {SETS[name]}", row, FULL_GOALS[name])
            for name, row in job_rows(results, "full")]
    return comparison(rows, True)


def decode_table(results):
    rows = [(f"{name}: {SETS[name]}", row, None) for name, row in job_rows(results, "decode")]
    return comparison(rows, False)


def roads_table(results):
    """What names of the host's own are worth to it."""
    rows = []
    for name in SETS:
        found = [figure(results["jobs"], "speed", library=library, set=name, job="full")
                 for library in (FROM_MEMORY, OURS)]
        if all(found):
            rows.append([f"{name}: {SETS[name]}", *map(cell, found)])
    return table(["", "a new name each time", f"**{OURS}**"], rows)


def messages_table(results):
    """Messages per second, for the sets of many messages or many parts."""
    rows = []
    for name in ("c", "d", "f", "corpus"):
        cells = [figure(results["jobs"], "perSecond", library=library, set=name, job="full")
                 for library in [*LIBRARIES, OURS]]
        rows.append([f"{name}: {SETS[name]}", *map(cell, cells)])
    return table(["", *LIBRARIES, f"**{OURS}**"], rows)


def codec_table(results):
    rows = [(codec, Row(results["codecs"], codec=codec), goal)
            for codec, goal in CODEC_GOALS.items()]
    return comparison(rows, True)


def memory_table(results):
    rows = []
    for name in dict.fromkeys(line["set"] for line in results["memory"]):
        cells = [figure(results["memory"], "overInput", library=library, set=name)
                 for library in [*LIBRARIES, OURS]]
        rows.append([f"{name}: {SETS[name]}", *map(cell, cells),
                     f"at most {MEMORY_GOALS[name]}" if name in MEMORY_GOALS else "-"])
    return table(["", *LIBRARIES, f"**{OURS}**", "goal"], rows)


def threads_table(results):
    rows = []
    for name in dict.fromkeys(line["set"] for line in results["threads"]):
        one, two = (figure(results["threads"], "perSecond", set=name, threads=count)
                    for count in (1, 2))
        ratio = Ratio([more["perSecond"] / fewer["perSecond"]
                       for fewer, more in zip(one.lines, two.lines)])
        rows.append([f"{name}: {SETS[name]}", cell(one), cell(two),
                     f"**{ratio.median:.2f}** ({spread(ratio)})", f"at least {THREADS_GOAL}"])
    return table(["messages per second", "1 thread", "2 threads", "ratio", "goal"], rows)


def growth_table(results):
    rows = []
    for shape in dict.fromkeys(line["shape"] for line in results["growth"]):
        lines = pick(results["growth"], shape=shape)
        unit = lines[0]["unit"]
        for count in dict.fromkeys(line["count"] for line in lines):
            found = figure(lines, "nanoseconds", count=count)
            # Here the slowest is the largest figure.
            rows.append([shape, f"{count:,}", f"{number(found.median)} ns a {unit}",
                         f"{number(min(line['fastest'] for line in pick(lines, count=count)))}-"
                         f"{number(max(line['slowest'] for line in pick(lines, count=count)))}"])
    return table(["shape", "bytes, parts or fields", "cost", "spread"], rows)


def micro_table(results):
    rows = []
    for line in results["micro"]:
        rows.append([f"{line['subject']}: {line['name']}", f"{number(line['nanoseconds'])} ns",
                     f"{number(line['fastest'])}-{number(line['slowest'])}",
                     f"{number(line['speed'])} MB/s" if line["speed"] else "-"])
    return table(["benchmark", "CPU time", "spread", "speed"], rows)


def instructions_table(_):
    if not INSTRUCTIONS.exists():
        return ["None are counted yet."]
    rows = [line.split("\t") for line in INSTRUCTIONS.read_text(encoding="utf-8").splitlines()
            if line and not line.startswith("#")]
    return table(["job", "instructions", "blocks of the heap", "bytes held at most"],
                 [[row[0], *(f"{int(count):,}" for count in row[1:])] for row in rows])


def version_of(results, library):
    lines = pick(results["jobs"], library=library)
    return f"{library} {lines[0]['version']}" if lines else None


def machine_lines(results):
    machine = results["machine"]
    speeds = {what: figure(results["speeds"], machine=what) for what in ("memcpy", "memchr")}
    libraries = [version_of(results, library) for library in LIBRARIES]
    return [f"- {machine['processor']}, {machine['cores']} cores, {machine['memory']:.0f} GB, "
            f"{machine['kernel']}, {machine['compiler']}, Release",
            f"- in the same run: memcpy of 25 MB {cell(speeds['memcpy'])} MB/s "
            f"({spread(speeds['memcpy'])}), memchr over line ends {cell(speeds['memchr'])} MB/s "
            f"({spread(speeds['memchr'])})",
            f"- beside it: {', '.join(name for name in libraries if name)}, as Debian packages them",
            f"- {results['rounds']} interleaved rounds of {results['runs']} runs after one to warm "
            "up; medians over rounds, the spread is that of all runs"]


def soak_lines(results):
    return ["```", *results["soak"], "```"]


# The blocks of docs/performance.md by name.
BLOCKS = {
    "machine": machine_lines,
    "full": full_table,
    "messages": messages_table,
    "roads": roads_table,
    "decode": decode_table,
    "codecs": codec_table,
    "memory": memory_table,
    "threads": threads_table,
    "growth": growth_table,
    "soak": soak_lines,
    "micro": micro_table,
    "instructions": instructions_table,
}


def for_terminal(results):
    lines = ["", *machine_lines(results)]
    for title, block in (("Full job, MB/s", full_table), ("Parse and decode, MB/s", decode_table),
                         ("Codecs alone, MB/s", codec_table),
                         ("Peak memory over the input, MB", memory_table),
                         ("Threads", threads_table), ("Many messages", soak_lines)):
        lines += ["", title, "", *block(results)]
    return "\n".join(lines)
