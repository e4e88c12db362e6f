#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace vorn
{
// A one-line progress bar for long passes. It draws only when enabled (the
// tool enables it when standard error is a terminal) and only once a pass has
// run longer than the delay, so short runs and redirected output see nothing.
class CProgress
{
public:
    CProgress(std::FILE* out, bool enabled, std::chrono::milliseconds delay);
    // Enabled when standard error is a terminal, appearing after half a second.
    static CProgress ForStandardError();
    ~CProgress();
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    // Starts a pass of `total` steps; a pass still running is ended first.
    void Begin(const char* phase, std::int64_t total);
    // `done` steps of the current pass are finished.
    void Advance(std::int64_t done);
    // Ends the pass and wipes the bar if one was drawn.
    void End();

private:
    void Draw(int permille);

    std::FILE* m_out;
    bool m_enabled;
    std::chrono::milliseconds m_delay;
    std::string m_phase;
    std::int64_t m_total = 0;
    int m_shownPermille = -1;
    bool m_drawn = false;
    bool m_running = false;
    std::chrono::steady_clock::time_point m_start;
};

// Ends the current pass of a progress bar when it goes out of scope, also when
// the pass is left by an exception.
class CProgressPass
{
public:
    CProgressPass(CProgress& progress, const char* phase, std::int64_t total) : m_progress(progress)
    {
        m_progress.Begin(phase, total);
    }
    ~CProgressPass() { m_progress.End(); }
    CProgressPass(const CProgressPass&) = delete;
    CProgressPass& operator=(const CProgressPass&) = delete;
    void Advance(std::int64_t done) { m_progress.Advance(done); }

private:
    CProgress& m_progress;
};
} // namespace vorn
