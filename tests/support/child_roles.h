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

// store-records STORE REPORT: stores present devices "device-0", "device-1" and so on, each with its number as
// MacAddrInt, and appends to REPORT, for each that was stored, its number and a line break. Goes on where REPORT ends;
// never stops by itself.
int StoreRecords(const Arguments& arguments);

// check-records STORE REPORT: 0 when every number in REPORT is stored.
int CheckRecords(const Arguments& arguments);

// store-attributes STORE DEVICE PREFIX COUNT: writes COUNT attributes "PREFIX<number>", each a call of its own. 0 when
// every call succeeded.
int StoreAttributes(const Arguments& arguments);

// console-without WHAT: starts the device console where a function that it needs fails, tries a command and prints the
// host log. WHAT is an import of the library, an entry that it looks up, or "long-directory".
int ConsoleWithout(const Arguments& arguments);

}  // namespace tandor::test
