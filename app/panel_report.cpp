#include "app/panel_report.h"

#include <fmt/format.h>

#include "device/gamut.h"

namespace tandor::app {
namespace {

struct Reference {
    const char* name;
    const Gamut& gamut;
    bool judged;
};
constexpr Reference kReferences[] = {{"P3", kP3, true},
                                     {"Adobe RGB", kAdobeRgb, true},
                                     {"BT.2020", kBt2020, true},
                                     {"BT.2020 (standard)", kBt2020Standard, false},
                                     {"sRGB", kSrgb, false}};
constexpr const char* kPoints[] = {"red", "green", "blue", "white"};

bool IsWide(const EdidBlock& block) {
    for (const Reference& reference : kReferences) {
        if (reference.judged && CoversEnough(Cover(TriangleOf(reference.gamut), TriangleOf(block.gamut)))) return true;
    }
    return false;
}

std::string Made(const EdidBlock& block) {
    if (block.model_year) return fmt::format("model of {}", block.year);
    return block.week == 0 ? std::to_string(block.year) : fmt::format("week {} of {}", block.week, block.year);
}

double AreaOf(const Gamut& gamut) {
    const Triangle triangle = TriangleOf(gamut);
    return SignedArea(triangle.data(), triangle.size());
}

std::string KindOf(const EdidExtension& extension) {
    switch (extension.tag) {
        case 0x02:
            return "CTA-861";
        case 0x10:
            return "video timings";
        case 0x40:
            return "display information";
        case 0x50:
            return "localized texts";
        case 0x70:
            return "DisplayID";
        case 0xF0:
            return "block map";
        default:
            return "unknown";
    }
}

}  // namespace

std::string PanelTitle(const EdidBlock& block) {
    return block.maker + " " + (block.name.empty() ? fmt::format("{:04X}", block.product) : block.name);
}

Json PanelDocument(const EdidBlock& block) {
    Json coverage = Json::object();
    for (const Reference& reference : kReferences) {
        const Coverage result = Cover(TriangleOf(reference.gamut), TriangleOf(block.gamut));
        coverage[reference.name] = {{"coverage", result.coverage}, {"area_ratio", result.area_ratio}};
        if (reference.judged) coverage[reference.name]["supported"] = CoversEnough(result);
    }
    Json points = Json::object();
    for (std::size_t i = 0; i < block.gamut.size(); ++i)
        points[kPoints[i]] = {block.gamut[i].first, block.gamut[i].second};
    Json extensions = Json::array();
    for (const EdidExtension& extension : block.extensions_there)
        extensions.push_back({{"tag", extension.tag}, {"checksum_right", extension.checksum_right}});
    return {{"maker", block.maker},
            {"product", block.product},
            {"serial", block.serial},
            {"name", block.name},
            {"serial_text", block.serial_text},
            {"week", block.week},
            {"year", block.year},
            {"model_year", block.model_year},
            {"edid_version", fmt::format("{}.{}", block.version, block.revision)},
            {"width_cm", block.width_cm},
            {"height_cm", block.height_cm},
            {"gamma", block.gamma},
            {"preferred",
             {{"width", block.preferred.width},
              {"height", block.preferred.height},
              {"refresh", block.preferred.refresh},
              {"interlaced", block.preferred.interlaced}}},
            {"chromaticities", points},
            {"area", AreaOf(block.gamut)},
            {"gamuts", coverage},
            {"wide_gamut", IsWide(block)},
            {"header_right", block.header_right},
            {"checksum_right", block.checksum_right},
            {"extensions", block.extensions},
            {"extensions_there", extensions}};
}

std::vector<std::vector<std::string>> PanelRows(const EdidBlock& block) {
    const EdidTiming& timing = block.preferred;
    std::vector<std::vector<std::string>> rows{
        {"panel", PanelTitle(block)},
        {"product, serial", fmt::format("{:04X}, {:08X}{}{}", block.product, block.serial,
                                        block.serial_text.empty() ? "" : " ", block.serial_text)},
        {"made", Made(block)},
        {"EDID",
         fmt::format("{}.{}, header {}, checksum {}, {} of {} extension blocks there", block.version, block.revision,
                     block.header_right ? "right" : "WRONG", block.checksum_right ? "right" : "WRONG",
                     block.extensions_there.size(), block.extensions)},
        {"size", block.width_cm == 0 || block.height_cm == 0
                     ? "not stated"
                     : fmt::format("{} x {} cm", block.width_cm, block.height_cm)},
        {"preferred timing", timing.width == 0 ? "not stated"
                                               : fmt::format("{} x {} at {:.2f} Hz{}", timing.width, timing.height,
                                                             timing.refresh, timing.interlaced ? ", interlaced" : "")},
        {"gamma", block.gamma == 0 ? "not stated" : fmt::format("{:.2f}", block.gamma)}};
    for (std::size_t i = 0; i < block.extensions_there.size(); ++i) {
        const EdidExtension& extension = block.extensions_there[i];
        rows.insert(rows.begin() + 4 + static_cast<std::ptrdiff_t>(i),
                    {fmt::format("extension {}", i + 1),
                     fmt::format("{} ({:02X}), checksum {}", KindOf(extension), extension.tag,
                                 extension.checksum_right ? "right" : "WRONG")});
    }
    for (std::size_t i = 0; i < block.gamut.size(); ++i) {
        rows.push_back({kPoints[i], fmt::format("({:.4f}, {:.4f})", block.gamut[i].first, block.gamut[i].second)});
    }
    rows.push_back({"area in the xy plane", fmt::format("{:.6f}", AreaOf(block.gamut))});
    for (const Reference& reference : kReferences) {
        const Coverage result = Cover(TriangleOf(reference.gamut), TriangleOf(block.gamut));
        const char* const verdict = !reference.judged      ? "for information"
                                    : CoversEnough(result) ? "supported"
                                                           : "not supported";
        rows.push_back({fmt::format("covers of {}", reference.name),
                        fmt::format("{:.4f}, area ratio {:.4f}, {}", result.coverage, result.area_ratio, verdict)});
    }
    rows.push_back({"wide gamut", IsWide(block) ? "yes" : "no"});
    return rows;
}

}  // namespace tandor::app
