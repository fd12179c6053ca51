"""Measures and prints the table for script/bench."""

import argparse
import datetime
import subprocess
import sys
from pathlib import Path

from report import counts, footprint, growth, load, speed, table

# Before what is written: to README.md the goals, to docs/performance.md the table and the load.
SUMMARY = "<!-- goals, measured by script/bench --docs -->\n"
TABLE = "<!-- measured by script/bench --docs -->\n"
LOAD = "<!-- load, measured by script/bench --docs -->\n"
END = "<!-- end of what was measured -->\n"


def arguments():
    parser = argparse.ArgumentParser(prog="script/bench")
    parser.add_argument("--build", required=True, type=Path, help=argparse.SUPPRESS)
    parser.add_argument("--compare", action="store_true", help="also measure other libraries")
    parser.add_argument("--quick", action="store_true", help="measure times only")
    parser.add_argument("--check", action="store_true",
                        help="fail when a figure is worse than its goal by more than it scatters")
    parser.add_argument("--docs", action="store_true",
                        help="write the table and the plots to docs/")
    return parser.parse_args()


def say(what):
    print(f"    {what}", file=sys.stderr, flush=True)


def measure(build, compare, quick):
    programs = build / "bench"
    say("times")
    rows = speed.measure_groups(programs, speed.GROUPS)
    rows += speed.measure_groups(programs, speed.installed(programs, speed.LOOP_GROUPS))
    if compare:
        say("peers")
        rows += speed.measure_groups(programs, speed.installed(programs, speed.PEER_GROUPS))
    if not quick:
        say("counts")
        rows += counts.measure(programs)
        library = Path("aaa_client", "libaaa_client.so")
        rows += footprint.measure(programs, build / library, build.parent / "armhf" / library)
    return rows


def origin():
    head = subprocess.run(["git", "rev-parse", "--short", "HEAD"], check=True, text=True,
                          capture_output=True).stdout.strip()
    return f"Measured on {datetime.date.today()} at commit {head}."


def put_into(page, mark, text):
    before, rest = page.read_text().split(mark)
    _, after = rest.split(END, 1)
    page.write_text(f"{before}{mark}\n{text}\n{END}{after}")


def write_docs(programs, rows, text):
    put_into(Path("README.md"), SUMMARY, f"{table.summary(rows)}\n")
    page = Path("docs/performance.md")
    put_into(page, TABLE, f"{origin()}\n\n{text}")
    say("load")
    put_into(page, LOAD, "\n".join(load.lines(load.measure(programs))) + "\n")
    say("growth")
    growth.draw_all(programs, "docs/performance")


def main():
    options = arguments()
    rows = measure(options.build, options.compare, options.quick)
    text = "\n".join(table.lines(rows)) + "\n"
    print(text, end="")
    if options.docs:
        write_docs(options.build / "bench", rows, text)
    return check(rows) if options.check else 0


def check(rows):
    """The exit status: 1 when a row fails."""
    failures = table.failures(rows)
    for failure in failures:
        print(f"bench: worse than its goal: {failure}", file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
