#pragma once

#include "library/device/camera_device.h"
#include "library/device/simulated/page_source.h"
#include "library/device/simulated/simulated_stream.h"

#include <functional>
#include <memory>
#include <vector>

namespace korv {

/// A camera whose pictures are made from pages, or by a scene of its own. It offers the usual sizes
/// of a document camera, and the size of its largest page when that is larger still.
class SimulatedDevice : public CameraDevice
{
public:
    /// Makes the frames of a stream of that size.
    using Scene = std::function<std::unique_ptr<FrameSource>(int width, int height)>;

    SimulatedDevice(std::shared_ptr<const Plug> plug, std::unique_ptr<PageSource> pages);
    SimulatedDevice(std::shared_ptr<const Plug> plug, Scene scene);

    const std::vector<CaptureMode> &modes() const override { return m_modes; }
    int currentMode() const override { return m_current.number; }
    Result<void> selectMode(int number) override;
    Result<void> start(FrameSink &sink) override;
    Result<void> stop() override;

private:
    std::shared_ptr<const Plug> m_plug;
    std::unique_ptr<PageSource> m_pages; ///< null where a scene of its own makes the frames
    Scene m_scene;
    std::vector<CaptureMode> m_modes;
    CaptureMode m_current;
    std::unique_ptr<SimulatedStream> m_stream; // after the pages, which it borrows
};

} // namespace korv
