// What an EDID block says, for people and for machines.
#pragma once

#include <string>
#include <vector>

#include "app/command.h"
#include "device/edid.h"

namespace tandor::app {

Json PanelDocument(const EdidBlock& block);
std::vector<std::vector<std::string>> PanelRows(const EdidBlock& block);

// "VXT Pad Screen 14": the maker and the name, or the product code where there is no name.
std::string PanelTitle(const EdidBlock& block);

}  // namespace tandor::app
