// Driver for the FM25V02, a 32 KiB serial F-RAM, on SPI bus 1, chip select 0, through the kernel's
// spidev. Op-codes and frames follow the chip's data sheet (Cypress 001-84494).
//
// All functions share the device that FM25V02_Init() opens, and are not reentrant. Unless stated
// otherwise, a function that returns int returns the result of its last transfer: the number of
// bytes, or -1 on error (no device, for example, or a message larger than spidev's bufsiz).
#pragma once

/** Open the device (close-on-exec), read its settings and write the SPI mode back. Failures are
 * printed on standard output.
 *  @return 1 when the device was opened, else 0 */
int FM25V02_Init();

/** Read the 9-byte device ID and log it as 18 hexadecimal digits. */
void FM25V02_RDID();

/**
 * Read memory.
 * @param addr 0 to 0x7FFF; higher bits are dropped
 * @param buf receives n bytes; unchanged when the transfer fails
 */
int FM25V02_READ(unsigned int addr, char *buf, unsigned int n);

/** Write n bytes to memory. Sets the write-enable latch before and resets it after.
 *  @param addr 0 to 0x7FFF; higher bits are dropped */
int FM25V02_WRITE(unsigned int addr, char *data, unsigned int n);

/** Set the write-enable latch. */
int FM25V02_WREN();

/** Reset the write-enable latch. */
int FM25V02_WRDI();

/** Write the status register. Sets the write-enable latch before and resets it after. */
int FM25V02_WRSR(char value);

/** @return the status register; 0 when the transfer fails */
char FM25V02_RDSR();

/** Put the chip into sleep mode. */
void FM25V02_PWDN();

/** Put the chip into sleep mode and close the device. */
void FM25V02_Exit();

/** Send one byte in a separate chip-select cycle. */
int MSPISendData(char byte);
