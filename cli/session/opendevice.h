#pragma once

#include "camera/camerarecords.h"
#include "camera/ccamerasdk.h"

#include <string>
#include <vector>

namespace cli {

/// A device that is open for one command; destruction closes it, which ends its stream.
class OpenDevice
{
public:
    OpenDevice(CCameraSDK &library, int index);
    OpenDevice(const OpenDevice &) = delete;
    OpenDevice &operator=(const OpenDevice &) = delete;
    ~OpenDevice();

    /// What opening answered; negative: not open.
    int result() const { return m_result; }

    /// The resolutions it offers; empty when it is not open.
    std::vector<_tag_unit_cam_res_unit> modes() const;

private:
    CCameraSDK &m_library;
    int m_index;
    int m_result;
};

/// "1920x1080".
std::string sizeText(int width, int height);

} // namespace cli
