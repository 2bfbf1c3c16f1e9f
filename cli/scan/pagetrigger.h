#pragma once

#include "cli/scan/camerabutton.h"

#include <memory>
#include <string>

namespace cli {

/// Something that asks for pages besides the picture itself: the Enter key, a button on the camera.
/// Thread: the main thread.
class PageTrigger
{
public:
    /// What has happened since the last read().
    struct News
    {
        int presses = 0; ///< pages asked for
        bool hasEnded =
            false; ///< there will be no more; descriptor() is not to be watched any longer
    };

    virtual ~PageTrigger() = default;

    /// Can be read while there are news; valid as long as the object. See Wakeup::watch().
    virtual int descriptor() const = 0;

    /// Takes the news. Does not wait.
    virtual News read() = 0;
};

/// Standard input: a page for each line. Its end is the end of the trigger.
class EnterKey : public PageTrigger
{
public:
    int descriptor() const override;
    News read() override;
};

/// The button on a camera. The end of the button, with the camera, is the end of the trigger.
class ButtonPress : public PageTrigger
{
public:
    /// `path`: of its input node. See error().
    explicit ButtonPress(const std::string &path);

    /// errno of why it cannot be read.
    int error() const { return m_button.error(); }

    int descriptor() const override { return m_descriptor; }
    News read() override;

private:
    CameraButton m_button;
    const int m_descriptor; ///< still names what was watched when the button has closed its own
};

/// Whether somebody can press Enter: standard input is a terminal of which this program has the use.
bool hasKeyboard();

} // namespace cli
