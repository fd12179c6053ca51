"""Logins per second: the library, aaad-sim and FreeRADIUS, compared with radclient and FreeRADIUS.

The two run in turns, a round each, with as many requests outstanding; the figure is the median of
the rounds' ratios.
"""

import argparse
import contextlib
import os
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
SERVE = ROOT / "tests" / "real" / "freeradius" / "serve"
SECRET = "loopback-secret"
GOAL = 0.6


def arguments():
    parser = argparse.ArgumentParser(prog="script/bench --radius")
    parser.add_argument("build", type=Path, help=argparse.SUPPRESS)
    parser.add_argument("--logins", type=int, default=5000, help="of a round, default 5000")
    parser.add_argument("--outstanding", type=int, default=64, help="default 64")
    parser.add_argument("--rounds", type=int, default=5, help="default 5")
    return parser.parse_args()


def wait_for(condition, what, seconds=20):
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            sys.exit(f"bench: {what}")
        time.sleep(0.05)


@contextlib.contextmanager
def running(command, log, ready):
    """A process in the background, from the moment its output has the text `ready`."""
    with log.open("w") as output:
        process = subprocess.Popen(command, stdout=output, stderr=subprocess.STDOUT)
    try:
        wait_for(lambda: ready in log.read_text() or process.poll() is not None,
                 f"{command[0]} does not start: {log}")
        if process.poll() is not None:
            sys.exit(f"bench: {command[0]} has ended:\n{log.read_text()}")
        yield
    finally:
        process.terminate()
        process.wait()


def free_ports(count):
    import socket
    sockets = [socket.socket(socket.AF_INET, socket.SOCK_DGRAM) for _ in range(count)]
    for each in sockets:
        each.bind(("127.0.0.1", 0))
    ports = [each.getsockname()[1] for each in sockets]
    for each in sockets:
        each.close()
    return ports


def radclient_seconds(directory, port, options):
    """The requests come from one file: radclient keeps as many outstanding as it may."""
    requests = directory / "requests.txt"
    if not requests.exists():
        one = "User-Name = alice\nUser-Password = secret\nMessage-Authenticator = 0x00\n"
        requests.write_text("\n".join([one] * options.logins))
    start = time.monotonic()
    subprocess.run(["radclient", "-q", "-p", str(options.outstanding), "-f", requests,
                    f"127.0.0.1:{port}", "auth", SECRET], check=True, stdout=subprocess.DEVNULL)
    return time.monotonic() - start


def library_seconds(programs, directory, options):
    result = subprocess.run(
        [programs / "radius_logins", str(options.logins), str(options.outstanding)],
        env={**os.environ, "TMPDIR": str(directory)}, capture_output=True, text=True)
    if result.returncode != 0:
        sys.exit(f"bench: radius_logins ends with {result.returncode}: {result.stderr}")
    return float(result.stdout)


def compare(options, directory, port):
    rates, ratios = [], []
    for number in range(options.rounds):
        direct = options.logins / radclient_seconds(directory, port, options)
        through = options.logins / library_seconds(options.build / "bench", directory, options)
        rates.append(through)
        ratios.append(through / direct)
        print(f"round {number + 1}: {through:.0f} logins/s, radclient {direct:.0f}/s, "
              f"ratio {ratios[-1]:.2f}", flush=True)
    ratio = statistics.median(ratios)
    met = ratio >= GOAL
    print(f"median: {statistics.median(rates):.0f} logins/s, ratio {ratio:.2f}, "
          f"goal {GOAL}: {'met' if met else 'not met'}")
    return met


def main():
    options = arguments()
    with tempfile.TemporaryDirectory(prefix="aaa-bench.") as name:
        directory = Path(name)
        auth, acct = free_ports(2)
        settings = directory / "radius.toml"
        settings.write_text(f'requests = ["authentication"]\n[[server]]\naddress = "127.0.0.1"\n'
                            f'authentication_port = {auth}\nsecret = "{SECRET}"\n')
        simulator = [options.build / "tools" / "aaad-sim", "--directory", directory, "--quiet",
                     "--session-ids", "100000", "--radius", settings]
        with running([SERVE, directory, str(auth), str(acct)], directory / "server.log",
                     "Ready to process requests"):
            with running(simulator, directory / "simulator.log", "listening"):
                met = compare(options, directory, auth)
    sys.exit(0 if met else 1)


main()
