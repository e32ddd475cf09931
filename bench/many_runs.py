#!/usr/bin/env python3
"""Thousands of one-second tracks through one worker, as its host sees them: tracks a second, open track files at
any moment, peak of resident memory, and how long the quit takes. Usage: many_runs.py WORKER [TRACKS]"""

import math
import os
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import wave
import zlib

START, FINISHED, ERROR, QUIT = 1, 10, 11, 12
HEADER = struct.Struct("<IIqII")
RATE = 44100


def make_track(path):
    beat = RATE // 2
    sound = [12000 * math.exp(-(i % beat) / 2000) * math.sin(i / 20) for i in range(RATE)]
    with wave.open(path, "wb") as file:
        file.setnchannels(1)
        file.setsampwidth(2)
        file.setframerate(RATE)
        file.writeframes(b"".join(struct.pack("<h", int(x)) for x in sound))


class Host:
    def __init__(self, worker):
        listener = socket.create_server(("127.0.0.1", 0))
        port = str(listener.getsockname()[1])
        self.process = subprocess.Popen([worker, port], stderr=subprocess.DEVNULL)
        self.connection, _ = listener.accept()
        self.connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.stream = self.connection.makefile("rb")

    def send(self, command, payload=b""):
        self.connection.sendall(HEADER.pack(0, command, len(payload), zlib.crc32(payload), 0) + payload)

    def run(self, path):
        """Analyses one track; the number of the message that ended it."""
        self.send(START, struct.pack("<iiBBBB", 58, 195, 1, 1, 1, 0) + os.fsencode(path))
        while True:
            _, message, size, _, _ = HEADER.unpack(self.stream.read(HEADER.size))
            self.stream.read(size)
            if message in (FINISHED, ERROR):
                return message

    def open_files(self, folder):
        count = 0
        for entry in os.scandir(f"/proc/{self.process.pid}/fd"):
            try:
                count += os.readlink(entry.path).startswith(folder)
            except OSError:
                pass  # closed meanwhile
        return count

    def peak_kilobytes(self):
        with open(f"/proc/{self.process.pid}/status", encoding="ascii") as status:
            return next(int(line.split()[1]) for line in status if line.startswith("VmHWM:"))


def main():
    worker = sys.argv[1]
    tracks = int(sys.argv[2]) if len(sys.argv) > 2 else 4000
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "track.wav")
        make_track(path)
        host = Host(worker)
        most = 0
        done = threading.Event()

        def watch():
            nonlocal most
            while not done.wait(0.001):
                most = max(most, host.open_files(folder))

        watcher = threading.Thread(target=watch)
        watcher.start()
        begin = time.monotonic()
        failed = sum(host.run(path) != FINISHED for _ in range(tracks))
        seconds = time.monotonic() - begin
        done.set()
        watcher.join()
        peak = host.peak_kilobytes()
        begin = time.monotonic()
        host.send(QUIT)
        status = host.process.wait()
        print(f"{tracks} tracks, {failed} failed, {tracks / seconds:.0f} a second; at most {most} files open; "
              f"{peak / 1024:.1f} MiB at most; status {status} {1000 * (time.monotonic() - begin):.0f} ms after the quit")


if __name__ == "__main__":
    main()
