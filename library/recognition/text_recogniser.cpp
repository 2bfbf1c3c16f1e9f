#include "library/recognition/text_recogniser.h"

#include "library/base/exceptions_to_errors.h"
#include "library/base/log.h"
#include "library/image/resolution.h"
#include "library/image/rotate.h"
#include "library/jpeg/jpeg.h"
#include "library/threads/thread.h"

#include <algorithm>
#include <cerrno>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace korv {

namespace {

constexpr std::size_t kMaxThreads = 3;
constexpr std::size_t kMaxWaitingBytes = std::size_t{64} << 20;
constexpr std::size_t kMaxKept = 500; ///< texts of some 50 KB each
/// A process that only runs where nobody else does may take its time.
constexpr std::chrono::minutes kBackgroundTime{5};

/// One processor stays free for the camera where there are several.
std::size_t usefulThreads()
{
    const std::size_t processors = std::max(2U, std::thread::hardware_concurrency());
    return std::min(processors - 1, kMaxThreads);
}

/// Of the calling thread alone, which Linux allows.
void lowerPriority()
{
    constexpr int kThreadNiceness = 10;
    const auto thread = static_cast<id_t>(::syscall(SYS_gettid));
    static_cast<void>(::setpriority(PRIO_PROCESS, thread, kThreadNiceness));
}

Result<Image> grayPicture(ByteView jpeg)
{
    const Result<jpeg::Info> info = jpeg::readInfo(jpeg);
    if (!info)
        return info.error();
    jpeg::DecodeOptions luma;
    luma.gray = true;
    Result<Image> decoded = jpeg::decode(jpeg, luma);
    if (!decoded)
        return decoded;
    Image image = applyOrientation(std::move(decoded).value(), info.value().orientation);
    image.setResolution(effectiveResolution(image.width(), image.height(), image.resolution()));
    return image;
}

PageReader::Direction directionOf(const RecogniserOptions &options)
{
    return options.turned == TurnedPages::None ? PageReader::Direction::AsItLies
                                               : PageReader::Direction::Find;
}

Result<TextRecogniser::Text> shared(Result<PageText> text)
{
    if (!text)
        return text.error();
    return std::make_shared<const PageText>(std::move(text).value());
}

} // namespace

/// While it lives, stop() ends what polls for `end`, and so does a text of the same picture.
class TextRecogniser::Run
{
public:
    Run(TextRecogniser &recogniser, const ContentKey &key, const EventFd &end)
        : m_recogniser(recogniser)
    {
        const MutexLock lock(recogniser.m_mutex);
        m_place = recogniser.m_runs.emplace(key, &end);
        const auto entry = recogniser.m_entries.find(key);
        const bool isKnown = entry != recogniser.m_entries.end() && entry->second.step == Step::Done
            && entry->second.text;
        if (recogniser.m_stopping || isKnown)
            end.set();
    }
    ~Run()
    {
        const MutexLock lock(m_recogniser.m_mutex);
        m_recogniser.m_runs.erase(m_place);
    }
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;

private:
    TextRecogniser &m_recogniser;
    std::multimap<ContentKey, const EventFd *>::iterator m_place;
};

const char *whatIsLost(const RecogniserOptions &options)
{
    return options.isForText ? "documents get no text" : "no page is turned upright";
}

Result<std::shared_ptr<TextRecogniser>> TextRecogniser::create(const RecogniserOptions &options)
{
    Result<EventFd> stop = EventFd::create();
    if (!stop)
        return stop.error();
    return std::shared_ptr<TextRecogniser>(new TextRecogniser(options, std::move(stop).value()));
}

TextRecogniser::TextRecogniser(RecogniserOptions options, EventFd stop)
    : m_options(std::move(options))
    , m_stop(std::move(stop))
    , m_tesseract(m_options.languages, whatIsLost(m_options))
    , m_reader(m_tesseract, directionOf(m_options))
{
    if (!m_options.cacheFolder.empty())
        m_cache.emplace(m_options.cacheFolder);
}

TextRecogniser::~TextRecogniser()
{
    stop();
}

void TextRecogniser::stop()
{
    std::vector<std::thread> threads;
    {
        const MutexLock lock(m_mutex);
        m_stopping = true;
        threads = std::exchange(m_threads, {});
        for (const auto &[key, end] : m_runs)
            end->set();
    }
    m_stop.set();
    m_changed.notifyAll();
    for (std::thread &thread : threads)
        thread.join();
}

// ---- in the background ----

void TextRecogniser::begin(ByteView jpeg) noexcept
{
    try {
        enqueue(jpeg);
    } catch (...) {
        logLine(LogLevel::Debug, "no text is recognised ahead", errorInFlight().text);
    }
}

void TextRecogniser::enqueue(ByteView jpeg)
{
    const ContentKey key = contentKeyOf(jpeg);
    Bytes copy(jpeg.begin(), jpeg.end());
    const MutexLock lock(m_mutex);
    if (m_stopping || m_waitingBytes + copy.size() > kMaxWaitingBytes || m_entries.count(key) != 0)
        return;
    Entry &entry = m_entries[key];
    entry.jpeg = std::move(copy);
    m_waitingBytes += entry.jpeg.size();
    m_waiting.push_back(key);
    if (m_idle < m_waiting.size() && m_threads.size() < usefulThreads())
        startWorker();
    m_changed.notifyAll();
}

/// Without a thread the pictures wait until somebody asks for their text.
void TextRecogniser::startWorker()
{
    try {
        m_threads.push_back(startThread("korv-text", [this] { work(); }));
    } catch (const std::exception &error) {
        logLine(LogLevel::Debug, "no thread recognises text ahead", error.what());
    }
}

bool TextRecogniser::takeWaiting(ContentKey &key, Bytes &jpeg)
{
    MutexLock lock(m_mutex);
    ++m_idle;
    while (!m_stopping && m_waiting.empty())
        m_changed.wait(lock);
    --m_idle;
    if (m_stopping)
        return false;
    key = m_waiting.front();
    m_waiting.pop_front();
    Entry &entry = m_entries[key];
    jpeg = std::exchange(entry.jpeg, {});
    m_waitingBytes -= jpeg.size();
    entry.step = Step::Running;
    return true;
}

void TextRecogniser::work()
{
    lowerPriority();
    ProgramLimits limits;
    limits.time = kBackgroundTime;
    limits.priority = ProgramPriority::Idle;
    ContentKey key;
    Bytes jpeg;
    while (takeWaiting(key, jpeg)) {
        const auto make = [&] { return grayPicture(jpeg); };
        static_cast<void>(finish(key, recognise(key, make, limits)));
    }
}

// ---- for whoever asks ----

/// What is known about a picture, after waiting for what others do with it until `deadline`. Nothing:
/// it is the caller's to recognise.
std::optional<Result<TextRecogniser::Text>>
TextRecogniser::claim(const ContentKey &key, Condition::Clock::time_point deadline)
{
    MutexLock lock(m_mutex);
    for (bool isInTime = true;; isInTime = m_changed.waitUntil(lock, deadline)) {
        if (m_stopping)
            return Result<Text>(Error{-ECANCELED, "stopped"});
        Entry &entry = m_entries[key];
        if (entry.step == Step::Done)
            return entry.text;
        if (entry.step == Step::Waiting) {
            const auto place = std::find(m_waiting.begin(), m_waiting.end(), key);
            if (place != m_waiting.end())
                m_waiting.erase(place);
            m_waitingBytes -= entry.jpeg.size();
            entry.jpeg = {};
            entry.step = Step::Running;
            return std::nullopt;
        }
        if (!isInTime)
            return std::nullopt;
    }
}

/// Of two threads that recognised the same picture, the text of the first counts, which is returned.
Result<TextRecogniser::Text> TextRecogniser::finish(const ContentKey &key, Result<Text> text)
{
    const MutexLock lock(m_mutex);
    Entry &entry = m_entries[key];
    if (text) {
        const auto [first, last] = m_runs.equal_range(key);
        for (auto run = first; run != last; ++run)
            run->second->set();
    }
    if (entry.step == Step::Done) {
        if (!entry.text)
            entry.text = std::move(text);
        return entry.text;
    }
    if (text.code() == -ECANCELED) {
        m_entries.erase(key);
    } else {
        entry.text = text;
        entry.step = Step::Done;
        m_done.push_back(key);
    }
    if (m_done.size() > kMaxKept) {
        m_entries.erase(m_done.front());
        m_done.pop_front();
    }
    m_changed.notifyAll();
    return text;
}

Result<TextRecogniser::Text> TextRecogniser::recognise(const ContentKey &key,
                                                       const PictureMaker &make,
                                                       const ProgramLimits &limits)
{
    return exceptionsToErrors([&]() -> Result<Text> {
        ProgramLimits question = limits;
        question.time = m_options.wait;
        if (!m_tesseract.isReady(question, m_stop))
            return Error{kUnavailable, "no text can be recognised"};
        const std::string kind = PageReader::kindOf(m_options.languages, directionOf(m_options));
        if (m_cache) {
            if (const auto known = m_cache->find(key, kind)) {
                if (Result<Text> text = shared(m_reader.read(*known)))
                    return text;
            }
        }
        const Result<Image> picture = make();
        if (!picture)
            return picture.error();
        const Result<EventFd> end = EventFd::create();
        if (!end)
            return end.error();
        const Run run(*this, key, end.value());
        const Result<PageReader::Description> description =
            m_reader.describe(picture.value(), limits, end.value());
        if (!description)
            return description.error();
        Result<Text> text = shared(m_reader.read(description.value().text));
        if (text && m_cache && description.value().isFinal)
            m_cache->store(key, kind, description.value().text);
        return text;
    });
}

TextRecogniser::Text TextRecogniser::known(const ContentKey &key)
{
    const MutexLock lock(m_mutex);
    const auto found = m_entries.find(key);
    const bool isThere =
        found != m_entries.end() && found->second.step == Step::Done && found->second.text;
    return isThere ? found->second.text.value() : nullptr;
}

Result<TextRecogniser::Text> TextRecogniser::textOf(const ContentKey &key, const PictureMaker &make)
{
    const auto begin = Condition::Clock::now();
    // A process that only runs where no processor is needed may starve. A quarter of the time is
    // enough for it otherwise, and then another one has the rest, at a better priority.
    if (std::optional<Result<Text>> known = claim(key, begin + m_options.wait / 4))
        return *std::move(known);
    const auto waited =
        std::chrono::duration_cast<std::chrono::milliseconds>(Condition::Clock::now() - begin);
    ProgramLimits limits;
    limits.time = m_options.wait - std::min(waited, m_options.wait);
    return finish(key, recognise(key, make, limits));
}

} // namespace korv
