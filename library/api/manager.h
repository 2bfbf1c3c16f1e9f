#pragma once

#include "library/api/session.h"
#include "library/export/pending_document.h"
#include "library/files/left_overs.h"
#include "library/photograph/photograph.h"
#include "library/recognition/text_recogniser.h"
#include "library/settings/settings.h"
#include "library/threads/mutex.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>

namespace korv {

/// The whole library behind the C contract; each member is an entry point or a group of them, with
/// the errors that the contract names. Any thread, except where the contract refuses callbacks.
///
/// Three parts that never wait for each other: the session (devices), the options, the pending
/// document. So a photograph is written while every device thread stands still.
class Manager
{
public:
    using MonitorFactory = std::function<Session::Monitors(const Settings &settings)>;
    using SettingsReader = std::function<Settings()>;

    /// Both are called at each initialise(), the settings first; null: there are none.
    explicit Manager(MonitorFactory monitors, SettingsReader readSettings = nullptr);
    ~Manager();
    Manager(const Manager &) = delete;
    Manager &operator=(const Manager &) = delete;

    Result<void> initialise();
    Result<void> uninitialise();

    /// The process ends: ends the session, or, from inside a callback, leaves its threads to the
    /// kernel and keeps them from calling back. Waits for nothing inside a callback. Nothing can be
    /// initialised afterwards, and no photograph cropped or made lineart.
    void endWithProcess() noexcept;

    /// -ENODEV before initialise().
    Result<std::shared_ptr<Session>> session() const;
    /// The session for a call that waits for frame callbacks to end: -EDEADLK inside of one.
    Result<std::shared_ptr<Session>> sessionForChange() const;

    Result<void> setColour(int colour);
    Result<void> setQuality(int quality);
    Result<void> setCrop(int mode);
    Result<void> setRotation(int mode);
    PhotographOptions options() const;
    /// Those read by the last initialise(); none after uninitialise(). Never null.
    std::shared_ptr<const Settings> settings() const;

    Result<void> savePhotograph(const void *frame, int width, int height, const std::string &path);
    Result<void> saveRgb(const void *pixels, int width, int height, const std::string &path);
    Result<void> convert(const std::string &source, const std::string &destination);
    Result<void> addPage(const std::string &source);
    Result<void> combine(const std::string &destination);

private:
    void describeOrigin(PhotographOptions &options, int width, int height) const;
    DocumentSettings documentSettings(const std::string &destination) const;
    enum class State { Down, Changing, Ready };

    void beginChange(MutexLock &lock) REQUIRES(m_stateMutex);
    void endChange(std::shared_ptr<Session> session);
    void setSettings(Settings settings);
    void setRecogniser(std::shared_ptr<TextRecogniser> recogniser);
    std::shared_ptr<TextRecogniser> recogniser() const;

    const MonitorFactory m_monitors;
    const SettingsReader m_readSettings;

    std::atomic<bool> m_processEnds{false};

    mutable Mutex m_stateMutex; // never held while threads end
    Condition m_stateChanged;
    State m_state GUARDED_BY(m_stateMutex) = State::Down;
    /// Calls under way keep theirs.
    std::shared_ptr<Session> m_session GUARDED_BY(m_stateMutex);
    /// Its threads still run as the process ends.
    std::shared_ptr<Session> m_abandoned GUARDED_BY(m_stateMutex);

    mutable Mutex m_optionsMutex;
    PhotographOptions m_options GUARDED_BY(m_optionsMutex);
    std::shared_ptr<const Settings>
        m_settings GUARDED_BY(m_optionsMutex) = std::make_shared<const Settings>();
    /// Null when nobody wants text. Calls under way keep theirs.
    std::shared_ptr<TextRecogniser> m_recogniser GUARDED_BY(m_optionsMutex);

    Mutex m_documentMutex;
    PendingDocument m_document GUARDED_BY(m_documentMutex);

    LeftOvers m_leftOvers;
};

} // namespace korv
