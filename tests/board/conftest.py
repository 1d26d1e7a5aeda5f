"""The fixture of the tests on the simulated board."""

import re
from collections.abc import Iterator

import pytest

from boardtest import OperatedBoard
from panel.constants import SIZES


@pytest.fixture
def board(request: pytest.FixtureRequest) -> Iterator[OperatedBoard]:
    """Provide a board of its own for each test, in the state before the first dial."""
    with OperatedBoard(SIZES[0], re.sub(r"\W+", "-", request.node.nodeid)) as board:
        yield board
