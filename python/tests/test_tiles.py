"""Tiles and files on Dask, threaded and on a local distributed cluster: the bytes of one process."""
import numpy as np
import pytest

import tintara
import tintara.tiles

dask = pytest.importorskip("dask")


def image(shape, dtype=np.uint16, seed=5):
    return np.random.default_rng(seed).integers(0, np.iinfo(dtype).max + 1, size=shape, dtype=dtype)


def test_tiles_give_the_bytes_of_one_call(press_link):
    pixels = image((300, 470, 4))
    whole = press_link.match(pixels)
    tiles = tintara.tiles.match_array(pixels, press_link, tile=128)
    assert tiles.numblocks == (3, 4, 1)
    assert np.array_equal(tiles.compute(scheduler="threads"), whole)
    planar = tintara.tiles.match_array(np.ascontiguousarray(pixels.transpose(2, 0, 1)), press_link.to_bytes(),
                                       tile=100, planar=True)
    assert np.array_equal(planar.compute(scheduler="sync"), whole.transpose(2, 0, 1))


def test_bad_arrays_fail_before_any_work(press_link):
    for pixels, code in ((image((10, 10, 3)), 23), (image((10, 10, 4)).astype(np.float32), 10), (image((40, 4)), 23)):
        with pytest.raises(tintara.TintaraError) as failure:
            tintara.tiles.match_array(pixels, press_link)
        assert failure.value.code == code


def test_a_local_cluster_matches_tiles_and_files(press_link, tmp_path):
    distributed = pytest.importorskip("distributed")
    tifffile = pytest.importorskip("tifffile")
    pixels = image((256, 300, 4), np.uint8)
    sources = []
    for i in range(3):
        sources.append(tmp_path / f"page{i}.tif")
        tifffile.imwrite(sources[-1], image((64 + i, 80, 4), np.uint8, seed=i), photometric="separated")
    (tmp_path / "out").mkdir()
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) as cluster, \
            distributed.Client(cluster) as client:
        tiles = tintara.tiles.match_array(pixels, press_link, tile=64).compute()
        written = dask.compute(*tintara.tiles.convert_files(sources, tmp_path / "out", press_link))
        # The link went to each worker once, whatever number of tiles it matched.
        assert max(client.run(lambda: len(tintara.tiles._loaded)).values()) == 1
    assert np.array_equal(tiles, press_link.match(pixels))
    for source, target in zip(sources, written):
        assert np.array_equal(tifffile.imread(target), press_link.match(tifffile.imread(source)))
