#pragma once

#include "library/base/result.h"

#include <cerrno>

/// Why a document cannot get text, in words that follow its name. All are -EBADMSG.
namespace korv::refusal {

inline constexpr char kForeign[] =
    "it was not made by this library, or another program has changed it since";
inline constexpr char kDamaged[] = "it is damaged";
inline constexpr char kEncrypted[] = "it is encrypted";
inline constexpr char kHasText[] = "it has text already";

inline Error foreign()
{
    return {-EBADMSG, kForeign};
}

inline Error damaged()
{
    return {-EBADMSG, kDamaged};
}

inline Error encrypted()
{
    return {-EBADMSG, kEncrypted};
}

inline Error hasText()
{
    return {-EBADMSG, kHasText};
}

} // namespace korv::refusal
