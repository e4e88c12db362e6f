#include "StackLayout.h"

#include "Quote.h"
#include "ToolError.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <map>

namespace vorn
{
namespace
{
// The value of `key=` on a line of ImageJ's description, or empty.
std::string ImageJValue(const std::string& text, const std::string& key)
{
    for (std::size_t at = 0; at < text.size();)
    {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        if (text.compare(at, key.size() + 1, key + "=") == 0)
            return text.substr(at + key.size() + 1, end - at - key.size() - 1);
        at = end + 1;
    }
    return "";
}

// The attributes of the first element named `name` (with or without a
// namespace prefix) of an XML text.
std::map<std::string, std::string> XmlAttributes(const std::string& text, const std::string& name)
{
    std::map<std::string, std::string> attributes;
    std::size_t at = 0;
    for (;; ++at)
    {
        at = text.find(name, at);
        if (at == std::string::npos)
            return attributes;
        const char before = at > 0 ? text[at - 1] : ' ';
        const char after = at + name.size() < text.size() ? text[at + name.size()] : '>';
        if ((before == '<' || before == ':') && (after == ' ' || after == '\n' || after == '\t' || after == '\r'))
            break;
    }
    const std::size_t end = std::min(text.find('>', at), text.size());
    for (at += name.size(); at < end;)
    {
        const std::size_t equals = text.find('=', at);
        if (equals == std::string::npos || equals >= end || equals + 1 >= end)
            break;
        const char quote = text[equals + 1];
        const std::size_t close = text.find(quote, equals + 2);
        if ((quote != '"' && quote != '\'') || close == std::string::npos || close > end)
            break;
        const std::size_t keyStart = text.find_first_not_of(" \n\t\r", at);
        attributes[text.substr(keyStart, equals - keyStart)] = text.substr(equals + 2, close - equals - 2);
        at = close + 1;
    }
    return attributes;
}

double ParsePositive(const std::string& text, const std::string& what, const std::string& where)
{
    errno = 0;
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || errno != 0 || !(value > 0) || !std::isfinite(value))
        throw CToolError(where + "declares " + what + "=" + Quoted(text) + ", which is no positive number");
    return value;
}

std::int64_t ParseCount(const std::string& text, const std::string& what, const std::string& where)
{
    const double value = ParsePositive(text, what, where);
    if (value != std::floor(value) || value > 2147483647.0)
        throw CToolError(where + "declares " + what + "=" + Quoted(text) + ", which is no count of pages");
    return static_cast<std::int64_t>(value);
}

// Metres per unit, for OME's units of length that differ between axes.
double MetresPer(const std::string& unit)
{
    static const std::map<std::string, double> units = {{"pm", 1e-12}, {"Å", 1e-10}, {"nm", 1e-9}, {"µm", 1e-6},
                                                        {"mm", 1e-3},  {"cm", 1e-2},  {"m", 1.0}};
    const auto found = units.find(unit);
    return found == units.end() ? 0.0 : found->second;
}

StackLayout ImageJLayout(const std::string& text, const std::string& where)
{
    StackLayout layout;
    layout.format = "ImageJ hyperstack";
    const auto count = [&](const char* key, std::int64_t fallback) {
        const std::string value = ImageJValue(text, key);
        return value.empty() ? fallback : ParseCount(value, key, where);
    };
    layout.channels = count("channels", 1);
    layout.frames = count("frames", 1);
    const std::int64_t images = count("images", 0);
    // Counts are below 2^31, so this product of two cannot overflow.
    layout.slices = count("slices", images ? std::max<std::int64_t>(1, images / (layout.channels * layout.frames)) : 0);
    if (images && double(images) != double(layout.channels) * double(layout.slices) * double(layout.frames))
        throw CToolError(where + "declares images=" + std::to_string(images) + ", which is not channels x slices x frames (" +
                         std::to_string(layout.channels) + " x " + std::to_string(layout.slices) + " x " +
                         std::to_string(layout.frames) + ")");
    const std::string unit = ImageJValue(text, "unit");
    const std::string spacing = ImageJValue(text, "spacing");
    if (!unit.empty() || !spacing.empty())
    {
        layout.calibrated = true;
        layout.calibration.origin = "ImageJ";
        layout.calibration.unit = unit.empty() ? "pixel" : NormalUnit(unit);
        if (!spacing.empty())
            layout.calibration.spacing[2] = ParsePositive(spacing, "spacing", where);
    }
    return layout;
}

StackLayout OmeLayout(const std::string& text, const std::string& where)
{
    StackLayout layout;
    layout.format = "OME-TIFF";
    auto pixels = XmlAttributes(text, "Pixels");
    const std::string order = pixels["DimensionOrder"];
    if (order.size() != 5 || order.compare(0, 2, "XY") != 0 || order.find('C') == std::string::npos ||
        order.find('Z') == std::string::npos || order.find('T') == std::string::npos)
        throw CToolError(where + "declares the dimension order " + Quoted(order) + "; OME orders are XY and C, Z, T");
    layout.order = order.substr(2);
    const auto count = [&](const char* key) {
        const std::string value = pixels[key];
        return value.empty() ? 1 : ParseCount(value, key, where);
    };
    layout.channels = count("SizeC");
    layout.slices = count("SizeZ");
    layout.frames = count("SizeT");
    // OME's default unit of length is the micrometre.
    std::string units[3];
    for (int axis = 0; axis < 3; ++axis)
    {
        const std::string name = std::string("PhysicalSize") + "XYZ"[axis];
        units[axis] = pixels[name + "Unit"].empty() ? "µm" : NormalUnit(pixels[name + "Unit"]);
        if (pixels[name].empty())
            continue;
        layout.calibrated = true;
        layout.calibration.spacing[axis] = ParsePositive(pixels[name], name, where);
    }
    for (int axis = 1; layout.calibrated && axis < 3; ++axis)
    {
        if (units[axis] == units[0] || pixels[std::string("PhysicalSize") + "XYZ"[axis]].empty())
            continue;
        const double from = MetresPer(units[axis]), to = MetresPer(units[0]);
        if (from == 0 || to == 0)
            throw CToolError(where + "gives the pixel size in " + Quoted(units[0]) + " and " + Quoted(units[axis]) +
                             ", which vorn cannot convert; give --spacing");
        layout.calibration.spacing[axis] *= from / to;
    }
    if (layout.calibrated)
    {
        layout.calibration.unit = units[0];
        layout.calibration.origin = "OME";
    }
    return layout;
}
} // namespace

std::string NormalUnit(const std::string& unit)
{
    if (unit == "micron" || unit == "microns" || unit == "um" || unit == "\\u00B5m" || unit == "\xB5m" ||
        unit == "\xCE\xBCm")
        return "µm";
    return unit;
}

std::int64_t StackLayout::PageOf(std::int64_t c, std::int64_t z, std::int64_t t) const
{
    std::int64_t page = 0, stride = 1;
    for (const char axis : order)
    {
        const std::int64_t size = axis == 'C' ? channels : axis == 'Z' ? slices : frames;
        page += stride * (axis == 'C' ? c : axis == 'Z' ? z : t);
        stride *= size;
    }
    return page;
}

StackLayout ParseDescription(const std::string& description, const std::string& where)
{
    const bool imagej = description.compare(0, 7, "ImageJ=") == 0;
    if (!imagej && description.find("<OME") == std::string::npos && description.find(":OME") == std::string::npos)
        return StackLayout();
    const StackLayout layout = imagej ? ImageJLayout(description, where) : OmeLayout(description, where);
    // Each count is below 2^31; their product must be too, as a file's pages are.
    const double images = double(layout.channels) * double(std::max<std::int64_t>(layout.slices, 1)) * double(layout.frames);
    if (images > 2147483647.0)
        throw CToolError(where + "declares " + std::to_string(layout.channels) + " x " + std::to_string(layout.slices) +
                         " x " + std::to_string(layout.frames) + " images, more than a TIFF file holds");
    return layout;
}
} // namespace vorn
