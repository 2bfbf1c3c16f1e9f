#pragma once

#include "library/base/bytes.h"

#include <cstdint>
#include <string>
#include <utility>

namespace korv {

/// Tells pictures apart by their bytes: 128 bits of a quick hash. It is good enough against chance,
/// not against somebody who wants two pictures to be alike.
using ContentKey = std::pair<std::uint64_t, std::uint64_t>;

/// `part` tells the pictures of one file apart.
ContentKey contentKeyOf(ByteView content, std::uint64_t part = 0);

/// 32 hexadecimal digits.
std::string hexadecimal(const ContentKey &key);

} // namespace korv
