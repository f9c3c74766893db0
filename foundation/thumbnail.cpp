#include <windows.h>

#include <objidl.h>

#include <algorithm>
using std::max;  // the header below expects the macros of these names
using std::min;
#include <gdiplus.h>

#include "tandor/text.h"

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
