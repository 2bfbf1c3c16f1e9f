#include "library/jpeg/app2_payloads.h"

#include <cstring>

namespace korv::jpeg {

namespace {

constexpr char kProfileName[] = "ICC_PROFILE"; ///< with its zero byte
static_assert(kProfilePieceHead == sizeof kProfileName + 2);

} // namespace

bool startsWith(ByteView payload, const char *text, std::size_t length)
{
    return payload.size >= length && std::memcmp(payload.data, text, length) == 0;
}

bool isProfilePiece(ByteView payload)
{
    return payload.size >= kProfilePieceHead
        && startsWith(payload, kProfileName, sizeof kProfileName);
}

bool isPictureIndex(ByteView payload)
{
    return startsWith(payload, "MPF\0", 4);
}

} // namespace korv::jpeg
