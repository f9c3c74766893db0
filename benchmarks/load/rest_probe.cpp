// rest_probe [log]: prints how many threads a process has that uses TandorUtil.dll, and how many KiB of memory it has
// for itself alone; with "log" after a line to a channel.
#include <cstdio>

#include "pelora/log_service.h"
#include "tandor/logging.h"
#include "tests/support/own_resources.h"

int wmain(int count, wchar_t**) {
    Logger logger("KoViewTandor");
    if (count > 1) {
        std::wstringstream line;
        line << L"a line of a process that only logs";
        logger.Log(LOG_MESSAGE_INFO, line);
    }
    std::printf("%d %zu\n", tandor::test::ThreadsOfThisProcess(), tandor::test::PrivateBytesOfThisProcess() / 1024);
    return 0;
}
