"""A receive thread under ten seconds of full load, with callbacks that take different times."""

import subprocess
from dataclasses import astuple, dataclass

from report.programs import command, environment

SECONDS = 10
CALLBACKS_US = [0, 10, 100]
HEAD = ["callback", "results a second", "lost", "heartbeats sent by the client",
        "greatest age of the daemon's heartbeat, sent every second"]


@dataclass
class Load:
    callback: str
    rate: str
    lost: str
    heartbeats: str
    age: str


def measure(directory):
    return [load(directory, callback) for callback in CALLBACKS_US]


def load(directory, callback):
    line = command(directory, f"library_load --seconds {SECONDS} --callback {callback}")
    run = subprocess.run(line, env=environment(), check=True, text=True, capture_output=True)
    sent, received, heartbeats, age = map(int, run.stdout.split())
    return Load(f"{callback} µs", f"{received / SECONDS:,.0f}", str(sent - received),
                str(heartbeats), f"{age} s")


def lines(loads):
    rows = [HEAD, ["---"] * len(HEAD)] + [astuple(load) for load in loads]
    return ["| " + " | ".join(row) + " |" for row in rows]
