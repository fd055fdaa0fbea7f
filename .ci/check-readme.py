#!/usr/bin/env python3
"""Runs every `qzil` line of the README's shell blocks, as a reader would paste them: check-readme.py FOLDER_OF_QZIL.
Results go to a scratch folder."""

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
BLOCK = re.compile(r"^```sh\n(.*?)^```", re.DOTALL | re.MULTILINE)


def main():
    if len(sys.argv) != 2:
        raise SystemExit(__doc__)
    environment = dict(os.environ, PATH=f"{Path(sys.argv[1]).resolve()}:{os.environ['PATH']}")
    page = (ROOT / "README.md").read_text(encoding="utf-8")
    lines = [line for block in BLOCK.findall(page) for line in block.splitlines() if line.startswith("qzil ")]
    faults = 0 if lines else 1
    with tempfile.TemporaryDirectory() as scratch:
        (Path(scratch) / "samples").symlink_to(ROOT / "samples")
        for line in lines:
            run = subprocess.run(line, shell=True, cwd=scratch, env=environment, capture_output=True, text=True)
            if run.returncode != 0:
                print(f"{line}\n  ended with {run.returncode}: {run.stderr.strip()}", file=sys.stderr)
                faults += 1
    print(f"readme: {len(lines)} lines run, {faults} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
