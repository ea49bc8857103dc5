#!/usr/bin/env python3
"""Measures Quillgate's relay against other relays and against what it is meant to reach.

    bench/relay_bench.py [GROUP...]

Run it after building the linux preset; all groups take about ten minutes. The relays run side by
side and take turns, several rounds long, so that a disturbance of the machine meets all of them;
the tables show medians. Loopback only. docs/design/benchmarks.md explains the measures.
"""

import contextlib
import json
import os
import pathlib
import re
import signal
import statistics
import subprocess
import sys
import threading
import time
from dataclasses import dataclass
from typing import Callable

sys.dont_write_bytecode = True

from relays import (  # noqa: E402
    BUILD, HOST, IDLE_SESSIONS, OURS, Direct, Failed, Ports,
    available_peers, free_ports, raise_descriptor_limit, running,
)

TCP_LOAD = BUILD / "relay_load"
UDP_LOAD = BUILD / "udp_load"
STORE_BENCH = BUILD / "store_bench"

ROUNDS = 4
SPARE_DESCRIPTORS = 200
CAPTURE_SECONDS = 12
FILLING_SECONDS = 2  # until the capture store is full
SLICE_SECONDS = 0.04  # after which capture is switched
SETTLED_SECONDS = 1  # after which the system has given back what it was about to
GIB = 2**30


# --- Measures ----------------------------------------------------------------------------------


@dataclass(frozen=True)
class Goal:
    """A limit of how our figure relates to that of the best peer, or of the figure itself."""

    limit: float
    beside_peers: bool = True


@dataclass(frozen=True, eq=False)
class Row:
    title: str
    value: Callable  # from what a load printed
    digits: int = 0
    less_is_better: bool = False
    goals: tuple = ()


@dataclass(frozen=True)
class Measure:
    """One kind of load and the rows of the table that its result fills."""

    group: str
    program: pathlib.Path
    load: str
    count: int
    rows: tuple = ()

    @property
    def protocol(self):
        return "udp" if self.program == UDP_LOAD else "tcp"


def more(title, value, *goals):
    return Row(title, value, goals=goals)


def less(title, value, digits, *goals):
    return Row(title, value, digits, less_is_better=True, goals=goals)


def per_second(result):
    return result["amount"] / result["seconds"]


def megabytes_per_second(result):
    return per_second(result) / 1e6


def cpu_seconds_per_gib(result):
    return result["relayCpuSeconds"] / (result["amount"] / GIB)


def cpu_microseconds_each(result):
    return result["relayCpuSeconds"] / result["amount"] * 1e6


def p50(result):
    return result["p50Microseconds"]


def p99(result):
    return result["p99Microseconds"]


def loss(result):
    return result["lossPercent"]


MEASURES = (
    Measure("connections", TCP_LOAD, "connections", 1, (
        more("one client, connections/s", per_second, Goal(0.85)),
        less("  processor us each", cpu_microseconds_each, 0, Goal(1.4)),
    )),
    Measure("connections", TCP_LOAD, "connections", 32, (
        more("32 clients, connections/s", per_second, Goal(0.80)),
        less("  us for one p99", p99, 0, Goal(1.5)),
        less("  processor us each", cpu_microseconds_each, 0, Goal(1.4)),
    )),
    Measure("streams", TCP_LOAD, "streams", 1, (
        more("one stream, MB/s", megabytes_per_second, Goal(1.05)),
        less("  processor s per GiB", cpu_seconds_per_gib, 2),
    )),
    Measure("streams", TCP_LOAD, "streams", 8, (
        more("eight streams, MB/s", megabytes_per_second, Goal(1.15)),
        less("  processor s per GiB", cpu_seconds_per_gib, 2),
    )),
    Measure("streams", TCP_LOAD, "duplex", 1, (
        more("both ways at once, MB/s", megabytes_per_second, Goal(1.0)),
        less("  processor s per GiB", cpu_seconds_per_gib, 2, Goal(1.1)),
    )),
    Measure("round-trips", TCP_LOAD, "round-trips", 5_000, (
        less("64-byte round trip p50, us", p50, 1, Goal(0.98)),
        less("64-byte round trip p99, us", p99, 1, Goal(0.95)),
    )),
    Measure("udp", UDP_LOAD, "echo", 64, (
        more("UDP echo, 64 bytes, 1/s", per_second, Goal(1.5)),
    )),
    Measure("udp", UDP_LOAD, "echo", 1_400, (
        more("UDP echo, 1400 bytes, 1/s", per_second, Goal(1.5)),
    )),
    Measure("udp", UDP_LOAD, "one-way", 50_000, (
        less("UDP one way, 50000/s, % lost", loss, 2),
    )),
)

# Of each session, beyond what "direct" takes: that is the load's own.
MEMORY_ROWS = (
    less("idle session, KiB", lambda result: result["all"], 1, Goal(56, beside_peers=False)),
    less("  pages of processes", lambda result: result["AnonPages"], 1),
    less("  kernel stacks", lambda result: result["KernelStack"], 1),
    less("  page tables", lambda result: result["PageTables"], 1),
    less("  kernel objects", lambda result: result["Slab"], 1),
    less("  after four bytes each way", lambda result: result["used"], 1),
)
PROBE_ROW = less(f"round trip among {IDLE_SESSIONS}, us", p50, 1, Goal(1.0))

# Each with what is left of its rate while capture is on.
CAPTURED = {
    "one stream": Measure("capture", TCP_LOAD, "streams", 1),
    "eight streams": Measure("capture", TCP_LOAD, "streams", 8),
    "both ways at once": Measure("capture", TCP_LOAD, "duplex", 1),
    "UDP echo, 64 bytes": Measure("capture", UDP_LOAD, "echo", 64),
    "UDP echo, 1400 bytes": Measure("capture", UDP_LOAD, "echo", 1_400),
}

GROUPS = ("connections", "streams", "round-trips", "udp", "capture", "idle", "trim")


class Results:
    """The figures of all rounds, by row and name of the relay."""

    def __init__(self, names):
        self.names = names
        self._values = {}
        self._load = {}
        self._complaints = set()

    def add(self, row, name, value):
        self._values.setdefault(row, {}).setdefault(name, []).append(value)

    def add_load(self, row, processors):
        self._load.setdefault(row, []).append(processors)

    def complain(self, name, error):
        complaint = f"Not measured: {name}: {error}"
        if complaint not in self._complaints:
            print(complaint)
        self._complaints.add(complaint)

    def rows(self):
        return list(self._values)

    def medians(self, row):
        found = {name: statistics.median(values) for name, values in self._values[row].items()}
        if row in MEMORY_ROWS:
            own = found.get("direct", 0)
            found = {name: found[name] - (own if name != "direct" else 0) for name in found}
        return found

    def load(self, row):
        return f"{statistics.median(self._load[row]):.1f}" if row in self._load else ""


def take_turns(relays, number):
    first = number % len(relays)
    return relays[first:] + relays[:first]


def load_command(measure, ports):
    count = str(measure.count)
    return [str(measure.program), measure.load, str(ports.listen), str(ports.target), count]


def run_load(relay, measure):
    """What one load found out, with the processor time of the relay."""
    cpu_before = relay.cpu_seconds()
    done = subprocess.run(load_command(measure, relay.ports), capture_output=True, text=True)
    if done.returncode != 0:
        relay.check_alive()
        raise Failed(f"{measure.load} {measure.count}: {complaint(done.returncode, done.stderr)}")
    result = json.loads(done.stdout)
    if measure.protocol == "tcp":  # a forking relay never knows when datagrams end
        relay.wait_until_settled()
    result["relayCpuSeconds"] = relay.cpu_seconds() - cpu_before
    return result


def complaint(status, text):
    return "it takes too long" if status == -signal.SIGALRM else text.strip()


@contextlib.contextmanager
def relay_for(kind, measure, started, ports):
    """The relay of a kind that takes one load. With datagrams that is one without a past: nobody
    tells it that a client has gone, and some are slower for each that they remember."""
    if kind is None:
        yield Direct(ports.target)
    elif measure.protocol == "udp":
        with running(kind, ports, "udp") as relay:
            yield relay
    else:
        yield started[kind]


def takes_part(kind, measure, started):
    if kind is None:
        return True
    return measure.protocol in kind.protocols and (measure.protocol == "udp" or kind in started)


def measure_rounds(measures, kinds, started, ports, results):
    for number in range(ROUNDS):
        for measure in measures:
            taking_part = [kind for kind in kinds if takes_part(kind, measure, started)]
            for kind in take_turns(taking_part, number):
                name = kind.name if kind else Direct.name
                try:
                    with relay_for(kind, measure, started, ports) as relay:
                        result = run_load(relay, measure)
                except Failed as error:
                    results.complain(name, error)
                    continue
                for row in measure.rows:
                    results.add(row, name, row.value(result))
                if kind is OURS:
                    results.add_load(measure.rows[0], result["loadCpuSeconds"] / result["seconds"])
        print(f"round {number + 1} of {ROUNDS} done", file=sys.stderr)


def measure_loads(measures, kinds, ports, results):
    """Starts the relays of streams once for all rounds."""
    target, udp, *tcp = ports
    started = {}
    with contextlib.ExitStack() as stack:
        if any(measure.protocol == "tcp" for measure in measures):
            for kind in kinds:
                try:
                    if kind is not None:
                        relay = running(kind, Ports(tcp.pop(), target), "tcp")
                        started[kind] = stack.enter_context(relay)
                except Failed as error:
                    results.complain(kind.name, error)
        measure_rounds(measures, kinds, started, Ports(udp, target), results)


# --- Idle sessions -----------------------------------------------------------------------------


def machine_memory():
    """KiB in use by the whole machine, caches of files left out, and of what they are made up."""
    info = {}
    for line in pathlib.Path("/proc/meminfo").read_text().splitlines():
        name, _, amount = line.partition(":")
        info[name] = int(amount.split()[0])
    # Free pages that the processors keep for themselves.
    kept = sum(map(int, re.findall(r"\bcount: +(\d+)", pathlib.Path("/proc/zoneinfo").read_text())))
    free = info["MemFree"] + kept * os.sysconf("SC_PAGE_SIZE") // 1024
    info["all"] = info["MemTotal"] - free - info["Buffers"] - info["Cached"] + info["Shmem"]
    return info


def measure_idle(relay, sessions):
    """KiB that each of `sessions` idle ones takes, and the round trip through one of them."""
    before = machine_memory()
    ports = [str(relay.ports.listen), str(relay.ports.target)]
    with subprocess.Popen(
        [str(TCP_LOAD), "idle", *ports, str(sessions)],
        stdin=subprocess.PIPE,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
    ) as load:
        opened = greeted = before
        if load.stdout.readline():
            opened = settled_memory()
            print("1", end="", file=load.stdin, flush=True)
        if load.stdout.readline():
            greeted = settled_memory()
            print("1", end="", file=load.stdin, flush=True)
        load.stdin.close()
        probe = load.stdout.read()
        if load.wait() != 0:
            relay.check_alive()
            reason = complaint(load.returncode, load.stderr.read())
            raise Failed(f"{sessions} idle sessions: {reason}")
    result = {part: (opened[part] - before[part]) / sessions for part in before}
    result["used"] = (greeted["all"] - before["all"]) / sessions
    return result | json.loads(probe)


def settled_memory():
    time.sleep(SETTLED_SECONDS)
    return machine_memory()


def measure_idle_rounds(kinds, ports, results):
    target, listen = ports[:2]
    for number in range(ROUNDS):
        for kind in take_turns(kinds, number):
            name = kind.name if kind else Direct.name
            sessions = kind.idle_sessions if kind else IDLE_SESSIONS
            try:
                if kind:
                    with running(kind, Ports(listen, target)) as relay:
                        result = measure_idle(relay, sessions)
                else:
                    result = measure_idle(Direct(target), sessions)
            except Failed as error:
                results.complain(name, error)
                continue
            for row in MEMORY_ROWS:
                results.add(row, name, row.value(result))
            if sessions == IDLE_SESSIONS:
                results.add(PROBE_ROW, name, PROBE_ROW.value(result))
        print(f"idle round {number + 1} of {ROUNDS} done", file=sys.stderr)


# --- Capture -----------------------------------------------------------------------------------


@contextlib.contextmanager
def loading(measure, ports):
    """Keeps a load going. Gives a function that throws when one has failed."""
    ended = threading.Event()
    failures = []

    def load():
        while not ended.is_set() and not failures:
            done = subprocess.run(load_command(measure, ports), capture_output=True, text=True)
            if done.returncode != 0:
                failures.append(complaint(done.returncode, done.stderr))

    def check():
        if failures:
            raise Failed(f"{measure.load} {measure.count}: {failures[0]}")

    thread = threading.Thread(target=load)
    thread.start()
    try:
        yield check
    finally:
        ended.set()
        thread.join()
    check()


def rate_of_loopback(seconds):
    """Bytes a second. Each that is relayed passes twice."""
    passed = pathlib.Path("/sys/class/net/lo/statistics/rx_bytes")
    start, before = time.monotonic(), int(passed.read_text())
    time.sleep(seconds)
    return (int(passed.read_text()) - before) / (time.monotonic() - start)


def capture_share(relay, measure):
    """The rate with capture on as a share of that with capture off, both of the same process in
    the same seconds: between runs, rates differ by more than what capture costs."""
    rates = {True: [], False: []}
    with loading(measure, relay.ports) as check:
        relay.wait_until_ready()
        relay.switch_capture(True)
        time.sleep(FILLING_SECONDS)
        end = time.monotonic() + CAPTURE_SECONDS
        while time.monotonic() < end:
            check()
            for on in (False, True):
                relay.switch_capture(on)
                rates[on].append(rate_of_loopback(SLICE_SECONDS))
    return statistics.median(rates[True]) / statistics.median(rates[False])


def measure_capture(ports, results):
    target, listen = ports[:2]
    for title, measure in CAPTURED.items():
        goal = Goal(0.9, beside_peers=False)
        row = Row(f"capture on, {title}: share", None, digits=2, goals=(goal,))
        try:
            with running(OURS, Ports(listen, target), measure.protocol) as relay:
                results.add(row, OURS.name, capture_share(relay, measure))
        except Failed as error:
            results.complain(OURS.name, error)


# --- The capture store -------------------------------------------------------------------------


def measure_trims(results):
    """The longest wait of a writer beyond that of the same loop with nothing recorded."""
    done = subprocess.run([str(STORE_BENCH)], capture_output=True, text=True, check=True)
    case = ""
    for line in done.stdout.splitlines():
        if found := re.match(r"\s+beyond\s+([-\d.]+)", line):
            row = less(f"wait at a trim, {case}, us", None, 1, Goal(200, beside_peers=False))
            results.add(row, OURS.name, float(found[1]))
        elif not line.startswith(" "):
            case = line


# --- The tables --------------------------------------------------------------------------------


def print_table(header, lines):
    widths = [max(len(line[i]) for line in [header, *lines]) for i in range(len(header))]
    for line in [header, ["-" * width for width in widths], *lines]:
        first, *rest = zip(line, widths)
        cells = [first[0].ljust(first[1]), *(cell.rjust(width) for cell, width in rest)]
        print("  ".join(cells).rstrip())
    print()


def print_medians(results):
    lines = []
    for row in results.rows():
        medians = results.medians(row)
        cells = [f"{medians[name]:.{row.digits}f}" if name in medians else "-"
                 for name in results.names]
        lines.append([row.title, *cells, results.load(row)])
    print_table(["median", *results.names, "load"], lines)
    print(f"The last column: processors that the load itself keeps busy before {OURS.name}.\n")


def goal_line(title, row, goal, medians):
    """What we have, what it is measured against, and whether that is enough; None without both."""
    other = None
    if goal.beside_peers:
        peers = [name for name in medians if name not in ("direct", OURS.name)]
        other = (min if row.less_is_better else max)(peers, key=medians.get, default=None)
    if OURS.name not in medians or (goal.beside_peers and other not in medians):
        return None
    figure = medians[OURS.name] / medians[other] if other else medians[OURS.name]
    met = figure <= goal.limit if row.less_is_better else figure >= goal.limit
    return [
        title,
        f"{medians[OURS.name]:.{row.digits}f}",
        f"{medians[other]:.{row.digits}f} {other}" if other else "-",
        f"{figure:.2f}" if other else "-",
        f"{'<=' if row.less_is_better else '>='} {goal.limit:g}",
        "yes" if met else "no",
    ]


def print_goals(results):
    lines = []
    heading = ""
    for row in results.rows():
        # An indented row goes with the one before it.
        if row.title.startswith(" "):
            title = f"{heading}: {row.title.strip()}"
        else:
            title = row.title
            heading = row.title.rpartition(",")[0]
        for goal in row.goals:
            lines.append(goal_line(title, row, goal, results.medians(row)))
    lines = [line for line in lines if line]
    print_table(["", "quillgate", "beside", "ratio", "goal", "met"], lines)


def describe_machine():
    with open("/proc/cpuinfo") as cpuinfo:
        models = [line.partition(":")[2].strip() for line in cpuinfo if "model name" in line]
    load = ", ".join(f"{value:.1f}" for value in os.getloadavg())
    model = models[0] if models else "unknown processor"
    print(f"{os.cpu_count()} x {model}, Linux {os.uname().release}; load average {load}")


def main():
    groups = sys.argv[1:] or GROUPS
    if not set(groups) <= set(GROUPS):
        sys.exit(f"usage: {sys.argv[0]} [{'|'.join(GROUPS)}]...")
    for program in (HOST, TCP_LOAD, UDP_LOAD, STORE_BENCH):
        if not program.exists():
            sys.exit(f"{program} is missing: build the linux preset first")
    # Leaves through the clean-up of every `with`.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("terminated"))
    describe_machine()
    peers = available_peers()
    # None is loopback without a relay.
    ours = [None, OURS]
    results = Results([Direct.name, OURS.name, *(peer.name for peer in peers)])
    ports = free_ports(len(peers) + 3)

    # First, so that no memory of connections that have ended is given back meanwhile.
    if "idle" in groups:
        if raise_descriptor_limit() < 2 * IDLE_SESSIONS + SPARE_DESCRIPTORS:
            print("Idle sessions are left out: a process may not have enough descriptors.")
        else:
            measure_idle_rounds([*ours, *peers], ports, results)
    if "trim" in groups:
        measure_trims(results)
    if "capture" in groups:
        measure_capture(ports, results)
    if measures := [measure for measure in MEASURES if measure.group in groups]:
        measure_loads(measures, [*ours, *peers], ports, results)
    print()
    print_medians(results)
    print_goals(results)
    describe_machine()


if __name__ == "__main__":
    main()
