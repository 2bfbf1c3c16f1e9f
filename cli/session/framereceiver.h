#pragma once

#include "cli/base/wakeup.h"
#include "util/mutex.h"

#include <vector>

namespace cli {

/// A frame of our own, and how many had come when it did.
struct ReceivedFrame
{
    std::vector<unsigned char> jpeg; ///< at least width x height x 3 bytes long, see take()
    int width = 0;
    int height = 0;
    unsigned long number = 0;
};

/// Keeps the newest frame of a stream. The library's frame callback carries no context, so one
/// receiver at a time can be active: from construction to destruction. End the stream first.
class FrameReceiver
{
public:
    /// `wakeup` is borrowed and notified of each frame.
    explicit FrameReceiver(Wakeup &wakeup);
    FrameReceiver(const FrameReceiver &) = delete;
    FrameReceiver &operator=(const FrameReceiver &) = delete;
    ~FrameReceiver();

    /// For StartCapture; runs on the library's thread.
    static int onFrame(void *data, int size, int width, int height);

    /// Notes from now on when each frame arrives; forgets what was noted.
    void noteArrivals();

    /// When frames arrived since noteArrivals(), the first one first.
    std::vector<Wakeup::Clock::time_point> arrivals() const;

    /// Copies the newest frame into `frame` when it is newer than the one in there.
    bool take(ReceivedFrame &frame);

    /// The same for a frame that is only looked at: without the room that the library needs behind it,
    /// which takes longer to fill than the frame. makeRoom() adds it.
    bool takeBare(ReceivedFrame &frame);
    static void makeRoom(ReceivedFrame &frame);

    /// Waits until `deadline` for a frame newer than the one in `frame` and copies it: Notified.
    Wake await(ReceivedFrame &frame, Wakeup::Clock::time_point deadline);

    /// How many frames have come.
    unsigned long count() const;

private:
    void keep(const unsigned char *data, int size, int width, int height);

    Wakeup &m_wakeup;
    mutable Mutex m_mutex;
    ReceivedFrame m_newest GUARDED_BY(m_mutex);
    bool m_notesArrivals GUARDED_BY(m_mutex) = false;
    std::vector<Wakeup::Clock::time_point> m_arrivals GUARDED_BY(m_mutex);
};

} // namespace cli
