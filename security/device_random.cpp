#include "security/linear_congruential.h"
#include "tandor/crypto.h"

TrustDeviceRandom::TrustDeviceRandom(const TrustDeviceRandom& other) noexcept : UnCopyable(), state_(other.state_) {}

TrustDeviceRandom& TrustDeviceRandom::operator=(const TrustDeviceRandom& other) noexcept {
    state_ = other.state_;
    return *this;
}

TrustDeviceRandom::~TrustDeviceRandom() = default;

void TrustDeviceRandom::Random(long long seed) noexcept { setSeed(seed); }

void TrustDeviceRandom::setSeed(long long seed) noexcept { state_ = static_cast<long long>(tandor::SeededLcg(seed)); }

int TrustDeviceRandom::next(int bits) noexcept {
    const unsigned long long state = tandor::SteppedLcg(static_cast<unsigned long long>(state_));
    state_ = static_cast<long long>(state);
    return tandor::LcgBits(state, bits);
}

float TrustDeviceRandom::nextFloat() noexcept {
    next(24);
    return tandor::LcgFloat(static_cast<unsigned long long>(state_));
}
