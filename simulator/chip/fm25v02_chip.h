// Model of the FM25V02, a 32 KB serial F-RAM, seen from its pins a byte at a time. No I/O.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace chip
{

/**
 * Behaves as the chip's data sheet says:
 * - Every falling chip select begins one command; what follows an unknown opcode is ignored.
 * - WRITE and WRSR do nothing unless WREN has set the write-enable latch, and a cycle that begins
 *   with WRITE, WRSR or WRDI resets the latch when chip select rises. A byte of a WRITE is in
 *   memory after its eighth clock, so a cycle cut short keeps what was complete.
 * - Addresses count up and wrap from 0x7FFF to 0. Address bit 15 is not there.
 * - BP1 and BP0 protect nothing (0), the upper quarter (1), the upper half (2) or all (3) of the
 *   memory. WPEN is kept but protects nothing: the board has the WP pin high.
 * - SLEEP takes effect when chip select rises. The next cycle wakes the chip and is itself lost:
 *   waking takes up to 0.4 ms, longer than a command; the one after it is served.
 */
class Fm25v02Chip
{
public:
    static constexpr std::size_t MemorySize = 0x8000;

    enum Opcode : uint8_t {
        WRSR = 0x01,
        WRITE = 0x02,
        READ = 0x03,
        WRDI = 0x04,
        RDSR = 0x05,
        WREN = 0x06,
        FSTRD = 0x0B,
        RDID = 0x9F,
        SLEEP = 0xB9,
    };

    enum StatusBit : uint8_t {
        WEL = 0x02,
        BP0 = 0x04,
        BP1 = 0x08,
        Bit6 = 0x40, ///< has no meaning and reads as 1
        WPEN = 0x80,
    };

    /** What the bus's pull-up gives while the chip does not drive its output. */
    static constexpr uint8_t Floating = 0xFF;

    static constexpr std::array<uint8_t, 9> Identification{0x7F, 0x7F, 0x7F, 0x7F, 0x7F,
                                                           0x7F, 0xC2, 0x22, 0x08};

    /** Chip select falls. */
    void select();

    /** Eight clocks with chip select low. @return what the chip shifts out meanwhile */
    uint8_t exchange(uint8_t mosi);

    /** Chip select rises; without a select before it, nothing. */
    void deselect();

    /** The status register as RDSR reads it. */
    uint8_t status() const;

    /** The memory itself, MemorySize bytes, past all protection. */
    std::vector<uint8_t> &memory() { return m_memory; }

private:
    uint8_t dataByte(uint8_t mosi);
    uint8_t memoryByte(uint8_t mosi, std::size_t headerLength);
    void writeStatus(uint8_t value);
    bool isProtected(uint16_t address) const;

    std::vector<uint8_t> m_memory = std::vector<uint8_t>(MemorySize);
    uint8_t m_kept = 0; ///< BP0, BP1 and WPEN
    bool m_writeEnabled = false;
    bool m_asleep = false;

    // Of the cycle under way
    bool m_selected = false;
    bool m_waking = false;
    std::size_t m_clocked = 0; ///< bytes since chip select fell
    uint8_t m_opcode = 0;
    uint16_t m_address = 0;
};

} // namespace chip
