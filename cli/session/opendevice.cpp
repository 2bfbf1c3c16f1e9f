#include "cli/session/opendevice.h"

#include "camera/resolutionlist.h"
#include "cli/base/malloc_text.h"

namespace cli {

OpenDevice::OpenDevice(CCameraSDK &library, int index)
    : m_library(library)
    , m_index(index)
    , m_result(library.Open(index))
{
}

OpenDevice::~OpenDevice()
{
    if (m_result >= 0)
        m_library.Close(m_index);
}

std::vector<_tag_unit_cam_res_unit> OpenDevice::modes() const
{
    std::vector<_tag_unit_cam_res_unit> list;
    const LibraryText json(m_library.GetResolutionList(m_index));
    resolutionlist::parse(json.get(), list);
    return list;
}

std::string sizeText(int width, int height)
{
    return std::to_string(width) + "x" + std::to_string(height);
}

} // namespace cli
