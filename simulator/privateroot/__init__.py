"""The unchanged program on this machine, in a private root file system with its absolute paths.

For the tests of the whole program and for ./preview; needs no right of any kind.
"""
