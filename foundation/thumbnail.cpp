#include <windows.h>

#include <objidl.h>

#include <algorithm>
using std::max;  // the header below expects the macros of these names
using std::min;
#include <gdiplus.h>

#include "base/win_system_entry.h"
#include "tandor/text.h"

namespace {

constexpr int kThumbSize = 110;
constexpr int kQrSize = 300;

}  // namespace

Gdiplus::Bitmap* TandorUtilClass::CorrectThumbWH(unsigned int width, unsigned int height, Gdiplus::Bitmap* bitmap) {
    if (bitmap == nullptr || bitmap->GetLastStatus() != Gdiplus::Ok) return nullptr;
    const unsigned int bitmap_width = bitmap->GetWidth();
    const unsigned int bitmap_height = bitmap->GetHeight();
    const unsigned int need_height = bitmap_width * height / width;
    const unsigned int need_width = bitmap_height * width / height;
    Gdiplus::Rect crop(0, 0, static_cast<INT>(bitmap_width), static_cast<INT>(bitmap_height));
    if (need_height > bitmap_height) {
        crop.X = static_cast<INT>((bitmap_width - need_width) / 2);
        crop.Width = static_cast<INT>(need_width);
    } else if (need_width > bitmap_width) {
        crop.Y = static_cast<INT>((bitmap_height - need_height) / 2);
        crop.Height = static_cast<INT>(need_height);
    }
    // Clone leaves the cause in the bitmap's status when it fails.
    return bitmap->Clone(crop, bitmap->GetPixelFormat());
}

int TandorUtilClass::GetHintThumbSize() {
    // Systems before Windows 10 1607 have no such entry and are asked through the screen's device context.
    if (const auto dpi_of_system = tandor::SystemEntry<UINT WINAPI()>(L"user32.dll", "GetDpiForSystem")) {
        return ::MulDiv(kThumbSize, static_cast<int>(dpi_of_system()), USER_DEFAULT_SCREEN_DPI);
    }
    const HDC screen = ::GetDC(nullptr);
    const int dpi = screen != nullptr ? ::GetDeviceCaps(screen, LOGPIXELSY) : USER_DEFAULT_SCREEN_DPI;
    if (screen != nullptr) ::ReleaseDC(nullptr, screen);
    return ::MulDiv(kThumbSize, dpi, USER_DEFAULT_SCREEN_DPI);
}

int TandorUtilClass::GetHintQRSize() { return kQrSize; }
