#include "Format.h"
#include "Json.h"

#include <cmath>
#include <cstdio>

namespace vorn
{
namespace
{
std::string Printf(const char* format, double value)
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}

// A column of `width` characters holding the value, or "n/a" where it is
// not a number.
std::string Cell(const char* format, double value, int width)
{
    const std::string text = std::isfinite(value) ? Printf(format, value) : "n/a";
    return std::string(text.size() < std::size_t(width) ? width - text.size() : 1, ' ') + text;
}

std::string Right(const std::string& text, int width)
{
    return std::string(text.size() < std::size_t(width) ? width - text.size() : 1, ' ') + text;
}

const char* const AXIS_NAMES[] = {"x", "y", "z"};

std::vector<double> Components(const TOLX::CTriple<double>& triple, int dimension)
{
    std::vector<double> values{triple.x, triple.y, triple.z};
    values.resize(std::size_t(dimension));
    return values;
}

std::vector<double> Corner(int x, int y, int z, int dimension)
{
    std::vector<double> values{double(x), double(y), double(z)};
    values.resize(std::size_t(dimension));
    return values;
}
} // namespace

void WriteAnalysisText(std::ostream& out, const AnalysisReport& report, const std::string& source,
                       const std::string& legend)
{
    const int d = report.dimension;
    out << source << ": " << report.width << "x" << report.height;
    if (d == 3)
        out << "x" << report.depth;
    out << ", " << d << "-D, " << report.bitsPerPixel << "-bit, " << report.objects.size() << " objects (largest label "
        << report.labels - 1 << ")\n";
    if (!legend.empty())
        out << "labels: " << legend << "\n";

    std::string header = Right("label", 6) + Right("pixels", 10);
    for (int i = 0; i < d; ++i)
        header += Right(std::string("centre_") + AXIS_NAMES[i], 10);
    for (int i = 0; i < d; ++i)
        header += Right("moment_" + std::to_string(i + 1), 11);
    for (int i = 0; i < d; ++i)
        header += Right(std::string("axis_") + AXIS_NAMES[i], 8);
    if (d == 2)
        header += Right("excentricity", 13);
    header += Right("facets", 8) + Right("vertices", 9) + Right("solidity", 9);
    out << header << "\n";

    for (const ObjectReport& object : report.objects)
    {
        std::string row = Right(std::to_string(object.label), 6) + Right(std::to_string(object.pixels), 10);
        for (const double c : Components(object.centre, d))
            row += Cell("%.2f", c, 10);
        for (const double m : object.principalMoments)
            row += Cell("%.4g", m, 11);
        for (const double a : Components(object.mainAxis, d))
            row += Cell("%.3f", a, 8);
        if (d == 2)
            row += Cell("%.4g", object.excentricity, 13);
        if (object.hull.available)
            row += Right(std::to_string(object.hull.facets), 8) + Right(std::to_string(object.hull.vertices), 9);
        else
            row += Right("n/a", 8) + Right("n/a", 9);
        row += Cell("%.3f", object.Solidity(), 9);
        out << row << "\n";
    }
    for (const ObjectReport& object : report.objects)
        if (!object.hull.available)
            out << "label " << object.label << ": no hull: " << object.hull.problem << "\n";
}

std::string AnalysisJson(const AnalysisReport& report, const std::string& source)
{
    const int d = report.dimension;
    std::string text;
    CJsonWriter json(text);
    json.BeginObject();
    json.Key("source");
    json.String(source);
    json.Key("dimension");
    json.Integer(d);
    json.Key("size");
    json.BeginArray(true);
    json.Integer(report.width);
    json.Integer(report.height);
    if (d == 3)
        json.Integer(report.depth);
    json.EndArray();
    json.Key("bits_per_pixel");
    json.Integer(report.bitsPerPixel);
    json.Key("labels");
    json.Integer(report.labels);
    json.Key("objects");
    json.BeginArray();
    const std::vector<TOLX::CValueMap> maps = ObjectMomentMaps(report);
    auto map = maps.begin();
    for (const ObjectReport& object : report.objects)
    {
        json.BeginObject();
        json.Key("label");
        json.Integer(object.label);
        json.Key("pixels");
        json.Integer(object.pixels);
        json.Key("box_min");
        WriteNumberArray(json, Corner(object.box.xmin, object.box.ymin, object.box.zmin, d));
        json.Key("box_max");
        WriteNumberArray(json, Corner(object.box.xmax, object.box.ymax, object.box.zmax, d));
        json.Key("centre_of_mass");
        WriteNumberArray(json, Components(object.centre, d));
        json.Key("principal_moments");
        WriteNumberArray(json, object.principalMoments);
        json.Key("main_axis");
        WriteNumberArray(json, Components(object.mainAxis, d));
        json.Key("excentricity");
        json.Number(object.excentricity);
        json.Key("hull");
        if (object.hull.available)
        {
            json.BeginObject(true);
            json.Key("facets");
            json.Integer(static_cast<std::int64_t>(object.hull.facets));
            json.Key("vertices");
            json.Integer(static_cast<std::int64_t>(object.hull.vertices));
            json.Key("painted_pixels");
            json.Integer(object.hull.paintedPixels);
            json.EndObject();
        }
        else
            json.Null();
        json.Key("hull_problem");
        if (object.hull.available)
            json.Null();
        else
            json.String(object.hull.problem);
        json.Key("solidity");
        json.Number(object.Solidity());
        json.Key("moments");
        WriteValue(json, *map++);
        json.EndObject();
    }
    json.EndArray();
    json.EndObject();
    return text;
}
} // namespace vorn
