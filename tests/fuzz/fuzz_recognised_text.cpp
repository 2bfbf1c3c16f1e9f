// What the recogniser writes about a picture, and what becomes of it in documents.
#include "library/documents/ofd/ofd_text.h"
#include "library/documents/pdf/text_layer.h"
#include "library/recognition/reading_direction.h"
#include "library/recognition/tesseract_output.h"
#include "library/text/text_runs.h"
#include "tests/fuzz/check.h"

#include <cerrno>
#include <cmath>

namespace {

void checkWords(const korv::PageText &page)
{
    for (const korv::PageLine &line : page.lines) {
        FUZZ_CHECK(line.top >= 0 && line.height > 0 && line.height <= page.height - line.top);
        FUZZ_CHECK(!line.words.empty() && !line.words.front().spaceBefore);
        for (const korv::PageWord &word : line.words) {
            FUZZ_CHECK(word.left >= 0 && word.width > 0 && word.width <= page.width - word.left);
            FUZZ_CHECK(!word.text.empty());
        }
    }
}

/// Quality is a number, and a page without writing is not turned.
void checkQuality(const std::string &output)
{
    const auto table = korv::readTesseractTable(output);
    FUZZ_CHECK(table);
    const korv::ReadingQuality quality = korv::qualityOf(table.value());
    FUZZ_CHECK(quality.confidence >= 0 && quality.confidence <= 100.01);
    FUZZ_CHECK(quality.across >= 0 && quality.across <= 1);
    FUZZ_CHECK(quality.characters > 0 || !korv::turnWorthTrying(quality));
    FUZZ_CHECK(!korv::isUprightForSure(quality, quality) || quality.across < 0.5);
}

/// No character is lost between the words and the runs; those are in order and adjoin.
void checkRuns(const korv::PageText &page)
{
    std::size_t words = 0;
    std::size_t runs = 0;
    for (const korv::PageLine &line : page.lines) {
        for (const korv::PageWord &word : line.words)
            words += word.text.size();
    }
    for (const korv::RunLine &line : korv::layOut(page)) {
        FUZZ_CHECK(!line.runs.empty() && line.height > 0);
        for (std::size_t i = 0; i < line.runs.size(); ++i) {
            const korv::TextRun &run = line.runs[i];
            FUZZ_CHECK(std::isfinite(run.left) && run.right > run.left);
            FUZZ_CHECK(i == 0 || run.left == line.runs[i - 1].right);
            const bool isSpace = run.characters == U" ";
            FUZZ_CHECK(!isSpace || (i > 0 && i + 1 < line.runs.size()));
            runs += isSpace ? 0 : run.characters.size();
        }
    }
    FUZZ_CHECK(runs <= words);
    FUZZ_CHECK((runs == 0) == (words == 0));
}

void checkDocuments(const korv::PageText &page)
{
    korv::TextFont font;
    const std::string operators = korv::textOperators(page, font);
    FUZZ_CHECK(operators.empty() == page.lines.empty());
    FUZZ_CHECK(operators.find("nan") == std::string::npos
               && operators.find("inf") == std::string::npos);
    static_cast<void>(font.toUnicode());

    korv::OfdXml xml("Page");
    unsigned last = 0;
    korv::OfdElement layer = xml.root().child("Layer");
    korv::addTextObjects(layer, page, {0, 0, 0.1, 0.1}, 1, [&] { return ++last; });
    FUZZ_CHECK((last == 0) == page.lines.empty());
    pugi::xml_document read;
    const std::string text = xml.text();
    FUZZ_CHECK(read.load_buffer(text.data(), text.size()).status == pugi::status_ok);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const std::string output(bytes, bytes + size);
    const auto page = korv::readTesseractOutput(output);
    if (!page) {
        FUZZ_CHECK(page.code() == -EBADMSG);
        return 0;
    }
    checkQuality(output);
    checkWords(page.value());
    checkRuns(page.value());
    checkDocuments(page.value());
    return 0;
}
