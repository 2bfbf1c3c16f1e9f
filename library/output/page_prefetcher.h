#pragma once

#include "library/output/page_maker.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace korv {

/// The pages of a document in their order, made ahead by a few threads: while one is written, the
/// next ones are read and, where they must be, coded. Only as many wait as there are threads, so
/// memory does not grow with the number of pages. The owner's thread calls next().
class PagePrefetcher
{
public:
    /// `sources` is borrowed. Without a second page, or when the system has no thread to give, the
    /// caller of next() does the work.
    PagePrefetcher(const std::vector<std::string> &sources, const PageOptions &options);
    ~PagePrefetcher();
    PagePrefetcher(const PagePrefetcher &) = delete;
    PagePrefetcher &operator=(const PagePrefetcher &) = delete;

    /// The next page, valid until the call after this one. Call it once for each source.
    /// Errors: as PageMaker::fromFile(); they spoil this page only.
    const Result<Page> &next();

private:
    /// Room for one page, from its making to the moment when the next one is asked for.
    struct Slot
    {
        explicit Slot(const PageOptions &options)
            : maker(options)
        {
        }

        PageMaker maker;
        Result<Page> page = Page();
        bool ready = false;
    };

    Slot &slotOf(std::size_t index) { return m_slots[index % m_slots.size()]; }
    void make(std::size_t index);
    void work();

    const std::vector<std::string> &m_sources;
    std::mutex m_largePictures;
    std::vector<Slot> m_slots;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::size_t m_toMake = 0; ///< index of the next page to make
    std::size_t m_toGive = 0; ///< index of the next page to give
    bool m_stopped = false;
    std::vector<std::thread> m_threads;
};

} // namespace korv
