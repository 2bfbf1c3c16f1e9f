#pragma once

#include "library/files/byte_sink.h"

namespace korv {

/// A sink that keeps the bytes. Errors: -ENOMEM.
class MemorySink : public ByteSink
{
public:
    using ByteSink::write;
    Result<void> write(ByteView bytes) override;
    Result<void> writeAt(std::uint64_t offset, ByteView bytes) override;
    Result<std::size_t> readAt(std::uint64_t offset, std::uint8_t *to, std::size_t size) override;
    std::uint64_t size() const override { return m_bytes.size(); }

    const Bytes &bytes() const { return m_bytes; }
    Bytes take() { return std::move(m_bytes); }

private:
    Bytes m_bytes;
};

} // namespace korv
