// What the processor can do beyond the x86-64 baseline. Code that uses it lies in files of its own, compiled for it.
#pragma once

namespace tandor {

// SSSE3 (byte shuffles): every 64-bit processor since 2006 but some early ones.
bool HasSsse3() noexcept;

}  // namespace tandor
