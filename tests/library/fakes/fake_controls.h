#pragma once

#include "library/controls/control_access.h"

#include <linux/videodev2.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace testing_support {

/// A control as a driver has it.
struct FakeControl
{
    std::uint32_t type = V4L2_CTRL_TYPE_INTEGER;
    std::string title;
    std::int32_t minimum = 0;
    std::int32_t maximum = 255;
    std::int32_t step = 1;
    std::int32_t standard = 0;
    std::uint32_t flags = 0;
    std::map<std::int32_t, std::string> menu{};
    std::uint32_t master = 0; ///< the automatic that rules it; 0: none
    std::int32_t manual = 0; ///< the automatic's value at which this one has an effect
    std::int32_t value = 0;
};

/// The controls of a node, which behave as uvcvideo's do: an inactive one refuses to be set.
class FakeControls
{
public:
    std::map<std::uint32_t, FakeControl> controls;
    std::vector<std::string> writes; ///< "Brightness=5"
    int asked = 0;
    std::map<unsigned long, int> requests{}; ///< how often, by kind
    std::map<unsigned long, int> failures{}; ///< negative errno for every request of a kind

    /// A document camera with automatics and a power line frequency, all at their defaults.
    static FakeControls camera();

    /// As the library is to call it; borrows this object.
    korv::ControlCall call()
    {
        return [this](unsigned long request, void *argument) { return ask(request, argument); };
    }

    int ask(unsigned long request, void *argument);

private:
    int query(v4l2_queryctrl &query) const;
    int write(const v4l2_control &request);
    std::uint32_t flagsOf(const FakeControl &control) const;
};

} // namespace testing_support
