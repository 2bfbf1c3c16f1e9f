#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace korv {

/// What a control takes. Unsupported: texts, arrays, bit masks and 64-bit numbers; cameras have none.
enum class ControlKind { Number, Switch, Menu, Button, Unsupported };

/// One entry of a menu. Drivers leave gaps in the numbers.
struct ControlChoice
{
    std::int32_t number = 0;
    std::string name;
};

/// A control of a V4L2 node: brightness, focus and the like.
struct Control
{
    std::uint32_t id = 0; ///< V4L2_CID_...
    std::string name; ///< "white_balance_automatic": what v4l2-ctl calls it
    ControlKind kind = ControlKind::Unsupported;
    std::int32_t minimum = 0;
    std::int32_t maximum = 0;
    std::int32_t step = 1;
    std::int32_t standard = 0; ///< the driver's default
    std::uint32_t flags = 0; ///< V4L2_CTRL_FLAG_...
    std::vector<ControlChoice> choices; ///< of a menu
    std::optional<std::int32_t> value; ///< nothing: it cannot be read

    bool isReadOnly() const;
    /// It has no effect now, mostly because an automatic has its place.
    bool isInactive() const;
    bool isWriteOnly() const;
    /// Another program has taken hold of it.
    bool isGrabbed() const;
    /// Whether it has a value that can be set again later.
    bool isKeepable() const;
};

} // namespace korv
