#pragma once

#include "library/api/session.h"
#include "tests/library/fakes/fake_devices.h"
#include "tests/library/support/wait.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace testing_support {

/// What the plain C callbacks write to; one test at a time uses it.
struct Heard
{
    std::mutex mutex;
    std::vector<std::string> events; ///< "add 0 Cam"
    std::atomic<int> frames{0};
    std::function<void()> onFrame;
    std::function<void()> onEvent;

    std::vector<std::string> soFar()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return events;
    }
};

/// What the callbacks below write to: that of the running SessionTest.
extern Heard *heard;

/// A receiver of events.
void hear(char *json);
/// Another one, which says of each event only "elsewhere".
void hearElsewhere(char *json);
/// A receiver of frames.
int take(void *frame, int width, int height, int size);

/// A session of made-up monitors and devices.
class SessionTest : public testing::Test
{
protected:
    void SetUp() override { heard = &m_heard; }
    void TearDown() override
    {
        m_session.reset();
        heard = nullptr;
    }

    /// Starts a session with as many monitors as backends.
    korv::Session &started(std::size_t monitors = 1)
    {
        korv::Session::Monitors all;
        for (std::size_t each = 0; each < monitors; ++each)
            all.push_back(std::make_unique<FakeMonitor>(m_backends[each]));
        m_session = std::make_unique<korv::Session>(std::move(all));
        EXPECT_TRUE(m_session->start());
        return *m_session;
    }

    bool hears(const std::vector<std::string> &expected)
    {
        return becomesTrue([&] { return m_heard.soFar() == expected; });
    }

    Heard m_heard;
    FakeBackend m_backends[2];
    FakeBackend &m_backend = m_backends[0];
    std::unique_ptr<korv::Session> m_session;
};

} // namespace testing_support
