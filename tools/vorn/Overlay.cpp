#include "Overlay.h"

#include "PixelAccess.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

namespace vorn
{
namespace
{
struct StPoint
{
    std::int64_t x, y;
    bool operator<(const StPoint& other) const { return x != other.x ? x < other.x : y < other.y; }
    bool operator==(const StPoint& other) const { return x == other.x && y == other.y; }
};

// The picture's size over the image's: enlarged by `up`, reduced by `down`.
struct StZoom
{
    int up = 1, down = 1;
    int Canvas(int length) const { return int((std::int64_t(length) * up + down - 1) / down); }
    // The canvas position of a pixel coordinate (pixel centres at integers).
    double At(double coordinate) const { return (coordinate + 0.5) * up / down; }
};

StZoom ZoomFor(int width, int height)
{
    StZoom zoom;
    const int longest = std::max(width, height);
    if (longest < 512)
        zoom.up = std::min(8, 512 / longest);
    while (std::int64_t(zoom.Canvas(width)) * zoom.Canvas(height) > MAX_OVERLAY_PIXELS)
        ++zoom.down;
    return zoom;
}

// The maximum projection of the indices along z, and the row ends of every
// object (the first and last pixel of each run), which span the same convex
// hull in x-y as all of the object's pixels.
template <class T>
void Scan(const TOLX::CImage& indices, std::size_t objects, std::vector<std::uint32_t>& projection,
          std::vector<std::vector<StPoint>>& ends)
{
    const TOLX::CPos step = indices.Step();
    const int width = indices.Width();
    for (int z = 0; z < indices.Depth(); ++z)
        for (int y = 0; y < indices.Height(); ++y)
        {
            const std::uint8_t* row = indices.Data() + z * step.Z() + y * step.Y();
            std::uint32_t* projected = projection.data() + std::size_t(y) * std::size_t(width);
            for (int x = 0; x < width;)
            {
                const std::uint32_t k = LoadPixel<T>(row + x * step.X());
                int last = x;
                while (last + 1 < width && LoadPixel<T>(row + (last + 1) * step.X()) == k)
                    ++last;
                if (k != 0)
                {
                    if (k > objects)
                        throw std::logic_error("an object index beyond the objects");
                    std::vector<StPoint>& points = ends[k - 1];
                    points.push_back({x, y});
                    if (last != x)
                        points.push_back({last, y});
                    for (int i = x; i <= last; ++i)
                        projected[i] = std::max(projected[i], k);
                }
                x = last + 1;
            }
        }
}

std::int64_t Cross(const StPoint& o, const StPoint& a, const StPoint& b)
{
    return (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x);
}

// Andrew's monotone chain: the hull's corners counter-clockwise, without
// points on its edges; one or two points for a point or a segment.
std::vector<StPoint> HullOf(std::vector<StPoint> points)
{
    std::sort(points.begin(), points.end());
    points.erase(std::unique(points.begin(), points.end()), points.end());
    if (points.size() < 3)
        return points;
    std::vector<StPoint> hull(2 * points.size());
    std::size_t k = 0;
    for (const StPoint& p : points)
    {
        while (k >= 2 && Cross(hull[k - 2], hull[k - 1], p) <= 0)
            --k;
        hull[k++] = p;
    }
    const std::size_t lower = k + 1;
    for (auto p = points.rbegin() + 1; p != points.rend(); ++p)
    {
        while (k >= lower && Cross(hull[k - 2], hull[k - 1], *p) <= 0)
            --k;
        hull[k++] = *p;
    }
    hull.resize(k - 1);
    return hull;
}

using Colour = std::array<std::uint8_t, 3>;
constexpr Colour WHITE{255, 255, 255};
constexpr Colour BLACK{0, 0, 0};
constexpr Colour YELLOW{255, 230, 0};

// Hues spread by the golden ratio, so neighbouring labels differ clearly.
Colour ObjectColour(std::size_t index)
{
    const double hue = std::fmod(double(index) * 0.6180339887498949, 1.0) * 6.0;
    const double saturation = 0.7, value = 0.75;
    const int sector = int(hue) % 6;
    const double f = hue - std::floor(hue);
    const double p = value * (1 - saturation), q = value * (1 - saturation * f), t = value * (1 - saturation * (1 - f));
    const double rgb[6][3] = {{value, t, p}, {q, value, p}, {p, value, t}, {p, q, value}, {t, p, value}, {value, p, q}};
    return {std::uint8_t(rgb[sector][0] * 255), std::uint8_t(rgb[sector][1] * 255), std::uint8_t(rgb[sector][2] * 255)};
}

class CCanvas
{
public:
    CCanvas(int width, int height) : m_picture{width, height, std::vector<std::uint8_t>(std::size_t(width) * height * 3)} {}

    int Width() const { return m_picture.width; }
    int Height() const { return m_picture.height; }
    void Set(int x, int y, const Colour& colour)
    {
        if (x < 0 || y < 0 || x >= Width() || y >= Height())
            return;
        std::copy(colour.begin(), colour.end(), m_picture.rgb.begin() + (std::ptrdiff_t(y) * Width() + x) * 3);
    }
    // Bresenham's line between two canvas positions, rounded to pixels.
    void Line(double x0, double y0, double x1, double y1, const Colour& colour)
    {
        if (!std::isfinite(x0) || !std::isfinite(y0) || !std::isfinite(x1) || !std::isfinite(y1))
            return;
        const double limit = 4.0 * (Width() + Height()); // keeps the step count bounded
        auto clamp = [&](double v) { return std::int64_t(std::lround(std::clamp(v, -limit, limit))); };
        std::int64_t x = clamp(x0), y = clamp(y0);
        const std::int64_t xe = clamp(x1), ye = clamp(y1);
        const std::int64_t dx = std::abs(xe - x), dy = -std::abs(ye - y);
        const int sx = x < xe ? 1 : -1, sy = y < ye ? 1 : -1;
        std::int64_t error = dx + dy;
        for (;;)
        {
            Set(int(x), int(y), colour);
            if (x == xe && y == ye)
                return;
            const std::int64_t twice = 2 * error;
            if (twice >= dy)
            {
                error += dy;
                x += sx;
            }
            if (twice <= dx)
            {
                error += dx;
                y += sy;
            }
        }
    }
    OverlayPicture Take() { return std::move(m_picture); }

private:
    OverlayPicture m_picture;
};

// Digits of a 3-by-5 font, rows top to bottom, three bits a row.
constexpr std::uint16_t DIGITS[10] = {0x7B6F, 0x2C97, 0x73E7, 0x73CF, 0x5BC9, 0x79CF, 0x79EF, 0x7249, 0x7BEF, 0x7BCF};

// Labels beside their objects, each where it neither leaves the picture nor
// covers a label already written.
class CLabeller
{
public:
    CLabeller(CCanvas& canvas, int scale)
        : m_canvas(canvas), m_scale(scale), m_taken(std::size_t(canvas.Width()) * canvas.Height(), false)
    {
    }

    // Writes `label` with its left edge at x (or its right edge at x, when
    // `leftOf`), centred on y; false when there is no room.
    bool Write(std::int64_t label, double x, double y, bool leftOf)
    {
        const std::string text = std::to_string(label);
        const int width = int(text.size()) * 4 * m_scale + m_scale, height = 7 * m_scale;
        const int left = int(std::lround(leftOf ? x - width : x)), top = int(std::lround(y - height / 2.0));
        if (left < 0 || top < 0 || left + width > m_canvas.Width() || top + height > m_canvas.Height())
            return false;
        for (int v = top; v < top + height; ++v)
            for (int u = left; u < left + width; ++u)
                if (m_taken[Index(u, v)])
                    return false;
        for (int v = top; v < top + height; ++v)
            for (int u = left; u < left + width; ++u)
            {
                m_taken[Index(u, v)] = true;
                m_canvas.Set(u, v, BLACK);
            }
        for (std::size_t c = 0; c < text.size(); ++c)
            for (int bit = 0; bit < 15; ++bit)
                if (DIGITS[text[c] - '0'] >> (14 - bit) & 1)
                    for (int v = 0; v < m_scale; ++v)
                        for (int u = 0; u < m_scale; ++u)
                            m_canvas.Set(left + m_scale * (1 + 4 * int(c) + bit % 3) + u, top + m_scale * (1 + bit / 3) + v,
                                         WHITE);
        return true;
    }

private:
    std::size_t Index(int u, int v) const { return std::size_t(v) * m_canvas.Width() + u; }

    CCanvas& m_canvas;
    int m_scale;
    std::vector<bool> m_taken;
};
} // namespace

OverlayPicture DrawOverlay(const TOLX::CImage& indices, const std::vector<OverlayObject>& objects)
{
    const int width = indices.Width(), height = indices.Height();
    std::vector<std::uint32_t> projection(std::size_t(width) * height, 0);
    std::vector<std::vector<StPoint>> ends(objects.size());
    WithPixelType(indices.Type(), [&](auto element) { Scan<decltype(element)>(indices, objects.size(), projection, ends); });

    const StZoom zoom = ZoomFor(width, height);
    CCanvas canvas(zoom.Canvas(width), zoom.Canvas(height));
    std::vector<Colour> colours(objects.size());
    for (std::size_t k = 0; k < objects.size(); ++k)
        colours[k] = ObjectColour(k);
    for (int v = 0; v < canvas.Height(); ++v)
        for (int u = 0; u < canvas.Width(); ++u)
        {
            const std::uint32_t k =
                projection[std::size_t(std::int64_t(v) * zoom.down / zoom.up) * width + std::size_t(std::int64_t(u) * zoom.down / zoom.up)];
            if (k != 0)
                canvas.Set(u, v, colours[k - 1]);
        }

    // The canvas x range of each hull, to put the label beside it.
    std::vector<std::array<double, 2>> spans(objects.size());
    for (std::size_t k = 0; k < objects.size(); ++k)
    {
        const OverlayObject& object = objects[k];
        const std::vector<StPoint> hull = HullOf(std::move(ends[k]));
        spans[k] = {zoom.At(object.centre[0]), zoom.At(object.centre[0])};
        for (std::size_t i = 0; i < hull.size(); ++i)
        {
            const StPoint& a = hull[i];
            const StPoint& b = hull[(i + 1) % hull.size()];
            canvas.Line(zoom.At(double(a.x)), zoom.At(double(a.y)), zoom.At(double(b.x)), zoom.At(double(b.y)), WHITE);
            spans[k] = {std::min(spans[k][0], zoom.At(double(a.x))), std::max(spans[k][1], zoom.At(double(a.x)))};
        }
        // An axis shorter than a pixel of the picture shows no direction.
        const double dx = object.halfLength * object.axis[0], dy = object.halfLength * object.axis[1];
        if (std::hypot(dx, dy) * zoom.up / zoom.down >= 0.5)
            canvas.Line(zoom.At(object.centre[0] - dx), zoom.At(object.centre[1] - dy), zoom.At(object.centre[0] + dx),
                        zoom.At(object.centre[1] + dy), YELLOW);
    }

    CLabeller labeller(canvas, zoom.up >= 4 ? 2 : 1);
    constexpr double GAP = 2;
    for (std::size_t k = 0; k < objects.size(); ++k)
    {
        const double y = zoom.At(objects[k].centre[1]);
        if (!labeller.Write(objects[k].label, spans[k][1] + GAP, y, false))
            labeller.Write(objects[k].label, spans[k][0] - GAP, y, true);
    }
    return canvas.Take();
}
} // namespace vorn
