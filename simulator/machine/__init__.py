"""The emulated machine and its two connections: QEMU's control socket and the board's agent."""
