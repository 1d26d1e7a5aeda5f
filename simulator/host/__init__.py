"""The host's side of the simulated board: its programs, files, sockets and signals."""
