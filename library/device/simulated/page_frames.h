#pragma once

#include "library/device/simulated/frame_composer.h"
#include "library/device/simulated/frame_source.h"
#include "library/device/simulated/page_cycler.h"

namespace korv {

/// Frames of pages that are turned every few seconds, all at once.
class PageFrames : public FrameSource
{
public:
    /// `pages` is borrowed. Throws std::system_error when no thread can be started.
    PageFrames(const PageSource &pages, int width, int height)
        : m_label(pages.label())
        , m_cycler(pages, width, height, {})
    {
    }

    bool waitUntilReady() override { return m_cycler.waitForPage() != nullptr; }
    Result<ByteView> frame(std::int64_t number) override
    {
        const auto page = m_cycler.waitForPage();
        return page ? m_composer.compose(page, number) : Result<ByteView>(ByteView());
    }
    std::string label() const override { return m_label; }
    void stop() override { m_cycler.stop(); }

private:
    const std::string m_label;
    FrameComposer m_composer;
    PageCycler m_cycler;
};

} // namespace korv
