#include "Progress.h"

#include <unistd.h>

namespace vorn
{
namespace
{
constexpr int BAR_WIDTH = 30;
}

CProgress::CProgress(std::FILE* out, bool enabled, std::chrono::milliseconds delay)
    : m_out(out), m_enabled(enabled), m_delay(delay)
{
}

CProgress CProgress::ForStandardError()
{
    return CProgress(stderr, isatty(fileno(stderr)) == 1, std::chrono::milliseconds(500));
}

CProgress::~CProgress() { End(); }

void CProgress::Begin(const char* phase, std::int64_t total)
{
    End();
    m_phase = phase;
    m_total = total;
    m_shownPermille = -1;
    m_running = true;
    m_start = std::chrono::steady_clock::now();
}

void CProgress::Advance(std::int64_t done)
{
    if (!m_enabled || !m_running || m_total <= 0)
        return;
    const int permille = static_cast<int>(done >= m_total ? 1000 : done * 1000 / m_total);
    // Redrawing only when the shown value changes keeps the bar cheap enough to
    // be advanced once per image slice or object.
    if (permille == m_shownPermille)
        return;
    if (!m_drawn && std::chrono::steady_clock::now() - m_start < m_delay)
        return;
    Draw(permille);
}

void CProgress::Draw(int permille)
{
    char bar[BAR_WIDTH + 1];
    const int filled = permille * BAR_WIDTH / 1000;
    for (int i = 0; i < BAR_WIDTH; ++i)
        bar[i] = i < filled ? '#' : '.';
    bar[BAR_WIDTH] = '\0';
    std::fprintf(m_out, "\r%-8s [%s] %3d.%d%%", m_phase.c_str(), bar, permille / 10, permille % 10);
    std::fflush(m_out);
    m_shownPermille = permille;
    m_drawn = true;
}

void CProgress::End()
{
    if (m_drawn)
    {
        // Blank out the bar so that later output starts on a clean line.
        std::fprintf(m_out, "\r%*s\r", BAR_WIDTH + 20, "");
        std::fflush(m_out);
    }
    m_drawn = false;
    m_running = false;
}
} // namespace vorn
