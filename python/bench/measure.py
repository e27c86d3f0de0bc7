"""Python against C, threads, and Dask workers, on one FOGRA39 -> FOGRA29 link (33 points).

    PYTHONPATH=python TINTARA_LIBRARY=build/libtintara.so /usr/bin/python3 python/bench/measure.py [SIZE]

Prints: the C example's time for one TKLink8Match over SIZE x SIZE CMYK pixels (default 4000),
the same call from Python, 2 Python threads, and a Dask LocalCluster with 1 and 2 worker
processes (tiles of 1000 x 1000), checking that every result has the bytes of one call."""
import re
import subprocess
import sys
import time
import pathlib

import numpy as np

import tintara
import tintara.tiles

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROFILES = ROOT / "tests" / "data" / "tools"


def pattern(count, first=0):
    """The C example's test raster: ramps in every ink (examples/bake_and_match.c)."""
    i = np.arange(first, first + count, dtype=np.int64)
    pixels = np.empty((count, 4), np.uint8)
    pixels[:, 0] = i * 7 & 255
    pixels[:, 1] = i * 13 // 7 & 255
    pixels[:, 2] = i // 251 & 255
    pixels[:, 3] = np.where(i % 3 == 0, 0, i // 17 & 255)
    return pixels


def best(run, rounds=5):
    times = []
    for _ in range(rounds):
        start = time.perf_counter()
        run()
        times.append(time.perf_counter() - start)
    return min(times)


def c_reference(size):
    example = ROOT / "build" / "examples" / "example_bake_and_match"
    out = subprocess.run([example, PROFILES, "--time", str(size), str(size)], capture_output=True, text=True,
                         check=True).stdout
    return float(re.search(r": ([\d.]+) ms", out).group(1)) / 1e3


def dask_seconds(link, size, tile, workers):
    import dask.array as da
    import distributed

    def tile_pattern(block_info=None):
        (r0, r1), (c0, c1), _ = block_info[None]["array-location"]
        rows = [pattern(c1 - c0, r * size + c0) for r in range(r0, r1)]
        return np.stack(rows)

    with distributed.LocalCluster(n_workers=workers, threads_per_worker=1, processes=True,
                                  dashboard_address=None) as cluster, distributed.Client(cluster) as client:
        # The image is made on the workers and kept there, as tiles read from storage would be.
        source = da.map_blocks(tile_pattern, dtype=np.uint8, chunks=((tile,) * (size // tile),) * 2 + ((4,),))
        source = source.persist()
        distributed.wait(source)
        result = tintara.tiles.match_array(source, link, tile=tile)
        whole = result.compute()  # warms the workers: each loads the link once
        seconds = best(lambda: distributed.wait(result.persist()), rounds=3)
        gathered = best(lambda: result.compute(), rounds=2)
        client.shutdown()
    return seconds, gathered, whole


def main():
    size = int(sys.argv[1]) if len(sys.argv) > 1 else 4000
    print(f"{size} x {size} CMYK, 8 bit, FOGRA39L -> FOGRA29L relative colorimetric, 33 points")
    with tintara.Link.from_profiles([PROFILES / "FOGRA39L.icc", PROFILES / "FOGRA29L.icc"], tintara.RELATIVE,
                                    grid_bits=5) as link:
        pixels = pattern(size * size).reshape(size, size, 4)
        out = np.empty_like(pixels)
        c = c_reference(size)
        one = best(lambda: link.match(pixels, out=out))
        reference = out.copy()
        two = best(lambda: link.match(pixels, out=out, threads=2))
        assert np.array_equal(out, reference)
        print(f"C  TKLink8Match, 1 thread : {c * 1e3:8.1f} ms")
        print(f"Python Link.match, 1 thread: {one * 1e3:8.1f} ms  ({(one / c - 1) * 100:+.1f} % against C)")
        print(f"Python Link.match, 2 threads: {two * 1e3:7.1f} ms  ({one / two:.2f}x)")
        tile = size // 4
        for workers in (1, 2):
            seconds, gathered, whole = dask_seconds(link, size, tile, workers)
            assert np.array_equal(whole, reference), "Dask result differs from one call"
            print(f"Dask, {workers} worker(s), {tile}x{tile} tiles: {seconds * 1e3:8.1f} ms on the workers, "
                  f"{gathered * 1e3:8.1f} ms gathered to the client ({size * size / seconds / 1e6:.1f} Mpixel/s), "
                  "bytes equal")


if __name__ == "__main__":
    main()
