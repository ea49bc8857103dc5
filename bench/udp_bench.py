#!/usr/bin/env python3
"""Measures Quillgate's UDP relay against direct loopback and against other relays.

Run it without arguments after building the linux preset; it takes some three minutes. All relays
run side by side and take turns, several rounds long, so that a disturbance of the machine meets all
of them; the tables show medians. Loopback only.

Echo: 32 datagrams are always on their way to the target and back. One way: so many datagrams each
second, or all that the sender can; what did not arrive at the target is the loss. Where "direct"
loses, the kernel does.
"""

import contextlib
import json
import os
import pathlib
import signal
import statistics
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True

from relays import BUILD, HOST, NGINX_STREAM_MODULE, Failed, Ports, free_ports  # noqa: E402

LOAD = BUILD / "udp_load"

ROUNDS = 5
SIZES = (64, 1400)
RATES = (10_000, 50_000, 0)  # 0: all the sender can
SECONDS = 1
PATIENCE_SECONDS = 30


def quillgate_command(folder, ports):
    config = folder / "Quillgate" / "config.xml"
    config.parent.mkdir()
    config.write_text(
        '<config><rules><rule id="1"><enabled>1</enabled><proto>udp</proto>'
        f"<localPort>{ports.listen}</localPort><targetIp>127.0.0.1</targetIp>"
        f"<targetPort>{ports.target}</targetPort></rule></rules></config>"
    )
    return ["env", f"XDG_DATA_HOME={folder}", str(HOST)]


def socat_command(_folder, ports):
    # One process for the one client that it answers: its fastest way.
    return ["socat", "-b65536", f"UDP4-LISTEN:{ports.listen},bind=127.0.0.1",
            f"UDP4:127.0.0.1:{ports.target}"]


def nginx_command(folder, ports):
    config = folder / "nginx.conf"
    config.write_text(
        f"""load_module {NGINX_STREAM_MODULE};
daemon off;
pid {folder}/nginx.pid;
worker_processes 1;
events {{ }}
stream {{
  server {{
    listen 127.0.0.1:{ports.listen} udp;
    proxy_pass 127.0.0.1:{ports.target};
    proxy_timeout 1h;
  }}
}}
"""
    )
    return ["nginx", "-e", str(folder / "error.log"), "-p", str(folder), "-c", str(config)]


COMMANDS = {"quillgate": quillgate_command, "socat": socat_command, "nginx": nginx_command}


@contextlib.contextmanager
def running(command, ports):
    """A relay for one load: socat keeps its first client for ever."""
    with tempfile.TemporaryDirectory(prefix="udp_bench.") as name:
        folder = pathlib.Path(name)
        folder.chmod(0o755)  # a relay may drop its rights
        process = subprocess.Popen(
            command(folder, ports),
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            start_new_session=True,
        )
        try:
            yield
        finally:
            for number in (signal.SIGTERM, signal.SIGKILL):
                with contextlib.suppress(ProcessLookupError):
                    os.killpg(process.pid, number)
                with contextlib.suppress(subprocess.TimeoutExpired):
                    process.wait(timeout=5)


def run_load(mode, ports, size, rate):
    arguments = [mode, ports.listen, ports.target, size, SECONDS, rate]
    done = subprocess.run(
        [str(LOAD), *map(str, arguments)], capture_output=True, text=True, timeout=PATIENCE_SECONDS
    )
    if done.returncode != 0:
        raise Failed(done.stderr.strip())
    return json.loads(done.stdout)


def measure(name, mode, size, rate, listen, target):
    if name == "direct":
        return run_load(mode, Ports(target, target), size, rate)
    with running(COMMANDS[name], Ports(listen, target)):
        return run_load(mode, Ports(listen, target), size, rate)


def measure_rounds(names, loads):
    listen, target = free_ports(2)
    results = {load: {name: [] for name in names} for load in loads}
    for number in range(ROUNDS):
        for mode, size, rate in loads:
            for turn in range(len(names)):
                name = names[(turn + number) % len(names)]
                try:
                    result = measure(name, mode, size, rate, listen, target)
                    results[mode, size, rate][name].append(result)
                except Failed as error:
                    print(f"Not measured: {name}: {error}")
        print(f"round {number + 1} of {ROUNDS} done", file=sys.stderr)
    return results


def cell(results):
    if not results:
        return "-"
    packets = statistics.median(result["packetsPerSecond"] for result in results)
    loss = statistics.median(result["lossPercent"] for result in results)
    return f"{packets:.0f}/s {loss:.2f}%"


def title(mode, size, rate):
    pace = "" if mode == "echo" else f" at {rate}/s" if rate else " at full speed"
    return f"{mode} {size} bytes{pace}"


def print_table(names, results):
    print(f"{'packets per second and loss':32}" + "".join(f"{name:>20}" for name in names))
    for load, by_name in results.items():
        print(f"{title(*load):32}" + "".join(f"{cell(by_name[name]):>20}" for name in names))


def main():
    for program in (HOST, LOAD):
        if not program.exists():
            sys.exit(f"{program} is missing: build the linux preset first")
    loads = [("echo", size, 0) for size in SIZES]
    loads += [("oneway", size, rate) for size in SIZES for rate in RATES]
    names = ["direct", *COMMANDS]
    print(f"load average {os.getloadavg()[0]:.1f} on {os.cpu_count()} processors")
    print_table(names, measure_rounds(names, loads))
    print(f"load average {os.getloadavg()[0]:.1f}")


if __name__ == "__main__":
    main()
