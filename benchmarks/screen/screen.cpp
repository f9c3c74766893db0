#include <tinyxml2.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "benchmarks/process_time.h"
#include "benchmarks/screen/plain_gamut.h"
#include "config/screen_reader.h"
#include "device/edid.h"
#include "pelora/registry.h"

namespace tandor::bench {
namespace {

// ---- the configuration files

// The reader on the files beside this program; what it says goes nowhere, so that both sides do the same work.
class Files final : public ScreenHost {
public:
    std::string DeviceType() override { return "PLR-W14A"; }
    bool Folder(std::wstring& folder) override {
        folder = L".";
        return true;
    }
    bool IsHorizontal() override { return true; }
    void AudioSwitchKnown(bool) override {}
    void Note(LOG_MESSAGE_LEVEL, std::wstring_view, std::wstring_view text) override {
        benchmark::DoNotOptimize(text.data());
    }
};

void ReadSettings(benchmark::State& state) {
    Files files;
    for (auto _ : state) {
        ScreenSettings settings;
        LoadScreenSettings(files, settings);
        if (!settings.InRange(ScreenValue::kFpsThreshold) || settings.pad.empty())
            state.SkipWithError("the sample files are missing");
        benchmark::DoNotOptimize(settings);
    }
}

void LoadAlone(benchmark::State& state) {
    for (auto _ : state) {
        for (const char* const file :
             {"./config/VxExScreen/VxExScreenConfig.xml", "./cloundConfig/VxExScreen/PadResolutionConfig.xml"}) {
            tinyxml2::XMLDocument document;
            if (document.LoadFile(file) != tinyxml2::XML_SUCCESS) state.SkipWithError("the sample files are missing");
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

Gamut PlainGamut(const std::vector<std::uint8_t>& edid) {
    std::vector<double> values;
    for (std::size_t i = 0; i < 8; ++i) {
        const int value = edid[27 + i] * 4 + edid[25 + i / 4] / static_cast<int>(std::pow(4, 3 - i % 4)) % 4;
        double sum = 0;
        for (int bit = 0; bit < 10; ++bit) {
            if ((value >> bit & 1) != 0) sum += std::pow(2, bit - 10);
        }
        values.push_back(sum);
    }
    return {{{values[0], values[1]}, {values[2], values[3]}, {values[4], values[5]}, {values[6], values[7]}}};
}

// A P3 panel's chromaticities in a block.
std::vector<std::uint8_t> PanelBlock() {
    std::vector<std::uint8_t> edid(128);
    edid[1] = edid[2] = 0xFF;
    const std::uint8_t bytes[] = {0x0F, 0x95, 0xAE, 0x52, 0x43, 0xB0, 0x26, 0x0F, 0x50, 0x54};
    std::memcpy(edid.data() + kChromaticityOffset, bytes, sizeof(bytes));
    return edid;
}

template <class Judge>
Body JudgePanel(Judge judge) {
    return [judge](benchmark::State& state) {
        std::vector<std::uint8_t> edid = PanelBlock();
        for (auto _ : state) {
            benchmark::DoNotOptimize(edid.data());
            benchmark::ClobberMemory();
            benchmark::DoNotOptimize(judge(edid));
        }
    };
}

}  // namespace

void AddScreen() {
    Compare("the screen's two configuration files to values", "tinyxml2's LoadFile of both alone", AtMostTimes(1.5),
            ReadSettings, LoadAlone);
    Compare("ConfigMgr's first use in a process", "tinyxml2's LoadFile of both and the machine's own answers",
            AtMostTimes(1.5), OnKnownModel(L"ours"), OnKnownModel(L"answers"), true);
    Compare("ConfigMgr's first use in a process", "tinyxml2's LoadFile of both files alone", Reported(),
            OnKnownModel(L"ours"), OnKnownModel(L"files"), true);
    Compare("one panel: chromaticities and three coverages", "textbook clipping on vectors", AtMostTimes(1),
            JudgePanel([](const auto& edid) {
                const Gamut panel = GamutOf(*ReadCoordinates(edid));
                double sum = 0;
                for (const Gamut& reference : {kP3, kAdobeRgb, kBt2020})
                    sum += Cover(TriangleOf(reference), TriangleOf(panel)).coverage;
                return sum;
            }),
            JudgePanel([](const auto& edid) {
                const Gamut panel = PlainGamut(edid);
                double sum = 0;
                for (const Gamut& reference : {kP3, kAdobeRgb, kBt2020})
                    sum += test::PlainCoverage<double>(reference, panel);
                return sum;
            }));
}

}  // namespace tandor::bench
