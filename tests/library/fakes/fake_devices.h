#pragma once

#include "library/device/device_monitor.h"
#include "tests/library/support/wait.h"

#include <atomic>
#include <cerrno>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <thread>

namespace testing_support {

/// A camera that sends the same few bytes as fast as they are taken.
class FakeDevice : public korv::CameraDevice
{
public:
    explicit FakeDevice(std::shared_ptr<std::atomic<int>> alive)
        : m_alive(std::move(alive))
    {
        ++*m_alive;
    }
    ~FakeDevice() override
    {
        if (m_thread.joinable())
            static_cast<void>(stop());
        --*m_alive;
    }

    const std::vector<korv::CaptureMode> &modes() const override { return m_modes; }
    int currentMode() const override { return m_current; }
    korv::Result<void> selectMode(int number) override
    {
        if (number != 3 && number != 5)
            return korv::Error{-EINVAL, "no such mode"};
        m_current = number;
        return {};
    }
    korv::Result<void> start(korv::FrameSink &sink) override
    {
        m_stopping = false;
        m_thread = std::thread([this, &sink] {
            const korv::Bytes bytes{1, 2, 3};
            while (!m_stopping)
                sink.onFrame({bytes, 20, 10});
        });
        return {};
    }
    korv::Result<void> stop() override
    {
        m_stopping = true;
        m_thread.join();
        return {};
    }

private:
    const std::vector<korv::CaptureMode> m_modes{{3, 20, 10}, {5, 10, 5}};
    int m_current = 3;
    std::shared_ptr<std::atomic<int>> m_alive;
    std::atomic<bool> m_stopping{false};
    std::thread m_thread;
};

/// What a FakeMonitor does, kept by the test while the monitor belongs to the session.
struct FakeBackend
{
    korv::DeviceObserver *observer = nullptr;
    std::vector<korv::DeviceIdentity> presentAtStart;
    int startError = 0;
    int openError = 0;
    std::function<void()> duringOpen;
    std::shared_ptr<std::atomic<int>> alive = std::make_shared<std::atomic<int>>(0);
    int ended = 0;

    void plug(const std::string &key, const std::string &name = "Cam")
    {
        observer->onArrival({key, name, 0x1234, 0x5678});
    }
    void pull(const std::string &key) { observer->onDeparture(key); }
};

class FakeMonitor : public korv::DeviceMonitor
{
public:
    explicit FakeMonitor(FakeBackend &backend)
        : m_backend(backend)
    {
    }
    ~FakeMonitor() override { ++m_backend.ended; }

    korv::Result<void> start(korv::DeviceObserver &observer) override
    {
        if (m_backend.startError != 0)
            return korv::Error{m_backend.startError, "refused"};
        m_backend.observer = &observer;
        for (const korv::DeviceIdentity &identity : m_backend.presentAtStart)
            observer.onArrival(identity);
        return {};
    }
    korv::Result<std::unique_ptr<korv::CameraDevice>> open(const std::string &) override
    {
        if (m_backend.duringOpen)
            m_backend.duringOpen();
        if (m_backend.openError != 0)
            return korv::Error{m_backend.openError, "refused"};
        return std::unique_ptr<korv::CameraDevice>(std::make_unique<FakeDevice>(m_backend.alive));
    }

private:
    FakeBackend &m_backend;
};

} // namespace testing_support
