"""Plots of time and memory against the number of clients, threads, items and bytes."""

import subprocess
from dataclasses import dataclass
from pathlib import Path

from report.programs import command, environment, run_in_turns
from report.speed import BATCHED, CALLBACK, CODEC, COPIES, DIRECT

ROUNDS = 5


@dataclass
class Growth:
    """A plot: each line is a program, run with each of the numbers."""

    name: str
    title: str
    option: str
    numbers: list[int]
    lines: dict[str, str]
    logarithmic: bool = False
    unit: str = "µs of processor time"


# Each client of a plot is a process, which is started for each number.
MANY = [1, 2, 4, 8, 16, 32, 64, 128, 200]

GROWTHS = [
    Growth("clients", "round trip with the result callback, clients on one peer", "clients",
           MANY, {"library": "library_clients", "two sockets, callback": "baseline_clients"}, True),
    Growth("threads", "request, threads that send at the same time", "threads",
           [1, 2, 4, 8, 16, 32, 64], {"direct": DIRECT, "batched": BATCHED}, True),
    Growth("items", "encode and decode an authentication record, items of 24 bytes", "items",
           [0, 2, 4, 6, 8, 10, 12, 14],
           {"library": CODEC, "memcpy, as many allocations": COPIES}),
    Growth("codec-bytes", "encode and decode an authentication record, bytes of the body", "bytes",
           [1404, 2048, 4096, 8192, 16384],
           {"library": CODEC, "memcpy, as many allocations": COPIES}),
    Growth("bytes", "round trip with the result callback, bytes of each body", "bytes",
           [1500, 2048, 4096, 8192, 16384],
           {"library": CALLBACK, "two sockets, callback": "baseline_two_sockets_callback"}),
]

MEMORY = Growth("memory", "memory of a client, with a share of what it shares", "clients", MANY,
                {"registered": "library_memory",
                 "loaded only": "library_memory --registered 0"}, True, "kB a client")


def measure(directory, growth):
    """Nanoseconds per operation: for each line one figure for each number."""
    figures = {label: [] for label in growth.lines}
    for number in growth.numbers:
        texts = {
            label: f"{text} --{growth.option} {number}" for label, text in growth.lines.items()
        }
        rounds = run_in_turns(directory, list(texts.values()), ROUNDS)
        for label, text in texts.items():
            figures[label].append(rounds.median(text) / 1000)
    return figures


def measure_memory(directory):
    """One run of each line counts its clients up."""
    figures = {}
    for label, text in MEMORY.lines.items():
        line = command(directory, f"{text} --clients {MEMORY.numbers[-1]}")
        run = subprocess.run(line, env=environment(), check=True, text=True, capture_output=True)
        figures[label] = [int(row.split()[1]) for row in run.stdout.splitlines()]
    return figures


def draw(growth, figures, target):
    """Writes an SVG file."""
    plots = ", ".join(
        f"$data using 1:{column} with linespoints linewidth 2 pointtype 7 pointsize 0.5 "
        f'title "{label}"'
        for column, label in enumerate(figures, start=2)
    )
    data = "\n".join(
        " ".join(map(str, (number, *(line[i] for line in figures.values()))))
        for i, number in enumerate(growth.numbers)
    )
    script = f"""
set terminal svg size 640,360 dynamic background "white" font "sans-serif,12"
set output "{target}"
set title "{growth.title}"
set xlabel "{growth.option}"
set ylabel "{growth.unit}"
set yrange [0:*]
set grid
set key bottom right
{"set logscale x 2" if growth.logarithmic else ""}
$data << END
{data}
END
plot {plots}
"""
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def draw_all(directory, folder):
    Path(folder).mkdir(parents=True, exist_ok=True)
    for growth in GROWTHS:
        draw(growth, measure(directory, growth), Path(folder) / f"{growth.name}.svg")
    draw(MEMORY, measure_memory(directory), Path(folder) / f"{MEMORY.name}.svg")
