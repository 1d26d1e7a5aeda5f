// Driver of the FM25V02, a 32 KB serial F-RAM on SPI bus 1, chip select 0, over the kernel's
// spidev.
//
// FM25V02_Init() opens the one device, which all functions share. They are not reentrant. A
// function that returns int returns the result of its last transfer: the number of bytes, or -1
// when the kernel refuses it (no device, for example, or a message larger than spidev's bufsiz).
#pragma once

/** Opens the chip's device, close-on-exec, and queries its settings. Failures are printed on
 *  standard output. @return 1 when the device was opened, 0 when not */
int FM25V02_Init();

/** Reads the chip's identification, 9 bytes, and logs it as 18 hexadecimal digits. */
void FM25V02_RDID();

/**
 * Reads memory.
 * @param addr 0 to 0x7FFF; higher bits are dropped
 * @param buf receives n bytes; unchanged when the transfer fails
 */
int FM25V02_READ(unsigned int addr, char *buf, unsigned int n);

/** Writes n bytes to memory, write-enabled for this one command. @param addr as for FM25V02_READ */
int FM25V02_WRITE(unsigned int addr, char *data, unsigned int n);

/** Sets the write-enable latch. */
int FM25V02_WREN();

/** Resets the write-enable latch. */
int FM25V02_WRDI();

/** Writes the status register, write-enabled for this one command. */
int FM25V02_WRSR(char value);

/** @return the status register; 0 when the transfer fails */
char FM25V02_RDSR();

/** Puts the chip to sleep. */
void FM25V02_PWDN();

/** Puts the chip to sleep and closes the device. */
void FM25V02_Exit();

/** Sends one byte in a chip-select cycle of its own. */
int MSPISendData(char byte);
