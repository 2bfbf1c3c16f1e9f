#pragma once

#include "library/device/simulated/page_source.h"

namespace korv {

/// Whether a file of that name is a page: by its extension.
bool isPageName(const std::string &fileName);

/// The JPEG files in a folder and the folders below it, in the order of their paths. Files may
/// come, go and change at any time.
class FolderPages : public PageSource
{
public:
    explicit FolderPages(std::string folder)
        : m_folder(std::move(folder))
    {
    }

    std::vector<std::string> pages() const override;
    /// The page fills the picture when it has its proportions, and lies on the desk otherwise.
    Result<Image> render(const std::string &page, int width, int height) const override;
    Size largestPage() const override;
    std::string label() const override { return "folder \"" + m_folder + "\""; }

private:
    std::string m_folder;
};

} // namespace korv
