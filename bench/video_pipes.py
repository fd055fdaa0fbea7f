#!/usr/bin/env python3
"""Measures `qzil run blend` between pipes: video_pipes.py QZIL [FRAMES]. Two 1080p streams of 4:2:2 come from `cat` over
pipes, and the result goes into `cat`. The yardstick is `cat` alone, moving the same bytes through as many pipes."""

import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path

WIDTH, HEIGHT, ROUNDS = 1920, 1080, 5
FRAME_BYTES = WIDTH * HEIGHT * 2


def write_stream(path, frames):
    picture = os.urandom(FRAME_BYTES)
    with open(path, "wb") as file:
        file.write(f"YUV4MPEG2 W{WIDTH} H{HEIGHT} F25:1 Ip A1:1 C422\n".encode())
        for _ in range(frames):
            file.write(b"FRAME\n" + picture)


def best(script):
    """The shortest wall time of some rounds, in seconds."""
    times = []
    for _ in range(ROUNDS):
        start = time.monotonic()
        subprocess.run(["bash", "-c", script], check=True)
        times.append(time.monotonic() - start)
    return min(times)


def main():
    if len(sys.argv) not in (2, 3):
        raise SystemExit(__doc__)
    qzil, frames = os.path.abspath(sys.argv[1]), int(sys.argv[2]) if len(sys.argv) == 3 else 100
    with tempfile.TemporaryDirectory() as folder:
        a, b = Path(folder) / "a.y4m", Path(folder) / "b.y4m"
        write_stream(a, frames)
        write_stream(b, frames)
        # Two streams in, one out: three times the bytes of a frame pass through pipes.
        cases = {"cat": f"cat {a} | cat >/dev/null & cat {b} | cat >/dev/null & cat {a} | cat >/dev/null & wait"}
        # A region of two by two pixels leaves everything but the effect.
        for name, options in (("blend, --jobs 1", "--jobs 1"), ("blend, --jobs 2", "--jobs 2"),
                              ("the same without effect", "--jobs 2 --roi 0,0,2,2")):
            cases[name] = f"{qzil} run blend <(cat {a}) <(cat {b}) {options} --progress off -o - | cat >/dev/null"
        cases["blend, files, --jobs 2"] = f"{qzil} run blend {a} {b} --jobs 2 --progress off -o - >/dev/null"
        print(f"{frames} frames of {WIDTH} x {HEIGHT}, 4:2:2, 8 bits; best of {ROUNDS}")
        for name, script in cases.items():
            seconds = best(script)
            print(f"{name:24} {seconds * 1000 / frames:7.2f} ms a frame {frames / seconds:7.1f} frames a second "
                  f"{3 * frames * FRAME_BYTES / seconds / 1e9:6.2f} GB/s")


if __name__ == "__main__":
    main()
