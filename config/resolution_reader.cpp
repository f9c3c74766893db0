#include "config/screen_notes.h"

namespace tandor {
namespace {

using ExScreen::ResolutionList;
using ExScreen::ResolutionTable;

class ListReader {
public:
    explicit ListReader(ScreenReading& reading) : reading_(reading), settings_(reading.settings) {}

    void Read(VxXmlElement root) {
        ReadResolutionConfig(root);
        ReadTable(root, ScreenList::kMonitor, L"monitorResolutionConfig node is null", settings_.monitor,
                  Notes(reading_, L"ExScreen::ConfigMgr::ReadMonitorResolutionConfig"));
        ReadTable(root, ScreenList::kPad, L"padResolutionConfig node is null", settings_.pad,
                  Notes(reading_, L"ExScreen::ConfigMgr::ReadPadResolutionConfig"));
    }

private:
    void ReadResolutionConfig(VxXmlElement root) {
        const Notes notes(reading_, L"ExScreen::ConfigMgr::ReadResolutionConfig");
        const VxXmlElement section = root.FirstNode("ResolutionConfig");
        if (!notes.Has(section, L"resolutionConfig node is null")) return;
        const VxXmlElement mirror = section.FirstNode("Mirror");
        if (notes.Has(mirror, L"mirror node is null"))
            settings_.mirror = ReadResolutionList(mirror, ScreenList::kMirror);
        const VxXmlElement extend = section.FirstNode("Extend");
        if (notes.Has(extend, L"extend node is null"))
            settings_.extend = ReadResolutionList(extend, ScreenList::kExtend);
    }

    void ReadTable(VxXmlElement root, ScreenList first, const wchar_t* missing, ResolutionTable& table,
                   const Notes& notes) {
        const VxXmlElement section = root.FirstNode(SectionOf(first));
        if (!notes.Has(section, missing)) return;
        static constexpr const wchar_t* kMissing[] = {L"Ratio3To2 node is null", L"Ratio16To10 node is null",
                                                      L"Ratio16To9 node is null"};
        for (std::size_t i = 0; i < kAspectRatios.size(); ++i) {
            const VxXmlElement element = section.FirstNode(kAspectRatios[i].key);
            if (!notes.Has(element, kMissing[i])) continue;
            ResolutionList list =
                ReadResolutionList(element, static_cast<ScreenList>(static_cast<std::size_t>(first) + i));
            if (!list.empty()) table.emplace(kAspectRatios[i].key, std::move(list));
        }
    }

    ResolutionList ReadResolutionList(VxXmlElement parent, ScreenList which) {
        const Notes notes(reading_, L"ExScreen::ConfigMgr::ReadResolutionList");
        settings_.list_lines[static_cast<std::size_t>(which)] = parent.Line();
        ResolutionList list;
        std::size_t entries = 0;
        for (VxXmlElement element = parent.FirstNode("Resolution"); !element.IsElementNull();
             element = element.NextSiblingElement("Resolution")) {
            if (++entries > kMostResolutions) {
                notes.Info(L"ReadResolutionList too many resolutions, the rest is left out");
                break;
            }
            const ExScreen::Resolution resolution{Edge(element.FirstNode("Width")), Edge(element.FirstNode("Height"))};
            if (resolution.width == 0 || resolution.height == 0) {
                notes.Info(L"ReadResolutionList invalid resolution in line %d", element.Line());
                continue;
            }
            notes.Info(L"ReadResolutionList width:%d,height:%d", resolution.width, resolution.height);
            list.push_back(resolution);
        }
        return list;
    }

    // 0 for one that is not accepted.
    static unsigned int Edge(VxXmlElement element) {
        const std::int64_t number = Number(element).value_or(0);
        return number < kLeastEdge || number > kGreatestEdge ? 0 : static_cast<unsigned int>(number);
    }

    ScreenReading& reading_;
    ScreenSettings& settings_;
};

}  // namespace

ScreenReading ReadPadResolutions(VxXmlElement root, ScreenReading reading) {
    reading.settings.lists_read = true;
    ListReader(reading).Read(root);
    return reading;
}

}  // namespace tandor
