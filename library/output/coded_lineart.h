#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/output/page.h"

namespace korv {

/// The page's coded lineart, or its picture coded now and kept in `own`. -ENOMEM.
Result<ByteView> ccittG4Of(const Page &page, Bytes &own);

} // namespace korv
