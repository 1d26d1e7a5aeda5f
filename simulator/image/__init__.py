"""Makes the board's disk image, its program disk and the sysroot from Debian packages."""
