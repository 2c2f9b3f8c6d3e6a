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
        self.line = lines[0]


def pick(lines, **wanted):
    return [line for line in lines if all(line[key] == value for key, value in wanted.items())]


def figure(lines, key="speed", **wanted):
    """None when nothing was measured."""
    picked = pick(lines, **wanted)
    return Figure(picked, key) if picked else None


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
        """Our speed over that of the best other library; None without one."""
        if not self.ours or not self.others:
            return None
        return self.ours.median / self.others[self.best].median
