#include "device/gamut_diagram.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace tandor {
namespace {

// The spectral locus of the CIE 1931 2-degree standard observer, 380 to 700 nm.
constexpr Chromaticity kLocus[] = {
    {.1741, .0050}, {.1733, .0048}, {.1726, .0048}, {.1714, .0051}, {.1689, .0069}, {.1644, .0109},
    {.1566, .0177}, {.1440, .0297}, {.1241, .0578}, {.1096, .0868}, {.0913, .1327}, {.0687, .2007},
    {.0454, .2950}, {.0235, .4127}, {.0082, .5384}, {.0039, .6548}, {.0139, .7502}, {.0389, .8120},
    {.0743, .8338}, {.1142, .8262}, {.1547, .8059}, {.2296, .7543}, {.3016, .6923}, {.3731, .6245},
    {.4441, .5547}, {.5125, .4866}, {.5752, .4242}, {.6270, .3725}, {.6658, .3340}, {.6915, .3083},
    {.7079, .2920}, {.7190, .2809}, {.7260, .2740}, {.7300, .2700}, {.7334, .2666}, {.7347, .2653}};

struct Reference {
    const char* name;
    const Gamut& gamut;
    const char* colour;
};
constexpr Reference kReferences[] = {{"sRGB", kSrgb, "#777777"},
                                     {"P3", kP3, "#c0392b"},
                                     {"Adobe RGB", kAdobeRgb, "#1e8449"},
                                     {"BT.2020", kBt2020, "#2e5aac"}};

constexpr double kScale = 700;  // SVG units for 1.0
constexpr double kLeft = 60;
constexpr double kBottom = 670;

double X(double x) { return kLeft + x * kScale; }
double Y(double y) { return kBottom - y * kScale; }

#if defined(__GNUC__)
__attribute__((format(printf, 2, 3)))
#endif
void Append(std::string& out, const char* format, ...) {
    char line[512];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    if (length > 0) out.append(line, std::min(static_cast<std::size_t>(length), sizeof(line) - 1));
}

std::string Escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '&':
                out += "&amp;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
        }
    }
    return out;
}

template <class Points>
void AddPolygon(std::string& out, const Points& points, const char* style) {
    out += "<polygon points=\"";
    for (const Chromaticity& point : points) Append(out, "%.2f,%.2f ", X(point.first), Y(point.second));
    Append(out, "\" %s/>\n", style);
}

void AddGrid(std::string& out) {
    for (int tenth = 0; tenth <= 9; ++tenth) {
        const double at = tenth / 10.0;
        Append(out, "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"#dddddd\"/>\n", X(0), Y(at), X(0.8),
               Y(at));
        Append(out, "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"end\">%.1f</text>\n", X(0) - 8, Y(at) + 4, at);
        if (tenth > 8) continue;
        Append(out, "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"#dddddd\"/>\n", X(at), Y(0), X(at),
               Y(0.9));
        Append(out, "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\">%.1f</text>\n", X(at), Y(0) + 20, at);
    }
}

void AddLegend(std::string& out, const Gamut& panel) {
    double y = 90;
    Append(out, "<text x=\"420\" y=\"%.0f\" font-weight=\"bold\">covered by the panel</text>\n", y);
    for (const Reference& reference : kReferences) {
        const Coverage result = Cover(TriangleOf(reference.gamut), TriangleOf(panel));
        y += 22;
        Append(out, "<line x1=\"420\" y1=\"%.0f\" x2=\"450\" y2=\"%.0f\" stroke=\"%s\" stroke-width=\"2\"/>\n", y - 4,
               y - 4, reference.colour);
        Append(out, "<text x=\"460\" y=\"%.0f\">%s %.1f %%</text>\n", y, reference.name, result.coverage * 100);
    }
}

}  // namespace

std::string GamutDiagram(const std::string& title, const Gamut& panel) {
    std::string out =
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"660\" height=\"720\" viewBox=\"0 0 660 720\" "
        "font-family=\"sans-serif\" "
        "font-size=\"13\">\n<rect width=\"660\" height=\"720\" fill=\"white\"/>\n";
    out += "<title>" + Escaped(title) + "</title>\n<text x=\"60\" y=\"28\" font-size=\"17\">" + Escaped(title) +
           "</text>\n";
    AddGrid(out);
    AddPolygon(out, kLocus, "fill=\"#f4f4f4\" stroke=\"#333333\"");
    for (const Reference& reference : kReferences) {
        std::string style = "fill=\"none\" stroke-width=\"1.5\" stroke-dasharray=\"6 3\" stroke=\"";
        AddPolygon(out, TriangleOf(reference.gamut), (style + reference.colour + "\"").c_str());
    }
    AddPolygon(out, TriangleOf(panel), "fill=\"#f5b041\" fill-opacity=\"0.35\" stroke=\"black\" stroke-width=\"2\"");
    Append(out, "<circle cx=\"%.2f\" cy=\"%.2f\" r=\"4\" fill=\"white\" stroke=\"black\"/>\n", X(panel[3].first),
           Y(panel[3].second));
    AddLegend(out, panel);
    return out + "</svg>\n";
}

}  // namespace tandor
