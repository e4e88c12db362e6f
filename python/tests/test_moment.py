"""vorn.Moment against the same quantities computed with NumPy, and merged
partial sums against one pass."""

import numpy as np
import pytest

import vorn

SUMS = ["m000", "m100", "m010", "m001", "m200", "m020", "m002", "m110", "m101", "m011"]


def numpy_sums(points, weights):
    xyz = np.zeros((len(points), 3))
    xyz[:, :points.shape[1]] = points
    exponents = [(0, 0, 0), (1, 0, 0), (0, 1, 0), (0, 0, 1), (2, 0, 0), (0, 2, 0), (0, 0, 2), (1, 1, 0), (1, 0, 1),
                 (0, 1, 1)]
    return [np.sum(weights * np.prod(xyz ** e, axis=1)) for e in exponents]


@pytest.mark.parametrize("d", [2, 3])
def test_matches_numpy(d):
    rng = np.random.default_rng(d)
    points = rng.normal(size=(500, d)) @ rng.normal(size=(d, d)) + rng.normal(size=d) * 5
    weights = rng.random(500) + 0.5
    m = vorn.Moment(d)
    m.add(points, weights)
    assert np.allclose([getattr(m, s) for s in SUMS], numpy_sums(points, weights), rtol=1e-12, atol=1e-9)

    covariance = np.cov(points.T, aweights=weights, bias=True)
    spread = np.sort(np.linalg.eigvalsh(covariance))[::-1]
    m.compute_covariance()
    assert np.allclose(m.center_of_mass[:d], np.average(points, axis=0, weights=weights), rtol=1e-12)
    assert np.allclose(m.tensor[:d, :d], covariance, rtol=1e-9, atol=1e-12)
    assert np.allclose(m.inertia_moments[:d], spread, rtol=1e-9)
    assert np.isclose(abs(m.main_axis[:d] @ np.linalg.eigh(covariance)[1][:, -1]), 1, rtol=1e-9)

    m.compute_inertia()  # the inertia tensor of the central sums: mass (trace C - C)
    inertia = weights.sum() * (np.trace(covariance) * np.eye(d) - covariance)
    assert np.allclose(m.tensor[:d, :d], inertia, rtol=1e-9, atol=1e-9)
    assert len(m.to_dict()) == {2: 21, 3: 34}[d]
    assert m.to_dict()["inertia_or_covariance"] == "inertia"


@pytest.mark.parametrize("d", [2, 3])
def test_merged_chunks_equal_one_pass_bit_for_bit(d):
    rng = np.random.default_rng(20 + d)
    points = rng.integers(-1000, 1000, size=(3000, d)).astype(float)
    weights = rng.integers(1, 5, size=3000).astype(float)
    whole = vorn.Moment(d)
    whole.add(points, weights)
    cuts = np.sort(rng.choice(np.arange(1, 3000), size=6, replace=False))
    for order in [range(7), range(6, -1, -1), rng.permutation(7)]:
        chunks = list(zip(np.split(points, cuts), np.split(weights, cuts)))
        merged = vorn.Moment(d)
        for i in order:
            part = vorn.Moment(d)
            part.add(*chunks[i])
            merged.merge(part)
        assert [getattr(merged, s) for s in SUMS] == [getattr(whole, s) for s in SUMS]
        merged.compute_inertia(), whole.compute_inertia()
        assert merged.to_dict() == whole.to_dict()


def test_bad_arguments():
    m = vorn.Moment(3)
    for points, weights in [(np.zeros((4, 2)), None), (np.zeros(3), None), (np.zeros((4, 3)), np.ones(3))]:
        with pytest.raises(ValueError):
            m.add(points, weights)
    with pytest.raises(IndexError, match=r"^invalid vector<T> subscript$"):
        m.to_dict()  # before any computation
