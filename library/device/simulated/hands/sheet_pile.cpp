#include "library/device/simulated/hands/sheet_pile.h"

#include "library/base/log.h"
#include "library/threads/thread.h"

#include <exception>
#include <string>

namespace korv {

SheetPile::SheetPile(const HandDeskOptions &options, int width, int height)
    : m_options(options)
    , m_width(width)
    , m_height(height)
    , m_thread(startThread("korv-pages", [this] { run(); }))
{
}

SheetPile::~SheetPile()
{
    stop();
    m_thread.join();
}

void SheetPile::stop()
{
    const MutexLock lock(m_mutex);
    m_stopping = true;
    m_changed.notifyAll();
}

std::shared_ptr<const LaidSheet> SheetPile::sheet(int number)
{
    MutexLock lock(m_mutex);
    if (number > m_wanted) {
        m_wanted = number;
        m_changed.notifyAll();
    }
    while (!m_stopping && m_sheets.count(number) == 0)
        m_changed.wait(lock);
    return m_stopping ? nullptr : m_sheets.at(number);
}

/// The sheet asked for last, or the one behind it; -1 when both are there.
int SheetPile::nextToDraw()
{
    for (const int number : {m_wanted, m_wanted + 1}) {
        if (m_sheets.count(number) == 0)
            return number;
    }
    return -1;
}

void SheetPile::run()
{
    try {
        MutexLock lock(m_mutex);
        while (!m_stopping) {
            m_sheets.erase(m_sheets.begin(), m_sheets.lower_bound(m_wanted - 1));
            const int number = nextToDraw();
            if (number < 0) {
                m_changed.wait(lock);
                continue;
            }
            lock.unlock();
            auto drawn =
                std::make_shared<LaidSheet>(layNumberedSheet(m_options, number, m_width, m_height));
            lock.lock();
            m_sheets[number] = std::move(drawn);
            m_changed.notifyAll();
        }
    } catch (const std::exception &error) {
        logLine(LogLevel::Error, "simulated desk terminated", error.what());
        stop();
    }
}

} // namespace korv
