"""The shared library and the C functions of tintara.h as ctypes sees them.

Calls through ctypes.CDLL release the interpreter lock for their whole duration, so pixel
matching on several Python threads runs in parallel.
"""
import ctypes
import os
import pathlib

from ._errors import TintaraError, CREATE_OBJECT_ERR

Handle = ctypes.c_void_p
ProgressProc = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_int32, ctypes.c_int32, ctypes.c_void_p)
CustomTrafoProc = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.POINTER(ctypes.c_double),
                                   ctypes.POINTER(ctypes.c_double), ctypes.c_void_p)
VectorDataSetProc = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_int32, ctypes.POINTER(ctypes.c_double),
                                     ctypes.c_void_p)


class VectorDataSet(ctypes.Structure):
    _fields_ = [("colorType", ctypes.c_uint32), ("callback", VectorDataSetProc), ("userData", ctypes.c_void_p)]


def _candidates():
    """Where the library may be: named by the environment, recorded at install, beside a build."""
    named = os.environ.get("TINTARA_LIBRARY")
    if named:
        yield named
    try:
        from . import _installed
        yield _installed.LIBRARY
    except ImportError:
        pass
    yield str(pathlib.Path(__file__).resolve().parents[2] / "build" / "libtintara.so")
    yield "libtintara.so.0"


def _load():
    tried = []
    for path in _candidates():
        try:
            return ctypes.CDLL(path)
        except OSError as error:
            tried.append(f"{path} ({error})")
    raise ImportError("libtintara.so not found; set TINTARA_LIBRARY. Tried: " + "; ".join(tried))


lib = _load()

_i32, _u32, _dbl, _str, _ptr = ctypes.c_int32, ctypes.c_uint32, ctypes.c_double, ctypes.c_char_p, ctypes.c_void_p
_PTRS = ctypes.POINTER(ctypes.c_void_p)
_SIGNATURES = {
    "TKNewTKTrafoRef": (Handle, []),
    "TKFreeTKTrafoRef": (None, [Handle]),
    "TKConcatenateTrafos": (Handle, [_ptr] * 6),
    "TKGetTrafoSrcDim": (_i32, [Handle]),
    "TKGetTrafoDstDim": (_i32, [Handle]),
    "TKGetTrafoSrcType": (_u32, [Handle]),
    "TKGetTrafoDstType": (_u32, [Handle]),
    "TKDoTrafo": (_i32, [Handle, _ptr, _ptr]),
    "TKSetTrafoOption": (_i32, [Handle, _str, _str]),
    "TKNewExceptionTrafoRef": (Handle, [Handle, _i32, _dbl, _str]),
    "TKNewCustomTrafoRef": (Handle, [_i32, _i32, _u32, _u32, CustomTrafoProc, _ptr]),
    "TKNewICCProfileRef": (_ptr, []),
    "TKFreeICCProfileRef": (None, [_ptr]),
    "TKReadProfile": (_i32, [_ptr, _ptr]),
    "TKGetICCProfileTrafo": (_i32, [ctypes.POINTER(Handle), _ptr, _i32, _i32]),
    "TKConcatICCProfilesEx": (_i32, [ctypes.POINTER(Handle), _u32, _u32, _i32, _PTRS, ctypes.POINTER(_i32)]),
    "TKGetProfileOption": (_i32, [_ptr, _str, ctypes.c_char_p, _i32]),
    "TKSetProfileOption": (_i32, [_ptr, _str, _str]),
    "TKTintaraSetOption": (_i32, [_str, _str]),
    "TKNewTKLink16Ref": (Handle, []),
    "TKFreeTKLink16Ref": (None, [Handle]),
    "TKColorTrafo2Link16": (_i32, [Handle, Handle, _i32]),
    "TKSaveLink16": (_i32, [Handle, _ptr]),
    "TKLoadLink16": (_i32, [Handle, _ptr]),
    "TKSaveLink16ToMemory": (_i32, [Handle, _ptr, _u32, ctypes.POINTER(_u32)]),
    "TKLoadLink16FromMemory": (_i32, [Handle, _ptr, _u32]),
    "TKLink8Match": (_i32, [Handle, _i32, _ptr, _ptr, _i32, _i32, ProgressProc, _ptr]),
    "TKLink16Match": (_i32, [Handle, _i32, _ptr, _ptr, _i32, _i32, ProgressProc, _ptr]),
    "TKLink8MatchPlanes": (_i32, [Handle, _i32, _PTRS, _PTRS, _i32, _i32, ProgressProc, _ptr]),
    "TKLink16MatchPlanes": (_i32, [Handle, _i32, _PTRS, _PTRS, _i32, _i32, ProgressProc, _ptr]),
    "TKNewTKMCLink16Ref": (Handle, []),
    "TKDLProfiles2MCLink16": (_i32, [Handle, _i32, _PTRS, ctypes.POINTER(_i32)]),
    "TKNewTKLinearizationRef": (Handle, []),
    "TKFreeTKLinearizationRef": (None, [Handle]),
    "TKLimitSlope": (_i32, [Handle, _dbl, _dbl]),
    "TKCalcLinearization": (_i32, [Handle, _i32, ctypes.POINTER(VectorDataSet), ctypes.POINTER(VectorDataSet),
                                   ctypes.POINTER(_dbl)]),
    "TKCalcReferenceLinearization": (_i32, [Handle, _i32, ctypes.POINTER(VectorDataSet),
                                            ctypes.POINTER(VectorDataSet), _i32, ctypes.POINTER(VectorDataSet),
                                            ctypes.POINTER(VectorDataSet)]),
    "TKCalcGrayBalance": (_i32, [Handle, _i32, ctypes.POINTER(VectorDataSet), ctypes.POINTER(VectorDataSet)]),
    "TKAdjustGrayBalance": (_i32, [Handle, _i32, ctypes.POINTER(VectorDataSet), ctypes.POINTER(VectorDataSet)]),
    "TKInitVectorDataSet": (None, [ctypes.POINTER(VectorDataSet), _u32, VectorDataSetProc, _ptr]),
    "TKNewFileSpecRef": (_ptr, []),
    "TKFreeFileSpecRef": (None, [_ptr]),
    "TKName2FileSpec": (_ptr, [_ptr, _str]),
}
for _name, (_result, _arguments) in _SIGNATURES.items():
    _function = getattr(lib, _name)
    _function.restype = _result
    _function.argtypes = _arguments

NO_PROGRESS = ProgressProc()


def check(code, where):
    """Raises the library's code as a TintaraError; 0 passes."""
    if code:
        raise TintaraError(code, where)


def made(pointer, where, code=CREATE_OBJECT_ERR):
    """A factory's result, or a TintaraError when it made nothing (factories give no reason)."""
    if not pointer:
        raise TintaraError(code, where, "the library made no object")
    return pointer


class FileSpec:
    """A TKFileSpec for the duration of a `with` block."""

    def __init__(self, path):
        self.spec = made(lib.TKNewFileSpecRef(), "TKNewFileSpecRef")
        lib.TKName2FileSpec(self.spec, os.fsencode(path))

    def __enter__(self):
        return self.spec

    def __exit__(self, *exc):
        lib.TKFreeFileSpecRef(self.spec)


class FileSpecs:
    """An array of TKFileSpec* for several paths, freed at the end of a `with` block."""

    def __init__(self, paths):
        self.specs = [FileSpec(path) for path in paths]
        self.array = (ctypes.c_void_p * max(len(self.specs), 1))(*[s.spec for s in self.specs])

    def __enter__(self):
        return self.array

    def __exit__(self, *exc):
        for spec in self.specs:
            spec.__exit__()
