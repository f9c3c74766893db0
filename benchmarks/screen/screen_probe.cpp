// screen_probe ours|files|answers: asks the extended screen's configuration for a value for the first time in this
// process, or loads its two sample files with the XML library alone, or does that and asks the machine what the
// configuration has to know about it and notes what it has to note (device type, display, audio switch), and ends with
// the microseconds that took. The host log is open and the display has been asked about by then, as in any program that
// has logged and shown something before.
#include <tinyxml2.h>

#include <sstream>
#include <string_view>

#include "benchmarks/microseconds.h"
#include "pelora/log_service.h"
#include "pelora/product.h"
#include "pelora/registry.h"
#include "tandor/screen_config.h"

namespace {

bool FirstUse() {
    ExScreen::Resolution pad;
    return ExScreen::ConfigMgr::GetInstance().GetPadPreResolution(2560, 1600, pad);
}

bool LoadAlone() {
    for (const char* const file :
         {"./config/VxExScreen/VxExScreenConfig.xml", "./cloundConfig/VxExScreen/PadResolutionConfig.xml"}) {
        tinyxml2::XMLDocument document;
        if (document.LoadFile(file) != tinyxml2::XML_SUCCESS) return false;
    }
    return true;
}

bool LoadAndAsk() {
    ExScreen::ConfigMgr::IsHorizontal();
    return LoadAlone() && !ProductCheckSupport::GetDeviceTypeEx().empty() &&
           DE::Registry::SetValue(DE::RegistryRoot::kUser, L"\\SOFTWARE\\Vextro\\Pelora\\Pad\\setting",
                                  L"supportAudioSwitch", 1U);
}

}  // namespace

int wmain(int count, wchar_t** words) {
    if (count != 2) return -1;
    std::wstringstream line;
    line << L"screen_probe";
    VxLogger::GetInstance().Log(LOG_MESSAGE_INFO, line);
    ExScreen::ConfigMgr::IsHorizontal();
    const std::wstring_view work = words[1];
    return tandor::bench::Microseconds(work == L"ours" ? FirstUse : work == L"files" ? LoadAlone : LoadAndAsk);
}
