// PNG, BMP and TIFF files. The checksums of a PNG keep nearly every changed file from being read
// on, so it is also tried with right ones.
#include "tests/fuzz/loader_check.h"
#include "tests/fuzz/png_checksums.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const korv::ByteView content(bytes, size);
    const korv::SourceFormat format = korv::recogniseFormat(content);
    if (format == korv::SourceFormat::Jpeg)
        return 0;
    fuzz::checkLoader(content);
    if (format == korv::SourceFormat::Tiff)
        fuzz::checkPages(content);
    if (format == korv::SourceFormat::Png)
        fuzz::checkLoader(fuzz::withRightChecksums(content));
    return 0;
}
