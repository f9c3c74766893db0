// What a class derives from privately when its objects must not be copied.
#pragma once

class UnCopyable {
public:
    UnCopyable(const UnCopyable&) = delete;
    UnCopyable& operator=(const UnCopyable&) = delete;

protected:
    UnCopyable() = default;
    ~UnCopyable() = default;
};
