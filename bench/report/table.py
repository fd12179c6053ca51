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

    def cells(self):
        return [self.measure, self.library, self.counterpart, self.ratio, self.goal, self.met]


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
