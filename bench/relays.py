"""The relays that relay_bench.py compares: how each is started, observed and stopped."""

import contextlib
import os
import pathlib
import re
import resource
import shutil
import signal
import socket
import subprocess
import tempfile
import time
from dataclasses import dataclass
from typing import Callable

BUILD = pathlib.Path(__file__).resolve().parent.parent / "build" / "linux"
HOST = BUILD / "relay_host"
NGINX_STREAM_MODULE = pathlib.Path("/usr/lib/nginx/modules/ngx_stream_module.so")

IDLE_SESSIONS = 9_900  # with a descriptor for either side of each, below the usual limit of 20,000
FORKING_IDLE_SESSIONS = 1_000  # more processes than that would be no service to the machine
SELECTING_IDLE_SESSIONS = 500  # select knows no descriptor above 1,023
WANTED_DESCRIPTORS = 65_536
PATIENCE_SECONDS = 10
SETTLING_SECONDS = 1  # after which no process of a connection that has ended is left


class Failed(Exception):
    """A relay or a load did not do what it should; the text says what."""


@dataclass(frozen=True)
class Ports:
    listen: int
    target: int


# --- Kinds of relays ---------------------------------------------------------------------------


@dataclass(frozen=True)
class Kind:
    name: str
    # Writes what it needs into a folder; gives the arguments for some ports and "tcp" or "udp".
    command: Callable
    protocols: tuple = ("tcp", "udp")
    needs: tuple = ()  # programs and files
    version: str = ""  # the argument that has the first of the programs print it
    package: str = ""
    idle_sessions: int = IDLE_SESSIONS  # that it is asked to hold

    def missing(self):
        return [str(need) for need in self.needs if shutil.which(need) is None
                and not os.path.exists(need)]

    def version_text(self):
        done = subprocess.run([self.needs[0], self.version], capture_output=True, text=True)
        return re.search(r"\d+\.\d[\d.]*", done.stdout + done.stderr).group()


def quillgate_command(folder, ports, protocol):
    config = folder / "Quillgate" / "config.xml"
    config.parent.mkdir()
    config.write_text(
        f'<config><rules><rule id="1"><enabled>1</enabled><proto>{protocol}</proto>'
        f"<localPort>{ports.listen}</localPort><targetIp>127.0.0.1</targetIp>"
        f"<targetPort>{ports.target}</targetPort></rule></rules></config>"
    )
    return ["env", f"XDG_DATA_HOME={folder}", str(HOST)]


def socat_command(_folder, ports, protocol):
    listen = f"LISTEN:{ports.listen},bind=127.0.0.1,reuseaddr"
    if protocol == "tcp":
        return ["socat", f"TCP4-{listen},fork,backlog=4096", f"TCP4:127.0.0.1:{ports.target}"]
    # One process for the one client that it answers. Its own 8 KiB would cut datagrams off.
    return ["socat", "-b65536", f"UDP4-{listen}", f"UDP4:127.0.0.1:{ports.target}"]


def rinetd_command(folder, ports, protocol):
    config = folder / "rinetd.conf"
    timeout = "[timeout=3600]" if protocol == "udp" else ""
    config.write_text(
        f"127.0.0.1 {ports.listen}/{protocol} 127.0.0.1 {ports.target}/{protocol} {timeout}\n"
        f"pidlogfile {folder}/rinetd.pid\n"
    )
    return ["rinetd", "-f", "-c", str(config)]


def redir_command(_folder, ports, _protocol):
    return ["redir", "-n", f"127.0.0.1:{ports.listen}", f"127.0.0.1:{ports.target}"]


def haproxy_command(folder, ports, _protocol):
    config = folder / "haproxy.cfg"
    config.write_text(
        f"""global
  maxconn {IDLE_SESSIONS + 50}
defaults
  mode tcp
  timeout connect 5s
  timeout client 1h
  timeout server 1h
listen relay
  bind 127.0.0.1:{ports.listen} backlog 4096
  server target 127.0.0.1:{ports.target}
"""
    )
    return ["haproxy", "-db", "-f", str(config)]


def nginx_command(folder, ports, protocol):
    # Datagrams of one client have to meet in one process.
    processes, listen = ("auto", "backlog=4096") if protocol == "tcp" else ("1", "udp")
    config = folder / "nginx.conf"
    config.write_text(
        f"""load_module {NGINX_STREAM_MODULE};
daemon off;
pid {folder}/nginx.pid;
worker_processes {processes};
events {{ worker_connections {2 * IDLE_SESSIONS + 1_000}; }}
stream {{
  server {{
    listen 127.0.0.1:{ports.listen} {listen};
    proxy_pass 127.0.0.1:{ports.target};
    proxy_timeout 1h;
  }}
}}
"""
    )
    return ["nginx", "-e", str(folder / "error.log"), "-p", str(folder), "-c", str(config)]


OURS = Kind("quillgate", quillgate_command)
PEERS = (
    Kind(
        "socat",
        socat_command,
        needs=("socat",),
        version="-V",
        package="socat",
        idle_sessions=FORKING_IDLE_SESSIONS,
    ),
    Kind(
        "rinetd",
        rinetd_command,
        needs=("rinetd",),
        version="-v",
        package="rinetd",
        idle_sessions=SELECTING_IDLE_SESSIONS,
    ),
    Kind(
        "redir",
        redir_command,
        protocols=("tcp",),
        needs=("redir",),
        version="-v",
        package="redir",
        idle_sessions=FORKING_IDLE_SESSIONS,
    ),
    Kind(
        "haproxy",
        haproxy_command,
        protocols=("tcp",),
        needs=("haproxy",),
        version="-v",
        package="haproxy",
    ),
    Kind(
        "nginx",
        nginx_command,
        needs=("nginx", NGINX_STREAM_MODULE),
        version="-v",
        package="nginx-light and libnginx-mod-stream",
    ),
)


# --- Running relays ----------------------------------------------------------------------------


class Direct:
    """Loopback without a relay."""

    name = "direct"

    def __init__(self, target_port):
        self.ports = Ports(target_port, target_port)

    def check_alive(self):
        pass

    def wait_until_settled(self):
        pass

    def cpu_seconds(self):
        return 0


class Relay:
    """A running relay: a process, and whatever it forks, in a session (see setsid) of its own."""

    def __init__(self, kind, folder, ports, protocol):
        self.name = kind.name
        self.ports = ports
        self._output_path = folder / "output"
        with open(self._output_path, "wb") as output:
            self._process = subprocess.Popen(
                kind.command(folder, ports, protocol),
                stdin=subprocess.DEVNULL,
                stdout=output,
                stderr=subprocess.STDOUT,
                start_new_session=True,
            )
        try:
            if protocol == "tcp":  # with datagrams the load tries until one comes through
                self._wait_until_relaying()
                time.sleep(SETTLING_SECONDS)
        except BaseException:
            self.stop()
            raise
        self._settled = self._living()

    def stop(self):
        # The whole group: a forking relay's children outlive it.
        for number in (signal.SIGTERM, signal.SIGKILL):
            with contextlib.suppress(ProcessLookupError):
                os.killpg(self._process.pid, number)
            with contextlib.suppress(subprocess.TimeoutExpired):
                self._process.wait(timeout=5)
        # Until then one of them may still hold the listening socket.
        wait_until(lambda: not self._living(), f"{self.name} does not end")

    def check_alive(self):
        status = self._process.poll()
        if status is not None:
            raise Failed(f"{self.name} ended with status {status}: {self._output()}")

    def wait_until_settled(self):
        """Until no process is left of connections that have ended."""
        wait_until(
            lambda: self._living() == self._settled, f"{self.name} keeps processes after a load"
        )

    def cpu_seconds(self):
        """User and system time of all processes, those that have ended included."""
        # Their own and that of the children they waited for; the others stay visible as zombies.
        ticks = sum(sum(map(int, stat[11:15])) for stat in self._stats().values())
        return ticks / os.sysconf("SC_CLK_TCK")

    def wait_until_ready(self):
        """Until ours takes signals."""
        self._wait_for_output("ready")

    def switch_capture(self, on):
        """Of ours, which has it switched the other way."""
        self._process.send_signal(signal.SIGUSR1)
        self._wait_for_output(f"capture {'on' if on else 'off'}")

    def _stats(self):
        """The fields of /proc/PID/stat after the name, by the PIDs of the session."""
        found = {}
        for path in pathlib.Path("/proc").glob("[0-9]*/stat"):
            with contextlib.suppress(OSError):
                stat = path.read_text().rpartition(")")[2].split()
                if int(stat[3]) == self._process.pid:
                    found[int(path.parent.name)] = stat
        return found

    def _living(self):
        return {pid for pid, stat in self._stats().items() if stat[0] != "Z"}

    def _output(self):
        return self._output_path.read_text(errors="replace").strip()[-300:]

    def _wait_for_output(self, line):
        def is_last():
            self.check_alive()
            return self._output().splitlines()[-1:] == [line]

        wait_until(is_last, f'{self.name} did not print "{line}"')

    def _wait_until_relaying(self):
        """Passes one byte through, so that nothing of the start is left when a load begins."""

        def connects():
            self.check_alive()
            with contextlib.suppress(ConnectionRefusedError):
                return socket.create_connection(("127.0.0.1", self.ports.listen), timeout=5)

        try:
            with socket.create_server(("127.0.0.1", self.ports.target)) as listener:
                listener.settimeout(5)
                with wait_until(connects, f"{self.name} does not listen") as client:
                    client.sendall(b"?")
                    with listener.accept()[0] as target:
                        target.settimeout(5)
                        if target.recv(1) != b"?":
                            raise Failed(f"{self.name} does not relay")
        except OSError as error:
            raise Failed(f"{self.name} does not relay: {error}") from error


@contextlib.contextmanager
def running(kind, ports, protocol="tcp"):
    with tempfile.TemporaryDirectory(prefix="relay_bench.") as name:
        folder = pathlib.Path(name)
        folder.chmod(0o755)  # a relay may drop its rights
        relay = Relay(kind, folder, ports, protocol)
        try:
            yield relay
        finally:
            relay.stop()


def available_peers():
    """Says which peers this machine has and which it has not."""
    peers = []
    for peer in PEERS:
        if missing := peer.missing():
            print(f"{peer.name} is left out: no {', '.join(missing)} (Debian: {peer.package})")
        else:
            peers.append(peer)
    print("Peers: " + ", ".join(f"{peer.name} {peer.version_text()}" for peer in peers))
    return peers


def wait_until(probe, complaint):
    """The first true result of `probe`."""
    deadline = time.monotonic() + PATIENCE_SECONDS
    while not (result := probe()):
        if time.monotonic() > deadline:
            raise Failed(complaint)
        time.sleep(0.01)
    return result


# --- What the system allows --------------------------------------------------------------------


def free_ports(count):
    """Ports below the ephemeral range, which clients and other programs take theirs from."""
    found = []
    for port in range(20_000, 32_000):
        with socket.socket() as probe, contextlib.suppress(OSError):
            probe.bind(("", port))
            found.append(port)
        if len(found) == count:
            return found
    raise Failed("no free ports")


def raise_descriptor_limit():
    """The limit, for this process and all it starts. Only a privileged one may raise a hard one."""
    hard = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    try:
        wanted = max(hard, WANTED_DESCRIPTORS)
        resource.setrlimit(resource.RLIMIT_NOFILE, (wanted, wanted))
    except (ValueError, PermissionError):
        resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))
    return resource.getrlimit(resource.RLIMIT_NOFILE)[0]
