#include "library/jpeg/jpeg_trap.h"

#include <cerrno>

#include <jerror.h>

namespace korv::jpeg {

namespace {

constexpr int kMaxScans = 200; ///< a progressive picture needs some ten

ErrorTrap *trapOf(j_common_ptr state)
{
    return static_cast<ErrorTrap *>(state->client_data);
}

} // namespace

ErrorTrap::ErrorTrap()
{
    jpeg_std_error(&m_manager);
    m_manager.error_exit = onError;
    m_manager.emit_message = onMessage;
    m_manager.output_message = onOutput;
}

Error ErrorTrap::error() const
{
    return Error{m_code != 0 ? m_code : -EBADMSG, std::string("JPEG: ") + m_text};
}

void ErrorTrap::fail(int negativeErrno)
{
    m_code = negativeErrno;
    std::longjmp(m_jump, 1); // NOLINT(cert-err52-cpp): libjpeg offers no other way out
}

void ErrorTrap::onError(j_common_ptr state)
{
    ErrorTrap *trap = trapOf(state);
    state->err->format_message(state, trap->m_text);
    const int code = state->err->msg_code;
    const bool memory = code == JERR_OUT_OF_MEMORY || code == JERR_NO_BACKING_STORE;
    trap->fail(memory ? -ENOMEM : -EBADMSG);
}

void ErrorTrap::onMessage(j_common_ptr state, int level)
{
    if (level >= 0)
        return;
    // with these two libjpeg would go on and fill the rest of the picture with gray
    const int code = state->err->msg_code;
    if (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER)
        onError(state);
    ++state->err->num_warnings;
}

void ErrorTrap::onProgress(j_common_ptr state)
{
    const auto *decompressor = reinterpret_cast<j_decompress_ptr>(state);
    if (decompressor->input_scan_number > kMaxScans)
        trapOf(state)->fail(-EBADMSG);
}

void ErrorTrap::onOutput(j_common_ptr) { }

} // namespace korv::jpeg
