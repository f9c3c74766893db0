#include <tandor/logging.h>
int main() { std::wstringstream s; s << L"hello"; Logger l("KoViewTandor"); l.Log(static_cast<LOG_MESSAGE_LEVEL>(3), s); }
