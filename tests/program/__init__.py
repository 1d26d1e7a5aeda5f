"""End-to-end tests of the program on the host, in a private root."""
