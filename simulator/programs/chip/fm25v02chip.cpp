#include "simulator/programs/chip/fm25v02chip.h"

namespace chip
{
namespace
{

constexpr uint16_t AddressMask = Fm25v02Chip::MemorySize - 1;
constexpr uint8_t KeptBits =
    Fm25v02Chip::BlockProtect0 | Fm25v02Chip::BlockProtect1 | Fm25v02Chip::PinProtectEnable;

/** The first protected address, by the number in BP1 and BP0. */
constexpr uint16_t ProtectedFrom[] = {0x8000, 0x6000, 0x4000, 0x0000};

constexpr std::size_t OpcodeLength = 1;
constexpr std::size_t AddressedHeaderLength = 3;
constexpr std::size_t FastReadHeaderLength = 4; // with one dummy byte

} // namespace

void Fm25v02Chip::select()
{
    m_selected = true;
    m_waking = m_asleep;
    m_asleep = false;
    m_clocked = 0;
}

uint8_t Fm25v02Chip::exchange(uint8_t mosi)
{
    if (!m_selected || m_waking)
        return Floating;
    uint8_t miso = Floating;
    if (m_clocked == 0) {
        m_opcode = mosi;
        if (m_opcode == WriteEnable)
            m_writeEnabled = true;
    } else {
        miso = dataByte(mosi);
    }
    ++m_clocked;
    return miso;
}

void Fm25v02Chip::deselect()
{
    // A cycle without a clocked byte is no command, nor is one lost to waking.
    const bool served = m_selected && m_clocked > 0;
    m_selected = false;
    if (!served)
        return;
    if (m_opcode == Write || m_opcode == WriteStatus || m_opcode == WriteDisable)
        m_writeEnabled = false;
    else if (m_opcode == Sleep)
        m_asleep = true;
}

uint8_t Fm25v02Chip::status() const
{
    return m_kept | Bit6 | (m_writeEnabled ? WriteEnabled : 0);
}

uint8_t Fm25v02Chip::dataByte(uint8_t mosi)
{
    switch (m_opcode) {
    case ReadStatus:
        return status();
    case WriteStatus:
        if (m_clocked == OpcodeLength)
            writeStatus(mosi);
        return Floating;
    case ReadIdentity:
        return m_clocked <= Identity.size() ? Identity[m_clocked - OpcodeLength] : Floating;
    case Read:
    case Write:
        return memoryByte(mosi, AddressedHeaderLength);
    case FastRead:
        return memoryByte(mosi, FastReadHeaderLength);
    default:
        return Floating;
    }
}

uint8_t Fm25v02Chip::memoryByte(uint8_t mosi, std::size_t headerLength)
{
    if (m_clocked < AddressedHeaderLength)
        m_address = ((m_address << 8) | mosi) & AddressMask;
    if (m_clocked < headerLength)
        return Floating;
    const uint16_t address = m_address;
    m_address = (m_address + 1) & AddressMask;
    if (m_opcode != Write)
        return m_memory[address];
    if (m_writeEnabled && !isProtected(address))
        m_memory[address] = mosi;
    return Floating;
}

void Fm25v02Chip::writeStatus(uint8_t value)
{
    if (m_writeEnabled)
        m_kept = value & KeptBits;
}

bool Fm25v02Chip::isProtected(uint16_t address) const
{
    return address >= ProtectedFrom[(m_kept & (BlockProtect0 | BlockProtect1)) / BlockProtect0];
}

} // namespace chip
