#include <pelora/log_service.h>
#include <tandor/logging.h>
#include <tandor/text.h>

#include <iostream>

int main() {
    std::wstringstream message;
    message << L"the consumer runs";
    Logger("KoViewTandor").Log(LOG_MESSAGE_INFO, message);
    const bool works = TandorUtilClass::CalcVersion("10.0.0.100") == 0x0A000064;
    std::cout << (works ? "consumer works" : "wrong answer") << std::endl;
    return works ? 0 : 1;
}
