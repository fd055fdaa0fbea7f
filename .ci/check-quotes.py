#!/usr/bin/env python3
"""Checks that the code blocks which pages quote from files equal those files; --rewrite copies the files in.

A quote is a fenced block behind a line <!-- file: PATH -->.
"""

import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
QUOTE = re.compile(r"(<!-- file: (\S+) -->\n```\w*\n)(.*?)(```\n)", re.DOTALL)
# Quotes that have to be there: a page that lost its markers would pass otherwise.
EXPECTED = {"README.md": 1, "docs/adding-an-effect.md": 6}


def main():
    rewrite = sys.argv[1:] == ["--rewrite"]
    pages = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard", "*.md"], cwd=ROOT,
                           capture_output=True, text=True, check=True).stdout.split()
    faults = 0
    for page in pages:
        text = (ROOT / page).read_text(encoding="utf-8")
        quotes = QUOTE.findall(text)
        if len(quotes) < EXPECTED.get(page, 0):
            print(f"{page}: {len(quotes)} quotes instead of {EXPECTED[page]}", file=sys.stderr)
            faults += 1
        for _, path, quoted, _ in quotes:
            if quoted != (ROOT / path).read_text(encoding="utf-8") and not rewrite:
                print(f"{page}: the quote of {path} differs from the file; run .ci/check-quotes.py --rewrite",
                      file=sys.stderr)
                faults += 1
        if rewrite:
            filled = QUOTE.sub(lambda m: m[1] + (ROOT / m[2]).read_text(encoding="utf-8") + m[4], text)
            (ROOT / page).write_text(filled, encoding="utf-8")
    print(f"quotes: {faults} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
