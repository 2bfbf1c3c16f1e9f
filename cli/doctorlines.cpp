#include "cli/doctorlines.h"

#include "cli/base/translation.h"
#include "cli/session/opendevice.h"

#include <cstring>

namespace cli {
namespace {

/// With as many digits as the line of text has.
double rounded(double value, int digits)
{
    return std::stod(fixed(value, digits));
}

} // namespace

std::string joined(const std::vector<std::string> &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

std::string describe(const UsbCamera &camera)
{
    return camera.id + "  " + camera.name + "  "
        + (camera.driver.empty() ? tr("no driver") : tr("driver %1", camera.driver));
}

JsonLine objectOf(const UsbCamera &camera)
{
    JsonLine object;
    object.add("check", "usb_camera").add("model", camera.id).add("name", camera.name);
    return std::move(object.add("driver", camera.driver));
}

std::string describe(const VideoNodeInfo &node)
{
    const std::string start = node.path + "  ";
    if (node.openError != 0)
        return start + tr("cannot be opened: %1", std::strerror(node.openError));
    if (!node.isV4l2)
        return start + tr("is not a V4L2 device");
    if (!node.capturesVideo)
        return start + node.card + "  " + tr("no pictures; a camera's second node is like that");
    return start + node.card + "  " + joined(node.formats)
        + (node.users.empty() ? "" : "  " + tr("open in %1", joined(node.users)));
}

JsonLine objectOf(const VideoNodeInfo &node)
{
    JsonLine object;
    object.add("check", "video_node").add("node", node.path).add("name", node.card);
    object.add("formats", node.formats).add("captures_video", node.capturesVideo);
    object.add("users", node.users);
    if (node.openError != 0)
        object.add("error", std::strerror(node.openError));
    return object;
}

std::string describe(const StreamFinding &stream)
{
    const FrameRate &rate = stream.rate;
    return tr("first picture after %1 s, %2, then %3 a second", fixed(stream.firstAfter, 2),
              sizeText(stream.width, stream.height), fixed(rate.measured, 1))
        + (rate.promised ? tr(" of %1", fixed(*rate.promised, 1)) : std::string())
        + (rate.missing > 0 ? tr(", %1 left out", rate.missing) : std::string());
}

JsonLine objectOf(const StreamFinding &stream)
{
    JsonLine object;
    object.add("check", "stream").add("first_picture", rounded(stream.firstAfter, 2));
    object.add("width", stream.width).add("height", stream.height);
    object.add("rate", rounded(stream.rate.measured, 1));
    if (stream.rate.promised)
        object.add("promised_rate", rounded(*stream.rate.promised, 1));
    object.add("left_out", static_cast<double>(stream.rate.missing));
    return object;
}

} // namespace cli
