"""The table in Markdown."""

from dataclasses import dataclass

HEAD = ["measure", "library", "counterpart", "ratio", "goal", "met"]


@dataclass
class Row:
    measure: str
    library: str
    counterpart: str
    ratio: str = ""
    goal: str = ""
    met: str = ""
    fails: bool = False  # worse than the goal by more than the figures scatter

    def cells(self):
        return [self.measure, self.library, self.counterpart, self.ratio, self.goal, self.met]


def judged(row, goal, figure, spread=0.0):
    """The row with its goal, if it has one, and whether the figure meets it."""
    if goal is not None:
        row.goal = str(goal)
        row.met = answer(goal.is_met(figure))
        row.fails = goal.fails(figure, spread)
    return row


def judged_figure(row):
    """A ratio is judged when it has a range, otherwise the library's own figure."""
    return row.ratio.split()[0] if "(" in row.ratio else row.library


def summary(rows):
    """Which goals are met, in a sentence or two."""
    judged_rows = [row for row in rows if row.met]
    missed = [f"{row.measure} ({judged_figure(row)}, goal {row.goal})"
              for row in judged_rows if row.met == "no"]
    met = f"{len(judged_rows) - len(missed)} of {len(judged_rows)} goals are met."
    return f"{met} Not met: {'; '.join(missed)}." if missed else met


def failures(rows):
    """A line for each row that fails."""
    return [f"{row.measure}, over {row.counterpart or 'nothing'}: {row.ratio or row.library}, "
            f"goal {row.goal}" for row in rows if row.fails]


def answer(met):
    return "yes" if met else "no"


def lines(rows):
    table = [HEAD] + [row.cells() for row in rows]
    widths = [max(len(row[column]) for row in table) for column in range(len(HEAD))]
    table.insert(1, ["-" * width for width in widths])
    return [
        "| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |"
        for row in table
    ]
