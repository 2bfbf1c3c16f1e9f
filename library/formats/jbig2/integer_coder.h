#pragma once

#include "library/formats/jbig2/arithmetic_coder.h"

#include <cstdint>
#include <optional>

namespace korv::jbig2 {

/// One of the procedures that code whole numbers (T.88, annex A.2), with what it has learnt. "None"
/// is a value of its own: there it ends a list.
class IntegerCoder
{
public:
    template <typename Coder>
    std::optional<std::int32_t> code(Coder &coder, std::optional<std::int32_t> value = {});

private:
    template <typename Coder> std::uint32_t codeBits(Coder &coder, int count, std::uint32_t value);

    Contexts m_contexts = Contexts(512);
    unsigned m_before = 1; ///< the bits of this number so far
};

/// Codes the numbers of symbols, all in as many bits (annex A.3).
class IdentifierCoder
{
public:
    /// For the numbers below `count`, 2 to 65,536.
    explicit IdentifierCoder(std::uint32_t count);

    template <typename Coder> std::uint32_t code(Coder &coder, std::uint32_t identifier = 0);

private:
    int m_bits = 1;
    Contexts m_contexts;
};

} // namespace korv::jbig2
