// A pdf or ofd that is said to have been made by this library, and gets text.
#include "library/documents/made/made_ofd.h"
#include "library/documents/made/made_pdf.h"
#include "library/files/memory_sink.h"
#include "tests/fuzz/check.h"
#include "tests/fuzz/feedback.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>

namespace {

using Opened = korv::Result<std::unique_ptr<korv::MadeDocument>>;

constexpr std::size_t kMaxPages = 4; ///< more would only make each run longer

bool isExpected(int code)
{
    return code == -EBADMSG || code == -EFBIG || code == -ENOMEM;
}

bool liesIn(korv::ByteView content, korv::ByteView part)
{
    const std::less_equal<const std::uint8_t *> isNotBehind;
    return isNotBehind(content.data, part.data)
        && isNotBehind(part.data + part.size, content.data + content.size);
}

korv::AddedText oneWordOnTheFirstPage(const korv::MadeDocument &document)
{
    korv::PageText page;
    page.width = 100;
    page.height = 100;
    korv::PageLine line;
    line.top = 10;
    line.height = 10;
    korv::PageWord word;
    word.left = 10;
    word.width = 50;
    word.text = "word";
    line.words.push_back(word);
    page.lines.push_back(line);
    korv::AddedText text;
    text.pages.resize(document.pageCount());
    text.pages.front() = std::make_shared<korv::PageText>(page);
    text.language = "en";
    return text;
}

/// The document with text, empty when it could not be written.
korv::Bytes withText(const korv::MadeDocument &document)
{
    korv::MemorySink sink;
    const korv::Result<void> written = document.write(oneWordOnTheFirstPage(document), sink);
    if (!written) {
        FUZZ_CHECK(isExpected(written.code()));
        return {};
    }
    return sink.take();
}

void checkPages(const korv::MadeDocument &document, korv::ByteView content)
{
    FUZZ_CHECK(document.pageCount() > 0);
    for (std::size_t page = 0; page < std::min(document.pageCount(), kMaxPages); ++page) {
        FUZZ_CHECK(liesIn(content, document.storedPicture(page)));
        const korv::Result<korv::Image> picture = document.picture(page);
        FUZZ_CHECK(picture || isExpected(picture.code()));
        FUZZ_CHECK(!picture || (picture.value().width() > 0 && picture.value().height() > 0));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const korv::ByteView content(bytes, size);
    if (const Opened pdf = korv::MadePdf::open(content)) {
        checkPages(*pdf.value(), content);
        const korv::Bytes searchable = withText(*pdf.value());
        FUZZ_CHECK(
            searchable.empty()
            || (searchable.size() > size && std::memcmp(searchable.data(), bytes, size) == 0));
    } else {
        FUZZ_CHECK(isExpected(pdf.code()));
        fuzz::noteOutcome(pdf.error().text);
    }
    if (const Opened ofd = korv::MadeOfd::open(content)) {
        checkPages(*ofd.value(), content);
        const korv::Bytes searchable = withText(*ofd.value());
        // what was written can be read, and is not asked for text again
        FUZZ_CHECK(searchable.empty()
                   || !korv::MadeOfd::open({searchable.data(), searchable.size()}));
    } else {
        FUZZ_CHECK(isExpected(ofd.code()));
        fuzz::noteOutcome(ofd.error().text);
    }
    return 0;
}
