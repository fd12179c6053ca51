"""Runs the measured programs in turns.

On a busy machine times vary from minute to minute. The ratio of two programs that take turns in
short rounds does not: each round gives a ratio, and the result is their median.
"""

import os
import statistics
import subprocess
from pathlib import Path

ROUNDS = 15
STARTS = 5
ROUND_NS = 30_000_000
TRIAL_OPERATIONS = 500


def environment():
    return os.environ | {"AAA_HOST_LOG": "none"}


def command(directory, text):
    """The command line of a program of `directory`, given as "program --option number"."""
    name, *options = text.split()
    return [str(Path(directory) / name), *options]


class Program:
    """A running program. It waits for the number of operations of the next round."""

    def __init__(self, directory, text):
        self.text = text
        self.process = subprocess.Popen(
            command(directory, text),
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            env=environment(),
            text=True,
        )

    def run(self, operations):
        """Returns nanoseconds and context switches per operation."""
        self.process.stdin.write(f"{operations}\n")
        self.process.stdin.flush()
        line = self.process.stdout.readline()
        if not line:
            raise RuntimeError(f"{self.text}: ended with {self.process.wait()}")
        return [int(number) / operations for number in line.split()]

    def close(self):
        self.process.stdin.close()
        self.process.wait()


class Rounds:
    """For each program the figures of all rounds, in order."""

    def __init__(self, figures):
        self.figures = figures

    def median(self, text):
        return statistics.median(ns for ns, _ in self.figures[text])

    def switches(self, text):
        return statistics.median(switches for _, switches in self.figures[text])

    def ratios(self, text, other):
        return sorted(a[0] / b[0] for a, b in zip(self.figures[text], self.figures[other]))


def run_in_turns(directory, texts, rounds=ROUNDS):
    """Runs the programs in turns, the same number of operations each. They are started anew
    several times: where a process has its memory makes it faster or slower for as long as it runs.
    """
    figures = {text: [] for text in texts}
    for _ in range(STARTS):
        run_started(directory, figures, rounds // STARTS)
    return Rounds(figures)


def run_started(directory, figures, rounds):
    programs = [Program(directory, text) for text in figures]
    try:
        slowest = max(trial(program) for program in programs)
        operations = max(TRIAL_OPERATIONS, int(ROUND_NS / slowest))
        for turn in range(rounds):
            first = turn % len(programs)
            for program in programs[first:] + programs[:first]:
                figures[program.text].append(program.run(operations))
    finally:
        for program in programs:
            program.close()


def trial(program):
    program.run(TRIAL_OPERATIONS)
    return program.run(TRIAL_OPERATIONS)[0]
