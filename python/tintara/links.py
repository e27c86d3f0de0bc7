"""Device links: baking, link files, and matching numpy pixel arrays without copies."""
import concurrent.futures
import ctypes
import os

import numpy as np

from . import _lib
from ._errors import TintaraError, ARG_ERR, DIM_MISMATCH, WRONG_DATA_TYPE
from ._lib import lib, check, made
from .trafos import Trafo, chain

_MATCH = {np.dtype(np.uint8): (lib.TKLink8Match, lib.TKLink8MatchPlanes),
          np.dtype(np.uint16): (lib.TKLink16Match, lib.TKLink16MatchPlanes)}
_MAX_RUN = 1 << 30  # pixels per C call: the count is a 32-bit int


class _Pixels:
    """A pixel array seen as (rows, width, channels) samples, interleaved or planar, with the
    byte distances the C calls need. `direct` is false where the C calls cannot walk it."""

    def __init__(self, array, planar):
        self.array = array
        item = array.itemsize
        view = array.reshape((array.shape[0], 1, array.shape[1]) if planar else (1,) + array.shape) \
            if array.ndim == 2 else array
        if planar:
            self.channels, self.rows, self.width = view.shape
            chan, row, pixel = view.strides
        else:
            self.rows, self.width, self.channels = view.shape
            row, pixel, chan = view.strides
        # Along an axis of length 1 numpy's stride is arbitrary: take the packed one.
        pixel = (item if planar else self.channels * item) if self.width == 1 else pixel
        chan = item if self.channels == 1 and not planar else chan
        row = self.width * pixel if self.rows == 1 else row
        self.base = array.ctypes.data
        self.row, self.pixel, self.chan = row, pixel, chan
        self.direct = pixel > 0 and pixel % item == 0 and (planar or (chan == item and pixel >= self.channels * item))
        self.step = pixel // item  # planar: samples between pixels; interleaved: samples per pixel
        self.packed_rows = row == self.width * pixel


def _check_array(array, name, channels, planar):
    if not isinstance(array, np.ndarray):
        raise TintaraError(WRONG_DATA_TYPE, "Link.match", f"{name} must be a numpy array, not {type(array).__name__}")
    if array.dtype not in _MATCH or not array.dtype.isnative:
        raise TintaraError(WRONG_DATA_TYPE, "Link.match", f"{name} must be uint8 or uint16 in native order, not {array.dtype}")
    if array.ndim not in (2, 3):
        form = "(C, H, W) or (C, N)" if planar else "(H, W, C) or (N, C)"
        raise TintaraError(ARG_ERR, "Link.match", f"{name} of shape {array.shape}: expected {form}")
    have = array.shape[0] if planar else array.shape[-1]
    if have != channels:
        raise TintaraError(DIM_MISMATCH, "Link.match", f"{name} has {have} channels, the link needs {channels}")


class Link(Trafo):
    """A device link: a trafo baked into integer tables that matches 8- and 16-bit pixels."""

    _free = lib.TKFreeTKLink16Ref

    def __init__(self, pointer=None):
        super().__init__(pointer or made(lib.TKNewTKLink16Ref(), "TKNewTKLink16Ref"))

    # ---- making and storing --------------------------------------------------------------
    @classmethod
    def from_profiles(cls, profiles, intents=None, grid_bits=0, **chain_options):
        """Chains the profiles (see `chain`) and bakes the result."""
        with chain(profiles, intents, **chain_options) as trafo:
            return trafo.bake(grid_bits)

    @classmethod
    def load(cls, path):
        return cls._made(lambda link: link.load_file(path))

    @classmethod
    def from_bytes(cls, data):
        return cls._made(lambda link: link.load_bytes(data))

    @classmethod
    def _made(cls, fill):
        link = cls()
        try:
            fill(link)
        except BaseException:
            link.close()
            raise
        return link

    def bake(self, trafo, grid_bits=0):
        """Replaces this link's tables by `trafo` sampled at 2^grid_bits + 1 points per axis."""
        with self._use() as link, trafo._use() as source:
            check(lib.TKColorTrafo2Link16(link, source, int(grid_bits)), "TKColorTrafo2Link16")

    def save(self, path):
        with self._use() as link, _lib.FileSpec(path) as spec:
            check(lib.TKSaveLink16(link, spec), f"TKSaveLink16({os.fspath(path)})")

    def load_file(self, path):
        with self._use() as link, _lib.FileSpec(path) as spec:
            check(lib.TKLoadLink16(link, spec), f"TKLoadLink16({os.fspath(path)})")

    def to_bytes(self):
        """The link file's bytes: what is shipped to other processes."""
        size = ctypes.c_uint32()
        with self._use() as link:
            check(lib.TKSaveLink16ToMemory(link, None, 0, ctypes.byref(size)), "TKSaveLink16ToMemory")
            buffer = ctypes.create_string_buffer(size.value)
            check(lib.TKSaveLink16ToMemory(link, buffer, size.value, ctypes.byref(size)), "TKSaveLink16ToMemory")
        return buffer.raw[:size.value]

    def load_bytes(self, data):
        data = bytes(data)
        with self._use() as link:
            check(lib.TKLoadLink16FromMemory(link, data, len(data)), "TKLoadLink16FromMemory")

    # ---- matching -------------------------------------------------------------------------
    def match(self, pixels, out=None, planar=False, threads=1):
        """Converts a uint8 or uint16 array, interleaved (H, W, C) or (N, C), or planar
        (C, H, W) or (C, N), into `out` (made if None; same dtype, the link's output channels).

        Arrays whose channels of a pixel lie next to each other (interleaved) or whose pixels
        lie at one step (planar) are read where they are, with any row stride; others are
        copied once. `out` must be walkable the same way. The interpreter lock is released
        while the library matches, and `threads` > 1 splits the rows over that many threads."""
        with self._use() as link:
            src_dim, dst_dim = lib.TKGetTrafoSrcDim(link), lib.TKGetTrafoDstDim(link)
            if src_dim < 1:
                raise TintaraError(ARG_ERR, "Link.match", "the link is empty: bake or load it first")
            _check_array(pixels, "pixels", src_dim, planar)
            if out is None:
                shape = (dst_dim,) + pixels.shape[1:] if planar else pixels.shape[:-1] + (dst_dim,)
                out = np.empty(shape, dtype=pixels.dtype)
            else:
                _check_array(out, "out", dst_dim, planar)
                expected = pixels.shape[1:] if planar else pixels.shape[:-1]
                if out.dtype != pixels.dtype or (out.shape[1:] if planar else out.shape[:-1]) != expected:
                    raise TintaraError(ARG_ERR, "Link.match", f"out {out.dtype}{out.shape} does not fit pixels "
                                       f"{pixels.dtype}{pixels.shape}")
                if not out.flags.writeable:
                    raise TintaraError(ARG_ERR, "Link.match", "out is read-only")
                if np.may_share_memory(pixels, out):
                    raise TintaraError(ARG_ERR, "Link.match", "out overlaps the pixels")
            if pixels.size == 0:
                return out
            src = _Pixels(pixels, planar)
            if not src.direct:
                src = _Pixels(np.ascontiguousarray(pixels), planar)
            dst = _Pixels(out, planar)
            if not dst.direct:
                raise TintaraError(ARG_ERR, "Link.match", "out must keep the channels of a pixel together "
                                   "(interleaved) or its pixels at one step (planar)")
            self._run(link, src, dst, planar, max(1, int(threads)))
            return out

    def _run(self, link, src, dst, planar, threads):
        interleaved, plane_form = _MATCH[src.array.dtype]

        def work(part):
            for src_offset, dst_offset, count in part:
                if planar:
                    srcs = (ctypes.c_void_p * src.channels)(*[src.base + src_offset + c * src.chan
                                                              for c in range(src.channels)])
                    dsts = (ctypes.c_void_p * dst.channels)(*[dst.base + dst_offset + c * dst.chan
                                                              for c in range(dst.channels)])
                    code = plane_form(link, count, srcs, dsts, src.step, dst.step, _lib.NO_PROGRESS, None)
                else:
                    code = interleaved(link, count, src.base + src_offset, dst.base + dst_offset,
                                       src.step - src.channels, dst.step - dst.channels, _lib.NO_PROGRESS, None)
                check(code, plane_form.__name__ if planar else interleaved.__name__)

        parts = _parts(src, dst, threads)
        if len(parts) == 1:
            work(parts[0])
            return
        with concurrent.futures.ThreadPoolExecutor(len(parts)) as pool:
            for future in [pool.submit(work, part) for part in parts if part]:
                future.result()


def _parts(src, dst, threads):
    """The C calls of each thread, as (source byte offset, destination byte offset, pixels):
    the whole raster in as few calls as the count allows when the rows follow each other, else
    one call per row, neighbouring rows on one thread."""
    if src.packed_rows and dst.packed_rows:
        total = src.rows * src.width
        piece = min(_MAX_RUN, -(-total // threads))
        runs = [(start * src.pixel, start * dst.pixel, min(piece, total - start)) for start in range(0, total, piece)]
        return [runs[i::threads] for i in range(min(threads, len(runs)))]
    runs = [(r * src.row + start * src.pixel, r * dst.row + start * dst.pixel, min(_MAX_RUN, src.width - start))
            for r in range(src.rows) for start in range(0, src.width, _MAX_RUN)]
    block = -(-len(runs) // threads)
    return [runs[i:i + block] for i in range(0, len(runs), block)]


class MergeLink(Link):
    """A multi-colour link: process colours by the first device link profile, each further one
    adding its spot channels."""

    def __init__(self, pointer=None):
        super().__init__(pointer or made(lib.TKNewTKMCLink16Ref(), "TKNewTKMCLink16Ref"))

    @classmethod
    def from_device_links(cls, paths, grid_bits=None):
        paths = [os.fspath(p) for p in paths]
        bits = None if grid_bits is None else (ctypes.c_int32 * len(paths))(*grid_bits)

        def fill(link):
            with link._use() as handle, _lib.FileSpecs(paths) as specs:
                check(lib.TKDLProfiles2MCLink16(handle, len(paths), specs, bits), "TKDLProfiles2MCLink16")
        return cls._made(fill)
