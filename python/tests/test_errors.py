"""The library's failures arrive as vorn.Error with its exact message and
location record (one site of each kind: the C++ tests check every site);
the binding's own argument checks as plain ValueError."""

import numpy as np
import pytest

import vorn

HULL = "src/Numeric/ConvexHullComputer.cpp"
MOMENT_H, MOMENT_CPP = "src/Numeric/Moment.h", "src/Numeric/Moment.cpp"


@pytest.mark.parametrize("action, message, location", [
    (lambda: vorn.Moment(4), "dimension not valid, only 2 and 3 supported", (MOMENT_H, "TOLX::CMoment::CMoment", 72)),
    (lambda: vorn.Moment(3).compute_inertia(), "empty space", (MOMENT_CPP, "TOLX::CMoment::ComputeInertia", 149)),
    (lambda: vorn.Moment(2).merge(vorn.Moment(3)), "cannot merge moments of dimension 3 into dimension 2", (MOMENT_CPP, "TOLX::CMoment::Merge", 330)),
    (lambda: vorn.ConvexHull([[0, 0, 0], [1, 1, 1]]),
     "Will not be able to find any affinely independentpoints. Pointset contains only 2 points.",
     (HULL, "TOLX::CConvexHullComputer::getStartPoints", 166)),
])
def test_library_failures(action, message, location):
    with pytest.raises(vorn.Error) as raised:
        action()
    assert str(raised.value) == message
    assert raised.value.location == vorn.Location(*location)
    assert isinstance(raised.value, ValueError)


@pytest.mark.parametrize("action", [
    lambda: vorn.ConvexHull(np.zeros((5, 1))),
    lambda: vorn.ConvexHull([[0, 0], [1, np.nan], [0, 1]]),
    lambda: vorn.ConvexHull(np.eye(3)),
    lambda: vorn.ConvexHull(np.eye(4, 3)).contains(np.zeros((2, 2))),
    lambda: vorn.ConvexHull(np.eye(4, 3)).paint((4, 4)),
    lambda: vorn.ConvexHull(np.eye(5, 4)).paint((4, 4, 4, 4)),
    lambda: vorn.ConvexHull([[0, 0], [1, 0], [0, 1]]).paint((0, 4)),
])
def test_binding_argument_checks(action):
    with pytest.raises(ValueError) as raised:
        action()
    assert not isinstance(raised.value, vorn.Error)
