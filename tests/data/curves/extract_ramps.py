#!/usr/bin/env python3
"""Extracts the single-ink ramps of a CGATS .ti3 chart (CMYK plus XYZ) into a small CSV.

Usage: extract_ramps.py FOGRA39L.ti3 > fogra39_ramps.csv
Source of the checked-in CSV: /work/shared/testdata/charts/FOGRA39L.ti3 (FOGRA39L
characterisation data, Fogra, December 2006). Each row is one patch on which exactly one ink
is printed (the paper patch is listed once per ink as its 0 % step).
"""
import sys

fields, rows, in_fmt, in_data = [], [], False, False
for line in open(sys.argv[1], encoding="latin-1"):
    words = line.split()
    if not words:
        continue
    if words[0] == "BEGIN_DATA_FORMAT":
        in_fmt = True
    elif words[0] == "END_DATA_FORMAT":
        in_fmt = False
    elif in_fmt:
        fields += words
    elif words[0] == "BEGIN_DATA":
        in_data = True
    elif words[0] == "END_DATA":
        in_data = False
    elif in_data:
        rows.append(dict(zip(fields, words)))

inks = ["CMYK_C", "CMYK_M", "CMYK_Y", "CMYK_K"]
print("ink,percent,X,Y,Z")
for ink_index, ink in enumerate(inks):
    ramp = {}
    for row in rows:
        values = [float(row[i]) for i in inks]
        others = [v for j, v in enumerate(values) if j != ink_index]
        if all(v == 0 for v in others):
            ramp.setdefault(values[ink_index], (row["XYZ_X"], row["XYZ_Y"], row["XYZ_Z"]))
    for percent in sorted(ramp):
        x, y, z = ramp[percent]
        print(f"{'CMYK'[ink_index]},{percent:g},{x},{y},{z}")
