// Lists of hardware identifiers and names of store folders of any content: every identifier lies inside its list, has
// no zero, and is found again; one that the system could store survives the way there and back.
#include "fuzzers/property.h"
#include "system/driver_store.h"
#include "system/hardware_id.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::wstring list(data, data + size);
    std::size_t end = 0;
    for (const std::wstring_view identifier : tandor::IdentifiersOf(list)) {
        const auto begin = static_cast<std::size_t>(identifier.data() - list.data());
        TANDOR_HOLDS(begin == end && !identifier.empty() && identifier.find(L'\0') == identifier.npos);
        end = begin + identifier.size() + 1;
        TANDOR_HOLDS(end <= list.size() + 1);
        TANDOR_HOLDS(tandor::HasIdentifier(list, identifier));
        tandor::IdentifierList stored;
        const bool fits = tandor::PutIdentifier(identifier, stored);
        TANDOR_HOLDS(fits == (identifier.size() <= tandor::kLongestIdentifier));
        if (fits) {
            const auto read = tandor::IdentifiersOf({stored.data(), stored.size()});
            TANDOR_HOLDS(read.size() == 1 && read[0] == identifier);
        }
    }
    const std::wstring name = list.substr(0, std::min<std::size_t>(size, size == 0 ? 0 : data[0] % 16));
    if (tandor::IsStoreFolderOf(list, name)) {
        TANDOR_HOLDS(list.starts_with(name + L"_") && list.back() != L'_');
        TANDOR_HOLDS(!tandor::IsStoreFolderOf(list + L"_", name) && !tandor::IsStoreFolderOf(L"x" + list, name));
    }
    TANDOR_HOLDS(name.empty() || tandor::IsStoreFolderOf(name + L"_amd64_5f", name));
    return 0;
}
