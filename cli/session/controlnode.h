#pragma once

#include "cli/base/descriptor.h"
#include "library/controls/control_access.h"

#include <string>

namespace cli {

/// A video node that is open for its controls. That disturbs no stream of another program.
class ControlNode
{
public:
    explicit ControlNode(const std::string &path);

    /// errno of why it is not open; 0: it is.
    int error() const { return m_error; }

    /// For the functions of library/controls; borrows this object.
    korv::ControlCall call() const;

private:
    Descriptor m_descriptor;
    int m_error;
};

} // namespace cli
