"""The measures that are exact: system calls, allocations, instructions, context switches.

Each is the difference of two runs of different length, without what a program does once.
"""

import functools
import re
import subprocess
import tempfile
from dataclasses import dataclass
from pathlib import Path
from typing import Callable

from report import goals
from report.programs import command, environment, run_in_turns
from report.speed import BATCHED, CALLBACK, CODEC, DIRECT, EXCHANGE, INBOUND, WAIT
from report.table import Row, judged

SHORT = 200
LONG = 700
# The first system call of the server process.
SERVER_MARK = "PR_SET_PDEATHSIG"


def slope(count, directory, text):
    """The count per operation."""
    return (count(directory, text, LONG) - count(directory, text, SHORT)) / (LONG - SHORT)


def run(prefix, directory, text, operations):
    """Returns the process id of the program."""
    line = prefix + command(directory, f"{text} --operations {operations}")
    process = subprocess.Popen(
        line, env=environment(), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    if process.wait() != 0:
        raise RuntimeError(f"{' '.join(line)}: ended with {process.returncode}")
    return process.pid


def traces(directory, text, operations):
    """The output of strace for every thread of the program, the first thread first."""
    with tempfile.TemporaryDirectory() as folder:
        run(["strace", "-ff", "-o", f"{folder}/trace"], directory, text, operations)
        found = [path.read_text(errors="replace") for path in Path(folder).iterdir()]
    threads = [trace for trace in found if SERVER_MARK not in trace]
    return sorted(threads, key=lambda trace: not trace.startswith("execve("))


def calls(trace):
    return sum(1 for line in trace.splitlines() if re.match(r"\w+\(", line))


def system_calls(directory, text, operations):
    return sum(map(calls, traces(directory, text, operations)))


def system_calls_of_first_thread(directory, text, operations):
    return calls(traces(directory, text, operations)[0])


@functools.cache
def profile(directory, text, operations):
    """The output of callgrind."""
    with tempfile.TemporaryDirectory() as folder:
        options = ["--tool=callgrind", f"--callgrind-out-file={folder}/out.%p"]
        process = run(["valgrind", *options], directory, text, operations)
        return Path(folder, f"out.{process}").read_text()


def instructions(directory, text, operations):
    found = re.search(r"(?m)^(?:summary|totals): (\d+)", profile(directory, text, operations))
    return int(found.group(1))


def allocations(directory, text, operations):
    """Calls of malloc(). Callgrind gives a function's name once, later only its number."""
    names, called, total = {}, None, 0
    for line in profile(directory, text, operations).splitlines():
        named = re.match(r"(c?)fn=(\(\d+\))(?: (.*))?", line)
        if named:
            names.setdefault(named[2], named[3])
            called = named[2] if named[1] else called
        elif line.startswith("calls=") and names[called] == "malloc":
            total += int(line[len("calls="):].split()[0])
    return total


@dataclass
class Count:
    measure: str
    counted: Callable
    library: str
    counterpart_name: str = ""
    counterpart: str = ""
    goal: goals.Goal | None = None


IDLE = " --pause 1000"
SYSTEM_CALLS = [
    Count("system calls, request", system_calls, DIRECT,
          "encode, write", "baseline_writes", goals.CALLS_OF_REQUEST),
    Count("system calls, batched request (requesting thread)", system_calls_of_first_thread,
          BATCHED, "encode, write five at once", "baseline_writes --together 5",
          goals.CALLS_OF_BATCHED_REQUEST),
    Count("system calls, inbound message, idle", system_calls, INBOUND + IDLE,
          "poll, two reads a message", "baseline_events" + IDLE, goals.CALLS_OF_INBOUND_IDLE),
    Count("system calls, inbound message, under load", system_calls, INBOUND,
          "poll, two reads a message", "baseline_events",
          goals.CALLS_OF_INBOUND_UNDER_LOAD),
    Count("system calls, exchange", system_calls, EXCHANGE,
          "one socket, header and body read", "baseline_one_socket"),
]
ALLOCATIONS = [
    Count("allocations, request", allocations, DIRECT, goal=goals.BLOCKS_OF_REQUEST),
    Count("allocations, inbound result with callback", allocations, INBOUND,
          goal=goals.BLOCKS_OF_INBOUND_RESULT),
    Count("allocations, round trip with a waiting thread", allocations, WAIT,
          goal=goals.BLOCKS_OF_WAITED_ROUND_TRIP),
    Count("allocations, exchange", allocations, EXCHANGE, goal=goals.BLOCKS_OF_EXCHANGE),
    Count("allocations, encode and decode", allocations, CODEC,
          "memcpy", "baseline_copies", goals.BLOCKS_OF_CODEC),
]
INSTRUCTIONS = [
    Count("instructions in user mode, request", instructions, DIRECT,
          "encode, write", "baseline_writes"),
    Count("instructions in user mode, inbound result", instructions, INBOUND,
          "poll, two reads a message", "baseline_events"),
    Count("instructions in user mode, exchange", instructions, EXCHANGE,
          "one socket, header and body read", "baseline_one_socket"),
    Count("instructions, encode and decode", instructions, CODEC, "memcpy", "baseline_copies"),
]


def measure(directory):
    rows = [row(count, directory) for count in SYSTEM_CALLS + ALLOCATIONS + INSTRUCTIONS]
    return rows[:len(SYSTEM_CALLS)] + switches(directory) + rows[len(SYSTEM_CALLS):]


def row(count, directory):
    library = slope(count.counted, directory, count.library)
    counterpart, ratio = "", ""
    if count.counterpart:
        least = slope(count.counted, directory, count.counterpart)
        counterpart = f"{count.counterpart_name}: {figure(least)}"
        ratio = f"{library / least:.2f}"
    return judged(Row(count.measure, figure(library), counterpart, ratio), count.goal, library)


def figure(number):
    return f"{number:,.0f}" if number >= 100 else f"{number:.2f}".rstrip("0").rstrip(".")


def switches(directory):
    """Context switches of a round trip."""
    rows = []
    for measure_name, library, name, counterpart in [
        ("context switches, round trip, result callback", CALLBACK,
         "two sockets, callback", "baseline_two_sockets_callback"),
        ("context switches, round trip, waiting thread", WAIT,
         "two sockets, datagram pair", "baseline_two_sockets_datagram"),
    ]:
        rounds = run_in_turns(directory, [library, counterpart])
        ours, least = rounds.switches(library), rounds.switches(counterpart)
        measured = Row(measure_name, figure(ours), f"{name}: {figure(least)}",
                       f"{ours / least:.2f}")
        rows.append(judged(measured, goals.same_switches(least), ours))
    return rows
