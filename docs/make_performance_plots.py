#!/usr/bin/env python3
"""Draws docs/pictures/performance.svg from what the benchmark measured.

    build/bench/bench/run_bench --benchmark_out=run.json --benchmark_out_format=json
    docs/make_performance_plots.py run.json

Needs matplotlib (Debian: python3-matplotlib).
"""

import json
import sys
from pathlib import Path

import matplotlib

matplotlib.use("svg")
matplotlib.rcParams.update({"svg.hashsalt": "drape", "svg.fonttype": "none", "font.size": 9})
import matplotlib.pyplot as plt  # noqa: E402  (the backend has to be chosen first)

OUTPUT = Path(__file__).parent / "pictures" / "performance.svg"


def rows(results, name):
    """The counters of one family, each with its arguments by name."""
    found = []
    for result in results["benchmarks"]:
        parts = result["name"].split("/")
        if parts[0] == name:
            arguments = dict(part.split(":") for part in parts[1:] if ":" in part)
            found.append({**{key: float(value) for key, value in arguments.items() if value.isdigit()}, **result})
    return found


def column(family, name):
    return [row[name] for row in family]


def main():
    results = json.loads(Path(sys.argv[1]).read_text())
    figure, panels = plt.subplots(2, 3, figsize=(10.5, 6.0), constrained_layout=True)
    (size, setup, density), (boundary, threads, ties) = panels

    for order, label in ((0, "as built"), (1, "random order")):
        family = [row for row in rows(results, "overMeshSize") if row["random"] == order]
        size.plot(column(family, "triangles"), column(family, "us_per_node"), "o-", label=label)
        setup.plot(column(family, "triangles"), column(family, "setup_ns_per_triangle"), "o-", label=label)
    for panel, title in ((size, "µs a node, set-up included"), (setup, "set-up, ns a triangle")):
        panel.set(xscale="log", xlabel="triangles, one mesh edge per cell", title=title, ylim=(0, None))
        panel.legend()

    for side in sorted({row["side"] for row in rows(results, "overMeshDensity")}):
        family = [row for row in rows(results, "overMeshDensity") if row["side"] == side]
        density.plot(column(family, "edges_per_cell"), column(family, "us_per_node"), "o-",
                     label=f"{family[0]['triangles']:,.0f} triangles")
        density.plot(column(family, "edges_per_cell"), column(family, "us_beyond_setup"), "o:",
                     label="set-up aside")
    density.set(xlabel="mesh edges per cell", title="µs a node", ylim=(0, None))
    density.legend()

    family = rows(results, "overBoundaryLength")
    boundary.plot(column(family, "boundary_edges"), column(family, "us_beyond_setup"), "o-")
    boundary.set(xscale="log", xlabel="boundary edges", title="µs a node, set-up aside", ylim=(0, None))

    family = rows(results, "overThreads")
    threads.plot(column(family, "threads"), column(family, "processor_ms_per_drape"), "o-")
    threads.set(xlabel="threads at once", title="processor time of a drape, ms", xlim=(0, None), ylim=(0, None))

    kinds = ("smooth", "lattice,\nnodes on\nvertices", "lattice,\nnodes\nbetween", "toothed\nedge")
    smooth = [row for row in rows(results, "overMeshSize") if row["random"] == 1][:1]
    ties.bar(kinds, column(smooth + rows(results, "overTies"), "us_per_node"))
    ties.set(title="µs a node, flat moulds", ylim=(0, None))

    figure.savefig(OUTPUT, metadata={"Date": None})


if __name__ == "__main__":
    main()
