#!/usr/bin/env python3
"""Measures the real worker as a whole process, against FFmpeg's bare decode of the same file.

usage: whole_process.py BIN_DIR [ROUNDS]

Makes its own input. Prints CPU seconds (user + system, of the whole process from its start to its end; the
least of ROUNDS interleaved rounds), the peak of resident memory, and how soon after the start command the
first block's progress message leaves.
"""

import os
import socket
import struct
import subprocess
import sys
import tempfile
import time
import zlib

START, PROGRESS, FINISHED, QUIT = 1, 3, 10, 12


def frame(command, payload=b""):
    return struct.pack("<IIqII", 0, command, len(payload), zlib.crc32(payload), 0) + payload


def messages(connection):
    buffer = bytearray()
    while True:
        while len(buffer) >= 24:
            _, kind, size, _, _ = struct.unpack_from("<IIqII", buffer)
            if len(buffer) < 24 + size:
                break
            yield kind, bytes(buffer[24:24 + size])
            del buffer[:24 + size]
        data = connection.recv(1 << 16)
        if not data:
            return
        buffer += data


def cpu_of(process):
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{process.args} ended with {process.returncode}")
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def decode(path):
    return cpu_of(subprocess.Popen(
        ["ffmpeg", "-v", "error", "-threads", "1", "-i", path, "-f", "null", "-"], stdin=subprocess.DEVNULL))


def preferences(with_key):
    return struct.pack("<iiBBBB", 58, 195, with_key, 1, 1, 0)


def analyse(worker, path, with_key=True):
    """CPU seconds, MiB, and seconds from the start command to the first progress message."""
    with socket.create_server(("127.0.0.1", 0)) as server:
        process = subprocess.Popen([worker, str(server.getsockname()[1])])
        connection, _ = server.accept()
    with connection:
        connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        begun = time.perf_counter()
        connection.sendall(frame(START, preferences(with_key) + os.fsencode(path)))
        first_progress = None
        for kind, _ in messages(connection):
            if kind == PROGRESS and first_progress is None:
                first_progress = time.perf_counter() - begun
            if kind == FINISHED:
                break
            if kind == 11:
                sys.exit(f"the worker cannot analyse {path}")
        connection.sendall(frame(QUIT))
        return *cpu_of(process), first_progress


def main():
    bin_dir = sys.argv[1]
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    worker = os.path.join(bin_dir, "tunesift-worker")
    with tempfile.TemporaryDirectory() as folder:
        def made(kind, seconds, name):
            path = os.path.join(folder, name)
            subprocess.run([os.path.join(bin_dir, "make_track"), kind, str(seconds), path], check=True)
            return path

        wav = made("house", 240, "house.wav")
        tracks = [wav]
        for name, options in (("house.mp3", ["-b:a", "192k"]), ("house.m4a", ["-c:a", "aac", "-b:a", "192k"])):
            path = os.path.join(folder, name)
            subprocess.run(["ffmpeg", "-v", "error", "-i", wav, *options, path], check=True)
            tracks.append(path)

        print("four minutes, 44.1 kHz, stereo: CPU seconds of", rounds, "rounds, the least")
        print(f"{'':10}{'ffmpeg decode':>15}{'worker':>10}{'ratio':>8}{'without key':>14}{'ratio':>8}{'key':>8}{'ratio':>8}"
              f"{'MiB':>7}{'first progress':>17}")
        for path in tracks:
            decodes, runs, keyless = [], [], []
            for _ in range(rounds):
                decodes.append(decode(path)[0])
                runs.append(analyse(worker, path))
                keyless.append(analyse(worker, path, with_key=False))
            bare = min(decodes)
            cpu = min(run[0] for run in runs)
            without = min(run[0] for run in keyless)
            print(f"{os.path.splitext(path)[1]:10}{bare:15.3f}{cpu:10.3f}{cpu / bare:8.2f}{without:14.3f}"
                  f"{without / bare:8.2f}{cpu - without:8.3f}{(cpu - without) / bare:8.2f}"
                  f"{max(run[1] for run in runs):7.1f}{1000 * max(run[2] for run in runs):14.1f} ms")

        print("\ntwo hours, 44.1 kHz, mono, 16-bit wav")
        print(f"{'':10}{'CPU s':>10}{'MiB':>7}{'first progress':>17}")
        for kind in ("sparse", "clicks"):
            cpu, memory, first = analyse(worker, made(kind, 7200, kind + ".wav"))
            print(f"{kind:10}{cpu:10.3f}{memory:7.1f}{1000 * first:14.1f} ms")


if __name__ == "__main__":
    main()
