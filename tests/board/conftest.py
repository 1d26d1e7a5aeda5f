"""Fixtures of the tests on the simulated board. Many tests use the same board in turn."""

import re
from collections.abc import Iterator

import pytest

from boardtest import OperatedBoard
from panel.constants import SIZES

Boards = dict[tuple[int, int], OperatedBoard]


@pytest.fixture(scope="session")
def idle() -> Iterator[Boards]:
    """Provide the boards that a test has used, by panel size. Turn them off after the last test."""
    boards: Boards = {}
    yield boards
    for board in boards.values():
        board.__exit__(None, None, None)


@pytest.fixture
def size() -> tuple[int, int]:
    return SIZES[0]


@pytest.fixture
def board(request: pytest.FixtureRequest, size: tuple[int, int],
          idle: Boards) -> Iterator[OperatedBoard]:
    """Provide a board in the state before the first dial, idle or new from a saved state."""
    used = idle.pop(size, None)
    found = used or OperatedBoard(size, re.sub(r"\W+", "-", request.node.name))
    if not used:
        found.start()
    try:
        if used:
            found.clear()
        yield found
        found.cleanups.close()
        if found.reusable:
            idle[size] = found
    finally:
        if size not in idle:
            found.__exit__(None, None, None)
