#include "library/base/step_times.h"

#include <array>
#include <cstdio>

namespace korv {

StepTimes::~StepTimes()
{
    if (!m_steps.empty())
        logLine(LogLevel::Debug, m_work, m_steps);
}

void StepTimes::ended(const char *step)
{
    if (!m_isOn)
        return;
    const Clock::time_point now = Clock::now();
    const std::chrono::duration<double, std::milli> took = now - m_begin;
    m_begin = now;
    std::array<char, 64> time{};
    std::snprintf(time.data(), time.size(), " %.1f ms", took.count());
    m_steps += m_steps.empty() ? "" : ", ";
    m_steps += step;
    m_steps += time.data();
}

} // namespace korv
