#include <tinyxml2.h>

#include <array>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

#include "benchmarks/process_time.h"
#include "benchmarks/screen/plain_gamut.h"
#include "config/screen_reader.h"
#include "device/edid.h"
#include "pelora/registry.h"
#include "tandor/edid.h"

namespace tandor::bench {
namespace {

// ---- the configuration files

constexpr const char* kModel = "PLR-W14A";
constexpr const char* kFiles[] = {"./config/VxExScreen/VxExScreenConfig.xml",
                                  "./cloundConfig/VxExScreen/PadResolutionConfig.xml"};

void Check(benchmark::State& state, const ScreenSettings& settings) {
    if (!settings.InRange(ScreenValue::kFpsThreshold) || settings.pad.empty())
        state.SkipWithError("the sample files are missing");
}

// From the files, and from their texts.
void ReadFiles(benchmark::State& state) {
    for (auto _ : state) {
        ScreenReading reading = LoadScreenSettings(L".", kModel, [] { return true; });
        Check(state, reading.settings);
        benchmark::DoNotOptimize(reading);
    }
}

void LoadAlone(benchmark::State& state) {
    for (auto _ : state) {
        for (const char* const file : kFiles) {
            tinyxml2::XMLDocument document;
            if (document.LoadFile(file) != tinyxml2::XML_SUCCESS) state.SkipWithError("the sample files are missing");
            benchmark::DoNotOptimize(document);
        }
    }
}

std::array<std::string, 2> Texts() {
    std::array<std::string, 2> texts;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        std::ifstream file(kFiles[i], std::ios::binary);
        texts[i].assign(std::istreambuf_iterator<char>(file), {});
    }
    return texts;
}

void ReadTexts(benchmark::State& state) {
    const std::array<std::string, 2> texts = Texts();
    for (auto _ : state) {
        VxXMLDocument document;
        if (!document.Parse(texts[0])) state.SkipWithError("the sample files are missing");
        ScreenReading reading = ReadScreenConfig(document.RootElement(), kModel, true);
        if (!document.Parse(texts[1])) state.SkipWithError("the sample files are missing");
        reading = ReadPadResolutions(document.RootElement(), std::move(reading));
        Check(state, reading.settings);
        benchmark::DoNotOptimize(reading);
    }
}

void ParseAlone(benchmark::State& state) {
    const std::array<std::string, 2> texts = Texts();
    for (auto _ : state) {
        for (const std::string& text : texts) {
            tinyxml2::XMLDocument document;
            if (document.Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS)
                state.SkipWithError("the sample files are missing");
            benchmark::DoNotOptimize(document);
        }
    }
}

// On a PC model that the sample files know; the machine's own one is set again afterwards.
Body OnKnownModel(const std::wstring& work) {
    return [work](benchmark::State& state) {
        constexpr auto kRoot = DE::RegistryRoot::kLocalMachine;
        constexpr auto kKey = L"\\SOFTWARE\\Vextro\\Pelora";
        std::wstring before;
        const bool had_one = DE::Registry::GetValue(kRoot, kKey, L"DeviceType", before);
        DE::Registry::SetValue(kRoot, kKey, L"DeviceType", std::wstring(L"PLR-W14A"));
        TimeOfProcess(L"screen_probe.exe " + work)(state);
        had_one ? DE::Registry::SetValue(kRoot, kKey, L"DeviceType", before)
                : DE::Registry::DeleteValue(kRoot, kKey, L"DeviceType");
    };
}

// ---- panels

// As one would write it first: the ten bits of each coordinate one by one, and the sum of their weights.
std::vector<double> PlainCoordinates(const std::vector<unsigned char>& edid) {
    std::vector<double> coordinates;
    for (int i = 0; i < 8; ++i) {
        std::vector<int> bits;
        for (int bit = 7; bit >= 0; --bit) bits.push_back(edid[static_cast<std::size_t>(27 + i)] >> bit & 1);
        const int low = edid[static_cast<std::size_t>(25 + i / 4)] >> (6 - 2 * (i % 4));
        bits.push_back(low >> 1 & 1);
        bits.push_back(low & 1);
        double sum = 0, weight = 0.5;
        for (const int bit : bits) {
            if (bit != 0) sum += weight;
            weight /= 2;
        }
        coordinates.push_back(sum);
    }
    return coordinates;
}

// A P3 panel's chromaticities in a block.
std::vector<unsigned char> PanelBlock() {
    std::vector<unsigned char> edid(128);
    edid[1] = edid[2] = 0xFF;
    const std::uint8_t bytes[] = {0x0F, 0x95, 0xAE, 0x52, 0x43, 0xB0, 0x26, 0x0F, 0x50, 0x54};
    std::memcpy(edid.data() + kChromaticityOffset, bytes, sizeof(bytes));
    return edid;
}

template <class Read>
Body ReadPanel(Read read) {
    return [read](benchmark::State& state) mutable {
        std::vector<unsigned char> edid = PanelBlock();
        for (auto _ : state) {
            benchmark::DoNotOptimize(edid.data());
            benchmark::ClobberMemory();
            benchmark::DoNotOptimize(read(edid));
        }
    };
}

template <class Judge>
Body JudgePanel(const Gamut& reference, Judge judge) {
    return [reference, judge](benchmark::State& state) {
        const std::vector<double> list = PlainCoordinates(PanelBlock());
        GetEdidData::Points panel, points(reference.begin(), reference.end());
        for (std::size_t i = 0; i < list.size(); i += 2) panel.emplace_back(list[i], list[i + 1]);
        for (auto _ : state) {
            benchmark::DoNotOptimize(panel.data());
            benchmark::ClobberMemory();
            benchmark::DoNotOptimize(judge(points, panel));
        }
    };
}

void CompareCoverage(const char* name, const Gamut& reference) {
    Compare(std::string("GamutCoverage, a P3 panel by ") + name, "textbook clipping on vectors", AtLeastAsFast(5),
            JudgePanel(reference,
                       [](const auto& points, const auto& panel) {
                           std::pair<double, double> coverage;
                           GetEdidData::GamutCoverage(points, panel, coverage);
                           return coverage;
                       }),
            JudgePanel(reference, [](const auto& points, const auto& panel) {
                return test::PlainCoverage<double>(points, panel);
            }));
}

}  // namespace

void AddScreen() {
    Compare("the texts of the screen's two configuration files to values", "tinyxml2's Parse of both alone",
            AtMostTimes(1.3), ReadTexts, ParseAlone);
    Compare("the screen's two configuration files to values", "tinyxml2's LoadFile of both alone", AtMostTimes(1.3),
            ReadFiles, LoadAlone);
    Compare("ConfigMgr's first use in a process", "tinyxml2's LoadFile of both and the machine's own answers",
            AtMostTimes(1.5), OnKnownModel(L"ours"), OnKnownModel(L"answers"), true);
    Compare("ConfigMgr's first use in a process", "tinyxml2's LoadFile of both files alone", Reported(),
            OnKnownModel(L"ours"), OnKnownModel(L"files"), true);
    Compare("ParseCoordinateFromEdid", "vectors and a loop over the bits", AtLeastAsFast(5),
            ReadPanel([list = std::vector<double>(8)](const auto& edid) mutable {
                return GetEdidData::ParseCoordinateFromEdid(edid.data(), static_cast<unsigned int>(edid.size()), list);
            }),
            ReadPanel(PlainCoordinates));
    CompareCoverage("P3", kP3);
    CompareCoverage("Adobe RGB", kAdobeRgb);
    CompareCoverage("BT.2020", kBt2020);
}

}  // namespace tandor::bench
