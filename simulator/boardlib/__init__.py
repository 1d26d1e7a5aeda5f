"""Drives a panel: the program on this machine or on the emulated board."""
