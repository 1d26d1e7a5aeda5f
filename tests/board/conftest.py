"""Fixtures of the tests on the simulated board: boards, each used by many tests."""

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
    """Provide a board on which nothing was ever dialled."""
    with borrowed(size, re.sub(r"\W+", "-", request.node.name)) as found:
        yield found


@pytest.fixture(scope="session", autouse=True)
def boards() -> Iterator[None]:
    yield
    turn_off_boards()
