#pragma once

#include "library/base/log.h"

#include <chrono>
#include <string>

namespace korv {

/// Measures the steps of one piece of work for a debug line such as "photograph: decode 31.2 ms,
/// encode 20.4 ms", which destruction writes. Does nothing when debug lines are not written.
class StepTimes
{
public:
    /// `work` is a literal.
    explicit StepTimes(const char *work)
        : m_work(work)
        , m_isOn(isLogged(LogLevel::Debug))
        , m_begin(m_isOn ? Clock::now() : Clock::time_point())
    {
    }
    ~StepTimes();
    StepTimes(const StepTimes &) = delete;
    StepTimes &operator=(const StepTimes &) = delete;

    /// A step ends; it began when the one before it ended. Throws std::bad_alloc.
    void ended(const char *step);

private:
    using Clock = std::chrono::steady_clock;

    const char *const m_work;
    const bool m_isOn;
    Clock::time_point m_begin;
    std::string m_steps;
};

} // namespace korv
