"""Measures the tool beside its peers and prints one table; see scripts/bench."""

import argparse
import collections
import contextlib
import json
import os
import pathlib
import platform
import re
import statistics
import subprocess
import sys
import tempfile

parser = argparse.ArgumentParser()
parser.add_argument("--build", type=pathlib.Path, required=True)
parser.add_argument("--services", type=pathlib.Path, required=True)
parser.add_argument("--sources", type=pathlib.Path, required=True)
parser.add_argument("--rounds", type=int, default=1500)
parser.add_argument("--check", action="store_true")
parser.add_argument("--record", action="store_true")
options = parser.parse_args()

PROGRAMS = options.build / "bench"
# Copies, as an installation makes them: the system holds the pages of a file that a linker wrote in
# smaller pieces, and starts the program later.
INSTALLED = PROGRAMS / "installed"
TOOL = INSTALLED / "blindfoldctl"
TOOL_OF_LARGE_SERVICE = INSTALLED / "large/blindfoldctl"
FLOOR = INSTALLED / "floor"
SERVICE = "bench"
LARGE_SERVICE = "bench.large"

# The largest payload of a frame.
MAXIMUM_REPLY = 64 << 20


class Row:
    """One line of the table: a figure of ours beside another's, their ratio and its goal."""

    def __init__(self, name, ours, other, ratio, goal):
        self.name, self.ours, self.other, self.ratio, self.goal = name, ours, other, ratio, goal

    def meets_goal(self):
        return self.ratio <= self.goal

    def cells(self):
        return [self.name, self.ours, self.other, f"{self.ratio:.2f}", f"{self.goal:g}",
                "yes" if self.meets_goal() else "no"]


@contextlib.contextmanager
def process(*command, ready=None):
    """A program that runs until the end of the block. `ready` is the path of a socket that it
    makes; without one, it prints a line once it is ready."""
    running = subprocess.Popen(list(map(str, command)), stdout=subprocess.PIPE)
    try:
        if ready is None:
            if not running.stdout.readline():
                sys.exit(f"{command[0]} did not start.")
        else:
            while not pathlib.Path(ready).exists():
                if running.poll() is not None:
                    sys.exit(f"{command[0]} did not start.")
        yield
    finally:
        running.terminate()
        running.wait()
        running.stdout.close()


def helper(script=None, service=SERVICE):
    extra = [] if script is None else ["--script", script]
    return process(options.build / "blindfold-devhelper", "--service", service, *extra)


class Runs:
    """What interleaved runs of one command took."""

    def __init__(self):
        self.nanoseconds, self.faults, self.kibibytes = [], [], []

    def microseconds(self):
        """Median, minimum and the interquartile range, in microseconds."""
        low, middle, high = (each / 1000 for each in statistics.quantiles(self.nanoseconds, n=4))
        return middle, min(self.nanoseconds) / 1000, high - low


def interleave(rounds, *commands):
    """The runs of each command."""
    arguments = [str(PROGRAMS / "interleave"), str(rounds)]
    for command in commands:
        arguments += ["--", *map(str, command)]
    output = subprocess.run(arguments, stdout=subprocess.PIPE, check=True, text=True).stdout
    runs = [Runs() for _ in commands]
    for line in output.splitlines():
        command, nanoseconds, faults, kibibytes = map(int, line.split())
        runs[command].nanoseconds.append(nanoseconds)
        runs[command].faults.append(faults)
        runs[command].kibibytes.append(kibibytes)
    return runs


def paired_ratio(ours, other):
    """The median of the ratios of the two runs of each round."""
    return statistics.median(a / b for a, b in zip(ours.nanoseconds, other.nanoseconds))


def instructions(*command):
    """The instructions that a run executes in user mode."""
    result = subprocess.run(
        ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", *map(str, command)],
        stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=True, text=True)
    return int(re.search(r"Collected : (\d+)", result.stderr).group(1))


def system_calls(*command):
    with tempfile.NamedTemporaryFile("r") as trace:
        subprocess.run(["strace", "-f", "-o", trace.name, *map(str, command)],
                       stdout=subprocess.DEVNULL, check=True)
        return sum(1 for line in trace if re.match(r"\d+ +\w+\(", line))


def in_microseconds(runs, decimals=0):
    return f"{statistics.median(runs.nanoseconds) / 1000:,.{decimals}f} µs"


def in_milliseconds(runs):
    return f"{statistics.median(runs.nanoseconds) / 1e6:.1f} ms"


def rows_of_runs(rows, table):
    """The tool's whole runs beside the floor's."""
    commands = [(TOOL, "status"), (FLOOR, SERVICE, "currentState:"),
                (TOOL, "detect"), (FLOOR, SERVICE, "detectTargets:")]
    status, status_floor, detect, detect_floor = interleave(options.rounds, *commands)
    for name, runs in (("`status`", status), ("its floor", status_floor),
                       ("`detect`", detect), ("its floor", detect_floor)):
        table.append((name, *runs.microseconds()))
    rows.append(Row("`status`, time", in_microseconds(status), in_microseconds(status_floor),
                    paired_ratio(status, status_floor), 1.04))
    rows.append(Row("`detect`, time", in_microseconds(detect), in_microseconds(detect_floor),
                    paired_ratio(detect, detect_floor), 1.07))
    ours, floor = (instructions(*command) for command in commands[:2])
    rows.append(Row("`status`, instructions", f"{ours:,}", f"{floor:,}", ours / floor, 2.0))
    ours, floor = (system_calls(*command) for command in commands[:2])
    rows.append(Row("`status`, system calls beyond the floor's", str(ours), str(floor),
                    ours - floor, 4))
    ours, floor = min(status.faults), min(status_floor.faults)
    rows.append(Row("`status`, page faults beyond the floor's", str(ours), str(floor),
                    ours - floor, 6))


def rows_of_codec(rows):
    """Decoding and encoding beside other libraries."""
    program = PROGRAMS / "codec_benchmark"
    if not program.exists():
        print("The codec is not measured: its peers are not installed.", file=sys.stderr)
        return
    result = subprocess.run(
        [program, "--benchmark_format=json", "--benchmark_repetitions=41",
         "--benchmark_min_time=0.02",
         "--benchmark_filter=Blindfold|decodeSimdjson|encodeRapidJSON",
         "--benchmark_enable_random_interleaving=true"],
        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True)
    times = collections.defaultdict(Runs)
    for each in json.loads(result.stdout)["benchmarks"]:
        if each["run_type"] == "iteration":
            times[each["run_name"]].nanoseconds.append(each["cpu_time"])
    sizes = sorted({name.split("/")[1] for name in times}, key=int)
    for size, label in zip(sizes, ("1.3 KB", "9 MB")):
        for ours, other, name, goal in (
                ("decodeBlindfold", "decodeSimdjson", "simdjson", 1.0),
                ("encodeBlindfold", "encodeRapidJSON", "RapidJSON", 0.9)):
            mine, theirs = times[f"{ours}/{size}"], times[f"{other}/{size}"]
            rows.append(Row(f"{ours[:6]} {label}, beside {name}", in_microseconds(mine, 2),
                            in_microseconds(theirs, 2), paired_ratio(mine, theirs), goal))


def row_of_memory(rows, directory):
    """The memory that the worst reply takes: a list of empty texts, as long as a frame may be."""
    head, tail = '{"cameras":[],"notes":[""', '],"resolvedTargets":[],"serviceStates":[]}'
    count = (MAXIMUM_REPLY - len(head) - len(tail)) // len(',""')
    reply = head + ',""' * count + tail
    (directory / "large.json").write_text(reply)
    script = directory / "large.script"
    script.write_text(f"detectTargets: reply-file {directory / 'large.json'}\n")
    with helper(script):
        (runs,) = interleave(1, (TOOL, "detect"))
    used = runs.kibibytes[0] * 1024
    rows.append(Row("memory of a 64 MiB reply", f"{used / 2**20:.0f} MiB",
                    f"{len(reply) / 2**20:.0f} MiB", used / len(reply), 12))


def row_of_growth(rows, directory):
    """`hold-built-in` with ten times as many records."""
    scripts = []
    for count in (10_000, 100_000):
        states = [{"domain": "system", "label": f"com.example.service-{number}", "pid": number + 100}
                  for number in range(count)]
        detection = {
            "cameras": [{"id": "camera", "isConnected": True, "isExperimental": False,
                         "isInUseByAnotherApplication": False, "isSuspended": False,
                         "kind": "builtIn", "localizedName": "Camera", "modelID": "model",
                         "transportType": "builtIn", "uniqueID": "unique"}],
            "notes": [], "selectedCameraID": "camera", "serviceStates": states,
            "resolvedTargets": [{"controlMode": "sigstop", "domain": each["domain"],
                                 "label": each["label"], "pid": each["pid"], "priority": 0}
                                for each in states]}
        reply = directory / f"{count}.json"
        reply.write_text(json.dumps(detection, separators=(",", ":")))
        script = directory / f"{count}.script"
        script.write_text(f"detectTargets: reply-file {reply}\n"
                          'hold:withReply: reply {"message":"held","success":true}\n')
        scripts.append(script)
    with helper(scripts[0]), helper(scripts[1], LARGE_SERVICE):
        small, large = interleave(25, (TOOL, "hold-built-in"),
                                  (TOOL_OF_LARGE_SERVICE, "hold-built-in"))
    rows.append(Row("`hold-built-in`, 100,000 records beside 10,000", in_milliseconds(large),
                    in_milliseconds(small), paired_ratio(large, small), 10.5))


def peers(table):
    """The time of a run beside programs that ask something alike: names and medians."""
    reply = subprocess.run([FLOOR, SERVICE, "currentState:"], stdout=subprocess.PIPE, check=True)
    pathlib.Path("reply.json").write_bytes(reply.stdout)
    for socket in ("http", "bus"):
        pathlib.Path(socket).unlink(missing_ok=True)
    with process(PROGRAMS / "http_server", "http", "reply.json", ready="http"), \
         process("dbus-daemon", "--session", "--nofork", "--print-address",
                 "--address=unix:path=" + os.path.abspath("bus")):
        names = ["blindfoldctl status", "the floor: bare system calls, static C",
                 "curl --unix-socket", "busctl call … GetId", "Python, standard library"]
        runs = interleave(
            max(1, options.rounds // 10),
            (TOOL, "status"),
            (FLOOR, SERVICE, "currentState:"),
            ("curl", "--silent", "--unix-socket", "http", "http://localhost/"),
            ("busctl", "--address=unix:path=" + os.path.abspath("bus"), "call",
             "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId"),
            (sys.executable, "-I", "-S", options.sources / "bench/client.py", SERVICE,
             "currentState:"))
    medians = []
    for name, each in zip(names, runs):
        table.append((name, *each.microseconds()))
        medians.append((name, statistics.median(each.nanoseconds) / 1e6))
    return medians


def picture(bars):
    """A bar chart of milliseconds, as SVG."""
    left, width, height, gap = 290, 420, 22, 12
    longest = max(value for _, value in bars)
    lines = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + width + 90}" '
        f'height="{len(bars) * (height + gap) + 50}" font-family="sans-serif" font-size="14">',
        "<style>text{fill:#1f2328}rect{fill:#8c959f}.ours{fill:#0969da}"
        "@media(prefers-color-scheme:dark){text{fill:#e6edf3}rect{fill:#6e7681}"
        ".ours{fill:#4493f8}}</style>",
        '<text x="10" y="24" font-weight="bold">One request, whole run, median in milliseconds'
        "</text>"]
    for number, (name, value) in enumerate(bars):
        y = 40 + number * (height + gap)
        bar = max(1, round(width * value / longest))
        kind = ' class="ours"' if number == 0 else ""
        lines += [f'<text x="{left - 10}" y="{y + 16}" text-anchor="end">{name}</text>',
                  f'<rect{kind} x="{left}" y="{y}" width="{bar}" height="{height}" rx="3"/>',
                  f'<text x="{left + bar + 8}" y="{y + 16}">{value:.2f}</text>']
    return "\n".join(lines + ["</svg>", ""])


def markdown(header, rows):
    return "\n".join("| " + " | ".join(row) + " |"
                     for row in [header, ["---"] * len(header), *rows]) + "\n"


def machine():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        model = re.search(r"model name\s*: (.*)", file.read())
    name = model.group(1) if model else platform.machine()
    return f"{name}, {os.cpu_count()} processors, Linux {platform.release()}"


def report(rows, table):
    sizes = [[f"`{name}`", f"{(options.build / name).stat().st_size / 1024:,.0f} KiB"]
             for name in ("blindfoldctl", "blindfold-devhelper", "bench/floor")]
    runs = [[name, *(f"{value:.0f}" for value in values)] for name, *values in table]
    return "\n".join([
        f"Measured on {machine()}; {options.rounds} interleaved rounds.\n",
        markdown(["figure", "ours", "other's", "ratio", "goal", "met"],
                 [row.cells() for row in rows]),
        markdown(["run, µs", "median", "minimum", "middle half spans"], runs),
        markdown(["program", "size"], sizes)])


def replace_between_marks(path, text):
    page = path.read_text(encoding="utf-8")
    page, count = re.subn(r"(<!-- measured -->\n).*(<!-- end -->\n)",
                          lambda marks: marks.group(1) + text + marks.group(2), page,
                          flags=re.DOTALL)
    if count != 1:
        sys.exit(f"{path} has no place for the table.")
    path.write_text(page, encoding="utf-8")


def install():
    for program in (TOOL, TOOL_OF_LARGE_SERVICE, FLOOR):
        program.parent.mkdir(parents=True, exist_ok=True)
        program.unlink(missing_ok=True)
        subprocess.run(["cp", PROGRAMS / program.relative_to(INSTALLED), program], check=True)


def main():
    install()
    rows, table = [], []
    with helper():
        # Sockets are named from here: their paths may be longer than a socket address.
        os.chdir(options.services)
        rows_of_runs(rows, table)
        bars = peers(table)
    rows_of_codec(rows)
    with tempfile.TemporaryDirectory() as directory:
        row_of_memory(rows, pathlib.Path(directory))
        row_of_growth(rows, pathlib.Path(directory))

    text = report(rows, table)
    print(text)
    (PROGRAMS / "runs.svg").write_text(picture(bars), encoding="utf-8")
    if options.record:
        replace_between_marks(options.sources / "docs/performance.md", text)
        (options.sources / "docs/performance.svg").write_text(picture(bars), encoding="utf-8")
    if options.check:
        missed = [row.name for row in rows if not row.meets_goal()]
        if missed:
            sys.exit("Missed: " + "; ".join(missed))


if __name__ == "__main__":
    main()
