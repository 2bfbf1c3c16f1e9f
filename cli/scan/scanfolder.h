#pragma once

#include "cli/documents/hiddenfolder.h"
#include "cli/documents/workspace.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace cli {

/// The pages of a scan that was killed.
struct KeptScan
{
    std::string folder;
    std::string document; ///< the name of the file that they were to become, without its folder
    std::size_t pages = 0;
};

/// The scans of this user and machine that were killed in the folder of `destination`, the latest
/// last.
std::vector<KeptScan> keptScans(const std::string &destination);

/// A hidden folder beside a document that is being scanned, with its pages so far. Each is safe on
/// the disk before anybody hears of it. The folder stays, for keptScans(), until it is discarded;
/// without a page it goes with the object.
class ScanFolder
{
public:
    /// Begins a scan.
    explicit ScanFolder(const std::string &destination);
    /// Goes on with one that was killed.
    explicit ScanFolder(const KeptScan &kept);
    ScanFolder(const ScanFolder &) = delete;
    ScanFolder &operator=(const ScanFolder &) = delete;
    ~ScanFolder();

    /// Why there is no folder, as errno; 0 when there is one.
    int error() const { return m_error; }

    /// The pages, in their order.
    const std::vector<std::string> &pages() const { return m_pages; }

    /// Where the next page is to be written, as a JPEG.
    std::string nextPath() const;

    /// Makes what was written there the next page, synced with its folder; its path.
    Published keep();

    /// The pages have become a document: removes them and the folder.
    void discard();

private:
    HiddenFolder m_folder;
    std::vector<std::string> m_pages;
    int m_error = 0;
};

/// Waits until a file's content is safe on the disk. 0 or an errno.
int syncFile(const std::string &path);

} // namespace cli
