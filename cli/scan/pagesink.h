#pragma once

#include "cli/commandline/namepattern.h"
#include "cli/documents/outputplace.h"
#include "cli/scan/scanfolder.h"
#include "cli/session/session.h"

#include <string>

namespace cli {

/// Where the pages of a scan go, one after the other. Each is safe on the disk when store() returned.
class PageSink
{
public:
    virtual ~PageSink() = default;

    /// Why nothing can be written, as errno; 0 when it can.
    virtual int error() const = 0;

    /// The number that the next page gets, from 1.
    virtual int nextNumber() const = 0;

    /// Whether a page lies where nobody is meant to look.
    virtual bool isHidden() const = 0;

    /// Where the library is to write the next photograph, as a JPEG.
    virtual std::string photographPath() const = 0;

    /// Makes a page of the photograph written there; says what went wrong. `path` becomes that of the
    /// page.
    virtual ExitCode store(LibrarySession &session, std::string &path) = 0;
};

/// Pages that wait in a hidden folder until they become a document.
class DocumentSink : public PageSink
{
public:
    explicit DocumentSink(ScanFolder &folder)
        : m_folder(folder)
    {
    }

    int error() const override { return m_folder.error(); }
    int nextNumber() const override { return static_cast<int>(m_folder.pages().size()) + 1; }
    bool isHidden() const override { return true; }
    std::string photographPath() const override { return m_folder.nextPath(); }
    ExitCode store(LibrarySession &session, std::string &path) override;

private:
    ScanFolder &m_folder;
};

/// Pages that become numbered pictures, in the format of the pattern's extension.
class PictureSink : public PageSink
{
public:
    /// With options.resume, numbers go on behind the highest that is there.
    PictureSink(const NamePattern &pattern, const Options &options);

    int error() const override { return m_place.workspace().error(); }
    int nextNumber() const override { return m_number; }
    bool isHidden() const override { return false; }
    std::string photographPath() const override;
    ExitCode store(LibrarySession &session, std::string &path) override;

private:
    const NamePattern m_pattern;
    const OutputPlace m_place;
    int m_number = 1;
};

} // namespace cli
