"""Kills a command at every system call, or at random moments, and looks at what it left.

A Scene says what the command is, how the folder looks before it, and what must hold after a kill.
kill_at_every_call and kill_at_random_moments play it again and again, fail_at_every_call has each
system call fail instead. All of them call `scene.prepare()` before each run and after it
`scene.check_killed(place)`, `scene.check_ended(place, status)`, or, when a call failed,
`scene.check_faulty(place, status)`.

MessageScene is the scene of one message that is changed in place.

strace, where it is there and permitted, delivers the signal on entry to a call: the call with the
number N does not happen, all before it have. It counts each kind of call by itself, so every kind
is gone through from its first call on, until a run survives.
"""

import collections
import os
import pathlib
import random
import re
import shutil
import signal
import stat
import subprocess
import tempfile
import time

LEFTOVER = re.compile(r"\.zevka-[0-9a-f]{16}(-[0-9a-f]+-[0-9a-f]+)?\.tmp\Z")
# The call that starts the program, and its end, which nothing follows.
NOT_HIT = {"execve", "exit_group", "exit"}
LONGEST_RUN_S = 120
MOST_CALLS_OF_A_KIND = 5000


def strace_refusal():
    """Why no run can be traced here; None when it can."""
    if shutil.which("strace") is None:
        return "strace is not installed"
    probe = subprocess.run(["strace", "-f", "-o", os.devnull, "-e", "inject=getpid:error=EIO",
                            "true"], capture_output=True, check=False)
    if probe.returncode != 0:
        reason = probe.stderr.decode("utf-8", "replace").strip().splitlines()
        return "strace may not trace here" + (f" ({reason[0]})" if reason else "")
    return None


def environment():
    """A leak check cannot run in a traced process."""
    options = os.environ.get("ASAN_OPTIONS", "")
    return {**os.environ, "ASAN_OPTIONS": f"{options}:detect_leaks=0".lstrip(":")}


class Traced:
    """Runs of one command under strace."""

    def __init__(self, command, tampering=()):
        """tampering: strace expressions that hold for every run, as in "inject=sync:error=EIO"."""
        self.command = [os.fspath(word) for word in command]
        self.tampering = list(tampering)

    def words(self, log, expressions):
        result = ["strace", "-f", "-o", log, "-e", "trace=all"]
        for expression in [*self.tampering, *expressions]:
            result += ["-e", expression]
        return [*result, *self.command]

    def run(self, *expressions):
        """Exit status, negative for a signal, and the lines of the trace."""
        with tempfile.NamedTemporaryFile(prefix="zevka-trace-") as log:
            process = subprocess.run(self.words(log.name, expressions), env=environment(),
                                     stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                     stderr=subprocess.DEVNULL, timeout=LONGEST_RUN_S, check=False)
            lines = log.read().decode("utf-8", "replace").splitlines()
        return process.returncode, lines

    def calls(self):
        """How often each kind of call occurs in a run that is left alone."""
        status, lines = self.run()
        if status != 0:
            raise AssertionError(f"{self.command} ended with {status}")
        kinds = collections.Counter()
        for line in lines:
            match = re.match(r"\d+ +([a-z_0-9]+)\(", line)
            if match:
                kinds[match.group(1)] += 1
        return kinds


def kinds_to_hit(traced):
    tampered = {name for words in traced.tampering
                for name in re.findall(r"inject=([a-z_0-9]+)", words)}
    return sorted(set(traced.calls()) - NOT_HIT - tampered)


def kill_at_every_call(scene, tampering=()):
    """Result: the number of kills."""
    traced = Traced(scene.command(), tampering)
    kills = 0
    scene.prepare()
    for kind in kinds_to_hit(traced):
        for number in range(1, MOST_CALLS_OF_A_KIND):
            scene.prepare()
            place = f"killed at {kind} number {number}"
            status, _ = traced.run(f"inject={kind}:signal=KILL:when={number}")
            if status != -signal.SIGKILL:
                scene.check_ended(place, status)
                break
            kills += 1
            scene.check_killed(place)
    return kills


def fail_at_every_call(scene, error="EIO"):
    """Has each call fail once. Result: the number of failed calls."""
    traced = Traced(scene.command())
    failures = 0
    scene.prepare()
    for kind in kinds_to_hit(traced):
        for number in range(1, MOST_CALLS_OF_A_KIND):
            scene.prepare()
            status, lines = traced.run(f"inject={kind}:error={error}:when={number}")
            scene.check_faulty(f"{error} from {kind} number {number}", status)
            if not any("(INJECTED)" in line for line in lines):
                break
            failures += 1
    return failures


def kill_at_random_moments(scene, kills, seed):
    """Kills runs of the command until `kills` of them did not come to their end before.

    Result: the number of runs. The moments are spread over the time that a run needs.
    """
    chance = random.Random(seed)
    command = [os.fspath(word) for word in scene.command()]
    scene.prepare()
    start = time.monotonic()
    scene.check_ended("left alone", subprocess.run(command, stdin=subprocess.DEVNULL,
                                                   check=False).returncode)
    longest = time.monotonic() - start
    killed = runs = 0
    while killed < kills and runs < 20 * kills:
        runs += 1
        scene.prepare()
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        delay = chance.uniform(0, longest)
        time.sleep(delay)
        process.kill()
        status = process.wait(LONGEST_RUN_S)
        place = f"killed after {delay:.6f} s, seed {seed}"
        if status == -signal.SIGKILL:
            killed += 1
            scene.check_killed(place)
        else:
            scene.check_ended(place, status)
    return runs


class MessageScene:
    """A message in a folder, and a command that changes it in place.

    After a kill the message is the old or the new one, whole, with its mode, owner and time;
    nothing else lies in its folders but recognised leftovers; and one more run brings the new
    message and removes them.
    """

    MODE = 0o640
    TIME_NS = 1_000_000_000_000_000_007

    def __init__(self, test, folder, name, old, new, make_command):
        """
        name          of the message, below the folder, as in "cur/1.M2P3.host:2,S"
        old, new      its bytes before and after
        make_command  gives the words of the command for the path of the message
        """
        self.test = test
        self.folder = pathlib.Path(folder)
        self.message = self.folder / name
        self.old = old
        self.new = new
        self.make_command = make_command
        self.owner = (1234, 2345) if os.geteuid() == 0 else (os.geteuid(), os.getegid())
        self.message.parent.mkdir(parents=True, exist_ok=True)
        if self.message.parent.name in ("cur", "new"):
            for each in ("cur", "new", "tmp"):
                (self.folder / each).mkdir(exist_ok=True)

    def command(self):
        return self.make_command(self.message)

    def prepare(self):
        for path in self.files():
            path.unlink()
        self.message.write_bytes(self.old)
        os.chown(self.message, *self.owner)
        self.message.chmod(self.MODE)
        os.utime(self.message, ns=(self.TIME_NS, self.TIME_NS))

    def files(self):
        return [path for path in self.folder.rglob("*") if not path.is_dir()]

    def check_message(self, place, *allowed):
        status = self.message.lstat()
        self.test.assertIn(self.message.read_bytes(), allowed, place)
        self.test.assertEqual(stat.S_IMODE(status.st_mode), self.MODE, place)
        self.test.assertEqual((status.st_uid, status.st_gid), self.owner, place)
        self.test.assertEqual(status.st_mtime_ns, self.TIME_NS, place)

    def check_only_leftovers(self, place):
        for path in self.files():
            if path != self.message:
                self.test.assertRegex(path.name, LEFTOVER, place)

    def check_killed(self, place):
        self.check_message(place, self.old, self.new)
        self.check_only_leftovers(place)
        again = subprocess.run([os.fspath(word) for word in self.command()],
                               stdin=subprocess.DEVNULL, capture_output=True,
                               timeout=LONGEST_RUN_S, check=False)
        self.check_ended(f"{place}, run again: {again.stderr}", again.returncode)
        self.test.assertEqual(again.returncode, 0, f"{place}: {again.stderr}")

    def check_ended(self, place, status):
        """A command that says it is done has done it and cleared away."""
        if status == 0:
            self.check_message(place, self.new)
            self.test.assertEqual(self.files(), [self.message], place)
        else:
            self.check_message(place, self.old, self.new)
            self.check_only_leftovers(place)

    def check_faulty(self, place, status):
        """A command that says it is done has done it; it may have been kept from clearing away."""
        if status == 0:
            self.check_message(place, self.new)
        else:
            self.check_message(place, self.old, self.new)
        self.check_only_leftovers(place)
