"""Fixtures of the tests on the simulated board. Many tests use the same board in turn."""

import re
from collections.abc import Iterator

import pytest

from boardtest import OperatedBoard, borrowed, turn_off_boards
from panel.constants import SIZES


@pytest.fixture
def size() -> tuple[int, int]:
    return SIZES[0]


@pytest.fixture
def board(request: pytest.FixtureRequest, size: tuple[int, int]) -> Iterator[OperatedBoard]:
    """Provide a board in the state before the first dial."""
    with borrowed(size, re.sub(r"\W+", "-", request.node.name)) as found:
        yield found


@pytest.fixture(scope="session", autouse=True)
def boards() -> Iterator[None]:
    yield
    turn_off_boards()
