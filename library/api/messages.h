#pragma once

#include "library/device/camera_device.h"

#include <cstdlib>
#include <memory>
#include <vector>

namespace korv {

struct FreeText
{
    void operator()(char *text) const { std::free(text); }
};

/// A NUL-terminated text allocated with malloc(), because that is how it leaves the library.
using MallocText = std::unique_ptr<char, FreeText>;

enum class DeviceAction { Add, Remove };

/// A device under the index by which the contract knows it.
struct IndexedDevice
{
    int index = 0;
    DeviceIdentity identity;
};

/// The texts of the contract. All throw std::bad_alloc when memory is short and are never null.
namespace messages {

/// {"action":"add","index":0,"name":"...","vid":1,"pid":2}
MallocText deviceEvent(DeviceAction action, const IndexedDevice &device);

/// [{"index":0,"name":"...","vid":1,"pid":2,"node":"/dev/video0","serial":"..."}, ...]; node and
/// serial only where there are any.
MallocText deviceList(const std::vector<IndexedDevice> &devices);

/// [{"res-no":0,"res-w":3264,"res-h":2448}, ...] in the order given.
MallocText resolutionList(const std::vector<CaptureMode> &modes);

} // namespace messages
} // namespace korv
