"""The footprint of the library: file size, libraries it needs, resident memory."""

import re
import statistics
import subprocess
import tempfile
from pathlib import Path

from report.programs import command, environment
from report.table import Row, answer

SIZE_GOAL = 96_000
MEMORY_GOAL_KB = 300
MEMORY_RUNS = 9
NEEDED_GOAL = {"libc", "libgcc_s"}
# Of the development host; a device has its own.
PLATFORM = "libplatform_host"
OTHERS = ["libdbus-1.so.3", "libsystemd.so.0"]


def output(*words):
    run = subprocess.run(words, env=environment(), check=True, text=True, capture_output=True)
    return run.stdout


def stripped_size(library):
    with tempfile.NamedTemporaryFile() as stripped:
        subprocess.run(["strip", "-o", stripped.name, str(library)], check=True)
        return Path(stripped.name).stat().st_size


def installed(name):
    """The path of an installed shared library, or None."""
    found = re.search(rf"{re.escape(name)} .*=> (\S+)", output("/sbin/ldconfig", "-p"))
    return found and Path(found.group(1)).resolve()


def needed(library):
    names = re.findall(r"NEEDED.*\[(.*?)\.so", output("readelf", "-d", str(library)))
    return sorted(name for name in names if name != PLATFORM)


def memory(directory, library):
    """Growth of a process in kilobytes after loading the library, and after registering."""
    runs = []
    for _ in range(MEMORY_RUNS):
        lines = output(*command(directory, "library_footprint"), str(library)).splitlines()
        runs.append({name: int(size) for name, size in (line.rsplit(" ", 1) for line in lines)})
    return [statistics.median(run[name] for run in runs) for name in ("loaded", "registered")]


def measure(directory, library):
    size = stripped_size(library)
    others = [(name, installed(name)) for name in OTHERS]
    sizes = [f"{name}: {path.stat().st_size / 1000:.0f} kB" for name, path in others if path]
    names = needed(library)
    loaded, registered = memory(directory, library)
    return [
        Row("shared library, stripped", f"{size / 1000:.1f} kB", ", ".join(sizes), "",
            f"<= {SIZE_GOAL / 1000:.0f} kB", answer(size <= SIZE_GOAL)),
        Row("needs, beside the platform's libraries", ", ".join(names), "", "",
            "libc, libgcc_s", answer(set(names) <= NEEDED_GOAL)),
        Row("resident memory over an idle process", f"{registered:.0f} kB",
            f"loaded, not registered: {loaded:.0f} kB", "",
            f"<= {MEMORY_GOAL_KB} kB", answer(registered <= MEMORY_GOAL_KB)),
    ]
