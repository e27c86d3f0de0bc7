"""Converts a folder of TIFF files, or one large TIFF in tiles, through a link on a Dask cluster.

    python3 dask_convert.py LINK_FILE SOURCE OUT [--workers N] [--scheduler ADDRESS] [--tile PIXELS]

LINK_FILE is a baked link (`tintara link ... -o`, or Link.save). SOURCE is a folder: every
*.tif in it becomes one task; or a file: it is cut into tiles of --tile pixels (default 2048).
Without --scheduler a LocalCluster of --workers processes (default 2) runs here. The link file's
bytes are the one thing every worker receives; the results equal one Link.match byte for byte.
"""
import argparse
import os
import pathlib
import time

import dask
import distributed
import tifffile

import tintara
import tintara.tiles


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("link")
    parser.add_argument("source", type=pathlib.Path)
    parser.add_argument("out", type=pathlib.Path)
    parser.add_argument("--workers", type=int, default=2)
    parser.add_argument("--scheduler")
    parser.add_argument("--tile", type=int, default=2048)
    options = parser.parse_args()
    link = pathlib.Path(options.link).read_bytes()

    cluster = None if options.scheduler else distributed.LocalCluster(
        n_workers=options.workers, threads_per_worker=1, dashboard_address=None)
    with distributed.Client(options.scheduler or cluster):
        start = time.perf_counter()
        if options.source.is_dir():
            options.out.mkdir(parents=True, exist_ok=True)
            done = dask.compute(*tintara.tiles.convert_files(sorted(options.source.glob("*.tif")), options.out, link))
            print(f"{len(done)} files into {options.out}", end="")
        else:
            pixels = tifffile.imread(options.source)
            result = tintara.tiles.match_array(pixels, link, tile=options.tile).compute()
            tifffile.imwrite(options.out, result, photometric="separated" if result.shape[-1] == 4 else "rgb")
            print(f"{pixels.shape[0]}x{pixels.shape[1]} pixels into {options.out}", end="")
        print(f" in {time.perf_counter() - start:.2f} s")
    if cluster:
        cluster.close()


if __name__ == "__main__":
    main()
