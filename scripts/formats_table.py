#!/usr/bin/env python3
"""scripts/formats_table.py [BIN_DIR]: makes one piece of music in every format, analyses each, and writes the
table of docs/formats.md anew.

BIN_DIR (build/bin) holds tunesift, tunesift-worker and make_track: scripts/bench.sh builds them all.
"""

import json
import os
import re
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
DOCUMENT = os.path.join(HERE, "..", "docs", "formats.md")
SECONDS = 60


def ffmpeg(*options):
    return ["ffmpeg", "-v", "error", "-i", "{wav}", *options, "{out}"]


AAC = ["-c:a", "aac", "-b:a", "192k"]
FORMATS = [  # extension, what is in it, encoder, its command; none: the file as it was made
    ("wav", "PCM, 16 bits", "tunesift's own", None),
    ("aif", "PCM, 16 bits", "ffmpeg", ffmpeg()),
    ("aiff", "PCM, 16 bits", "ffmpeg", ffmpeg()),
    ("mp3", "MP3, 192 kbit/s", "ffmpeg, libmp3lame", ffmpeg("-b:a", "192k")),
    ("m4a", "AAC, 192 kbit/s", "ffmpeg, aac", ffmpeg(*AAC)),
    ("mp4", "AAC, 192 kbit/s", "ffmpeg, aac", ffmpeg(*AAC)),
    ("aac", "AAC, 192 kbit/s, ADTS", "ffmpeg, aac", ffmpeg(*AAC)),
    ("flac", "FLAC", "flac", ["flac", "-s", "-o", "{out}", "{wav}"]),
    ("oga", "FLAC in Ogg", "flac --ogg", ["flac", "-s", "--ogg", "-o", "{out}", "{wav}"]),
    ("ogg", "Vorbis, quality 5", "oggenc", ["oggenc", "-Q", "-q5", "-o", "{out}", "{wav}"]),
]


def analyse(bin_dir, paths):
    command = [os.path.join(bin_dir, "tunesift"), "analyze", "--json", "--min-bpm", "90", *paths]
    run = subprocess.run(command, stdout=subprocess.PIPE, text=True, check=False)
    results = [json.loads(line) for line in run.stdout.splitlines()]
    if run.returncode != 0 or len(results) != len(paths):
        sys.exit(f"formats_table.py: {command} ended with {run.returncode}:\n{run.stdout}")
    return results


def table(rows):
    widths = [max(len(cell) for cell in column) for column in zip(*rows)]
    lines = ["| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |" for row in rows]
    lines.insert(1, "|" + "|".join("-" * (width + 2) for width in widths) + "|")
    return "\n".join(lines)


def main():
    bin_dir = sys.argv[1] if len(sys.argv) > 1 else os.path.join(HERE, "..", "build", "bin")
    with tempfile.TemporaryDirectory() as folder:
        wav = os.path.join(folder, "music.wav")
        subprocess.run([os.path.join(bin_dir, "make_track"), "house", str(SECONDS), wav], check=True)
        paths = []
        for extension, _, _, command in FORMATS:
            path = os.path.join(folder, "music." + extension)
            if command:
                subprocess.run([part.format(wav=wav, out=path) for part in command], check=True,
                               stderr=subprocess.DEVNULL)
            paths.append(path)
        results = analyse(bin_dir, paths)

    rows = [["file", "holds", "encoder", "tempo", "first downbeat", "beats", "key", "loudness", "length"]]
    for (extension, content, encoder, _), result in zip(FORMATS, results):
        rows.append([extension, content, encoder, f"{result['tempo']:.2f} BPM",
                     f"{1000 * result['firstDownbeat']:.1f} ms", str(result["beats"]), result["key"] or "-",
                     f"{result['loudnessDb']:.2f} dBFS", f"{result['frames']} frames"])
    text = table(rows)
    print(text)

    with open(DOCUMENT, encoding="utf-8") as document:
        old = document.read()
    new, found = re.subn(r"(<!-- table -->\n).*?(<!-- end of table -->)", lambda m: m[1] + text + "\n" + m[2], old,
                         flags=re.DOTALL)
    if not found:
        sys.exit(f"formats_table.py: {DOCUMENT} has no place for the table")
    if new != old:
        with open(DOCUMENT, "w", encoding="utf-8") as document:
            document.write(new)


if __name__ == "__main__":
    main()
