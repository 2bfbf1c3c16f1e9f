#pragma once

#include "library/documents/page.h"
#include "library/recognition/text_recogniser.h"
#include "library/threads/mutex.h"

#include <string>

namespace korv {

/// The writing on the pages of one document. Page makers share it. A page whose text is not to be had
/// goes without, and the log says why.
class DocumentText
{
public:
    /// What the pages' writing is for.
    enum class Use {
        Layer, ///< the document gets it
        Direction, ///< it only says how pages lie
    };

    /// `recogniser` is borrowed; null: no page gets text.
    explicit DocumentText(TextRecogniser *recogniser, Use use = Use::Layer)
        : m_recogniser(recogniser)
        , m_use(use)
    {
    }

    bool isWanted() const { return m_recogniser != nullptr; }
    Use use() const { return m_use; }

    /// The text of a page that is made, but for its text and the turn that it says. Null for none.
    /// `name` is what the log calls the page. Any thread.
    TextRecogniser::Text of(const ContentKey &key, const Page &page, const std::string &name);
    /// The same of the picture that `make` makes.
    TextRecogniser::Text of(const ContentKey &key, const TextRecogniser::PictureMaker &make,
                            const std::string &name);

private:
    bool isWorthWaiting();
    bool isForLayer() const { return m_use == Use::Layer; }
    void explain(const std::string &name, const Error &problem);

    TextRecogniser *const m_recogniser;
    const Use m_use;
    Mutex m_mutex;
    int m_waitsInVain GUARDED_BY(m_mutex) = 0; ///< one after the other
    bool m_isGivenUp GUARDED_BY(m_mutex) = false; ///< no further page is waited for
};

} // namespace korv
