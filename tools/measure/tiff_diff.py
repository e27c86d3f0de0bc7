#!/usr/bin/env python3
"""Sample differences between two uncompressed, interleaved TIFFs of the same size and layout:
mean, 95th percentile and max difference in % of full scale, over an even sample of at most
two million samples (pure Python, no imaging modules needed).

    tiff_diff.py A.tif B.tif
"""
import struct
import sys

TYPES = {3: ("H", 2), 4: ("I", 4)}


def read_tiff(path):
    with open(path, "rb") as f:
        data = f.read()
    order = {b"II": "<", b"MM": ">"}.get(data[:2])
    if order is None or struct.unpack(order + "H", data[2:4])[0] != 42:
        raise SystemExit(f"{path}: not a classic TIFF")
    ifd = struct.unpack(order + "I", data[4:8])[0]
    count = struct.unpack(order + "H", data[ifd:ifd + 2])[0]
    tags = {}
    for i in range(count):
        entry = data[ifd + 2 + 12 * i: ifd + 14 + 12 * i]
        tag, kind, n = struct.unpack(order + "HHI", entry[:8])
        if kind not in TYPES:
            continue
        code, size = TYPES[kind]
        if n * size <= 4:
            raw = entry[8:8 + n * size]
        else:
            offset = struct.unpack(order + "I", entry[8:12])[0]
            raw = data[offset: offset + n * size]
        tags[tag] = struct.unpack(order + code * n, raw)
    if tags.get(259, (1,))[0] != 1 or tags.get(284, (1,))[0] != 1:
        raise SystemExit(f"{path}: compressed or planar, not compared")
    bits = tags[258][0]
    pixels = b"".join(data[o: o + n] for o, n in zip(tags[273], tags[279]))
    if bits == 16:
        pixels = struct.unpack(order + "H" * (len(pixels) // 2), pixels)
    return (tags[256][0], tags[257][0], tags[277][0], bits), pixels


def main():
    (shape_a, a), (shape_b, b) = read_tiff(sys.argv[1]), read_tiff(sys.argv[2])
    if shape_a != shape_b:
        raise SystemExit(f"shapes differ: {shape_a} {shape_b}")
    top = (1 << shape_a[3]) - 1
    samples = min(len(a), len(b))
    step = max(1, samples // 2_000_000)
    diffs = sorted(abs(a[i] - b[i]) for i in range(0, samples, step))
    mean = sum(diffs) / len(diffs)
    p95 = diffs[int(0.95 * len(diffs)) - 1]
    scale = 100.0 / top
    print(f"{len(diffs)} samples: mean {mean * scale:.3f} %, p95 {p95 * scale:.3f} %, max {diffs[-1] * scale:.3f} %")


if __name__ == "__main__":
    main()
