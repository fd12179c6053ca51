"""Measures and prints the table for script/bench."""

import argparse
import datetime
import subprocess
import sys
from pathlib import Path

from report import counts, footprint, growth, speed, table

BEGIN = "<!-- measured by script/bench --docs -->\n"
END = "<!-- end of what was measured -->\n"


def arguments():
    parser = argparse.ArgumentParser(prog="script/bench")
    parser.add_argument("--build", required=True, type=Path, help=argparse.SUPPRESS)
    parser.add_argument("--compare", action="store_true", help="also measure other libraries")
    parser.add_argument("--quick", action="store_true", help="measure times only")
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
        rows += footprint.measure(programs, build / "aaa_client" / "libaaa_client.so")
    return "\n".join(table.lines(rows)) + "\n"


def origin():
    head = subprocess.run(["git", "rev-parse", "--short", "HEAD"], check=True, text=True,
                          capture_output=True).stdout.strip()
    return f"Measured on {datetime.date.today()} at commit {head}."


def put_into(page, text):
    before, rest = page.read_text().split(BEGIN)
    _, after = rest.split(END)
    page.write_text(f"{before}{BEGIN}\n{text}\n{END}{after}")


def main():
    options = arguments()
    text = measure(options.build, options.compare, options.quick)
    print(text, end="")
    if options.docs:
        put_into(Path("docs/performance.md"), f"{origin()}\n\n{text}")
        say("growth")
        growth.draw_all(options.build / "bench", "docs/performance")


main()
