#pragma once

#include "library/image/image.h"
#include "library/recognition/content_key.h"
#include "library/recognition/page_reader.h"
#include "library/recognition/tesseract.h"
#include "library/recognition/text_cache.h"
#include "library/text/page_text.h"
#include "library/threads/mutex.h"

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace korv {

/// The pages of documents that are turned upright where it is sure how they lie.
enum class TurnedPages {
    None,
    WithText, ///< those of documents that get text
    All, ///< those of all documents
};

struct RecogniserOptions
{
    TextLanguages languages; ///< not empty
    std::chrono::milliseconds wait{20'000}; ///< the longest that somebody waits for a page's text
    std::string cacheFolder; ///< see TextCache; empty for none
    TurnedPages turned = TurnedPages::None;
    bool isForText = true; ///< documents get text; otherwise their pages are turned only
};

/// What the log says is lost without a recogniser.
const char *whatIsLost(const RecogniserOptions &options);

/// The writing on pictures, recognised before somebody asks for it where possible. What is recognised
/// in the background gives way to everything else on the machine; whoever asks for a picture that is
/// starved by that recognises it himself, and whoever of the two has the text first ends the other's
/// work. Results are kept, failures too. Any thread.
class TextRecogniser
{
public:
    using Text = std::shared_ptr<const PageText>;
    /// Makes the Gray8 picture that is recognised, as its file says that it lies.
    using PictureMaker = std::function<Result<Image>()>;

    /// What textOf() answers when no text can be recognised at all, which the log says once.
    static constexpr int kUnavailable = -EOPNOTSUPP;

    /// Errors: -EMFILE, -ENFILE, -ENOMEM.
    static Result<std::shared_ptr<TextRecogniser>> create(const RecogniserOptions &options);
    ~TextRecogniser();
    TextRecogniser(const TextRecogniser &) = delete;
    TextRecogniser &operator=(const TextRecogniser &) = delete;

    const RecogniserOptions &options() const { return m_options; }

    /// Begins to recognise a JPEG in the background; its bytes are copied. Does nothing when too many
    /// wait already, or memory is short: then they are recognised when somebody asks.
    void begin(ByteView jpeg) noexcept;

    /// The text of the picture that has this key; `make` runs at most once, on this thread.
    /// Errors: kUnavailable, -ETIMEDOUT not to be had within the time, -ECANCELED after stop(), and
    /// those of Tesseract, readTesseractOutput() and `make`.
    Result<Text> textOf(const ContentKey &key, const PictureMaker &make);

    /// The same without waiting; null when the text is not there.
    Text known(const ContentKey &key);

    /// Ends all work at once; nothing is recognised afterwards. Waits for its own threads.
    void stop();

private:
    enum class Step { Waiting, Running, Done };
    class Run;
    struct Entry
    {
        Step step = Step::Waiting;
        Bytes jpeg; ///< while it waits
        Result<Text> text = Text();
    };

    TextRecogniser(RecogniserOptions options, EventFd stop);

    void work(); ///< a thread
    void startWorker() REQUIRES(m_mutex);
    void enqueue(ByteView jpeg);
    bool takeWaiting(ContentKey &key, Bytes &jpeg);
    std::optional<Result<Text>> claim(const ContentKey &key, Condition::Clock::time_point deadline);
    Result<Text> finish(const ContentKey &key, Result<Text> text);
    Result<Text> recognise(const ContentKey &key, const PictureMaker &make,
                           const ProgramLimits &limits);

    const RecogniserOptions m_options;
    const EventFd m_stop;
    Tesseract m_tesseract;
    const PageReader m_reader;
    std::optional<TextCache> m_cache;
    Mutex m_mutex;
    Condition m_changed;
    std::map<ContentKey, Entry> m_entries GUARDED_BY(m_mutex);
    std::deque<ContentKey> m_waiting GUARDED_BY(m_mutex); ///< the oldest first
    std::deque<ContentKey> m_done GUARDED_BY(m_mutex);
    std::size_t m_waitingBytes GUARDED_BY(m_mutex) = 0;
    std::size_t m_idle GUARDED_BY(m_mutex) = 0; ///< threads without work
    std::multimap<ContentKey, const EventFd *> m_runs GUARDED_BY(m_mutex); ///< what ends each
    bool m_stopping GUARDED_BY(m_mutex) = false;
    std::vector<std::thread> m_threads GUARDED_BY(m_mutex);
};

} // namespace korv
