"""TintaraLib for Python: profiles, chains, trafos, device links and linearization over the
library's C interface, with pixel matching on numpy arrays.

    import tintara
    with tintara.Link.from_profiles(["FOGRA39L.icc", "FOGRA29L.icc"], tintara.RELATIVE) as link:
        fogra29 = link.match(fogra39)          # uint8 or uint16, (H, W, 4)

Every failure raises TintaraError with the library's code and its text. Handles are freed by
`with` blocks or close(); a closed handle raises PtrInvalid (20) when used again.
"""
from ._errors import TintaraError, ERROR_NAMES, error_name
from .linearization import Linearization
from .links import Link, MergeLink
from .trafos import (ABSOLUTE, BPC_PERCEPTUAL, BPC_RELATIVE, HEADER_INTENT, PERCEPTUAL, RELATIVE, SATURATION,
                     Profile, Trafo, chain, color_type, color_type_name, set_option)

__all__ = ["TintaraError", "ERROR_NAMES", "error_name", "Linearization", "Link", "MergeLink", "Profile", "Trafo",
           "chain", "color_type", "color_type_name", "set_option", "PERCEPTUAL", "RELATIVE", "SATURATION",
           "ABSOLUTE", "BPC_PERCEPTUAL", "BPC_RELATIVE", "HEADER_INTENT"]
