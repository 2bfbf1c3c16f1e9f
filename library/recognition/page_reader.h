#pragma once

#include "library/image/image.h"
#include "library/recognition/tesseract.h"
#include "library/text/page_text.h"

#include <optional>
#include <string>

namespace korv {

/// Reads the writing on pictures with Tesseract, and where wanted finds out which way up it stands. A
/// picture that probably does not stand upright is turned before it is read: at once if its margins are
/// clear, otherwise if a sample of its lines makes sense one way up only. Where that reading makes little
/// sense, and for any other picture, it is read as it lies; when that makes no sense, or its lines run
/// downwards, once more, turned. The turn counts only when it is sure, see isReadUprightForSure() and
/// isUprightForSure(). Any thread, several at a time.
class PageReader
{
public:
    enum class Direction { AsItLies, Find };

    /// What read() understands.
    struct Description
    {
        std::string text;
        bool isFinal = true; ///< worth keeping: another time would bring nothing more
    };

    /// `tesseract` is borrowed.
    PageReader(const Tesseract &tesseract, Direction direction)
        : m_tesseract(tesseract)
        , m_direction(direction)
    {
    }

    /// A second reading that fails, or for which no time is left, leaves the picture as it lies; then
    /// the description is not final.
    /// Errors: those of Tesseract::describe(), -EBADMSG what it wrote makes no sense.
    Result<Description> describe(const Image &gray, const ProgramLimits &limits,
                                 const EventFd &stop) const;

    /// Errors: -EBADMSG no description by a reader of the same kind.
    Result<PageText> read(const std::string &description) const;

    /// Tells descriptions by readers of different kinds apart: letters, digits, "_+-".
    static std::string kindOf(const TextLanguages &languages, Direction direction);

private:
    const Tesseract &m_tesseract;
    const Direction m_direction;
};

} // namespace korv
