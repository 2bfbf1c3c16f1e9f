#pragma once

#include "library/base/bytes.h"

#include <cstdint>
#include <utility>
#include <vector>

// The adaptive binary arithmetic coder of JBIG2 (ITU-T T.88, annex E). Both directions have the
// member code(): the encoder takes the bit, the decoder gives it and does not look at its argument.
// So what is coded in which order stands once, for both.
namespace korv::jbig2 {

/// What has been learnt about the bits in one context: twice the number of the estimate, and in the
/// lowest bit the value that is expected. 0 at the start.
using Context = std::uint8_t;
using Contexts = std::vector<Context>;

/// How probable the unexpected bit is, and which estimate comes after either (table E.1).
struct Estimate
{
    std::uint16_t share;
    std::uint8_t afterExpected;
    std::uint8_t afterUnexpected;
    bool turnsOver; ///< the other bit is expected from then on
};

inline constexpr Estimate kEstimates[] = {
    {0x5601, 1, 1, true},    {0x3401, 2, 6, false},   {0x1801, 3, 9, false},
    {0x0AC1, 4, 12, false},  {0x0521, 5, 29, false},  {0x0221, 38, 33, false},
    {0x5601, 7, 6, true},    {0x5401, 8, 14, false},  {0x4801, 9, 14, false},
    {0x3801, 10, 14, false}, {0x3001, 11, 17, false}, {0x2401, 12, 18, false},
    {0x1C01, 13, 20, false}, {0x1601, 29, 21, false}, {0x5601, 15, 14, true},
    {0x5401, 16, 14, false}, {0x5101, 17, 15, false}, {0x4801, 18, 16, false},
    {0x3801, 19, 17, false}, {0x3401, 20, 18, false}, {0x3001, 21, 19, false},
    {0x2801, 22, 19, false}, {0x2401, 23, 20, false}, {0x2201, 24, 21, false},
    {0x1C01, 25, 22, false}, {0x1801, 26, 23, false}, {0x1601, 27, 24, false},
    {0x1401, 28, 25, false}, {0x1201, 29, 26, false}, {0x1101, 30, 27, false},
    {0x0AC1, 31, 28, false}, {0x09C1, 32, 29, false}, {0x08A1, 33, 30, false},
    {0x0521, 34, 31, false}, {0x0441, 35, 32, false}, {0x02A1, 36, 33, false},
    {0x0221, 37, 34, false}, {0x0141, 38, 35, false}, {0x0111, 39, 36, false},
    {0x0085, 40, 37, false}, {0x0049, 41, 38, false}, {0x0025, 42, 39, false},
    {0x0015, 43, 40, false}, {0x0009, 44, 41, false}, {0x0005, 45, 42, false},
    {0x0001, 45, 43, false}, {0x5601, 46, 46, false},
};

/// The estimate after a bit that was expected, or was not.
inline Context contextAfter(Context context, bool wasExpected)
{
    const Estimate &estimate = kEstimates[context >> 1];
    const unsigned expected = context & 1U;
    if (wasExpected)
        return static_cast<Context>(unsigned{estimate.afterExpected} << 1 | expected);
    return static_cast<Context>(unsigned{estimate.afterUnexpected} << 1
                                | (estimate.turnsOver ? expected ^ 1U : expected));
}

class ArithmeticEncoder
{
public:
    unsigned code(Context &context, unsigned bit)
    {
        const std::uint32_t share = kEstimates[context >> 1].share;
        const bool isExpected = (context & 1U) == bit;
        m_interval -= share;
        // the expected bit has the upper part, unless that has become the smaller one
        const bool upper = isExpected == (m_interval >= share);
        if (isExpected && (m_interval & kHalf) != 0) {
            m_base += share;
            return bit;
        }
        if (upper)
            m_base += share;
        else
            m_interval = share;
        context = contextAfter(context, isExpected);
        do {
            m_interval <<= 1;
            m_base <<= 1;
            if (--m_room == 0)
                putByte();
        } while ((m_interval & kHalf) == 0);
        return bit;
    }

    /// All that was coded, with the marker behind it. The encoder is of no use afterwards.
    Bytes finish()
    {
        const std::uint32_t top = m_base + m_interval;
        m_base |= 0xFFFF;
        if (m_base >= top)
            m_base -= kHalf;
        m_base <<= m_room;
        putByte();
        m_base <<= m_room;
        putByte();
        if (m_last != 0xFF)
            flush(0xFF);
        m_bytes.push_back(0xFF);
        m_bytes.push_back(0xAC);
        return std::move(m_bytes);
    }

private:
    static constexpr std::uint32_t kHalf = 0x8000;
    static constexpr std::uint32_t kCarry = 0x8000000;

    /// The last byte waits for a carry; a bit is stuffed after 0xFF, so that no carry goes through it.
    void putByte()
    {
        if (m_last != 0xFF && (m_base & kCarry) != 0) {
            ++m_last;
            m_base &= kCarry - 1;
        }
        const bool stuffs = m_last == 0xFF;
        const int shift = stuffs ? 20 : 19;
        flush(static_cast<std::uint8_t>(m_base >> shift));
        m_base &= (1U << shift) - 1;
        m_room = stuffs ? 7 : 8;
    }

    void flush(std::uint8_t next)
    {
        if (m_hasLast)
            m_bytes.push_back(m_last);
        m_hasLast = true;
        m_last = next;
    }

    std::uint32_t m_interval = kHalf;
    std::uint32_t m_base = 0;
    int m_room = 12; ///< shifts until a byte is complete
    bool m_hasLast = false;
    std::uint8_t m_last = 0;
    Bytes m_bytes;
};

/// Bits read beyond the end are what they happen to be; it is up to the caller to stop.
class ArithmeticDecoder
{
public:
    /// `data` stays with the caller.
    explicit ArithmeticDecoder(ByteView data)
        : m_data(data)
    {
        m_value = static_cast<std::uint32_t>(byteAt(0)) << 16;
        takeByte();
        m_value <<= 7;
        m_room -= 7;
    }

    unsigned code(Context &context, unsigned /*bit*/ = 0)
    {
        const std::uint32_t share = kEstimates[context >> 1].share;
        m_interval -= share;
        const bool lower = m_value >> 16 < share;
        if (!lower) {
            m_value -= share << 16;
            if ((m_interval & kHalf) != 0)
                return context & 1U;
        }
        const bool isExpected = lower == (m_interval < share);
        if (lower)
            m_interval = share;
        const unsigned bit = isExpected ? context & 1U : (context & 1U) ^ 1U;
        context = contextAfter(context, isExpected);
        do {
            if (m_room == 0)
                takeByte();
            m_interval <<= 1;
            m_value <<= 1;
            --m_room;
        } while ((m_interval & kHalf) == 0);
        return bit;
    }

private:
    static constexpr std::uint32_t kHalf = 0x8000;

    std::uint8_t byteAt(std::size_t at) const { return at < m_data.size ? m_data[at] : 0xFF; }

    void takeByte()
    {
        const bool wasStuffed = byteAt(m_at) == 0xFF;
        const std::uint8_t next = byteAt(m_at + 1);
        if (wasStuffed && next > 0x8F) { // a marker: ones from here on
            m_value += 0xFF00;
            m_room = 8;
            return;
        }
        ++m_at;
        m_value += static_cast<std::uint32_t>(next) << (wasStuffed ? 9 : 8);
        m_room = wasStuffed ? 7 : 8;
    }

    ByteView m_data;
    std::size_t m_at = 0;
    std::uint32_t m_interval = kHalf;
    std::uint32_t m_value = 0;
    int m_room = 0;
};

} // namespace korv::jbig2
