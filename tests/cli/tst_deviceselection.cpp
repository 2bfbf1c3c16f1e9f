#include "cli/session/deviceselection.h"

#include "tests/support/temp_home.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

namespace {

using cli::Device;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

/// Two cameras of one model and another one, with nodes made of files.
class DeviceSelection : public testing::Test
{
protected:
    DeviceSelection()
    {
        for (const char *name : {"video0", "video1", "video2"}) {
            std::ofstream(node(name)) << "";
            const fs::path interface =
                m_home.scratch() / (std::string(name) == "video2" ? "usb/1-2" : "usb/1-1");
            fs::create_directories(interface);
            fs::create_directories(m_home.scratch() / "sys" / name);
            fs::create_symlink(interface, m_home.scratch() / "sys" / name / "device");
        }
        fs::create_symlink("video2", node("by-id"));
        m_devices = {{0, 0x1b17, 0x0211, "Desk Camera", node("video0"), "S1"},
                     {3, 0x1b17, 0x0211, "Desk Camera", node("video2"), "S2"},
                     {4, 0x1209, 0x0001, "高拍仪 Simulated", "", ""},
                     {5, 0x1209, 0x0002, "Desk", "", ""}};
    }

    std::string node(const std::string &name) const { return (m_home.scratch() / name).string(); }

    std::vector<int> indices(const std::string &wanted) const
    {
        std::vector<int> found;
        for (const Device &device :
             cli::matching(m_devices, wanted, (m_home.scratch() / "sys").string()))
            found.push_back(device.index);
        return found;
    }

    support::TempHome m_home;
    std::vector<Device> m_devices;
};

TEST_F(DeviceSelection, byIndex)
{
    EXPECT_THAT(indices("3"), ElementsAre(3));
    EXPECT_THAT(indices("1"), IsEmpty());
    EXPECT_THAT(indices("99999999999999999999"), IsEmpty());
}

TEST_F(DeviceSelection, byNodeOrALinkToIt)
{
    EXPECT_THAT(indices(node("video0")), ElementsAre(0));
    EXPECT_THAT(indices(node("by-id")), ElementsAre(3));
    EXPECT_THAT(indices(node("video7")), IsEmpty());
    EXPECT_THAT(indices(m_home.scratch().string()), IsEmpty());
}

TEST_F(DeviceSelection, bySecondNodeOfTheCamera)
{
    EXPECT_THAT(indices(node("video1")), ElementsAre(0));
}

TEST_F(DeviceSelection, byModel)
{
    EXPECT_THAT(indices("1b17:0211"), ElementsAre(0, 3));
    EXPECT_THAT(indices("1B17:0211"), ElementsAre(0, 3));
    EXPECT_THAT(indices("1209:0001"), ElementsAre(4));
    EXPECT_THAT(indices("1209:0003"), IsEmpty());
    EXPECT_THAT(indices("1209:1"), IsEmpty());
}

TEST_F(DeviceSelection, byNameOrItsBeginning)
{
    EXPECT_THAT(indices("高拍仪"), ElementsAre(4));
    EXPECT_THAT(indices("desk cam"), ElementsAre(0, 3));
    EXPECT_THAT(indices("desk"), ElementsAre(5)); // the whole name goes first
    EXPECT_THAT(indices("camera"), IsEmpty());
    EXPECT_THAT(indices(""), IsEmpty());
}

} // namespace
