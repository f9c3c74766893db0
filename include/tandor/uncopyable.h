/// @file
/// What a class derives from privately when its objects must not be copied.
#pragma once

/// A private base class; without state, and it costs nothing.
class UnCopyable {
public:
    UnCopyable(const UnCopyable&) = delete;
    UnCopyable& operator=(const UnCopyable&) = delete;

protected:
    UnCopyable() = default;
    ~UnCopyable() = default;
};
