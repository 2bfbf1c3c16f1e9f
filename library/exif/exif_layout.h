#pragma once

#include <cstdint>

/// What Exif takes over from TIFF 6.0 (section 2), in bytes.
namespace korv {

inline constexpr std::uint32_t kExifHead = 8; ///< byte order, 42, where the directory is
inline constexpr std::uint32_t kExifEntry = 12; ///< of a directory

} // namespace korv
