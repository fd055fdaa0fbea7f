#!/usr/bin/env python3
"""Puts the results of qzil_bench into a page: report.py RESULTS.json PAGE.md.

The table replaces what stands between the page's <!-- table --> and <!-- /table --> markers.
"""

import json
import re
import sys
from pathlib import Path

START, END = "<!-- table -->", "<!-- /table -->"


def rows(results):
    """One row an effect and format: the numbers of the plain run and, where there is one, of the masked run."""
    table = {}
    for run in results["benchmarks"]:
        if run.get("error_occurred"):
            raise SystemExit(f"{run['name']}: {run['error_message']}")
        effect, pixel_format, variant = run["name"].split("/")[:3]
        table.setdefault((effect, pixel_format), {})[variant] = run
    return table


def cells(run):
    if run is None:
        return ["", "", ""]
    return [f"{run['ms']:.2f}", f"{run['GB_s']:.1f}", f"{run['x_memcpy']:.2f}"]


def report(results):
    context = results["context"]
    lines = [
        f"{context['num_cpus']} processors at {context['mhz_per_cpu']} MHz, {context['date'][:10]}.",
        "",
        "| effect | format | ms | GB/s | x memcpy | masked: ms | GB/s | x memcpy |",
        "|---|---|--:|--:|--:|--:|--:|--:|",
    ]
    conversions = [
        "",
        "| conversion | from | to | ms | GB/s | x memcpy | filtered: ms | GB/s | x memcpy |",
        "|---|---|---|--:|--:|--:|--:|--:|--:|",
    ]
    for (effect, pixel_format), runs in rows(results).items():
        formats = [name.removeprefix("MFIF_") for name in pixel_format.split(">")]
        second = runs.get("mask") or runs.get("filter")
        row = "| " + " | ".join([effect] + formats + cells(runs.get("plain")) + cells(second)) + " |"
        (conversions if len(formats) == 2 else lines).append(row)
    return "\n".join(lines + conversions)


def main():
    if len(sys.argv) != 3:
        raise SystemExit(__doc__)
    results = json.loads(Path(sys.argv[1]).read_text(encoding="utf-8"))
    page = Path(sys.argv[2])
    text = page.read_text(encoding="utf-8")
    between = re.compile(re.escape(START) + ".*?" + re.escape(END), re.DOTALL)
    if len(between.findall(text)) != 1:
        raise SystemExit(f"{page}: there has to be one {START} ... {END}")
    page.write_text(between.sub(lambda _: f"{START}\n{report(results)}\n{END}", text), encoding="utf-8")


if __name__ == "__main__":
    main()
