#include "tests/library/fakes/fake_controls.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace testing_support {
namespace {

/// A field of 32 bytes; a pointer, for one of a packed structure.
void setText(void *field, const std::string &text)
{
    std::memcpy(field, text.data(), std::min<std::size_t>(text.size(), 31));
}

} // namespace

FakeControls FakeControls::camera()
{
    FakeControls camera;
    auto &all = camera.controls;
    all[V4L2_CID_BRIGHTNESS] = {V4L2_CTRL_TYPE_INTEGER, "Brightness", -64, 64, 1, 0, 0};
    all[V4L2_CID_AUTO_WHITE_BALANCE] = {
        V4L2_CTRL_TYPE_BOOLEAN, "White Balance, Automatic", 0, 1, 1, 1, 0};
    all[V4L2_CID_POWER_LINE_FREQUENCY] = {V4L2_CTRL_TYPE_MENU,
                                          "Power Line Frequency",
                                          0,
                                          2,
                                          1,
                                          0,
                                          0,
                                          {{0, "Disabled"}, {1, "50 Hz"}, {2, "60 Hz"}}};
    all[V4L2_CID_WHITE_BALANCE_TEMPERATURE] = {V4L2_CTRL_TYPE_INTEGER,
                                               "White Balance Temperature",
                                               2800,
                                               6500,
                                               10,
                                               4600,
                                               0,
                                               {},
                                               V4L2_CID_AUTO_WHITE_BALANCE,
                                               0};
    // above the values that it rules, and with a gap
    all[V4L2_CID_EXPOSURE_AUTO] = {V4L2_CTRL_TYPE_MENU,
                                   "Auto Exposure",
                                   0,
                                   3,
                                   1,
                                   3,
                                   0,
                                   {{1, "Manual Mode"}, {3, "Aperture Priority Mode"}}};
    all[V4L2_CID_EXPOSURE_ABSOLUTE] = {
        V4L2_CTRL_TYPE_INTEGER, "Exposure Time, Absolute", 3, 2047, 1, 250, 0, {},
        V4L2_CID_EXPOSURE_AUTO, V4L2_EXPOSURE_MANUAL};
    all[V4L2_CID_AUTO_FOCUS_START] = {V4L2_CTRL_TYPE_BUTTON,    "Auto Focus, Start", 0, 0, 0, 0,
                                      V4L2_CTRL_FLAG_WRITE_ONLY};
    for (auto &[id, control] : all)
        control.value = control.standard;
    return camera;
}

std::uint32_t FakeControls::flagsOf(const FakeControl &control) const
{
    const auto master = controls.find(control.master);
    const bool ruled = master != controls.end() && master->second.value != control.manual;
    return control.flags | (ruled ? V4L2_CTRL_FLAG_INACTIVE : 0U);
}

int FakeControls::query(v4l2_queryctrl &query) const
{
    const bool isNext = (query.id & V4L2_CTRL_FLAG_NEXT_CTRL) != 0;
    const std::uint32_t id = query.id & ~std::uint32_t{V4L2_CTRL_FLAG_NEXT_CTRL};
    const auto found = isNext ? controls.upper_bound(id) : controls.find(id);
    if (found == controls.end())
        return -EINVAL;
    const FakeControl &control = found->second;
    query = {};
    query.id = found->first;
    query.type = control.type;
    setText(&query.name, control.title);
    query.minimum = control.minimum;
    query.maximum = control.maximum;
    query.step = control.step;
    query.default_value = control.standard;
    query.flags = flagsOf(control);
    return 0;
}

int FakeControls::write(const v4l2_control &request)
{
    const auto found = controls.find(request.id);
    if (found == controls.end())
        return -EINVAL;
    FakeControl &control = found->second;
    if ((flagsOf(control) & (V4L2_CTRL_FLAG_INACTIVE | V4L2_CTRL_FLAG_READ_ONLY)) != 0)
        return -EACCES;
    if (request.value < control.minimum || request.value > control.maximum)
        return -ERANGE;
    control.value = request.value;
    writes.push_back(control.title + "=" + std::to_string(request.value));
    return 0;
}

int FakeControls::ask(unsigned long request, void *argument)
{
    ++asked;
    ++requests[request];
    if (const auto failure = failures.find(request); failure != failures.end())
        return failure->second;
    switch (request) {
    case VIDIOC_QUERYCTRL:
        return query(*static_cast<v4l2_queryctrl *>(argument));
    case VIDIOC_QUERYMENU: {
        auto &entry = *static_cast<v4l2_querymenu *>(argument);
        const auto &menu = controls.at(entry.id).menu;
        const auto found = menu.find(static_cast<std::int32_t>(entry.index));
        if (found == menu.end())
            return -EINVAL;
        setText(&entry.name, found->second);
        return 0;
    }
    case VIDIOC_G_CTRL: {
        auto &answer = *static_cast<v4l2_control *>(argument);
        const auto found = controls.find(answer.id);
        if (found == controls.end())
            return -EINVAL;
        answer.value = found->second.value;
        return 0;
    }
    case VIDIOC_S_CTRL:
        return write(*static_cast<v4l2_control *>(argument));
    default:
        return -ENOTTY;
    }
}

} // namespace testing_support
