#!/usr/bin/env python3
"""Measures Quillgate's relay against direct loopback and against other relays.

Run it without arguments after building the linux preset; it takes some minutes. All relays run
side by side and take turns, several rounds long, so that a disturbance of the machine meets all of
them; the tables show medians. Loopback only. docs/design/benchmarks.md explains the measures.
"""

import contextlib
import json
import os
import signal
import statistics
import subprocess
import sys
import time
from dataclasses import dataclass

sys.dont_write_bytecode = True

from relays import (  # noqa: E402
    BUILD, CAPTURING, HOST, KIB, MAX_SESSIONS, OURS, PEERS, Direct, Failed, Ports, Relay,
    available_kinds, descriptor_limit, free_ports, raise_descriptor_limit, running, session_limit,
)

LOAD = BUILD / "relay_load"

ROUNDS = 7
ROUNDS_SECONDS = 150  # no further round begins after this
LOAD_SECONDS = 40  # a load that takes longer has failed
IDLE_SESSIONS = (1_000, MAX_SESSIONS)
FORKING_MAX_IDLE = 1_000  # more processes than that would be no service to the machine
GIB = 2**30


# --- Measures ----------------------------------------------------------------------------------


@dataclass(frozen=True)
class Row:
    title: str
    field: str
    digits: int = 0
    more_is_better: bool = True


@dataclass(frozen=True)
class Measure:
    """One kind of load and the rows of the table that its result fills."""

    load: str
    count: int
    rows: tuple


def more(title, field):
    return Row(title, field)


def less(title, field, digits=0):
    return Row(title, field, digits, more_is_better=False)


MEASURES = (
    Measure("streams", 1, (
        more("one stream, MB/s", "megabytesPerSecond"),
        less("one stream, CPU s per GiB", "cpuSecondsPerGib", 2),
    )),
    Measure("streams", 8, (
        more("eight streams, MB/s", "megabytesPerSecond"),
        less("eight streams, CPU s per GiB", "cpuSecondsPerGib", 2),
    )),
    Measure("duplex", 1, (
        more("both ways at once, MB/s", "megabytesPerSecond"),
    )),
    Measure("round-trips", 5_000, (
        less("64-byte round trip p50, us", "p50Microseconds"),
        less("64-byte round trip p99, us", "p99Microseconds"),
    )),
    Measure("connections", 32, (
        more("connections per second", "connectionsPerSecond"),
    )),
)


def load_command(load, ports, count):
    return [str(LOAD), load, str(ports.listen), str(ports.target), str(count)]


def run_load(relay, measure):
    """What one load found out, with the relay's own time where data streamed."""
    cpu_before = relay.cpu_seconds() if isinstance(relay, Relay) else None
    try:
        done = subprocess.run(
            load_command(measure.load, relay.ports, measure.count),
            capture_output=True,
            text=True,
            timeout=LOAD_SECONDS,
        )
    except subprocess.TimeoutExpired as error:
        raise Failed(f"{measure.load} took over {LOAD_SECONDS} s") from error
    if done.returncode != 0:
        raise Failed(f"{measure.load}: {done.stderr.strip()}")
    result = json.loads(done.stdout)
    if cpu_before is not None and "bytes" in result:
        result["cpuSecondsPerGib"] = (relay.cpu_seconds() - cpu_before) / (result["bytes"] / GIB)
    return result


def measure_rounds(relays):
    """The values that all rounds gave, by row and name of the relay."""
    values = {row: {relay.name: [] for relay in relays} for m in MEASURES for row in m.rows}
    deadline = time.monotonic() + ROUNDS_SECONDS
    for number in range(ROUNDS):
        if time.monotonic() > deadline:
            print(f"Time is up after {number} rounds.\n")
            break
        for measure in MEASURES:
            for turn in range(len(relays)):
                relay = relays[(turn + number) % len(relays)]
                try:
                    result = run_load(relay, measure)
                except Failed as error:
                    print(f"Not measured: {relay.name}: {error}")
                    continue
                for row in measure.rows:
                    if row.field in result:
                        values[row][relay.name].append(result[row.field])
        print(f"round {number + 1} of {ROUNDS} done", file=sys.stderr)
    return values


def measure_idle(kind, sessions, ports):
    """KiB in memory and of page tables, and threads, that each of `sessions` idle ones costs."""
    with running(kind, ports) as relay:
        before = relay.memory()
        load = subprocess.Popen(
            load_command("idle", ports, sessions),
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
        )
        try:
            # The load ends by its own time limits when the relay hangs.
            if not load.stdout.readline():
                relay.check_alive()
                raise Failed(load.stderr.read().strip())
            after = relay.memory()
        finally:
            load.kill()
            load.communicate()
    resident, tables, threads = ((a - b) / sessions for a, b in zip(after, before))
    return resident / KIB, tables / KIB, threads


# --- The tables --------------------------------------------------------------------------------


def print_table(header, lines):
    widths = [max(len(line[i]) for line in [header, *lines]) for i in range(len(header))]
    for line in [header, ["-" * width for width in widths], *lines]:
        first, *rest = zip(line, widths)
        cells = [first[0].ljust(first[1]), *(cell.rjust(width) for cell, width in rest)]
        print("  ".join(cells).rstrip())
    print()


def times_as_good(row, ours, theirs):
    better, worse = (ours, theirs) if row.more_is_better else (theirs, ours)
    return f"{better / worse:.2f}" if worse else "-"


def summary(row, by_name):
    """A line of the table: the medians, and how ours compares."""
    medians = {name: statistics.median(values) for name, values in by_name.items() if values}
    line = [row.title]
    line += [f"{medians[name]:.{row.digits}f}" if name in medians else "-" for name in by_name]
    ours = medians.get(OURS.name)
    peers = [peer.name for peer in PEERS if peer.name in medians]
    if ours is None:
        return [*line, "-", "-"]
    line.append(times_as_good(row, ours, medians["direct"]) if "direct" in medians else "-")
    if not peers:
        return [*line, "-"]
    best = (max if row.more_is_better else min)(peers, key=medians.get)
    return [*line, f"{times_as_good(row, ours, medians[best])} ({best})"]


def print_rounds(relays):
    values = measure_rounds(relays)
    names = [relay.name for relay in relays]
    lines = [summary(row, by_name) for row, by_name in values.items()]
    print_table(["median", *names, "vs direct", "vs best peer"], lines)
    print(f"The last two columns: how many times as good {OURS.name} is; above 1 it is better.\n")


def print_idle(kinds, ports):
    lines = []
    for wanted in IDLE_SESSIONS:
        sessions = min(wanted, session_limit())
        if sessions < wanted:
            print(f"{sessions} idle sessions stand in for {wanted}: a process may have")
            print(f"{descriptor_limit()} descriptors at most, and this user may not change that.")
        for kind in kinds:
            if kind.forks and sessions > FORKING_MAX_IDLE:
                print(f"Not measured: {kind.name}, {sessions} sessions: each is a process.")
                continue
            try:
                cost = measure_idle(kind, sessions, ports)
                lines.append([f"{sessions}", kind.name, *(f"{value:.1f}" for value in cost)])
            except Failed as error:
                print(f"Not measured: {kind.name}, {sessions} sessions: {error}")
    print()
    print_table(["idle", "relay", "KiB memory", "KiB page tables", "threads"], lines)
    print("All for each session. What a thread takes in the kernel is in no column.\n")


def describe_machine():
    with open("/proc/cpuinfo") as cpuinfo:
        models = [line.partition(":")[2].strip() for line in cpuinfo if "model name" in line]
    load = ", ".join(f"{value:.1f}" for value in os.getloadavg())
    model = models[0] if models else "unknown processor"
    print(f"{os.cpu_count()} x {model}, Linux {os.uname().release}; load average {load}\n")


def main():
    for program in (HOST, LOAD):
        if not program.exists():
            sys.exit(f"{program} is missing: build the linux preset first")
    # Leaves through the clean-up of every `with`.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("terminated"))
    raise_descriptor_limit()
    describe_machine()
    kinds = available_kinds()
    target, *listen = free_ports(len(kinds) + 2)

    with contextlib.ExitStack() as stack:
        relays = [Direct(target)]
        for kind, port in zip([*kinds, CAPTURING], listen):
            try:
                relays.append(stack.enter_context(running(kind, Ports(port, target))))
            except Failed as error:
                print(f"Left out: {error}")
        print_rounds(relays)
    print_idle(kinds, Ports(listen[0], target))
    describe_machine()


if __name__ == "__main__":
    main()
