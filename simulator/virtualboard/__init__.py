"""A simulated board with all its parts, and the tool that handles it."""
