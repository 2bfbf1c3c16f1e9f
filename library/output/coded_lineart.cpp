#include "library/output/coded_lineart.h"

#include "library/output/ccitt_encoder.h"

#include <utility>

namespace korv {

Result<ByteView> ccittG4Of(const Page &page, Bytes &own)
{
    if (!page.codedLineart.empty())
        return page.codedLineart;
    Result<Bytes> coded = encodeCcittG4(*page.lineart);
    if (!coded)
        return coded.error();
    own = std::move(coded).value();
    return ByteView(own);
}

} // namespace korv
