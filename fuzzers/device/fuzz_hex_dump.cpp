// Any text as a hexadecimal dump: bytes or a fault with its place, and what was read reads the same from a plain line.
#include "base/hex.h"
#include "device/hex_dump.h"
#include "fuzzers/property.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = tandor::fuzz::Text(data, size);
    const tandor::HexDump dump = tandor::ReadHexDump(text);
    TANDOR_HOLDS(dump.bytes.size() <= tandor::kLargestDump);
    if (dump.fault != nullptr) {
        TANDOR_HOLDS(dump.bytes.empty() && dump.line > 0 && dump.column > 0);
        TANDOR_HOLDS(dump.line <= size + 1 && dump.column <= size + 1);
        return 0;
    }
    TANDOR_HOLDS(dump.line == 0 && dump.column == 0);
    std::string plain = "0x";  // so that leading zeros are no offset
    plain += tandor::HexFromBytes({reinterpret_cast<const char*>(dump.bytes.data()), dump.bytes.size()},
                                  tandor::HexCase::kLower);
    if (!dump.bytes.empty()) TANDOR_HOLDS(tandor::ReadHexDump(plain).bytes == dump.bytes);
    return 0;
}
