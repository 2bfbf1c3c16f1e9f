#pragma once

#include "library/export/page_feed.h"
#include "library/export/page_maker.h"
#include "library/threads/mutex.h"

#include <string>
#include <thread>
#include <vector>

namespace korv {

/// A page with where it comes from.
struct SourcePage
{
    std::size_t source = 0; ///< which of the sources
    std::size_t page = 0; ///< of the source's pages
    std::size_t pages = 1; ///< that the source has
    Result<Page> content = Page();
};

/// The pages of a document in their order, made ahead by a few threads: while one is written, the
/// next ones are read and, where they must be, coded. Only as many wait as there are threads, so
/// memory does not grow with the number of pages. The owner's thread calls next().
class PagePrefetcher
{
public:
    /// `sources` is borrowed. With one source, or when the system has no thread to give, the caller
    /// of next() does the work.
    PagePrefetcher(const std::vector<std::string> &sources, const PageOptions &options);
    ~PagePrefetcher();
    PagePrefetcher(const PagePrefetcher &) = delete;
    PagePrefetcher &operator=(const PagePrefetcher &) = delete;

    /// The next page, valid until the call after this one; null behind the last. A source has one
    /// page, a TIFF as many as it has. Errors: as PageMaker; they spoil this page only.
    const SourcePage *next();

private:
    /// Room for one page, from its making to the moment when the next one is asked for.
    struct Slot
    {
        explicit Slot(const PageOptions &options)
            : maker(options)
        {
        }

        PageMaker maker;
        SourcePage page;
        bool ready = false;
    };

    Slot &slotOf(std::size_t index) { return m_slots[index % m_slots.size()]; }
    const SourcePage *makeNext();
    bool hasRoom() const REQUIRES(m_mutex);
    bool waitForRoom();
    std::optional<PageTask> take(std::size_t &index);
    void make(const PageTask &task, Slot &slot);
    void work();

    const std::vector<std::string> &m_sources;
    Mutex m_largePictures;
    std::vector<Slot> m_slots;
    Mutex m_feedMutex; ///< held to take the next page; before m_mutex
    PageFeed m_feed GUARDED_BY(m_feedMutex);
    Mutex m_mutex; ///< also guards each slot's `ready`
    Condition m_changed;
    std::size_t m_taken GUARDED_BY(m_mutex) = 0; ///< pages that somebody makes or has made
    std::size_t m_toGive GUARDED_BY(m_mutex) = 0; ///< index of the next page to give
    bool m_complete GUARDED_BY(m_mutex) = false; ///< all pages are taken
    bool m_stopped GUARDED_BY(m_mutex) = false;
    std::vector<std::thread> m_threads;
};

} // namespace korv
