#!/usr/bin/env python3
"""Measures `tunesift analyze` on a library: 200 mp3s of four minutes, with one worker and with two.

usage: library.py BIN_DIR [TRACKS [ROUNDS]]

Makes its own input. Prints wall and CPU seconds (the least wall time of ROUNDS interleaved rounds), how much of the
CPU is spent outside the workers, and what a track of a batch costs beyond its analysis.
"""

import json
import os
import resource
import subprocess
import sys
import tempfile
import time


def run(tunesift, jobs, folder):
    """Wall seconds, CPU seconds of everything, CPU seconds of the workers, rows."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.monotonic()
    output = subprocess.run([tunesift, "analyze", "--json", "-j", str(jobs), folder], check=True,
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    wall = time.monotonic() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    cpu = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    rows = [json.loads(line) for line in output.splitlines()]
    return wall, cpu, sum(row["cpuSeconds"] for row in rows), rows


def main():
    binaries = sys.argv[1]
    tracks = int(sys.argv[2]) if len(sys.argv) > 2 else 200
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 3
    tunesift = os.path.join(binaries, "tunesift")
    with tempfile.TemporaryDirectory() as folder:
        wav = os.path.join(folder, "music.wav.source")
        subprocess.run([os.path.join(binaries, "make_track"), "house", "240", wav], check=True)
        first = os.path.join(folder, "0.mp3")
        subprocess.run(["ffmpeg", "-v", "error", "-i", wav, "-b:a", "192k", first], check=True)
        os.unlink(wav)
        for number in range(1, tracks):
            os.link(first, os.path.join(folder, f"{number}.mp3"))
        best = {}
        for _ in range(rounds):
            for jobs in (1, 2):
                result = run(tunesift, jobs, folder)
                if jobs not in best or result[0] < best[jobs][0]:
                    best[jobs] = result
    for jobs, (wall, cpu, workers, rows) in best.items():
        beyond = (wall * jobs - sum(row["wallSeconds"] for row in rows)) / len(rows)
        print(f"-j {jobs}: {wall:.2f} s, {cpu:.2f} s of CPU, {100 * (cpu - workers) / cpu:.1f} % of it outside runs, "
              f"{1000 * beyond:.1f} ms a track beyond its analysis")
    print(f"-j 2 is {best[1][0] / best[2][0]:.2f} times as fast as -j 1")


if __name__ == "__main__":
    main()
