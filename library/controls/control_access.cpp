#include "library/controls/control_access.h"

#include "library/controls/control_names.h"

#include <cerrno>
#include <cstring>
#include <linux/videodev2.h>

namespace korv {
namespace {

/// More than any driver has; one that repeats itself would otherwise be asked without end.
constexpr std::size_t kMaxControls = 1024;
constexpr std::int32_t kMaxChoices = 256;

ControlKind kindOf(std::uint32_t type)
{
    switch (type) {
    case V4L2_CTRL_TYPE_INTEGER:
        return ControlKind::Number;
    case V4L2_CTRL_TYPE_BOOLEAN:
        return ControlKind::Switch;
    case V4L2_CTRL_TYPE_MENU:
    case V4L2_CTRL_TYPE_INTEGER_MENU:
        return ControlKind::Menu;
    case V4L2_CTRL_TYPE_BUTTON:
        return ControlKind::Button;
    default:
        return ControlKind::Unsupported;
    }
}

std::vector<ControlChoice> listChoices(const ControlCall &call, const v4l2_queryctrl &query)
{
    std::vector<ControlChoice> choices;
    for (std::int32_t number = query.minimum;
         number <= query.maximum && number - query.minimum < kMaxChoices; ++number) {
        v4l2_querymenu entry{};
        entry.id = query.id;
        entry.index = static_cast<std::uint32_t>(number);
        if (call(VIDIOC_QUERYMENU, &entry) < 0)
            continue; // a gap
        std::string name;
        if (query.type == V4L2_CTRL_TYPE_INTEGER_MENU) {
            name = std::to_string(entry.value);
        } else {
            const auto *const text = reinterpret_cast<const char *>(entry.name);
            name.assign(text, strnlen(text, sizeof entry.name));
        }
        choices.push_back({number, std::move(name)});
    }
    return choices;
}

Control controlOf(const ControlCall &call, const v4l2_queryctrl &query)
{
    const auto *const title = reinterpret_cast<const char *>(query.name);
    Control control;
    control.id = query.id;
    control.name = controlName(std::string(title, strnlen(title, sizeof query.name)));
    control.kind = kindOf(query.type);
    control.minimum = query.minimum;
    control.maximum = query.maximum;
    control.step = query.step > 0 ? query.step : 1;
    control.standard = query.default_value;
    control.flags = query.flags;
    if (control.kind == ControlKind::Menu)
        control.choices = listChoices(call, query);
    return control;
}

bool isNone(const v4l2_queryctrl &query)
{
    return (query.flags & V4L2_CTRL_FLAG_DISABLED) != 0 || query.type == V4L2_CTRL_TYPE_CTRL_CLASS;
}

} // namespace

bool Control::isReadOnly() const
{
    return (flags & V4L2_CTRL_FLAG_READ_ONLY) != 0;
}

bool Control::isInactive() const
{
    return (flags & V4L2_CTRL_FLAG_INACTIVE) != 0;
}

bool Control::isWriteOnly() const
{
    return (flags & V4L2_CTRL_FLAG_WRITE_ONLY) != 0;
}

bool Control::isGrabbed() const
{
    return (flags & V4L2_CTRL_FLAG_GRABBED) != 0;
}

bool Control::isKeepable() const
{
    return !isReadOnly() && !isWriteOnly() && kind != ControlKind::Button
        && kind != ControlKind::Unsupported;
}

Result<std::vector<Control>> listControls(const ControlCall &call)
{
    std::vector<Control> controls;
    const Result<void> visited = visitControls(call, [&](Control control) {
        control.value = readControl(call, control);
        controls.push_back(std::move(control));
        return true;
    });
    if (!visited)
        return visited.error();
    return controls;
}

Result<void> visitControls(const ControlCall &call,
                           const std::function<bool(Control control)> &visit)
{
    v4l2_queryctrl query{};
    query.id = V4L2_CTRL_FLAG_NEXT_CTRL;
    for (std::size_t count = 0; count < kMaxControls; ++count) {
        const std::uint32_t before = query.id & ~std::uint32_t{V4L2_CTRL_FLAG_NEXT_CTRL};
        if (const int result = call(VIDIOC_QUERYCTRL, &query); result < 0) {
            if (result == -ENODEV)
                return systemError(ENODEV, "the camera is gone");
            break; // the last one
        }
        if (query.id <= before)
            break;
        if (!isNone(query) && !visit(controlOf(call, query)))
            break;
        query.id |= V4L2_CTRL_FLAG_NEXT_CTRL;
    }
    return {};
}

Result<Control> queryControl(const ControlCall &call, std::uint32_t id)
{
    v4l2_queryctrl query{};
    query.id = id;
    if (const int result = call(VIDIOC_QUERYCTRL, &query); result < 0)
        return systemError(-result, "VIDIOC_QUERYCTRL");
    if (isNone(query))
        return systemError(EINVAL, "the control is disabled");
    return controlOf(call, query);
}

std::optional<std::int32_t> readControl(const ControlCall &call, const Control &control)
{
    if (control.isWriteOnly() || control.kind == ControlKind::Button
        || control.kind == ControlKind::Unsupported)
        return std::nullopt;
    v4l2_control request{};
    request.id = control.id;
    if (call(VIDIOC_G_CTRL, &request) < 0)
        return std::nullopt;
    return request.value;
}

Result<void> writeControl(const ControlCall &call, const Control &control, std::int32_t value)
{
    v4l2_control request{};
    request.id = control.id;
    request.value = value;
    if (const int result = call(VIDIOC_S_CTRL, &request); result < 0)
        return systemError(-result, control.name, ": ", std::strerror(-result));
    return {};
}

} // namespace korv
