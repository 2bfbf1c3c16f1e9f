#pragma once

#include <memory>

namespace korv {

/// Calls a C library's release function; no state, so a Handle is as small as a pointer.
template <auto Release> struct Releaser
{
    template <typename T> void operator()(T *handle) const { Release(handle); }
};

/// Owner of a C library's handle: `using UdevMonitor = Handle<udev_monitor, udev_monitor_unref>;`
template <typename T, auto Release> using Handle = std::unique_ptr<T, Releaser<Release>>;

} // namespace korv
