"""The error that the tools report."""


class BoardError(Exception):
    """An error to report: what failed, and what to do."""
