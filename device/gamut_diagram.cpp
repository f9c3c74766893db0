#include "device/gamut_diagram.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <iterator>

namespace tandor {
namespace {

// The spectral locus of the CIE 1931 2-degree standard observer, from 380 to 700 nm in steps of 5.
constexpr Chromaticity kLocus[] = {
    {.1741, .0050}, {.1740, .0050}, {.1738, .0049}, {.1736, .0049}, {.1733, .0048}, {.1730, .0048}, {.1726, .0048},
    {.1721, .0048}, {.1714, .0051}, {.1703, .0058}, {.1689, .0069}, {.1669, .0086}, {.1644, .0109}, {.1611, .0138},
    {.1566, .0177}, {.1510, .0227}, {.1440, .0297}, {.1355, .0399}, {.1241, .0578}, {.1096, .0868}, {.0913, .1327},
    {.0687, .2007}, {.0454, .2950}, {.0235, .4127}, {.0082, .5384}, {.0039, .6548}, {.0139, .7502}, {.0389, .8120},
    {.0743, .8338}, {.1142, .8262}, {.1547, .8059}, {.1929, .7816}, {.2296, .7543}, {.2658, .7243}, {.3016, .6923},
    {.3373, .6589}, {.3731, .6245}, {.4087, .5896}, {.4441, .5547}, {.4788, .5202}, {.5125, .4866}, {.5448, .4544},
    {.5752, .4242}, {.6029, .3965}, {.6270, .3725}, {.6482, .3514}, {.6658, .3340}, {.6801, .3197}, {.6915, .3083},
    {.7006, .2993}, {.7079, .2920}, {.7140, .2859}, {.7190, .2809}, {.7230, .2770}, {.7260, .2740}, {.7283, .2717},
    {.7300, .2700}, {.7311, .2689}, {.7320, .2680}, {.7327, .2673}, {.7334, .2666}, {.7340, .2660}, {.7344, .2656},
    {.7346, .2654}, {.7347, .2653}};
constexpr int kFirstWave = 380, kWaveStep = 5;
constexpr int kLabelled[] = {460, 470, 480, 490, 500, 510, 520, 530, 540, 560, 580, 600, 620, 700};

struct Reference {
    const char* name;
    const Gamut& gamut;
    const char* colour;
    const char* dashes;
};
constexpr Reference kReferences[] = {{"sRGB", kSrgb, "#6b6b6b", "6 3"},
                                     {"P3", kP3, "#c0392b", "6 3"},
                                     {"Adobe RGB", kAdobeRgb, "#1e8449", "6 3"},
                                     {"BT.2020", kBt2020, "#2e5aac", "6 3"},
                                     {"BT.2020 (standard)", kBt2020Standard, "#7d3c98", "2 3"}};
constexpr const char* kPanelStyle = "fill=\"#f5b041\" fill-opacity=\"0.35\" stroke=\"#111111\" stroke-width=\"2\"";
constexpr const char* kWhiteStyle = "r=\"4\" fill=\"#ffffff\" stroke=\"#111111\"";

constexpr double kScale = 700;  // SVG units for 1.0
constexpr double kLeft = 60;
constexpr double kBottom = 675;

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

void AddLine(std::string& out, double x1, double y1, double x2, double y2, const char* style) {
    Append(out, "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" %s/>\n", x1, y1, x2, y2, style);
}

void AddGrid(std::string& out) {
    constexpr const char* kGrid = "stroke=\"#dddddd\"";
    for (int tenth = 0; tenth <= 9; ++tenth) {
        const double at = tenth / 10.0;
        AddLine(out, X(0), Y(at), X(0.8), Y(at), kGrid);
        Append(out, "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"end\">%.1f</text>\n", X(0) - 8, Y(at) + 4, at);
        if (tenth > 8) continue;
        AddLine(out, X(at), Y(0), X(at), Y(0.9), kGrid);
        Append(out, "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\">%.1f</text>\n", X(at), Y(0) + 20, at);
    }
    constexpr const char* kName = "font-style=\"italic\" font-size=\"16\" text-anchor=\"middle\"";
    Append(out, "<text x=\"%.1f\" y=\"%.1f\" %s>x</text>\n", X(0.4), Y(0) + 42, kName);
    Append(out, "<text x=\"%.1f\" y=\"%.1f\" %s>y</text>\n", X(0) - 44, Y(0.45) + 5, kName);
}

// A smooth line through the points (E. Catmull, R. Rom, A class of local interpolating splines, 1974), closed by the
// line of purples.
void AddLocus(std::string& out) {
    constexpr std::size_t kLast = std::size(kLocus) - 1;
    Append(out, "<path d=\"M%.2f,%.2f", X(kLocus[0].first), Y(kLocus[0].second));
    for (std::size_t i = 0; i < kLast; ++i) {
        const Chromaticity &before = kLocus[i == 0 ? 0 : i - 1], &from = kLocus[i], &to = kLocus[i + 1],
                           &after = kLocus[std::min(i + 2, kLast)];
        Append(out, " C%.2f,%.2f %.2f,%.2f %.2f,%.2f", X(from.first + (to.first - before.first) / 6),
               Y(from.second + (to.second - before.second) / 6), X(to.first - (after.first - from.first) / 6),
               Y(to.second - (after.second - from.second) / 6), X(to.first), Y(to.second));
    }
    out += " Z\" fill=\"#f4f4f4\" stroke=\"#333333\"/>\n";
}

// Wavelengths stand outside the locus, at its right angle.
void AddWaves(std::string& out) {
    for (const int wave : kLabelled) {
        const auto at = static_cast<std::size_t>((wave - kFirstWave) / kWaveStep);
        const Chromaticity& here = kLocus[at];
        const Chromaticity& before = kLocus[at - 1];
        const Chromaticity& after = kLocus[std::min(at + 1, std::size(kLocus) - 1)];
        const double length = std::hypot(after.first - before.first, after.second - before.second);
        const double out_x = -(after.second - before.second) / length, out_y = (after.first - before.first) / length;
        const double x = X(here.first), y = Y(here.second);
        AddLine(out, x, y, x + 6 * out_x, y - 6 * out_y, "stroke=\"#333333\"");
        const char* const anchor = out_x > 0.3 ? "start" : out_x < -0.3 ? "end" : "middle";
        Append(out, "<text x=\"%.1f\" y=\"%.1f\" font-size=\"11\" text-anchor=\"%s\">%d%s</text>\n", x + 10 * out_x,
               y - 12 * out_y + 4, anchor, wave, wave == 700 ? " nm" : "");
    }
}

void AddLegend(std::string& out, const Gamut& panel) {
    constexpr double kX = 400;
    double y = 78;
    Append(out, "<rect x=\"%.0f\" y=\"%.0f\" width=\"30\" height=\"12\" %s/>\n", kX, y - 10, kPanelStyle);
    Append(out, "<text x=\"%.0f\" y=\"%.0f\">the panel</text>\n", kX + 40, y);
    y += 22;
    Append(out, "<circle cx=\"%.0f\" cy=\"%.0f\" %s/>\n", kX + 15, y - 4, kWhiteStyle);
    Append(out, "<text x=\"%.0f\" y=\"%.0f\">its white point</text>\n", kX + 40, y);
    y += 28;
    Append(out, "<text x=\"%.0f\" y=\"%.0f\" font-weight=\"bold\">covered by the panel</text>\n", kX, y);
    for (const Reference& reference : kReferences) {
        const Coverage result = Cover(TriangleOf(reference.gamut), TriangleOf(panel));
        y += 22;
        Append(out,
               "<line x1=\"%.0f\" y1=\"%.0f\" x2=\"%.0f\" y2=\"%.0f\" stroke=\"%s\" stroke-width=\"2\" "
               "stroke-dasharray=\"%s\"/>\n",
               kX, y - 4, kX + 30, y - 4, reference.colour, reference.dashes);
        Append(out, "<text x=\"%.0f\" y=\"%.0f\">%s %.1f %%</text>\n", kX + 40, y, reference.name,
               result.coverage * 100);
    }
}

}  // namespace

std::string GamutDiagram(const std::string& title, const Gamut& panel) {
    // White ground and black text of its own, whatever the page around it has.
    std::string out =
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"660\" height=\"730\" viewBox=\"0 0 660 730\" "
        "font-family=\"sans-serif\" font-size=\"13\" fill=\"#111111\">\n"
        "<rect width=\"660\" height=\"730\" fill=\"#ffffff\"/>\n";
    out += "<title>" + Escaped(title) + "</title>\n<text x=\"60\" y=\"28\" font-size=\"17\">" + Escaped(title) +
           ", CIE 1931</text>\n";
    AddGrid(out);
    AddLocus(out);
    AddWaves(out);
    AddPolygon(out, TriangleOf(panel), kPanelStyle);
    for (const Reference& reference : kReferences) {
        const std::string style = std::string("fill=\"none\" stroke-width=\"1.5\" stroke-dasharray=\"") +
                                  reference.dashes + "\" stroke=\"" + reference.colour + "\"";
        AddPolygon(out, TriangleOf(reference.gamut), style.c_str());
    }
    Append(out, "<circle cx=\"%.2f\" cy=\"%.2f\" %s/>\n", X(panel[3].first), Y(panel[3].second), kWhiteStyle);
    AddLegend(out, panel);
    return out + "</svg>\n";
}

}  // namespace tandor
