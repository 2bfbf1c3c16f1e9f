#include "library/documents/deflate.h"

#include "library/base/handle.h"

#include <cerrno>

#include <libdeflate.h>

namespace korv {

namespace {

constexpr int kDeflateLevel = 6;

using Deflater = Handle<libdeflate_compressor, libdeflate_free_compressor>;

} // namespace

Result<Bytes> deflated(ByteView content, DeflateFrame frame)
{
    const Deflater deflater(libdeflate_alloc_compressor(kDeflateLevel));
    if (!deflater)
        return Error{-ENOMEM, "no memory to compress"};
    const bool isBare = frame == DeflateFrame::None;
    const auto bound = isBare ? libdeflate_deflate_compress_bound : libdeflate_zlib_compress_bound;
    const auto compress = isBare ? libdeflate_deflate_compress : libdeflate_zlib_compress;
    Bytes result(bound(deflater.get(), content.size));
    result.resize(
        compress(deflater.get(), content.data, content.size, result.data(), result.size()));
    return result;
}

} // namespace korv
