#include "cli/scan/camerabutton.h"

#include "tests/support/temp_home.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <linux/input.h>
#include <optional>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using cli::CameraButton;

namespace fs = std::filesystem;

/// A camera's USB device made of files; its input node is a pipe.
class Button : public testing::Test
{
protected:
    Button()
    {
        m_folders.videoNodes = folder("video4linux");
        m_folders.input = folder("input");
        folder("usb/1-1/1-1:1.0");
        folder("video4linux/video0");
        fs::create_symlink(m_home.scratch() / "usb/1-1/1-1:1.0",
                           m_home.scratch() / "video4linux/video0/device");
    }

    std::string folder(const std::string &name) const
    {
        fs::create_directories(m_home.scratch() / name);
        return (m_home.scratch() / name).string();
    }

    void addInput(const std::string &path, const std::string &keys) const
    {
        const std::string input = folder("usb/1-1/" + path);
        fs::create_directories(input + "/event7");
        fs::create_directories(input + "/capabilities");
        std::ofstream(input + "/capabilities/key") << keys << "\n";
    }

    std::string find() const { return CameraButton::find("/dev/video0", m_folders); }

    /// The input node, open for writing; read by a button.
    std::string pipe() const
    {
        const std::string path = m_folders.input + "/event7";
        EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        return path;
    }

    static void send(int descriptor, std::uint16_t type, std::uint16_t code, int value)
    {
        input_event event{};
        event.type = type;
        event.code = code;
        event.value = value;
        ASSERT_EQ(write(descriptor, &event, sizeof event), static_cast<ssize_t>(sizeof event));
    }

    static void press(int descriptor)
    {
        send(descriptor, EV_KEY, KEY_CAMERA, 1);
        send(descriptor, EV_SYN, SYN_REPORT, 0);
        send(descriptor, EV_KEY, KEY_CAMERA, 0);
        send(descriptor, EV_SYN, SYN_REPORT, 0);
    }

    support::TempHome m_home;
    CameraButton::Folders m_folders;
};

TEST_F(Button, isFoundBesideTheVideoNode)
{
    EXPECT_EQ(find(), "");
    // what the kernel shows of a camera with a button: key 212
    addInput("1-1:1.0/input/input5", "100000 0 0 0");
    EXPECT_EQ(find(), m_folders.input + "/event7");
}

TEST_F(Button, isFoundOnAnotherInterface)
{
    addInput("1-1:1.3/input/input5", "100000 0 0 0");
    EXPECT_EQ(find(), m_folders.input + "/event7");
}

TEST_F(Button, otherKeysAreNone)
{
    addInput("1-1:1.0/input/input5", "200000 0 0 0");
    addInput("1-1:1.0/input/input6", "100000 0 0");
    EXPECT_EQ(find(), "");
}

TEST_F(Button, cameraWithoutANodeHasNone)
{
    EXPECT_EQ(CameraButton::find("", m_folders), "");
    EXPECT_EQ(CameraButton::find("/dev/video9", m_folders), "");
}

TEST_F(Button, pressesAreCounted)
{
    const std::string path = pipe();
    CameraButton button(path);
    ASSERT_EQ(button.error(), 0);
    const cli::Descriptor writer(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_TRUE(writer);
    EXPECT_EQ(button.presses(), 0);
    press(writer.get());
    pollfd source{button.descriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&source, 1, 0), 1);
    EXPECT_EQ(button.presses(), 1);
    EXPECT_EQ(button.presses(), 0);
    press(writer.get());
    send(writer.get(), EV_KEY, KEY_CAMERA, 2); // held down
    send(writer.get(), EV_KEY, KEY_ENTER, 1);
    press(writer.get());
    EXPECT_EQ(button.presses(), 2);
    EXPECT_EQ(button.error(), 0);
}

TEST_F(Button, cameraThatGoesIsAnErrorAndNoPress)
{
    const std::string path = pipe();
    CameraButton button(path);
    {
        const cli::Descriptor writer(open(path.c_str(), O_WRONLY | O_CLOEXEC));
        press(writer.get());
    }
    EXPECT_EQ(button.presses(), 1); // what was pressed before counts
    EXPECT_EQ(button.error(), ENODEV);
    EXPECT_EQ(button.descriptor(), -1);
    EXPECT_EQ(button.presses(), 0);
}

TEST_F(Button, nodeThatCannotBeOpenedSaysWhy)
{
    EXPECT_EQ(CameraButton(m_folders.input + "/event9").error(), ENOENT);
    EXPECT_EQ(CameraButton(m_folders.input + "/event9").presses(), 0);
}

} // namespace
