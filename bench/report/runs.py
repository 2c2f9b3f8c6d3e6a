"""Runs the programs of the bench preset and collects what they print, as lists of dictionaries.

Rounds are interleaved: each round runs every library once on each set, so that a slow minute of the
machine falls on all of them.
"""

import json
import os
import pathlib
import platform
import re
import statistics
import subprocess
import sys
import tempfile

from goals import FROM_MEMORY, LIBRARIES, OURS, SETS

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
BUILD = ROOT / "build" / "bench"
PROGRAMS = BUILD / "bin"
SET_FOLDER = BUILD / "sets"
QUOTED_PRINTABLE = SET_FOLDER / "b-qp-25m.eml"
THREADED_SETS = ["c", "d", "corpus"]
MEMORY_SETS = ["a", "b", "d"]
SLOWEST_PROGRAM_SECONDS = 900


def run_or_end(command, **options):
    if subprocess.run(command, cwd=ROOT, check=False, **options).returncode != 0:
        sys.exit(f"bench: failed: {' '.join(map(str, command))}")


def cache_value(name):
    text = (BUILD / "CMakeCache.txt").read_text(encoding="utf-8")
    match = re.search(rf"^{name}:\w+=(.*)$", text, re.MULTILINE)
    return match[1] if match else ""


def build():
    run_or_end(["scripts/setup", "bench"])
    run_or_end(["cmake", "--preset", "bench"], stdout=subprocess.DEVNULL)
    run_or_end(["cmake", "--build", "--preset", "bench", "--parallel", str(os.cpu_count())],
               stdout=subprocess.DEVNULL)


def make_sets():
    """The messages of the sets; the same bytes whenever they are made."""
    maker = pathlib.Path(cache_value("ZEVKA_CORPUS")) / "make_big.py"
    if (SET_FOLDER / "made").exists():
        return
    if not maker.is_file():
        sys.exit("bench: no make_big.py in the folder of sample mail; name it with "
                 "cmake --preset bench -DZEVKA_CORPUS=FOLDER")
    SET_FOLDER.mkdir(parents=True, exist_ok=True)
    run_or_end([sys.executable, "-B", maker, SET_FOLDER], stdout=subprocess.DEVNULL)
    (SET_FOLDER / "made").touch()


def lines_of(program, *words):
    """What a program prints, a dictionary for each line; nothing when it is not built."""
    path = PROGRAMS / program
    if not path.exists():
        return []
    done = subprocess.run([path, "--json", *map(str, words)], cwd=ROOT, check=False, text=True,
                          stdout=subprocess.PIPE, timeout=SLOWEST_PROGRAM_SECONDS)
    if done.returncode != 0:
        sys.exit(f"bench: {program} {' '.join(map(str, words))} failed")
    return [json.loads(line) for line in done.stdout.splitlines()]


def say(text):
    print(f"bench: {text}", file=sys.stderr, flush=True)


def jobs(library, name, job, runs, *words):
    # What another library dies of is left out for it; ours dies of nothing.
    probe = ["--probe"] if name == "corpus" and library in LIBRARIES else []
    return lines_of(f"jobs_{library}", "--runs", runs, "--job", job, *probe, *words, name)


def libraries_of(number):
    """All of them, another one first in each round."""
    names = [OURS, *LIBRARIES]
    first = number % len(names)
    return names[first:] + names[:first]


def round_of_jobs(number, runs):
    found = []
    for name in SETS:
        for job in ("full", "decode"):
            for library in libraries_of(number):
                found += jobs(library, name, job, runs)
        found += jobs(FROM_MEMORY, name, "full", runs)
    return found


def round_of_threads(runs):
    found = []
    for name in THREADED_SETS:
        for threads in (1, 2):
            found += jobs(OURS, name, "full", runs, "--threads", threads)
    return found


def round_of_codecs(number, runs):
    found = []
    for library in libraries_of(number):
        found += lines_of(f"codecs_{library}", "--runs", runs, QUOTED_PRINTABLE)
    return found


def round_of_memory():
    """Each figure from a process of its own."""
    found = []
    for name in MEMORY_SETS:
        for library in [OURS, *LIBRARIES]:
            found += lines_of(f"jobs_{library}", "--memory", name)
    return found


def micro(rounds, shortest_seconds):
    """Google Benchmark's medians over repetitions of each subject."""
    found = []
    with tempfile.TemporaryDirectory() as folder:
        out = pathlib.Path(folder) / "out.json"
        for program in sorted(PROGRAMS.glob("*_bench")):
            run_or_end([program, f"--benchmark_repetitions={rounds}",
                        f"--benchmark_min_time={shortest_seconds}", "--benchmark_out_format=json",
                        f"--benchmark_out={out}"], stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
            times = {}
            for line in json.loads(out.read_text(encoding="utf-8"))["benchmarks"]:
                if line.get("run_type") == "iteration":
                    times.setdefault(line["name"], []).append(line)
            for name, lines in times.items():
                found.append(one_benchmark(program.name.removesuffix("_bench"), name, lines))
    return found


def one_benchmark(subject, name, lines):
    unit = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    nanoseconds = [line["cpu_time"] * unit[line["time_unit"]] for line in lines]
    speeds = [line["bytes_per_second"] / 1e6 for line in lines if "bytes_per_second" in line]
    return {"subject": subject, "name": name, "nanoseconds": statistics.median(nanoseconds),
            "slowest": max(nanoseconds), "fastest": min(nanoseconds),
            "speed": statistics.median(speeds) if speeds else None}


def soak(messages):
    """The report of many messages through one process, in two threads."""
    done = subprocess.run(["scripts/soak", str(messages), "2"], cwd=ROOT, check=False, text=True,
                          stdout=subprocess.PIPE)
    if done.returncode != 0:
        sys.exit("bench: scripts/soak failed")
    return [line for line in done.stdout.splitlines() if line]


def compiler_name():
    version = subprocess.run([cache_value("CMAKE_CXX_COMPILER"), "--version"], check=True, text=True,
                             stdout=subprocess.PIPE).stdout.splitlines()[0]
    return version


def machine():
    processor = re.search(r"^model name\s*: (.*)$",
                          pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8"), re.MULTILINE)
    return {"processor": processor[1] if processor else platform.machine(),
            "cores": len(os.sched_getaffinity(0)),
            "memory": os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 1e9,
            "kernel": f"{platform.system()} {platform.release()}",
            "compiler": compiler_name()}


def measure(rounds, quick):
    """Everything, as one dictionary that tables and pictures are made of."""
    runs = 1 if quick else 5
    results = {"machine": machine(), "rounds": rounds, "runs": runs}
    for number in range(1, rounds + 1):
        say(f"round {number} of {rounds}")
        measured = {"speeds": lines_of("machine_speed"),
                    "jobs": round_of_jobs(number, runs),
                    "codecs": round_of_codecs(number, runs),
                    "memory": round_of_memory(),
                    "threads": round_of_threads(runs),
                    "growth": lines_of("growth", "--runs", runs, *(["--quick"] if quick else []))}
        for kind, lines in measured.items():
            results.setdefault(kind, []).extend({**line, "round": number} for line in lines)
    say("each subject alone")
    results["micro"] = micro(1 if quick else rounds, 0.01 if quick else 0.1)
    say("many messages through one process")
    results["soak"] = soak(5000 if quick else 100000)
    return results


def save(results):
    (BUILD / "results.json").write_text(json.dumps(results, indent=1), encoding="utf-8")


def load():
    try:
        return json.loads((BUILD / "results.json").read_text(encoding="utf-8"))
    except FileNotFoundError:
        sys.exit("bench: there are no results; run scripts/bench first")
