"""What a board starts from, made of Debian packages: disk image, sysroot, programs' disk."""
