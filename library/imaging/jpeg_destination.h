#pragma once

#include "library/base/bytes.h"

#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

namespace korv::jpeg {

/// Lets libjpeg write straight into a growing Bytes. The compressor's client_data is its Trap,
/// which hears when memory runs out.
class ByteDestination
{
public:
    /// `expected` bytes are taken at once. Throws std::bad_alloc.
    explicit ByteDestination(std::size_t expected);
    ByteDestination(const ByteDestination &) = delete;
    ByteDestination &operator=(const ByteDestination &) = delete;

    jpeg_destination_mgr *manager() { return &m_manager; }

    /// What was written; call it after jpeg_finish_compress().
    Bytes take();

private:
    static ByteDestination *self(j_compress_ptr state);
    static void onInit(j_compress_ptr state);
    static boolean onFull(j_compress_ptr state);
    static void onTerm(j_compress_ptr state);
    bool grow();
    void offer(std::size_t from);

    jpeg_destination_mgr m_manager{}; ///< first member: libjpeg hands back a pointer to it
    Bytes m_bytes;
    std::size_t m_used = 0;
};

} // namespace korv::jpeg
