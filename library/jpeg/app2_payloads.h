#pragma once

#include "library/base/bytes.h"

#include <cstddef>
#include <cstdint>

namespace korv::jpeg {

inline constexpr std::uint8_t kApp2 = 0xE2; ///< second byte of such a segment's marker

/// Of any payload; `text` may hold zero bytes.
bool startsWith(ByteView payload, const char *text, std::size_t length);

/// Of an APP2 payload: a piece of an ICC profile (ICC.1:2010, B.4).
bool isProfilePiece(ByteView payload);

/// Bytes of such a piece in front of its part of the profile; the last two are its number, from
/// 1, and how many pieces there are.
inline constexpr std::size_t kProfilePieceHead = 14;

/// Of an APP2 payload: the index of further pictures behind the first (CIPA DC-007).
bool isPictureIndex(ByteView payload);

} // namespace korv::jpeg
