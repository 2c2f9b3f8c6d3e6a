"""Whether all libraries did the same work: what they counted while they did it."""

from figures import pick
from goals import LIBRARIES, OURS

# What one library takes for the end of a body, another counts to it; faults of encodings and broken
# structures are read in different ways.
TOLERANCE = 0.01
TOLERANCE_FOR_BROKEN_MAIL = 0.1
COUNTERS = ("leaves", "decoded", "written")


def near(ours, others, tolerance):
    return any(abs(ours - other) <= tolerance * max(other, 1) for other in others)


def complaints_about(ours, others):
    """ours: our line of a set and job; others: those of the other libraries."""
    title = f"set {ours['set']}, {ours['job']}"
    broken = ours["set"] == "corpus"
    for counter in COUNTERS:
        seen = [line[counter] for line in others]
        tolerance = TOLERANCE_FOR_BROKEN_MAIL if broken else TOLERANCE
        # On a set of whole messages all must agree, on broken ones somebody.
        agreed = (near(ours[counter], seen, tolerance) if broken else
                  all(near(ours[counter], [other], tolerance) for other in seen))
        if seen and not agreed:
            yield f"{title}: {counter} {ours[counter]:,}, others {', '.join(f'{n:,}' for n in seen)}"
    if not broken and ours["refused"]:
        yield f"{title}: {ours['refused']} messages were refused"


def complaints(results):
    """A line for each figure that cannot be compared; none when all is well."""
    found = []
    for ours in pick(results["jobs"], library=OURS):
        others = [line for name in LIBRARIES
                  for line in pick(results["jobs"], library=name, set=ours["set"], job=ours["job"],
                                   round=ours["round"])]
        found += complaints_about(ours, others)
    return list(dict.fromkeys(found))
