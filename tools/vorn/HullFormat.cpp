#include "Format.h"
#include "Json.h"

namespace vorn
{
namespace
{
std::string Joined(const std::vector<double>& values)
{
    std::string text;
    for (const double value : values)
        text += (text.empty() ? "" : " ") + FormatNumber(value);
    return text;
}
} // namespace

void WriteHullText(std::ostream& out, const HullSummary& hull)
{
    out << "hull of " << hull.points << " points in " << hull.dimension << "-D: " << hull.facets.size() << " facets, "
        << hull.vertices.size() << " vertices\n";
    out << "facets (normal . x <= offset):\n";
    for (const HullSummary::Facet& facet : hull.facets)
        out << "  " << Joined(facet.normal) << " <= " << FormatNumber(facet.offset) << "\n";
    out << "vertices:\n";
    for (const std::vector<double>& vertex : hull.vertices)
        out << "  " << Joined(vertex) << "\n";
    if (hull.insideTests.empty())
        return;
    out << "inside tests:\n";
    for (const HullSummary::InsideTest& test : hull.insideTests)
        out << "  " << Joined(test.point) << ": " << (test.inside ? "inside" : "outside") << "\n";
}

std::string HullJson(const HullSummary& hull)
{
    std::string text;
    CJsonWriter json(text);
    json.BeginObject();
    json.Key("dimension");
    json.Integer(static_cast<std::int64_t>(hull.dimension));
    json.Key("points");
    json.Integer(static_cast<std::int64_t>(hull.points));
    json.Key("facets");
    json.BeginArray();
    for (const HullSummary::Facet& facet : hull.facets)
    {
        json.BeginObject(true);
        json.Key("normal");
        WriteNumberArray(json, facet.normal);
        json.Key("offset");
        json.Number(facet.offset);
        json.EndObject();
    }
    json.EndArray();
    json.Key("vertices");
    json.BeginArray();
    for (const std::vector<double>& vertex : hull.vertices)
        WriteNumberArray(json, vertex);
    json.EndArray();
    json.Key("inside");
    json.BeginArray();
    for (const HullSummary::InsideTest& test : hull.insideTests)
    {
        json.BeginObject(true);
        json.Key("point");
        WriteNumberArray(json, test.point);
        json.Key("inside");
        json.Bool(test.inside);
        json.EndObject();
    }
    json.EndArray();
    json.EndObject();
    return text;
}
} // namespace vorn
