#pragma once

#include "library/device/simulated/frame_source.h"
#include "library/device/simulated/hands/desk_sensor.h"
#include "library/device/simulated/hands/hand_script.h"
#include "library/device/simulated/hands/sheet_pile.h"
#include "library/video/strip_encoder.h"

#include <memory>

namespace korv {

/// Frames of a desk whose pages a hand turns, at SimulatedStream's rate. The same options and number
/// give the same frame. Each says in a JPEG comment what is to be seen, for those who check what a
/// program made of it:
///
///     korv-desk frame=123 page=4 hand=0 still=1.250
///
/// `page` counts from 0, `hand` is 1 while one is in the picture, `still` the seconds since everything
/// came to rest, -1 while it has not.
class HandFrames : public FrameSource
{
public:
    static constexpr char kLabel[] = "built-in desk with hands";

    /// Throws std::system_error when no thread can be started.
    HandFrames(const HandDeskOptions &options, int width, int height);

    bool waitUntilReady() override { return m_pile.sheet(0) != nullptr; }
    Result<ByteView> frame(std::int64_t number) override;
    std::string label() const override { return kLabel; }
    void stop() override { m_pile.stop(); }

private:
    bool compose(const DeskMoment &moment);
    void focus(const DeskMoment &moment);

    HandScript m_script;
    const DeskSensor m_sensor;
    Image m_scene; ///< before the sensor
    Image m_focused; ///< the scene as a lens out of focus sees it
    Image m_picture;
    Bytes m_frame;
    StripEncoder m_encoder;
    SheetPile m_pile; // last: its thread ends first
};

} // namespace korv
