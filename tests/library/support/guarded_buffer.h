#pragma once

#include "library/base/bytes.h"

/// A copy of some bytes whose last one lies right before a page that nobody may touch: reading one
/// byte too far ends the test.
class GuardedBuffer
{
public:
    explicit GuardedBuffer(korv::ByteView content);
    ~GuardedBuffer();
    GuardedBuffer(const GuardedBuffer &) = delete;
    GuardedBuffer &operator=(const GuardedBuffer &) = delete;

    korv::ByteView view() const { return m_view; }

private:
    void *m_mapping;
    std::size_t m_size;
    korv::ByteView m_view;
};
