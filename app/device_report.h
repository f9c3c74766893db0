// How tandorctl shows devices and what went wrong with them.
#pragma once

#include <string>
#include <vector>

#include "app/command.h"
#include "tandor/device_console.h"

namespace tandor::app {

// "started", "disabled", "problem 28: no driver is installed" and so on.
std::string StateText(const Vxa::Exp::DeviceNode& node);

Json JsonOf(const std::vector<Vxa::Exp::DeviceNode>& nodes);
void ShowDevices(const std::vector<Vxa::Exp::DeviceNode>& nodes);

// A failed device operation on `thing`, in words and with a remedy, for Windows and Setup API errors; `remedy` where
// the error has none of its own.
CommandError DeviceError(const std::string& thing, unsigned long error,
                         const char* remedy = "--follow shows which step failed");

}  // namespace tandor::app
