#!/usr/bin/env python3
"""Markdown tables from the JSON of the profile chain benchmarks: link accuracy, and this
library against Little CMS 2 (medians of the repetitions, CPU time, ratios from the same run).

    chain_tables.py RESULTS.json
"""
import json
import sys


def medians(path):
    with open(path) as f:
        runs = json.load(f)["benchmarks"]
    by_name = {}
    for run in runs:
        if run.get("aggregate_name", "median") != "median" or run.get("error_occurred"):
            continue
        name = run.get("run_name", run["name"]).replace("/iterations:1", "")
        by_name[name] = run
    return by_name


def accuracy_table(runs):
    print("\n| chain | depth | grid | ink % mean | p95 | max | dE00 mean | p95 | max "
          "| Little CMS own: ink % mean | max | dE00 mean | max |")
    print("|---|---|---|---|---|---|---|---|---|---|---|---|---|")
    for name, r in runs.items():
        parts = name.split("/")
        if parts[2] != "Accuracy":
            continue
        chain, depth = "/".join(parts[3:5]), parts[5]
        print(f"| {chain} | {depth} | {int(r['grid'])} | {r['ink%_mean']:.3f} | {r['ink%_p95']:.3f} | {r['ink%_max']:.2f} "
              f"| {r['dE00_mean']:.3f} | {r['dE00_p95']:.3f} | {r['dE00_max']:.2f} "
              f"| {r.get('lcms_ink%_mean', float('nan')):.3f} | {r.get('lcms_ink%_max', float('nan')):.2f} "
              f"| {r.get('lcms_dE00_mean', float('nan')):.3f} | {r.get('lcms_dE00_max', float('nan')):.2f} |")


def speed_table(runs):
    print("\n| what | chain | depth | pixels | Tintara grid | Tintara ms (CPU) | Little CMS ms (CPU) "
          "| Little CMS / Tintara | Tintara Mpx/s | Little CMS Mpx/s | engines apart, ink % mean / max |")
    print("|---|---|---|---|---|---|---|---|---|---|---|")

    def ms(r):
        scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[r.get("time_unit", "ns")]
        return r["cpu_time"] * scale

    def rate(r):
        return f"{r['items_per_second'] / 1e6:.1f}" if "items_per_second" in r else "-"

    for name, ours in runs.items():
        parts = name.split("/")
        if parts[1] != "Tintara" or parts[2] not in ("Match", "Build"):
            continue
        grid = "default"
        if parts[-1].startswith("grid"):
            grid = parts.pop()[4:]
        peer = runs.get("/".join(["Chain", "Lcms2"] + parts[2:]))
        if peer is None:
            continue
        pixels = parts[6] if len(parts) > 6 else "-"
        apart = (f"{peer['vsTintara_ink%_mean']:.3f} / {peer['vsTintara_ink%_max']:.1f}"
                 if "vsTintara_ink%_mean" in peer and grid == "default" else "")
        print(f"| {parts[2]} | {'/'.join(parts[3:5])} | {parts[5]} | {pixels} | {grid} | {ms(ours):.2f} | {ms(peer):.2f} "
              f"| {ms(peer) / ms(ours):.2f} | {rate(ours)} | {rate(peer)} | {apart} |")


def main():
    runs = medians(sys.argv[1])
    accuracy_table(runs)
    speed_table(runs)


if __name__ == "__main__":
    main()
