#pragma once

#include "library/base/result.h"

#include <algorithm>
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <limits>

#include <jpeglib.h>

namespace korv::jpeg {

/// Coefficients of a progressive picture of the largest size: three components of 16 bit. Processors
/// of 32 bits cannot address as much.
inline constexpr long kMaxDecoderMemory =
    static_cast<long>(std::min<long long>(2'500'000'000, std::numeric_limits<long>::max()));

/// libjpeg leaves a failing call with longjmp. This is the one place that catches it; it also
/// counts a scan limit and turns "data ended early" warnings into failures.
class ErrorTrap
{
public:
    ErrorTrap();
    ErrorTrap(const ErrorTrap &) = delete;
    ErrorTrap &operator=(const ErrorTrap &) = delete;

    jpeg_error_mgr *manager() { return &m_manager; }

    /// Runs `work`; false when libjpeg gave up inside it. Nothing with a destructor may be alive
    /// inside `work` while it calls libjpeg: longjmp skips destructors.
    template <typename Work> bool run(Work &&work)
    {
        if (setjmp(m_jump) != 0) // NOLINT(cert-err52-cpp): libjpeg offers no other way out
            return false;
        runInOwnFrame(work);
        return true;
    }

    /// What went wrong, as the library reports it.
    Error error() const;

    /// Gives up with `code`; called from libjpeg's own callbacks only.
    [[noreturn]] void fail(int negativeErrno);

    /// A decompressor's progress monitor: gives up on pictures of far too many scans. Each scan
    /// costs a pass over the whole picture, so a small file could keep us busy for hours.
    static void onProgress(j_common_ptr state);

private:
    // variables of `work` that were inlined beside setjmp() would be undefined after the jump
    template <typename Work> [[gnu::noinline]] static void runInOwnFrame(Work &work) { work(); }
    static void onError(j_common_ptr state);
    static void onMessage(j_common_ptr state, int level);
    static void onOutput(j_common_ptr state);

    jpeg_error_mgr m_manager{}; ///< first member: libjpeg hands back a pointer to it
    std::jmp_buf m_jump{};
    int m_code = 0;
    char m_text[JMSG_LENGTH_MAX]{};
};

} // namespace korv::jpeg
