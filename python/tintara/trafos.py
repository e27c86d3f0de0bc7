"""Colour types, trafos, profiles, chains of profiles and the global options."""
import ctypes
import os

import numpy as np

from . import _lib
from ._errors import TintaraError, ARG_ERR, BUFFER_TOO_SMALL, DIM_MISMATCH
from ._handle import Handle
from ._lib import lib, check, made

PERCEPTUAL, RELATIVE, SATURATION, ABSOLUTE = 0, 1, 2, 3
BPC_PERCEPTUAL, BPC_RELATIVE, HEADER_INTENT = 9, 10, 20
MAX_PROFILES = 10


def color_type(name):
    """The 32-bit signature of a colour type: "CMYK", "Lab" ("Lab "), "RGB", an int as it is."""
    if isinstance(name, int):
        return name
    raw = name.encode("ascii")
    if not 0 < len(raw) <= 4:
        raise TintaraError(ARG_ERR, "color_type", f"{name!r} is no four-character colour type")
    return int.from_bytes(raw.ljust(4), "big")


def color_type_name(signature):
    """The four characters of a signature, trailing blanks removed; "" for 0 (any type)."""
    return signature.to_bytes(4, "big").decode("latin-1").rstrip() if signature else ""


def set_option(key, value):
    """A process-wide option of TKTintaraSetOption ("OOGColor", "DensityMode", ...)."""
    check(lib.TKTintaraSetOption(key.encode(), str(value).encode()), f"TKTintaraSetOption({key!r})")


class Trafo(Handle):
    """A colour transformation: doubles in the units of its colour types (inks 0..100,
    RGB 0..255, Lab, XYZ with Y = 100)."""

    _free = lib.TKFreeTKTrafoRef

    def __init__(self, pointer=None):
        super().__init__(pointer or made(lib.TKNewTKTrafoRef(), "TKNewTKTrafoRef"))
        self._keep = []  # Python objects the library calls back into while this trafo lives

    def _query(self, function):
        with self._use() as handle:
            return function(handle)

    src_dim = property(lambda self: self._query(lib.TKGetTrafoSrcDim), doc="source channels, 0: any")
    dst_dim = property(lambda self: self._query(lib.TKGetTrafoDstDim), doc="destination channels, 0: any")
    src_type = property(lambda self: color_type_name(self._query(lib.TKGetTrafoSrcType)))
    dst_type = property(lambda self: color_type_name(self._query(lib.TKGetTrafoDstType)))

    def __call__(self, colours):
        """Converts one colour or an array of them, the channels on the last axis."""
        values = np.ascontiguousarray(colours, dtype=np.float64)
        with self._use() as handle:
            src_dim = lib.TKGetTrafoSrcDim(handle) or values.shape[-1]
            dst_dim = lib.TKGetTrafoDstDim(handle) or src_dim
            if values.ndim == 0 or values.shape[-1] != src_dim:
                raise TintaraError(DIM_MISMATCH, "Trafo", f"colours of {values.shape[-1:]} channels, trafo takes {src_dim}")
            rows = values.reshape(-1, src_dim)
            # Room for what the trafo writes even where it answers 0 ("as many as went in").
            out = np.empty((rows.shape[0], max(dst_dim, src_dim, 64)))
            for row, result in zip(rows, out):
                check(lib.TKDoTrafo(handle, row.ctypes.data, result.ctypes.data), "TKDoTrafo")
        return out[:, :dst_dim].reshape(values.shape[:-1] + (dst_dim,))

    def set_option(self, key, value=""):
        """TKSetTrafoOption: "ReplaceSpot", "ReplaceGradient", "ReplaceMode", "InkLimit", ..."""
        with self._use() as handle:
            check(lib.TKSetTrafoOption(handle, key.encode(), str(value).encode()), f"TKSetTrafoOption({key!r})")

    def with_exceptions(self, mode, percent=1.0, settings=None):
        """A new trafo that runs this one and keeps the colours named by `mode` pure."""
        with self._use() as handle:
            text = settings.encode() if settings is not None else None
            return Trafo(made(lib.TKNewExceptionTrafoRef(handle, int(mode), float(percent), text),
                              "TKNewExceptionTrafoRef", ARG_ERR))

    def bake(self, grid_bits=0):
        """This trafo as a device link (grid_bits 4: 17 points per axis, 5: 33, 0: by channels)."""
        from .links import Link
        link = Link()
        try:
            link.bake(self, grid_bits)
        except BaseException:
            link.close()
            raise
        return link

    @classmethod
    def concatenate(cls, *trafos):
        """One trafo running up to six trafos in turn; the parts may be closed afterwards."""
        if len(trafos) > 6:
            raise TintaraError(ARG_ERR, "Trafo.concatenate", "at most six trafos")
        with _UseAll(trafos) as handles:
            # The C call takes the objects the handles hold: the second pointer of each record.
            objects = [ctypes.cast(h, ctypes.POINTER(ctypes.c_void_p))[1] for h in handles]
            objects += [None] * (6 - len(objects))
            return cls(made(lib.TKConcatenateTrafos(*objects), "TKConcatenateTrafos"))

    @classmethod
    def conversion(cls, src_type, dst_type):
        """The library's own conversion between two colour types, e.g. "Lab" to "XYZ"."""
        return cls(made(lib.TKNewCustomTrafoRef(0, 0, color_type(src_type), color_type(dst_type),
                                                _lib.CustomTrafoProc(), None), "TKNewCustomTrafoRef", ARG_ERR))

    @classmethod
    def custom(cls, function, src_dim, dst_dim, src_type=0, dst_type=0):
        """A trafo from a Python function of a float64 array of src_dim values to dst_dim values.
        An exception inside it makes the calling function fail with CustomError (72)."""
        if not (0 < src_dim <= 16 and 0 < dst_dim <= 16):
            raise TintaraError(ARG_ERR, "Trafo.custom", "1 to 16 channels on each side")

        def call(src, dst, user):
            try:
                result = np.asarray(function(np.ctypeslib.as_array(src, (src_dim,)).copy()), dtype=np.float64)
                if result.shape != (dst_dim,):
                    return DIM_MISMATCH
                ctypes.memmove(dst, result.ctypes.data, 8 * dst_dim)
                return 0
            except Exception:
                return 72

        proc = _lib.CustomTrafoProc(call)
        trafo = cls(made(lib.TKNewCustomTrafoRef(src_dim, dst_dim, color_type(src_type), color_type(dst_type),
                                                 proc, None), "TKNewCustomTrafoRef"))
        trafo._keep.append(proc)
        return trafo


class _UseAll:
    """Holds several handles for one call."""

    def __init__(self, handles):
        self._uses = [h._use() for h in handles]

    def __enter__(self):
        entered = []
        try:
            for use in self._uses:
                entered.append(use.__enter__())
        except BaseException:
            for use in self._uses[:len(entered)]:
                use.__exit__(None, None, None)
            raise
        return entered

    def __exit__(self, *exc):
        for use in self._uses:
            use.__exit__(*exc)


def _intents(count, intents):
    if intents is None:
        return None
    values = [intents] * count if isinstance(intents, int) else list(intents)
    if len(values) != count:
        raise TintaraError(ARG_ERR, "chain", f"{len(values)} intents for {count} profiles")
    return (ctypes.c_int32 * count)(*values)


def chain(profiles, intents=None, src_type=0, dst_type=0):
    """One trafo through up to ten profiles (paths or Profile objects), with one intent for all
    or one per profile; src_type / dst_type add a conversion in front / behind."""
    paths = [p.path if isinstance(p, Profile) else os.fspath(p) for p in profiles]
    if not 0 < len(paths) <= MAX_PROFILES:
        raise TintaraError(BUFFER_TOO_SMALL if paths else ARG_ERR, "chain", "1 to 10 profiles")
    out = _lib.Handle()
    with _lib.FileSpecs(paths) as specs:
        code = lib.TKConcatICCProfilesEx(ctypes.byref(out), color_type(src_type), color_type(dst_type), len(paths),
                                         specs, _intents(len(paths), intents))
    check(code, "TKConcatICCProfilesEx(" + ", ".join(os.path.basename(p) for p in paths) + ")")
    return Trafo(out.value)


class Profile(Handle):
    """An ICC profile read from a file."""

    _free = lib.TKFreeICCProfileRef

    def __init__(self, path):
        super().__init__(made(lib.TKNewICCProfileRef(), "TKNewICCProfileRef"))
        self.path = os.fspath(path)
        try:
            with self._use() as profile, _lib.FileSpec(self.path) as spec:
                check(lib.TKReadProfile(profile, spec), f"TKReadProfile({os.path.basename(self.path)})")
        except BaseException:
            self.close()
            raise

    def trafo(self, to_pcs=True, intent=PERCEPTUAL):
        """Device to connection space (to_pcs) or back, for one intent."""
        out = _lib.Handle()
        with self._use() as profile:
            check(lib.TKGetICCProfileTrafo(ctypes.byref(out), profile, int(bool(to_pcs)), intent), "TKGetICCProfileTrafo")
        return Trafo(out.value)

    def channel_info(self, index, destination=False):
        """"name,type,values" of a channel of the colorant table."""
        key = f"{'Dst' if destination else ''}ChannelInfo{int(index)}".encode()
        size = 256
        with self._use() as profile:
            while True:
                buffer = ctypes.create_string_buffer(size)
                code = lib.TKGetProfileOption(profile, key, buffer, size)
                if code != BUFFER_TOO_SMALL or size > 1 << 20:
                    check(code, f"TKGetProfileOption({key.decode()})")
                    return buffer.value.decode("utf-8", "replace")
                size *= 4

    def set_channel_info(self, index, value, destination=False):
        key = f"{'Dst' if destination else ''}ChannelInfo{int(index)}"
        with self._use() as profile:
            check(lib.TKSetProfileOption(profile, key.encode(), value.encode()), f"TKSetProfileOption({key})")
