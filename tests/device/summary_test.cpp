#include "benchmarks/device/plain_summaries.h"
#include "support/testing.h"
#include "tandor/device_summary.h"

namespace {

using namespace tandor::test;

using Serialize = BluetoothDeviceSummarySerialize;

BluetoothDeviceSummary Sample(int number) {
    BluetoothDeviceSummary device;
    device.DevType = number % 2 == 0 ? number : -number;
    device.Summary = std::string("A\nz\0\xFF", 5) + std::string(static_cast<std::size_t>(number), '\x9C');
    device.DevName = "\xE6\x89\x8B\xE6\x9C\xBA";
    device.UserName = "user \"quoted\" \\";
    device.MacAddr = "0A:1B:2C:3D:4E:5F";
    device.MacAddrInt = 0xFFFFFFFFFFFFFFFF - static_cast<unsigned>(number);
    device.IsPaired = number % 3 == 0;
    device.ShareType = 5;
    device.IsReverseChannel = number % 5 == 0;
    device.ModelName = std::string(static_cast<std::size_t>(number), 'm');
    device.PeerUuid = "6f1c";
    device.IsTrusted = true;
    return device;
}

TEST(DeviceSummary, IsWrittenAsTheDocumentWouldBe) {
    std::vector<BluetoothDeviceSummary> devices;
    EXPECT_EQ(Serialize::ToString(devices), "[]");
    EXPECT_EQ(Serialize::ToSimpleString(devices, {}), "[]");
    devices.emplace_back();
    for (int i = 0; i < 70; ++i) devices.push_back(Sample(i));
    devices.back().DevType = std::numeric_limits<int>::min();
    EXPECT_EQ(Serialize::ToString(devices), PlainToString(devices));
    EXPECT_NE(Serialize::ToString(devices).find("\"Summary\":\"410A7A00FF\""), std::string::npos);
}

TEST(DeviceSummary, TheShortFormHoldsSixMembers) {
    const std::string one = R"({"DevName":"E6898BE69CBA","DevType":2,"IsPaired":false,"IsTrusted":true,)"
                            R"("PairedTime":18446744073709551615,"Summary":"410A7A00FF9C9C"})";
    const std::string other = R"({"DevName":"","DevType":0,"IsPaired":false,"IsTrusted":false,)"
                              R"("PairedTime":0,"Summary":""})";
    EXPECT_EQ(Serialize::ToSimpleString({Sample(2), {}}, {18446744073709551615u}), "[" + one + "," + other + "]");
}

// Every case is read as the plain program reads it, and where the text matters that is said beside it.
TEST(DeviceSummary, ReadsWhateverItIsGivenAsTheDocumentWouldBeRead) {
    const std::string good = PlainToString({Sample(3)});
    const std::string object = good.substr(1, good.size() - 2);
    const auto with = [&](const std::string& key, const std::string& value) {
        auto document = nlohmann::json::parse(good);
        document[0][key] = nlohmann::json::parse(value);
        return document.dump();
    };
    std::vector<std::pair<std::string, const char*>> cases{
        {"42", "[json.exception.type_error.304] cannot use at() with number"},
        {"\"text\"", "[json.exception.type_error.304] cannot use at() with string"},
        {"[" + object + ",[{\"DevType\":1}]]", "[json.exception.type_error.304] cannot use at() with array"},
        {"[{}]", "[json.exception.out_of_range.403] key 'DevType' not found"},
        {"[" + object + ",{\"DevType\":1},7]", "[json.exception.out_of_range.403] key 'Summary' not found"},
        {with("Summary", "[1,{\"DevType\":1}]"), "[json.exception.type_error.302] type must be string, but is array"},
        {with("DevType", "\"1\""), "[json.exception.type_error.302] type must be number, but is string"},
        {with("MacAddrInt", "true"), "[json.exception.type_error.302] type must be number, but is boolean"},
        {with("IsTrusted", "1"), "[json.exception.type_error.302] type must be boolean, but is number"},
        {with("More", "{\"DevType\":{\"DevType\":[[\"x\"]]}}"), nullptr},
        // A key that stands twice: the last counts, whatever the first was.
        {"[{\"DevType\":{}," + object.substr(1) + "]", nullptr},
        {"[" + object.substr(0, object.size() - 1) + ",\"DevType\":null}]", nullptr},
        // The elements of an object come in the order of their keys.
        {"{\"b\":" + object + ",\"a\":" + PlainToString({{}}).substr(1), "[]"},
        {"{\"b\":" + object + ",\"a\":7,\"a\":" + object + "}", nullptr},
        {"{\"b\":[],\"a\":{}}", nullptr},
    };
    for (const std::string& text : {std::string("hello"), std::string(), std::string("null"), std::string("{}"),
                                    "[" + object, good + "x", std::string("[{},")})
        cases.emplace_back(text, "[]");
    for (const char* const value : {"true", "-1.9", "4294967297", "1e300"})
        cases.emplace_back(with("DevType", value), nullptr);
    for (const char* const value : {"-1", "-1e300", "1e19", "2e19"})
        cases.emplace_back(with("MacAddrInt", value), nullptr);
    for (const char* const value : {"\"414\"", "\"4g41\"", "\"zz\"", "\"6a6B7\""})
        cases.emplace_back(with("DevName", value), nullptr);
    for (const char* const key :
         {"DevType", "Summary", "DevName", "UserName", "NickName", "MacAddr", "MacAddrInt", "IsReverseChannel",
          "IsPaired", "ShareType", "IsWifi5GAbility", "IsAuthor", "ModelName", "PeerUuid", "IsTrusted"}) {
        auto without = nlohmann::json::parse(good);
        without[0].erase(key);
        cases.emplace_back(without.dump(), nullptr);
        cases.emplace_back(with(key, "null"), nullptr);
    }
    // What a document cannot be made to say is put into the text as it is.
    const auto put = [&](const std::string& before, const std::string& after, const char* expected = nullptr) {
        std::string text = good;
        text.replace(text.find(before), before.size(), after);
        cases.emplace_back(text, expected);
    };
    for (const char* const number : {"-0", "-0.0", "1E2", "2147483648", "18446744073709551616", "-9223372036854775809"})
        put("\"DevType\":-3", std::string("\"DevType\":") + number);
    for (const char* const number : {"-0", "-0.0", "0.5", "18446744073709551615", "18446744073709551616"})
        put("\"MacAddrInt\":18446744073709551612", std::string("\"MacAddrInt\":") + number);
    put("\"DevType\":-3", "\"DevType\":1e400", "[]");
    put("\"DevType\":-3", "\"\\u0044evType\":7");
    put("\"DevType\":-3", "\"DevType\\u0000\":7", "key 'DevType' not found");
    put("\"UserName\":\"", "\"UserName\":\"\\u0034\\u0031");
    put("\"UserName\":\"", "\"UserName\":\"\xC3\xA9");
    put("\"UserName\":\"", "\"UserName\":\"\xFF", "[]");
    cases.emplace_back("\xEF\xBB\xBF" + good, nullptr);
    cases.emplace_back(good + std::string(1, '\0'), nullptr);
    const std::string deep = std::string(100'000, '[') + std::string(100'000, ']');
    put("\"DevType\":-3", "\"DevType\":-3,\"More\":" + deep);
    put("\"DevType\":-3", "\"DevType\":" + deep, "type must be number, but is array");
    cases.emplace_back(deep, "cannot use at() with array");
    cases.emplace_back(deep.substr(1), "[]");
    for (const auto& [text, expected] : cases) {
        const std::string outcome = Outcome(Serialize::FromString, text);
        EXPECT_EQ(outcome, Outcome(PlainFromString, text)) << text.substr(0, 2000);
        if (expected != nullptr) {
            EXPECT_THAT(outcome, EndsWith(expected)) << text.substr(0, 2000);
        }
    }
    for (const auto& record : Serialize::FromString(with("ShareType", "5"))) EXPECT_EQ(record.ShareType, 1);
}

TEST(DeviceSummary, DecodesHexadecimalTextAsAWholeOrNotAtAll) {
    const std::pair<const char*, std::string> cases[] = {
        {"", ""},   {"4", ""},       {"41", "A"},  {"414", "A"},   {"41g", "A"},
        {"4g", ""}, {"4142 ", "AB"}, {"41x2", ""}, {"6A6b", "jk"}, {"00ff", std::string("\0\xFF", 2)}};
    for (const auto& [hex, bytes] : cases) EXPECT_EQ(Serialize::HexStringToBytes(hex), bytes) << hex;
    // Each character at each place of a text that is longer than what is decoded at once.
    const std::string digits = "0123456789abcdefABCDEF00112233445566778899aAbBcCdDeEfF0F1f2E3d4C5b6A7988";
    for (std::size_t place = 0; place < digits.size(); ++place) {
        for (int c = 0; c < 256; ++c) {
            std::string text = digits;
            text[place] = static_cast<char>(c);
            ASSERT_EQ(Serialize::HexStringToBytes(text), PlainBytes(text)) << text;
        }
    }
}

}  // namespace
