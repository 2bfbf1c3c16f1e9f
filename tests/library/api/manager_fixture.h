#pragma once

#include "library/api/manager.h"
#include "tests/library/fakes/fake_devices.h"
#include "tests/library/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <memory>

/// A manager with cameras that the test plugs in, and a folder for its files.
class ManagerTest : public testing::Test
{
protected:
    testing_support::FakeBackend m_backend;
    korv::Manager m_manager{[this](const korv::Settings &) {
        korv::Session::Monitors monitors;
        monitors.push_back(std::make_unique<testing_support::FakeMonitor>(m_backend));
        return monitors;
    }};
    testing_support::TemporaryFolder m_folder;
};
