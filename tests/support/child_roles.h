// The roles of test_child.exe that live in files of their own.
#pragma once

#include <string>
#include <vector>

namespace tandor::test {

using Arguments = std::vector<std::wstring>;

// Signals the event of that name and stays until it is killed.
int Stay(const std::wstring& ready);

// Of the logs; each says what it takes where it is.
int FileLines(const Arguments& arguments);
int HoldTurn(const Arguments& arguments);
int HostLog(const Arguments& arguments);
int LogLines(const Arguments& arguments);

// store-changes STORE REPORT: makes present devices "device-0", "device-1" and so on, each with its number as
// MacAddrInt, gives each an attribute, overwrites it and deletes every other device; appends to REPORT, for each of
// these steps that was done, its number and a line break. Goes on where REPORT ends; never stops by itself.
int StoreChanges(const Arguments& arguments);

// check-changes STORE REPORT: 0 when every device is as the steps in REPORT left it.
int CheckChanges(const Arguments& arguments);

// store-attributes STORE DEVICE PREFIX COUNT: writes COUNT attributes "PREFIX<number>", each a call of its own. 0 when
// every call succeeded.
int StoreAttributes(const Arguments& arguments);

// console-without WHAT: starts the device console where a function that it needs fails, tries a command and prints the
// host log. WHAT is an import of the library, an entry that it looks up, or "long-directory".
int ConsoleWithout(const Arguments& arguments);

// service-setting user|nobody: 0 when what a service sets for the user lies in the hive of the user at the console, or
// in its own when nobody is signed in there.
int ServiceSetting(const Arguments& arguments);

}  // namespace tandor::test
