"""What is told of many runs: the median over rounds, the slowest and the fastest run of all, and how
our figure stands to the best of the other libraries in the same rounds."""

import statistics

from goals import LIBRARIES, OURS


class Figure:
    """One cell of a table."""

    def __init__(self, lines, key="speed"):
        self.median = statistics.median(line[key] for line in lines)
        self.slowest = min(line.get("slowest", line[key]) for line in lines)
        self.fastest = max(line.get("fastest", line[key]) for line in lines)
        self.lines = lines


def pick(lines, **wanted):
    return [line for line in lines if all(line[key] == value for key, value in wanted.items())]


def figure(lines, key="speed", **wanted):
    """None when nothing was measured."""
    picked = pick(lines, **wanted)
    return Figure(picked, key) if picked else None


class Ratio:
    """The median over rounds, and the rounds that went worst and best."""

    def __init__(self, ratios):
        self.median = statistics.median(ratios)
        self.slowest = min(ratios)
        self.fastest = max(ratios)


class Row:
    """All libraries in one discipline; `others` has the libraries that were measured only."""

    def __init__(self, lines, **wanted):
        self.ours = figure(lines, library=OURS, **wanted)
        found = {name: figure(lines, library=name, **wanted) for name in LIBRARIES}
        self.others = {name: cell for name, cell in found.items() if cell}

    @property
    def best(self):
        return max(self.others, key=lambda name: self.others[name].median, default=None)

    @property
    def ratio(self):
        """Our speed over that of the best other library, round by round; None without one."""
        if not self.ours or not self.others:
            return None
        best = {line["round"]: line["speed"] for line in self.others[self.best].lines}
        return Ratio([line["speed"] / best[line["round"]] for line in self.ours.lines])
