"""Runs the unchanged program on the host, in a private root file system with the board's paths.

The end-to-end tests and ./preview use it. It needs no privileges.
"""
