// Any bytes as a picture, recognised by their content; the corpus is mostly JPEG.
#include "library/export/image_loader.h"
#include "tests/fuzz/loader_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    fuzz::checkLoader({bytes, size});
    return 0;
}
