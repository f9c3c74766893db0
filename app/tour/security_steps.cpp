#include <fmt/format.h>

#include "app/places.h"
#include "app/tour.h"
#include "base/hex.h"
#include "pelora/digest.h"
#include "security/secret.h"
#include "tandor/crypto.h"
#include "tandor/sealing.h"
#include "tandor/text.h"

namespace tandor::app {
namespace {

constexpr std::size_t kShown = 8;  // characters of a digest that stand for what must not be shown

std::string Drawn(SecurityEncryptUtil& util, int bytes) {
    std::string hex;
    Expect(util.GenerateRandom(hex, bytes), "drawing random bytes");
    return hex;
}

}  // namespace

void TourSessionKey(TourReport& report) {
    SecurityEncryptUtil& util = *SecurityEncryptUtil::GetInstance();
    std::string local = Drawn(util, 16);
    std::string remote = Drawn(util, 16);
    util.SetLocalRandomVector(local);
    util.SetRemoteRandomVector(remote);
    util.SetSupportChallengeVersion(SecurityEncryptUtil::SUPPORT_CHALLENGE_VERSION);
    util.SetIsSupportChallengeResponse(true);
    Expect(util.IsSupportChallengeResponse(4), "the challenge versions");
    std::string key = Drawn(util, 32);
    util.SetSessionKey(key);
    const std::string fingerprint = DE::GetStringSha256(key).substr(0, kShown);
    WipeText(key);
    report.Result("this side's nonce", util.GetLocalRandomVector());
    report.Result("the peer's nonce", util.GetRemoteRandomVector());
    report.Result("challenge versions", fmt::format("{} (asks for 4: supported)", util.GetSupportChallengeVersion()),
                  util.GetSupportChallengeVersion());
    report.Result("session key, fingerprint", fingerprint);
}

void TourSealing(TourReport& report) {
    SecurityEncryptUtil& util = *SecurityEncryptUtil::GetInstance();
    const std::string message = "clipboard: 你好, Lena";
    std::string sealed, opened = "untouched";
    Expect(util.AesGcmEncrypt(HexFromBytes(message, HexCase::kUpper), sealed) > 0, "sealing the message");
    report.Result("message", fmt::format("{} ({} bytes)", message, message.size()));
    report.Result("sealed", sealed);
    SecurityEncryptUtil peer(util);
    Expect(peer.AesGcmDecrypt(sealed, opened) == static_cast<int>(message.size()), "opening the message");
    std::string text(opened.size() / 2, '\0');
    ReadHex(opened, reinterpret_cast<unsigned char*>(text.data()));
    Expect(text == message, "the message there and back");
    report.Result("opened by the peer", text);
    char& digit = sealed[40];
    digit = digit == '0' ? '1' : '0';
    opened = "untouched";
    const int refused = peer.AesGcmDecrypt(sealed, opened);
    Expect(refused == -1 && opened == "untouched", "refusing the changed message");
    report.Result("one digit changed on the way", fmt::format("refused ({}), nothing handed out", refused), refused);
}

void TourDigests(TourReport& report) {
    std::string digest;
    Expect(CTandorSecTools().GetSha256HashStrFromFile(ProgramFile().native(), digest),
           "hashing the program's own file");
    report.Result("SHA-256 of this program", digest);
    const std::string identifier = "phone-0815";
    const std::string short_identifier = DE::GetStringSha256(identifier).substr(0, kShown);
    Expect(DE::IsShortIdentifierOf(short_identifier, identifier), "the device's short identifier");
    report.Result("short identifier of a phone", short_identifier);
    TrustDeviceRandom ours, theirs;
    ours.Random(42);
    theirs.Random(42);
    const float drawn = ours.nextFloat();
    Expect(drawn == theirs.nextFloat(), "drawing the same number on both devices");
    report.Result("drawn by both from seed 42", fmt::format("{:.8f}", drawn), drawn);
}

}  // namespace tandor::app
