"""Python against C, threads, and Dask workers, on one FOGRA39 -> FOGRA29 link (33 points).

    PYTHONPATH=python TINTARA_LIBRARY=build/libtintara.so /usr/bin/python3 python/bench/measure.py [SIZE] [--no-dask]

Prints: the C example's time for one TKLink8Match over SIZE x SIZE CMYK pixels (default 4000),
the same call from Python, 2 Python threads, and a Dask LocalCluster with 1 and 2 worker
processes (tiles of 1000 x 1000), checking that every result has the bytes of one call."""
import re
import resource
import subprocess
import sys
import threading
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


def best(run, rounds=5, clock=time.perf_counter):
    times = []
    for _ in range(rounds):
        start = clock()
        run()
        times.append(clock() - start)
    return min(times)


def threads_overlap(link, pixels, out):
    """Whether the lock is released: the time both threads spend in the library at once, and
    the CPU time each uses (on a loaded machine wall time alone cannot tell)."""
    spans, cpu = [None, None], [0.0, 0.0]
    half = len(pixels) // 2

    def run(i, rows):
        start, cpu_start = time.perf_counter(), time.thread_time()
        link.match(pixels[rows], out=out[rows])
        spans[i], cpu[i] = (start, time.perf_counter()), time.thread_time() - cpu_start

    workers = [threading.Thread(target=run, args=(i, rows)) for i, rows in enumerate((slice(0, half), slice(half, None)))]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()
    together = min(spans[0][1], spans[1][1]) - max(spans[0][0], spans[1][0])
    return max(0.0, together) / min(end - start for start, end in spans), cpu


def c_reference(size):
    example = ROOT / "build" / "examples" / "example_bake_and_match"
    out = subprocess.run([example, PROFILES, "--time", str(size), str(size)], capture_output=True, text=True,
                         check=True).stdout
    wall, cpu = re.search(r": ([\d.]+) ms, ([\d.]+) ms CPU", out).groups()
    return float(wall) / 1e3, float(cpu) / 1e3


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

        def on_workers():
            tiles = result.persist()
            distributed.wait(tiles)
            client.cancel(tiles)  # so that the next round computes afresh

        def cpu_seconds():
            return sorted(client.run(lambda: sum(resource.getrusage(resource.RUSAGE_SELF)[:2])).values())
        before = cpu_seconds()
        seconds = best(on_workers, rounds=3)
        cpu = [(b - a) / 3 for a, b in zip(before, cpu_seconds())]
        gathered = best(lambda: result.compute(), rounds=2)
    return seconds, gathered, whole, cpu


def main():
    size = int(sys.argv[1]) if len(sys.argv) > 1 and sys.argv[1].isdigit() else 4000
    print(f"{size} x {size} CMYK, 8 bit, FOGRA39L -> FOGRA29L relative colorimetric, 33 points")
    with tintara.Link.from_profiles([PROFILES / "FOGRA39L.icc", PROFILES / "FOGRA29L.icc"], tintara.RELATIVE,
                                    grid_bits=5) as link:
        pixels = pattern(size * size).reshape(size, size, 4)
        out = np.empty_like(pixels)
        c, c_cpu = c_reference(size)
        one = best(lambda: link.match(pixels, out=out))
        one_cpu = best(lambda: link.match(pixels, out=out), clock=time.thread_time)
        reference = out.copy()
        two = best(lambda: link.match(pixels, out=out, threads=2))
        pixel, pixel_out = pixels[:1, :1], out[:1, :1]
        per_call = best(lambda: [link.match(pixel, out=pixel_out) for _ in range(1000)]) / 1000
        assert np.array_equal(out, reference)
        print(f"C  TKLink8Match, 1 thread : {c * 1e3:8.1f} ms, {c_cpu * 1e3:8.1f} ms CPU")
        print(f"Python Link.match, 1 thread: {one * 1e3:8.1f} ms, {one_cpu * 1e3:8.1f} ms CPU "
              f"({(one / c - 1) * 100:+.1f} % wall, {(one_cpu / c_cpu - 1) * 100:+.1f} % CPU against C)")
        print(f"Python Link.match of one pixel: {per_call * 1e6:.1f} us, the binding's cost per call")
        print(f"Python Link.match, 2 threads: {two * 1e3:7.1f} ms  ({one / two:.2f}x)")
        overlap, cpu = threads_overlap(link, pixels, out)
        print(f"  2 threads inside the C call together for {overlap * 100:.0f} % of the shorter call; "
              f"CPU s per thread {cpu[0]:.2f} and {cpu[1]:.2f} against {one_cpu:.2f} for 1 thread: "
              f"{one_cpu / max(cpu):.2f}x where two cores are free")
        if "--no-dask" in sys.argv:
            return
        runs = {}
        for workers, tile in ((1, size // 4), (2, size // 4), (1, size // 16)):
            seconds, gathered, whole, cpu = dask_seconds(link, size, tile, workers)
            assert np.array_equal(whole, reference), "Dask result differs from one call"
            runs[workers, tile] = seconds
            print(f"Dask, {workers} worker(s), {tile}x{tile} tiles: {seconds * 1e3:8.1f} ms on the workers, "
                  f"{gathered * 1e3:8.1f} ms gathered to the client ({size * size / seconds / 1e6:.1f} Mpixel/s), "
                  f"bytes equal; CPU s per worker and round: {', '.join(f'{c:.2f}' for c in cpu)}")
        big, small = runs[1, size // 4], runs[1, size // 16]
        print(f"Per-tile overhead, 1 worker: {(small - big) / (256 - 16) * 1e3:.1f} ms "
              f"(16 against 256 tiles); link shipped: {len(link.to_bytes()) / 1e6:.1f} MB")


if __name__ == "__main__":
    main()
