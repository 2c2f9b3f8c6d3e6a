"""The sets, what each is, and what the library is to reach on it.

A goal in MB/s was set beside what the best other library did on the same machine; on another machine,
or a busier one, the ratio of the two is what stands.
"""

LIBRARIES = ["gmime", "mimetic", "libetpan"]
OURS = "zevka"
# The same library without names of the host's own: each message gets a new one.
FROM_MEMORY = "zevka_from_memory"

SETS = {
    "a": "25 MB, one base64 attachment",
    "b": "25 MB of quoted-printable text",
    "c": "small plain messages, 2-8 KB",
    "d": "alternative and attachments, 30-300 KB",
    "e": "12 nested levels, leaves of 1 MB",
    "f": "one message of 900 small parts",
    "g": "10 MB of 8bit text",
    "corpus": "400 messages of test collections",
}

# MB/s of input: (our goal, the best other library when it was set, None where none was measured).
FULL_GOALS = {
    "a": (1000, 336),
    "b": (700, 280),
    "c": (800, 688),
    "d": (1000, 630),
    "e": (900, 815),
    "f": (300, 142),
    "g": (3400, 3307),
    "corpus": (300, 197),
}
CODEC_GOALS = {
    "base64-decode": (4000, 1320),
    "base64-encode": (5000, 1559),
    "qp-decode": (2000, 814),
    "qp-encode": (1000, None),
}
MEMORY_GOALS = {"a": 60}  # MB over the input
THREADS_GOAL = 1.8  # times as many messages a second with two threads on two cores
