#!/usr/bin/env python3
"""Measures tracks on another device, over a pair of virtual Ethernet interfaces between two network namespaces.

usage: remote.py BIN_DIR [ROUNDS]     (as root)

Makes its own input. Prints, interleaved and as medians of ROUNDS: a ping-pong of 40 bytes against 4 KiB between bare
sockets and between QTcpSockets on event loops, what a page of a remote file costs, an analysis of a 40 MB wav from
message 8 to message 10 here and over there, and how fairly eight readers are served at once.
"""

import json
import os
import socket
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import whole_process as worker_protocol  # noqa: E402

STARTED = 8
PAGE = 4096
PORT = 5000
ADDRESS = "10.99.0.1"
READERS = 8


def inside(place, *command, **options):
    return subprocess.Popen(["ip", "netns", "exec", place, *command], **options)


def output_of(place, *command):
    process = inside(place, *command, stdout=subprocess.PIPE, text=True)
    text, _ = process.communicate()
    if process.returncode != 0:
        sys.exit(f"{command} ended with {process.returncode}")
    return text


class Network:
    """Two namespaces, "server" with ADDRESS and "client", joined by a cable."""

    def __init__(self):
        self.server = f"tunesift-bench-a{os.getpid()}"
        self.client = f"tunesift-bench-b{os.getpid()}"
        for place in (self.server, self.client):
            subprocess.check_call(["ip", "netns", "add", place])
        subprocess.check_call(["ip", "link", "add", "eth0", "netns", self.server, "type", "veth",
                               "peer", "name", "eth0", "netns", self.client])
        for place, address in ((self.server, ADDRESS), (self.client, "10.99.0.2")):
            for command in (["addr", "add", f"{address}/24", "broadcast", "10.99.0.255", "dev", "eth0"],
                            ["link", "set", "lo", "up"], ["link", "set", "eth0", "up"]):
                subprocess.check_call(["ip", "-n", place, *command])

    def close(self):
        for place in (self.server, self.client):
            subprocess.call(["ip", "netns", "del", place])


def ping_pong(network, binary, kind):
    server = inside(network.server, binary, kind, "serve", str(PORT))
    time.sleep(0.3)
    result = float(output_of(network.client, binary, kind, "ask", ADDRESS, str(PORT), "10000"))
    server.wait()
    return result


def analyse(worker, path):
    """Seconds from message 8 to message 10; in this process's namespace."""
    with socket.create_server(("127.0.0.1", 0)) as server:
        process = subprocess.Popen([worker, str(server.getsockname()[1])])
        connection, _ = server.accept()
        payload = worker_protocol.preferences(True) + path.encode()
        connection.sendall(worker_protocol.frame(worker_protocol.START, payload))
        began = None
        for kind, _ in worker_protocol.messages(connection):
            if kind == STARTED:
                began = time.monotonic()
            if kind == worker_protocol.FINISHED:
                seconds = time.monotonic() - began
                break
        else:
            sys.exit("the worker gave no result")
        connection.sendall(worker_protocol.frame(worker_protocol.QUIT))
        process.wait()
        return seconds


def line(what, value):
    print(f"{what:<58} {value}")


def main():
    if len(sys.argv) == 4 and sys.argv[1] == "--analyse":
        print(analyse(sys.argv[2], sys.argv[3]))
        return
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    binaries = os.path.abspath(sys.argv[1])
    rounds = int(sys.argv[2]) if len(sys.argv) == 3 else 5
    program = {name: os.path.join(binaries, name)
               for name in ("ping_pong", "read_remote", "tunesift", "tunesift-worker")}
    network = Network()
    try:
        with tempfile.TemporaryDirectory() as folder:
            wav = os.path.join(folder, "track.wav")
            subprocess.check_call(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "sine=440:d=227", "-ac", "2", wav])
            pages = os.path.getsize(wav) / PAGE
            share = inside(network.server, program["tunesift"], "share", "--json", "--name", "bench", folder,
                           stdout=subprocess.PIPE, text=True)
            url = json.loads(share.stdout.readline())["url"] + "track.wav"

            def analysed(place, path):
                return float(output_of(place, sys.executable, os.path.abspath(__file__), "--analyse",
                                       program["tunesift-worker"], path))

            figures = {"bare": [], "qt": [], "page": [], "local": [], "remote": []}
            for _ in range(rounds):
                figures["bare"].append(ping_pong(network, program["ping_pong"], "bare"))
                figures["page"].append(float(output_of(network.client, program["read_remote"], url).split()[1]))
                figures["qt"].append(ping_pong(network, program["ping_pong"], "qt"))
                figures["local"].append(analysed(network.client, wav))
                figures["remote"].append(analysed(network.client, url))
            bare, qt, page, local, remote = (statistics.median(figures[name]) for name in figures)
            line("ping-pong of bare sockets, us", f"{bare:.1f}")
            line("ping-pong of QTcpSockets on event loops, us", f"{qt:.1f}")
            line("page of a remote file, us", f"{page:.1f}")
            line("rate of pages against that of QTcpSockets", f"{qt / page:.2f}")
            line("40 MB wav from message 8 to 10, local, s", f"{local:.3f}")
            line("the same on the other device, s", f"{remote:.3f}")
            line("more per page, in ping-pongs of bare sockets",
                 f"{(remote - local) / pages * 1e6 / bare:.2f}")

            readers = [inside(network.client, program["read_remote"], url, stdout=subprocess.PIPE, text=True)
                       for _ in range(READERS)]
            costs = [float(reader.communicate()[0].split()[1]) for reader in readers]
            line(f"{READERS} readers at once, fastest and slowest page, us",
                 f"{min(costs):.0f} {max(costs):.0f}")
            share.terminate()
            share.wait()
    finally:
        network.close()


if __name__ == "__main__":
    main()
