"""A simulated board, its parts, and its command-line tool."""
