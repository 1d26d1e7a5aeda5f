// chipcheck: calls every function of the F-RAM driver and prints the results.
//
// It writes to the chip's memory and status register. A test compares standard output, which has
// the results and the driver's own messages. The driver prints its debug line to standard error.
#include "device/fm25v02.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace
{

constexpr unsigned Address = 0x1234;
constexpr unsigned AddressWithBit15 = Address | 0x8000;
constexpr unsigned TooMany = 4097; // more than the kernel's buffer holds

void result(const char *call, int value)
{
    std::printf("\n%s = %d\n", call, value);
}

void showMemory()
{
    char bytes[4] = "...";
    const int count = FM25V02_READ(AddressWithBit15, bytes, 3);
    std::printf("\nREAD = %d, %02x %02x %02x\n", count, static_cast<unsigned char>(bytes[0]),
                static_cast<unsigned char>(bytes[1]), static_cast<unsigned char>(bytes[2]));
}

void callEverything()
{
    char data[] = "\xD0\xD1";
    result("Init", FM25V02_Init());
    FM25V02_RDID();
    showMemory();
    result("WRITE", FM25V02_WRITE(Address, data, 2));
    showMemory();
    result("WREN", FM25V02_WREN());
    result("RDSR", static_cast<unsigned char>(FM25V02_RDSR()));
    result("WRDI", FM25V02_WRDI());
    result("WRSR", FM25V02_WRSR(static_cast<char>(0x8C)));
    result("RDSR", static_cast<unsigned char>(FM25V02_RDSR()));
    result("MSPISendData", MSPISendData(0x06));
    std::string large(TooMany, 'k');
    result("READ of too many", FM25V02_READ(0, large.data(), TooMany));
    result("bytes changed by it", large == std::string(TooMany, 'k') ? 0 : 1);
    FM25V02_Exit();
    result("WREN after Exit", FM25V02_WREN());
}

} // namespace

int main()
{
    callEverything();
    return 0;
}
