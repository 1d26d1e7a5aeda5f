"""Runs the unchanged program on the host, in a private root file system with the board's paths."""
