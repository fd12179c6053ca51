"""The footprint of the library: file size, libraries it needs, resident memory."""

import re
import statistics
import subprocess
import tempfile
from pathlib import Path

from report import goals
from report.programs import command, environment
from report.table import Row, answer, judged

MEMORY_RUNS = 9
# The platform's library, of which a device has its own; the loader, which is part of libc.
NOT_COUNTED = ("libplatform_host", "ld-linux")
OTHERS = ["libdbus-1.so.3", "libsystemd.so.0"]


def output(*words):
    run = subprocess.run(words, env=environment(), check=True, text=True, capture_output=True)
    return run.stdout


def stripped_kilobytes(library, strip="strip"):
    with tempfile.NamedTemporaryFile() as stripped:
        subprocess.run([strip, "-o", stripped.name, str(library)], check=True)
        return Path(stripped.name).stat().st_size / 1000


def size(measure_name, library, goal, others="", strip="strip"):
    kilobytes = stripped_kilobytes(library, strip)
    return judged(Row(measure_name, f"{kilobytes:.1f} kB", others), goal, kilobytes)


def installed(name):
    """The path of an installed shared library, or None."""
    found = re.search(rf"{re.escape(name)} .*=> (\S+)", output("/sbin/ldconfig", "-p"))
    return found and Path(found.group(1)).resolve()


def needed(library):
    names = re.findall(r"NEEDED.*\[(.*?)\.so", output("readelf", "-d", str(library)))
    return sorted(name for name in names if not name.startswith(NOT_COUNTED))


def memory(directory, library):
    """Growth of a process in kilobytes after loading the library, after registering, and how far
    the latter scatters.
    """
    runs = []
    for _ in range(MEMORY_RUNS):
        lines = output(*command(directory, "library_footprint"), str(library)).splitlines()
        runs.append({name: int(size) for name, size in (line.rsplit(" ", 1) for line in lines)})
    registered = [run["registered"] for run in runs]
    low, _, high = statistics.quantiles(registered, n=4)
    loaded = statistics.median(run["loaded"] for run in runs)
    return loaded, statistics.median(registered), high - low


def measure(directory, library, armhf_library):
    others = [(name, installed(name)) for name in OTHERS]
    sizes = [f"{name}: {path.stat().st_size / 1000:.0f} kB" for name, path in others if path]
    rows = [size("shared library, stripped", library, goals.LIBRARY, ", ".join(sizes))]
    if armhf_library.exists():
        rows.append(size("shared library for armhf, stripped", armhf_library,
                         goals.LIBRARY_FOR_ARMHF, strip="arm-linux-gnueabihf-strip"))
    names = needed(library)
    rows.append(Row("needs, beside the platform's libraries", ", ".join(names), "", "",
                    ", ".join(sorted(goals.NEEDED)), answer(set(names) <= goals.NEEDED),
                    not set(names) <= goals.NEEDED))
    loaded, registered, spread = memory(directory, library)
    rows.append(judged(Row("resident memory over an idle process", f"{registered:.0f} kB",
                           f"loaded, not registered: {loaded:.0f} kB"),
                       goals.MEMORY, registered, spread))
    return rows
