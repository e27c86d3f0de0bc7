"""Profiles, chains, trafos and options through the package, with their failures."""
import pathlib
import re
import threading

import numpy as np
import pytest

import tintara

HEADER = pathlib.Path(__file__).resolve().parents[2] / "include" / "tintara.h"


def test_error_texts_are_the_headers():
    block = HEADER.read_text().split("---- Error codes")[1].split("The ones a host meets")[0]
    documented = {int(code): name for code, name in re.findall(r"(\d+) (\w+)", block)}
    assert documented == tintara.ERROR_NAMES
    assert tintara.error_name(30) == tintara.error_name(999) == "UnknownErorr"


def test_chain_converts_in_the_units_of_its_types(profiles):
    # sRGB white is bare paper, black is the press's deepest four-colour black (FOGRA39 TAC 330 %).
    with tintara.chain([profiles / "sRGB.icc", profiles / "FOGRA39L.icc"], tintara.PERCEPTUAL) as trafo:
        assert (trafo.src_dim, trafo.dst_dim, trafo.src_type, trafo.dst_type) == (3, 4, "RGB", "CMYK")
        white, black = trafo([[255, 255, 255], [0, 0, 0]])
        assert np.allclose(white, 0, atol=0.01)
        assert black[3] > 99 and 300 < black.sum() < 335


def test_profile_to_lab_and_back(profiles):
    # FOGRA39's paper: L* 95, b* -2 (the characterization's media white), absolute colorimetric.
    with tintara.Profile(profiles / "FOGRA39L.icc") as profile:
        with tintara.chain([profile], tintara.ABSOLUTE, dst_type="Lab") as to_lab:
            assert np.allclose(to_lab([0, 0, 0, 0]), [95.0, 0.0, -2.0], atol=0.1)
        with profile.trafo(to_pcs=False, intent=tintara.RELATIVE) as from_pcs:
            assert from_pcs.src_dim == 3 and from_pcs.dst_dim == 4
        # No colorant tag: the names and solids the library predefines for CMYK.
        assert profile.channel_info(0).startswith("Cyan,Lab,")
        with pytest.raises(tintara.TintaraError, match="ArgErr"):
            profile.channel_info(9)


@pytest.mark.parametrize("paths, code", [
    (["sRGB.icc", "FOGRA39_to_FOGRA29_link.icc"], 10),   # RGB output meets a CMYK link
    (["missing.icc"], 12),
    (["FOGRA39L.icc"] * 11, 6),
])
def test_chains_that_fail_raise_the_library_code(profiles, paths, code):
    with pytest.raises(tintara.TintaraError) as failure:
        tintara.chain([profiles / p for p in paths])
    assert failure.value.code == code and failure.value.name == tintara.error_name(code)
    assert tintara.error_name(code) in str(failure.value)


def test_closed_handles_raise_and_close_twice_is_harmless(profiles):
    trafo = tintara.chain([profiles / "FOGRA39L.icc", profiles / "FOGRA29L.icc"])
    link = trafo.bake(2)
    trafo.close()
    trafo.close()
    for use in (lambda: trafo.src_dim, lambda: trafo([0, 0, 0, 0]), lambda: trafo.bake(), lambda: link.bake(trafo)):
        with pytest.raises(tintara.TintaraError) as failure:
            use()
        assert failure.value.code == 20
    assert link.match(np.zeros((1, 4), np.uint8)).shape == (1, 4)  # the link keeps what it baked
    link.close()
    with pytest.raises(tintara.TintaraError, match="PtrInvalid"):
        link.match(np.zeros((1, 4), np.uint8))


def test_a_handle_in_use_on_another_thread_refuses_to_close():
    started, release = threading.Event(), threading.Event()

    def slow(values):
        started.set()
        release.wait(10)
        return values

    with tintara.Trafo.custom(slow, 3, 3) as trafo:
        worker = threading.Thread(target=trafo, args=([1.0, 2.0, 3.0],))
        worker.start()
        started.wait(10)
        with pytest.raises(tintara.TintaraError) as failure:
            trafo.close()
        release.set()
        worker.join()
        assert failure.value.code == 67 and not trafo.closed


def test_custom_trafos_concatenate_and_report_their_failures():
    with tintara.Trafo.custom(lambda v: v * 2, 3, 3) as double, \
            tintara.Trafo.conversion("Lab", "XYZ") as to_xyz, \
            tintara.Trafo.concatenate(double, to_xyz) as both:
        assert np.allclose(both([50, 0, 0]), to_xyz([100, 0, 0]))
        assert np.allclose(to_xyz([100, 0, 0]), [96.42, 100, 82.49], atol=0.01)  # D50 white
    with tintara.Trafo.custom(lambda v: 1 / 0, 3, 3) as broken:
        with pytest.raises(tintara.TintaraError) as failure:
            broken([1, 2, 3])
        assert failure.value.code == 72
    with pytest.raises(tintara.TintaraError) as failure:
        tintara.Trafo.conversion("Lab", "Nope")
    assert failure.value.code == 3


def test_options_are_checked_by_the_library(profiles):
    with tintara.chain([profiles / "FOGRA39L.icc", profiles / "FOGRA29L.icc"], tintara.RELATIVE) as trafo:
        trafo.set_option("InkLimit", "260")
        assert trafo([100, 100, 100, 100]).sum() <= 260.5
        for key, value in (("InkLimit", "lots"), ("ReplaceSpot", "CMYK 0 0")):
            with pytest.raises(tintara.TintaraError, match="ArgErr"):
                trafo.set_option(key, value)
    tintara.set_option("DensityMode", "Status-T")
    with pytest.raises(tintara.TintaraError, match="ArgErr"):
        tintara.set_option("densitymode", "Status-T")


def test_exception_rules_keep_black_text_pure(profiles):
    with tintara.chain([profiles / "FOGRA39L.icc", profiles / "FOGRA29L.icc"], tintara.RELATIVE) as trafo, \
            trafo.with_exceptions(1 | 4) as pure:
        assert trafo([0, 0, 0, 50])[:3].max() > 1
        assert np.allclose(pure([0, 0, 0, 50])[:3], 0)
    with pytest.raises(tintara.TintaraError):
        tintara.Trafo().with_exceptions(1, percent=-1)
