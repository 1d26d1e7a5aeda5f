"""Runs the unchanged program on the host, in a private root that has its absolute paths.

For tests of the whole program and for ./preview; needs no privileges.
"""
