"""The goals of the measures, in one place. The table shows them; script/bench --check fails on them.

A ratio is missed when it is worse than its goal, and fails the check when it is worse by more than
its rounds scatter: by more than the interquartile range.
"""

from dataclasses import dataclass


@dataclass(frozen=True)
class Goal:
    sign: str  # "<=", ">=", "<" or "="
    bound: float
    unit: str = ""
    tolerance: float = 0.0  # of a figure that is counted, for its rounding

    def __str__(self):
        return f"{self.sign} {self.bound:g}{self.unit}"

    def shortfall(self, figure):
        """By how much the figure is worse than the goal; 0 when it meets it."""
        if self.sign == ">=":
            worse = self.bound - figure
        elif self.sign == "=":
            worse = abs(figure - self.bound)
        else:
            worse = figure - self.bound
        if self.sign == "<":
            return worse + 1e-9 if worse >= 0 else 0.0
        return max(0.0, worse - self.tolerance)

    def is_met(self, figure):
        return self.shortfall(figure) == 0

    def fails(self, figure, spread=0.0):
        return self.shortfall(figure) > spread


def at_most(bound, unit=""):
    return Goal("<=", bound, unit)


def at_least(bound):
    return Goal(">=", bound)


def exactly(bound, tolerance=0.005):
    return Goal("=", bound, tolerance=tolerance)


# Times, as ratios to the counterpart.
CALLBACK_ROUND_TRIP = at_most(1.12)
WAITED_ROUND_TRIP = at_most(1.12)
EXCHANGE = at_most(1.12)
CODEC = at_most(1.55)
CALLBACK_TO_SD_BUS = at_most(0.8)

# Rates, as ratios to the counterpart.
DIRECT_REQUESTS = at_least(0.88)
BATCHED_REQUESTS = at_least(1.8)
INBOUND_RESULTS = at_least(2)
INBOUND_NOTICES = at_least(2)

# Counts an operation.
CALLS_OF_REQUEST = exactly(1)
CALLS_OF_BATCHED_REQUEST = Goal("<=", 0.2, tolerance=0.005)
CALLS_OF_INBOUND_IDLE = Goal("<=", 4, tolerance=0.005)
CALLS_OF_INBOUND_UNDER_LOAD = Goal("<", 1)
BLOCKS_OF_REQUEST = exactly(2)
BLOCKS_OF_INBOUND_RESULT = exactly(5)
BLOCKS_OF_WAITED_ROUND_TRIP = exactly(8)
BLOCKS_OF_EXCHANGE = exactly(2)
BLOCKS_OF_CODEC = exactly(5)

# Footprint, in kilobytes.
LIBRARY = at_most(112, " kB")
LIBRARY_FOR_ARMHF = at_most(76, " kB")
MEMORY = at_most(300, " kB")
NEEDED = {"libc", "libgcc_s"}


def same_switches(counterpart):
    """As many context switches as the counterpart."""
    return exactly(round(counterpart, 2), tolerance=0.01)
