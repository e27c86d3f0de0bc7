"""Pixel matching on numpy arrays: layouts, depths, views without copies, threads, bad input."""
import numpy as np
import pytest

import tintara


def cmyk(shape, dtype=np.uint8, seed=3):
    return np.random.default_rng(seed).integers(0, np.iinfo(dtype).max + 1, size=shape, dtype=dtype)


@pytest.mark.parametrize("dtype", [np.uint8, np.uint16])
def test_layouts_agree(press_link, dtype):
    image = cmyk((37, 53, 4), dtype)
    reference = press_link.match(image)
    assert reference.dtype == dtype and reference.shape == image.shape
    planar = press_link.match(np.ascontiguousarray(image.transpose(2, 0, 1)), planar=True)
    assert np.array_equal(planar.transpose(1, 2, 0), reference)
    assert np.array_equal(press_link.match(image.reshape(-1, 4)), reference.reshape(-1, 4))
    # Views read in place: a crop (rows apart), every other pixel (a skip), planes of a stack.
    assert np.array_equal(press_link.match(image[5:20, 7:40]), reference[5:20, 7:40])
    assert np.array_equal(press_link.match(image[:, ::2]), reference[:, ::2])
    stack = np.ascontiguousarray(image.transpose(2, 0, 1))
    assert np.array_equal(press_link.match(stack[:, :, ::3], planar=True), reference[:, ::3].transpose(2, 0, 1))
    # Channels apart (a planar array seen interleaved) are copied once.
    assert np.array_equal(press_link.match(stack.transpose(1, 2, 0)), reference)
    # Into a caller's array: a window of a larger one, and planes.
    canvas = np.zeros((40, 60, 5), dtype)
    press_link.match(image, out=canvas[1:38, 2:55, :4])
    assert np.array_equal(canvas[1:38, 2:55, :4], reference) and not canvas[..., 4].any()


def test_pure_paper_and_depths_are_consistent(press_link):
    image = cmyk((16, 16, 4), np.uint8)
    eight = press_link.match(image).astype(int)
    sixteen = press_link.match(image.astype(np.uint16) * 257)
    assert np.abs((sixteen.astype(int) + 128) // 257 - eight).max() <= 1
    assert not press_link.match(np.zeros((1, 4), np.uint8)).any()


def test_threads_give_the_same_bytes(press_link):
    image = cmyk((301, 77, 4), np.uint16)
    one = press_link.match(image)
    assert np.array_equal(press_link.match(image, threads=3), one)
    assert np.array_equal(press_link.match(image[:, 1:], threads=2), one[:, 1:])  # per-row calls
    assert np.array_equal(press_link.match(image.reshape(-1, 4), threads=2), one.reshape(-1, 4))


@pytest.mark.parametrize("pixels, options, code", [
    (np.zeros((4, 4, 4), np.float32), {}, 10),
    (np.zeros((4, 4, 4), ">u2"), {}, 10),
    ([[0, 0, 0, 0]], {}, 10),
    (np.zeros((4, 4, 3), np.uint8), {}, 23),
    (np.zeros((3, 4, 4), np.uint8), {"planar": True}, 23),
    (np.zeros((2, 2, 2, 4), np.uint8), {}, 3),
    (np.zeros((4,), np.uint8), {}, 3),
    (np.zeros((4, 4, 4), np.uint8), {"out": np.zeros((4, 4, 4), np.uint16)}, 3),
    (np.zeros((4, 4, 4), np.uint8), {"out": np.zeros((4, 5, 4), np.uint8)}, 3),
    (np.zeros((4, 4, 4), np.uint8), {"out": np.zeros((4, 4, 3), np.uint8)}, 23),
    (np.zeros((4, 4, 4), np.uint8), {"out": np.zeros((4, 4, 8), np.uint8)[..., ::2]}, 3),
])
def test_bad_arrays_raise_the_matching_code(press_link, pixels, options, code):
    with pytest.raises(tintara.TintaraError) as failure:
        press_link.match(pixels, **options)
    assert failure.value.code == code


def test_out_may_not_overlap_or_be_read_only(press_link):
    image = cmyk((8, 8, 4))
    read_only = np.zeros_like(image)
    read_only.flags.writeable = False
    for out in (image, read_only):
        with pytest.raises(tintara.TintaraError, match="ArgErr"):
            press_link.match(image, out=out)


def test_links_travel_as_bytes_and_files(press_link, tmp_path):
    image = cmyk((9, 11, 4))
    data = press_link.to_bytes()
    assert data[:4] == b"BEGT"
    with tintara.Link.from_bytes(data) as copy:
        assert np.array_equal(copy.match(image), press_link.match(image))
    press_link.save(tmp_path / "press.lnk")
    with tintara.Link.load(tmp_path / "press.lnk") as loaded:
        assert loaded.to_bytes() == data
    for damaged in (data[:1000], b"x" * 100):
        with pytest.raises(tintara.TintaraError) as failure:
            tintara.Link.from_bytes(damaged)
        assert failure.value.code in (8, 19)
    with tintara.Link() as empty, pytest.raises(tintara.TintaraError, match="empty"):
        empty.match(image)


def test_a_merge_link_of_one_device_link_matches_like_the_link(profiles):
    device_link = profiles / "FOGRA39_to_FOGRA29_link.icc"
    pixels = cmyk((20, 30, 4))
    with tintara.MergeLink.from_device_links([device_link], [4]) as merge, \
            tintara.Link.from_profiles([device_link], grid_bits=4) as single:
        assert (merge.src_dim, merge.dst_dim) == (4, 4)
        assert np.array_equal(merge.match(pixels), single.match(pixels))
