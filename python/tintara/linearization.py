"""Linearization and gray balance curves from measurement tables given as numpy arrays."""
import ctypes

import numpy as np

from . import _lib
from ._errors import TintaraError, ARG_ERR, DIM_MISMATCH
from ._lib import lib, check, made
from .trafos import Trafo, color_type

_MAX_CHANNELS = 36


class _DataSet:
    """A TKVectorDataSet over the rows of a 2-D array; lives for one calculation."""

    def __init__(self, rows, type_name, what):
        self.rows = np.ascontiguousarray(rows, dtype=np.float64)
        if self.rows.ndim != 2 or not 0 < self.rows.shape[1] <= _MAX_CHANNELS:
            raise TintaraError(ARG_ERR, "Linearization", f"{what}: rows of 1 to 36 values expected, "
                               f"got shape {self.rows.shape}")
        width = self.rows.shape[1]

        def row(index, values, user):
            if not 0 <= index < len(self.rows):
                return 7  # IndexError: the calculation fails rather than read past the table
            ctypes.memmove(values, self.rows[index].ctypes.data, 8 * width)
            return 0

        self.proc = _lib.VectorDataSetProc(row)
        self.record = _lib.VectorDataSet()
        lib.TKInitVectorDataSet(ctypes.byref(self.record), color_type(type_name), self.proc, None)


def _pair(nominal, measured, nominal_type, measured_type, what=""):
    sets = _DataSet(nominal, nominal_type, what + "nominal"), _DataSet(measured, measured_type, what + "measured")
    if len(sets[0].rows) != len(sets[1].rows):
        raise TintaraError(DIM_MISMATCH, "Linearization", f"{len(sets[0].rows)} {what}nominal rows but "
                           f"{len(sets[1].rows)} measured")
    return sets


class Linearization(Trafo):
    """Tone curves per CMYK channel (0..100 % in and out); a trafo that applies them."""

    _free = lib.TKFreeTKLinearizationRef

    def __init__(self):
        super().__init__(made(lib.TKNewTKLinearizationRef(), "TKNewTKLinearizationRef"))

    def _calc(self, name, *arguments):
        with self._use() as handle:
            check(getattr(lib, name)(handle, *arguments), name)
        return self

    def calc(self, nominal, measured, nominal_type="CMYK", measured_type="XYZ", ink_limits=None):
        """Curves that linearize each channel: nominal rows are inks printed, measured rows what
        was measured; `ink_limits` one maximum per channel in percent."""
        n, m = _pair(nominal, measured, nominal_type, measured_type)
        limits = None
        if ink_limits is not None:
            values = np.ascontiguousarray(ink_limits, dtype=np.float64)
            if values.shape != (n.rows.shape[1],):
                raise TintaraError(DIM_MISMATCH, "Linearization", "one ink limit per nominal channel")
            limits = values.ctypes.data_as(ctypes.POINTER(ctypes.c_double))
        return self._calc("TKCalcLinearization", len(n.rows), n.record, m.record, limits)

    def calc_reference(self, nominal, measured, ref_nominal, ref_measured, nominal_type="CMYK", measured_type="XYZ"):
        """Curves that make this process print like the reference process."""
        n, m = _pair(nominal, measured, nominal_type, measured_type)
        rn, rm = _pair(ref_nominal, ref_measured, nominal_type, measured_type, "reference ")
        return self._calc("TKCalcReferenceLinearization", len(n.rows), n.record, m.record, len(rn.rows),
                          rn.record, rm.record)

    def gray_balance(self, nominal, measured, nominal_type="CMYK", measured_type="XYZ"):
        n, m = _pair(nominal, measured, nominal_type, measured_type)
        return self._calc("TKCalcGrayBalance", len(n.rows), n.record, m.record)

    def adjust_gray_balance(self, nominal, measured, nominal_type="CMYK", measured_type="XYZ"):
        n, m = _pair(nominal, measured, nominal_type, measured_type)
        return self._calc("TKAdjustGrayBalance", len(n.rows), n.record, m.record)

    def limit_slope(self, minimum, maximum):
        return self._calc("TKLimitSlope", float(minimum), float(maximum))
