#!/usr/bin/env python3
"""Measures our FLAC and Ogg readers, read as an analysis reads them, against the decoders' own programs.

usage: decoders.py BIN_DIR [ROUNDS]

Makes its own input. Prints CPU seconds (user + system, of the whole process; the least of ROUNDS interleaved
rounds) for five minutes of music, and what each process spends before it decodes (a file of a tenth of a
second), which is taken off for the ratio. Ends with status 1 if a ratio is above its bound.
"""

import os
import subprocess
import sys
import tempfile

USUAL, UNUSUAL = 1.1, 1.3


def cpu_of(command):
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{command} ended with {process.returncode}")
    return usage.ru_utime + usage.ru_stime


def encoder(name, options):
    if name.endswith(".ogg"):
        return ["oggenc", "-Q", *options, "-o"]
    return ["flac", "-s", "-f", *(["--ogg"] if name.endswith(".oga") else []), *options, "-o"]


def decoder(path):
    if path.endswith(".ogg"):
        return ["oggdec", "-Q", "-o", "/dev/null", path]
    return ["flac", "-d", "-s", "-f", "-o", "/dev/null", path]


def main():
    bin_dir = sys.argv[1]
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 7
    reader = os.path.join(bin_dir, "read_track")
    files = [("4096.flac", [], USUAL), ("4608.flac", ["--blocksize=4608"], USUAL),
             ("16.flac", ["--lax", "--blocksize=16"], UNUSUAL), ("192.flac", ["--blocksize=192"], UNUSUAL),
             ("65535.flac", ["--lax", "--blocksize=65535"], UNUSUAL), ("ogg.oga", [], USUAL),
             ("q5.ogg", ["-q5"], USUAL), ("q10.ogg", ["-q10"], USUAL)]
    exceeded = False
    with tempfile.TemporaryDirectory() as folder:
        def track(seconds, wav):
            path = os.path.join(folder, wav)
            subprocess.run([os.path.join(bin_dir, "make_track"), "house", str(seconds), path], check=True)
            return path

        long_wav = track(300, "long.wav")
        short_wav = os.path.join(folder, "short.wav")
        subprocess.run(["ffmpeg", "-v", "error", "-t", "0.1", "-i", long_wav, short_wav], check=True)

        print(f"{'':12}{'its program':>14}{'start':>8}{'our reader':>14}{'start':>8}{'ratio':>8}{'bound':>8}")
        for name, options, bound in files:
            def made(kind, wav):
                path = os.path.join(folder, kind + name)
                subprocess.run([*encoder(name, options), path, wav], check=True, stderr=subprocess.DEVNULL)
                return path

            long, short = made("long", long_wav), made("short", short_wav)
            commands = (decoder(long), decoder(short), [reader, long], [reader, short])
            least = [min(times) for times in zip(*([cpu_of(c) for c in commands] for _ in range(rounds)))]
            ratio = (least[2] - least[3]) / (least[0] - least[1])
            exceeded |= ratio > bound
            print(f"{name:12}{least[0]:14.3f}{least[1]:8.3f}{least[2]:14.3f}{least[3]:8.3f}"
                  f"{ratio:8.2f}{bound:8.1f}")
    sys.exit(1 if exceeded else 0)


if __name__ == "__main__":
    main()
