"""The exception for errors that the tools report to their user."""


class BoardError(Exception):
    """An error whose message says what failed and, if known, what to do."""
