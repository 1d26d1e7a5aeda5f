// Model of the FM25V02, a 32 KB serial F-RAM, seen from its pins a byte at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace chip
{

/**
 * Behaves as the chip's data sheet says:
 * - Every falling chip select begins one command. Bytes after an unknown opcode are ignored.
 * - WRITE and WRSR do nothing unless WREN has set the write-enable latch. A cycle that begins with
 *   WRITE, WRSR or WRDI resets the latch when chip select rises. A byte of a WRITE is in memory
 *   after its eighth clock: a cycle cut short keeps the complete ones.
 * - Addresses count up and wrap from 0x7FFF to 0. Address bit 15 is ignored.
 * - BP1 and BP0 protect nothing (0), the upper quarter (1), the upper half (2) or all (3) of the
 *   memory. WPEN is kept but protects nothing: the board has the WP pin high.
 * - SLEEP takes effect when chip select rises. The next cycle wakes the chip and is lost, because
 *   waking takes up to 0.4 ms, longer than a command.
 */
class Fm25v02Chip
{
public:
    static constexpr std::size_t MemorySize = 0x8000;

    // From the data sheet, and not from the driver, on purpose: a figure that is wrong in
    // device/fm25v02.cpp must not be wrong here, too.
    enum Opcode : uint8_t {
        WriteStatus = 0x01,  ///< WRSR
        Write = 0x02,        ///< WRITE
        Read = 0x03,         ///< READ
        WriteDisable = 0x04, ///< WRDI
        ReadStatus = 0x05,   ///< RDSR
        WriteEnable = 0x06,  ///< WREN
        FastRead = 0x0B,     ///< FSTRD
        ReadIdentity = 0x9F, ///< RDID
        Sleep = 0xB9,        ///< SLEEP
    };

    enum StatusBit : uint8_t {
        WriteEnabled = 0x02,     ///< WEL
        BlockProtect0 = 0x04,    ///< BP0
        BlockProtect1 = 0x08,    ///< BP1
        Bit6 = 0x40,             ///< has no meaning and reads as 1
        PinProtectEnable = 0x80, ///< WPEN
    };

    /** The bus's level while the chip does not drive its output: there is a pull-up. */
    static constexpr uint8_t Floating = 0xFF;

    static constexpr std::array<uint8_t, 9> Identity{0x7F, 0x7F, 0x7F, 0x7F, 0x7F,
                                                     0x7F, 0xC2, 0x22, 0x08};

    /** Chip select falls. */
    void select();

    /** Eight clocks with chip select low. @return what the chip shifts out meanwhile */
    uint8_t exchange(uint8_t mosi);

    /** Chip select rises. */
    void deselect();

    /** @return the status register as RDSR reads it */
    uint8_t status() const;

    /** @return the memory itself, MemorySize bytes, past all protection */
    std::vector<uint8_t> &memory() { return m_memory; }

private:
    uint8_t dataByte(uint8_t mosi);
    uint8_t memoryByte(uint8_t mosi, std::size_t headerLength);
    void writeStatus(uint8_t value);
    bool isProtected(uint16_t address) const;

    std::vector<uint8_t> m_memory = std::vector<uint8_t>(MemorySize);
    uint8_t m_kept = 0; ///< status bits that can be written
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
