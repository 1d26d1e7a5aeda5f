"""A simulated board with all its parts, and its command-line tool."""
