"""The measured programs, run in turns.

A machine that does other work too gives other times every minute. What stays is the ratio of two
programs that take turns in short rounds: each round gives one ratio, and the middle one counts.
"""

import os
import statistics
import subprocess
from pathlib import Path

ROUNDS = 15
ROUND_NS = 30_000_000
TRIAL_OPERATIONS = 500


def environment():
    return os.environ | {"AAA_HOST_LOG": "none"}


def command(directory, text):
    """The command line of a program of `directory`, given as "program --option number"."""
    name, *options = text.split()
    return [str(Path(directory) / name), *options]


class Contender:
    """A running program that waits for the number of operations of its next round."""

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
        """Returns nanoseconds and context switches of an operation."""
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
    """What came out: per program, the figures of all rounds in their order."""

    def __init__(self, figures):
        self.figures = figures

    def median(self, text):
        return statistics.median(ns for ns, _ in self.figures[text])

    def switches(self, text):
        return statistics.median(switches for _, switches in self.figures[text])

    def ratios(self, text, other):
        return sorted(a[0] / b[0] for a, b in zip(self.figures[text], self.figures[other]))


def take_turns(directory, texts, rounds=ROUNDS):
    """Runs the programs in turns, the same number of operations each."""
    contenders = [Contender(directory, text) for text in dict.fromkeys(texts)]
    try:
        slowest = max(trial(contender) for contender in contenders)
        operations = max(TRIAL_OPERATIONS, int(ROUND_NS / slowest))
        figures = {contender.text: [] for contender in contenders}
        for turn in range(rounds):
            first = turn % len(contenders)
            for contender in contenders[first:] + contenders[:first]:
                figures[contender.text].append(contender.run(operations))
        return Rounds(figures)
    finally:
        for contender in contenders:
            contender.close()


def trial(contender):
    contender.run(TRIAL_OPERATIONS)
    return contender.run(TRIAL_OPERATIONS)[0]
