#pragma once

#include "library/base/bytes.h"

#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

namespace korv::jpeg {

/// Lets libjpeg write straight into a growing Bytes, one picture or one after the other. The
/// compressor's client_data is its ErrorTrap, which hears when memory runs out.
class ByteDestination
{
public:
    /// `expected` bytes are taken at once. Throws std::bad_alloc.
    explicit ByteDestination(std::size_t expected);
    ByteDestination(const ByteDestination &) = delete;
    ByteDestination &operator=(const ByteDestination &) = delete;

    jpeg_destination_mgr *manager() { return &m_manager; }

    /// Has room for `expected` bytes at least before a picture begins. Throws std::bad_alloc.
    void expect(std::size_t expected);

    // what was written, after jpeg_finish_compress() and until the next picture begins:
    ByteView written() const { return ByteView(m_bytes).first(m_used); }
    std::uint8_t &at(std::size_t offset) { return m_bytes.at(offset); }
    void append(ByteView bytes); ///< throws std::bad_alloc
    Bytes take(); ///< of the last picture: the room goes with it

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
