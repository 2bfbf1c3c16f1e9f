#pragma once

#include "library/image/image.h"
#include "library/recognition/limited_program.h"
#include "library/text/text_languages.h"
#include "library/threads/mutex.h"

#include <optional>
#include <string>
#include <vector>

namespace korv {

/// The program tesseract, which recognises writing, in a process of its own for each picture. Any
/// thread, several at a time.
class Tesseract
{
public:
    /// Looks for the program in PATH; what else the environment says about it (TESSDATA_PREFIX)
    /// counts as it is now. `loss` is what the log says is lost without it.
    explicit Tesseract(TextLanguages languages, std::string loss = "documents get no text");

    const TextLanguages &languages() const { return m_languages; }

    /// Whether the program is installed and has all the languages. The first call asks it, and says
    /// on the log what is missing; the others wait for the answer.
    bool isReady(const ProgramLimits &limits, const EventFd &stop);

    enum class Layout {
        Page, ///< columns, pictures, lines in any direction: the program finds out
        Block, ///< lines that run across, one below the other
    };

    /// What the program writes about a Gray8 picture, see readTesseractTable(). Call it when
    /// isReady(). Errors: those of runLimited(), -EFBIG a picture larger than any page.
    Result<std::string> describe(const Image &gray, const ProgramLimits &limits,
                                 const EventFd &stop, Layout layout = Layout::Page) const;

private:
    Result<void> askForLanguages(const ProgramLimits &limits, const EventFd &stop) const;
    ProgramCall call(std::vector<std::string> arguments) const;

    const TextLanguages m_languages;
    const std::string m_loss;
    std::string m_program; ///< empty: not found
    std::vector<std::string> m_environment;
    Mutex m_mutex;
    std::optional<bool> m_isReady GUARDED_BY(m_mutex);
};

} // namespace korv
