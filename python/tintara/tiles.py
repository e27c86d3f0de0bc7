"""Pixel matching spread over Dask: one large array cut into tiles, or a folder of TIFF files.

The unit shipped to the workers is the baked link's bytes, a few megabytes: every worker process
loads it once and keeps it. Tiles and files are independent of each other, so the result is
bit-identical to one Link.match in one process.

    tiles = tintara.tiles.match_array(image, link, tile=2048)   # a lazy dask array
    result = tiles.compute()                                    # any scheduler, or a Client
"""
import hashlib
import os
import threading

import dask
import dask.array as da
import numpy as np

from ._errors import TintaraError, DIM_MISMATCH, WRONG_DATA_TYPE
from .links import Link

_loaded = {}
_loading = threading.Lock()


def worker_link(data):
    """The link of these bytes in this process, loaded on first use and kept."""
    key = hashlib.sha256(data).digest()
    with _loading:
        link = _loaded.get(key)
        if link is None:
            link = _loaded[key] = Link.from_bytes(data)
    return link


def _link_bytes(link):
    return link.to_bytes() if isinstance(link, Link) else bytes(link)


def _shipped(data):
    # One task in the graph that every tile depends on: each worker fetches it once.
    return dask.delayed(data, pure=True, name="tintara-link-" + hashlib.sha256(data).hexdigest()[:16])


def _match_tile(tile, data, planar):
    return worker_link(data).match(tile, planar=planar)


def match_array(pixels, link, tile=1024, planar=False):
    """`pixels` (numpy or dask, uint8/uint16, (H, W, C) or planar (C, H, W)) through `link` (a
    Link or its bytes), as a lazy dask array of the same tiles. A numpy array is cut into tiles
    of `tile` x `tile` pixels; a dask array keeps its chunks, with all channels in each."""
    data = _link_bytes(link)
    with Link.from_bytes(data) as local:
        src_dim, dst_dim = local.src_dim, local.dst_dim
    channel_axis = 0 if planar else pixels.ndim - 1
    if pixels.ndim != 3 or pixels.shape[channel_axis] != src_dim:
        raise TintaraError(DIM_MISMATCH, "match_array", f"pixels {pixels.shape}: the link needs {src_dim} channels on "
                           f"axis {channel_axis} of three")
    if np.dtype(pixels.dtype) not in (np.uint8, np.uint16):
        raise TintaraError(WRONG_DATA_TYPE, "match_array", f"uint8 or uint16 expected, not {pixels.dtype}")
    chunks = [tile] * 3
    chunks[channel_axis] = -1
    array = pixels.rechunk(chunks) if isinstance(pixels, da.Array) else da.from_array(pixels, chunks=tuple(chunks))
    out_chunks = list(array.chunks)
    out_chunks[channel_axis] = (dst_dim,)
    return da.map_blocks(_match_tile, array, _shipped(data), planar, dtype=array.dtype, chunks=tuple(out_chunks),
                         meta=np.empty((0, 0, 0), dtype=array.dtype))


def _convert_file(source, target, data):
    import tifffile
    pixels = tifffile.imread(source)
    if pixels.ndim == 2:
        pixels = pixels[..., None]
    out = worker_link(data).match(pixels)
    photometric = {1: "minisblack", 3: "rgb"}.get(out.shape[-1], "separated")
    tifffile.imwrite(target, out if out.shape[-1] > 1 else out[..., 0], photometric=photometric)
    return target


def convert_files(sources, out_dir, link):
    """One delayed task per TIFF file (interleaved samples, 8 or 16 bit): each writes its result
    under the same name into `out_dir`. Run them with dask.compute(*tasks)."""
    data = _shipped(_link_bytes(link))
    convert = dask.delayed(_convert_file, pure=False)
    return [convert(os.fspath(s), os.path.join(out_dir, os.path.basename(s)), data) for s in sources]
