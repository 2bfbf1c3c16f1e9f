#include "library/documents/pdf/text_font.h"

#include "library/text/scripts.h"
#include "library/values/byte_order.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

namespace korv {

namespace {

using bigendian::put16;
using bigendian::put32;

constexpr unsigned kReplacement = 0xFFFD;
constexpr unsigned kFirstFar = 0xD800; ///< surrogates are no characters, so their codes are free
constexpr unsigned kFarCodes = 0x800;
constexpr unsigned kCodes = 0x10000;
constexpr int kUnits = 1000; ///< of the font's size

bool isFarCode(unsigned code)
{
    return code >= kFirstFar && code < kFirstFar + kFarCodes;
}

/// Characters above U+FFFF are nearly all as wide as Chinese ones.
bool isWideCode(unsigned code)
{
    return isFarCode(code) || isWideCharacter(code);
}

int unitsOf(bool wide)
{
    return wide ? kUnits : static_cast<int>(std::lround(kUnits * kNarrowWidth));
}

std::string hexadecimal(unsigned code)
{
    char text[8];
    std::snprintf(text, sizeof text, "<%04X>", code & 0xFFFFU);
    return text;
}

/// Lists of a CMap have 100 entries at most (Adobe Technical Note 5014).
std::string inSections(const std::vector<std::string> &entries, const std::string &kind)
{
    constexpr std::size_t kMaxEntries = 100;
    std::string text;
    for (std::size_t start = 0; start < entries.size(); start += kMaxEntries) {
        const std::size_t end = std::min(start + kMaxEntries, entries.size());
        text += std::to_string(end - start) + " begin" + kind + "\n";
        for (std::size_t i = start; i < end; ++i)
            text += entries[i] + "\n";
        text += "end" + kind + "\n";
    }
    return text;
}

using Table = std::pair<const char *, Bytes>;

Bytes headTable()
{
    Bytes table;
    put32(table, 0x00010000);
    put32(table, 0x00010000);
    put32(table, 0); // the sum over the file, filled in last
    put32(table, 0x5F0F3CF5);
    put16(table, 0);
    put16(table, kUnits);
    for (int i = 0; i < 4; ++i)
        put32(table, 0); // dates
    for (const int side : {0, TextFont::kDescent, kUnits, TextFont::kAscent})
        put16(table, static_cast<std::uint32_t>(side) & 0xFFFFU);
    put16(table, 0);
    put16(table, 8); // pixels below which nobody can read it
    put16(table, 2);
    put16(table, 0); // short offsets in loca
    put16(table, 0);
    return table;
}

Bytes heightsTable(unsigned glyphs)
{
    Bytes table;
    put32(table, 0x00010000);
    put16(table, static_cast<std::uint32_t>(TextFont::kAscent));
    put16(table, static_cast<std::uint32_t>(TextFont::kDescent) & 0xFFFFU);
    put16(table, 0);
    put16(table, kUnits);
    table.resize(34);
    put16(table, glyphs);
    return table;
}

Bytes maximaTable(unsigned glyphs)
{
    Bytes table;
    put32(table, 0x00010000);
    put16(table, glyphs);
    table.resize(14);
    put16(table, 2); // zones, which the format wants
    table.resize(32);
    return table;
}

std::uint32_t checksum(const Bytes &bytes)
{
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        for (std::size_t part = 0; part < 4; ++part) {
            const std::uint32_t byte = i + part < bytes.size() ? bytes[i + part] : 0;
            sum += byte << 8 * (3 - part);
        }
    }
    return sum;
}

/// A file of the tables (TrueType, "The Font Directory"), which stand in the order of their names.
Bytes fontFile(const std::vector<Table> &tables)
{
    unsigned power = 1;
    unsigned exponent = 0;
    for (; power * 2 <= tables.size(); power *= 2)
        ++exponent;
    const auto count = static_cast<unsigned>(tables.size());
    Bytes file;
    put32(file, 0x00010000);
    put16(file, count);
    put16(file, power * 16);
    put16(file, exponent);
    put16(file, (count - power) * 16);
    Bytes data;
    std::size_t headAt = 0;
    for (const auto &[name, table] : tables) {
        const std::size_t at = 12 + 16 * tables.size() + data.size();
        if (std::string(name) == "head")
            headAt = at;
        file.insert(file.end(), name, name + 4);
        put32(file, checksum(table));
        put32(file, static_cast<std::uint32_t>(at));
        put32(file, static_cast<std::uint32_t>(table.size()));
        data.insert(data.end(), table.begin(), table.end());
        data.resize((data.size() + 3) / 4 * 4);
    }
    file.insert(file.end(), data.begin(), data.end());
    Bytes adjustment;
    put32(adjustment, 0xB1B0AFBA - checksum(file));
    std::copy(adjustment.begin(), adjustment.end(),
              file.begin() + static_cast<std::ptrdiff_t>(headAt) + 8);
    return file;
}

} // namespace

unsigned TextFont::codeOf(char32_t character)
{
    if (character > 0xFFFF) {
        const auto known = std::find(m_far.begin(), m_far.end(), character);
        const auto index = static_cast<unsigned>(known - m_far.begin());
        if (index == kFarCodes)
            return kReplacement;
        if (known == m_far.end())
            m_far.push_back(character);
        return kFirstFar + index;
    }
    const bool isCharacter = character >= 0x20 && !isFarCode(character) && character != 0xFEFF
        && character < 0xFFFE; // PDF/A-2u forbids 0, U+FEFF and U+FFFE (6.2.11.7.2)
    return isCharacter ? static_cast<unsigned>(character) : kReplacement;
}

std::string TextFont::encode(const std::u32string &characters)
{
    std::string codes;
    for (const char32_t character : characters) {
        const unsigned code = codeOf(character);
        m_usedRows[code >> 8] = true;
        codes += static_cast<char>(code >> 8);
        codes += static_cast<char>(code & 0xFFU);
    }
    return codes;
}

double TextFont::widthOf(const std::string &codes)
{
    int units = 0;
    for (std::size_t i = 0; i + 1 < codes.size(); i += 2) {
        const unsigned upper = static_cast<unsigned char>(codes[i]);
        const unsigned lower = static_cast<unsigned char>(codes[i + 1]);
        units += unitsOf(isWideCode(upper << 8 | lower));
    }
    return static_cast<double>(units) / kUnits;
}

std::string TextFont::toUnicode() const
{
    std::vector<std::string> ranges; // of at most 256 codes with the same upper byte (9.10.3)
    for (unsigned row = 0; row < m_usedRows.size(); ++row) {
        if (!m_usedRows[row] || isFarCode(row << 8))
            continue;
        const unsigned first = row == 0 ? 0x20 : row << 8;
        const unsigned last = row == 0xFE ? 0xFEFE : row == 0xFF ? 0xFFFD : row << 8 | 0xFFU;
        ranges.push_back(hexadecimal(first) + " " + hexadecimal(last) + " " + hexadecimal(first));
    }
    std::vector<std::string> singles;
    for (std::size_t i = 0; i < m_far.size(); ++i) {
        const std::uint32_t above = m_far[i] - 0x10000;
        char units[16];
        std::snprintf(units, sizeof units, "<%04X%04X>", 0xD800 + (above >> 10),
                      0xDC00 + (above & 0x3FFU));
        singles.push_back(hexadecimal(kFirstFar + static_cast<unsigned>(i)) + " " + units);
    }
    return "/CIDInit /ProcSet findresource begin\n12 dict begin\nbegincmap\n"
           "/CIDSystemInfo << /Registry (Adobe) /Ordering (UCS) /Supplement 0 >> def\n"
           "/CMapName /Adobe-Identity-UCS def\n/CMapType 2 def\n"
           "1 begincodespacerange\n<0000> <FFFF>\nendcodespacerange\n"
        + inSections(ranges, "bfrange") + inSections(singles, "bfchar")
        + "endcmap\nCMapName currentdict /CMap defineresource pop\nend\nend";
}

int TextFont::defaultWidth()
{
    return unitsOf(false);
}

std::string TextFont::widths()
{
    std::string text = "[";
    for (unsigned code = 0; code < kCodes;) {
        unsigned end = code;
        while (end < kCodes && isWideCode(end))
            ++end;
        if (end > code)
            text += std::to_string(code) + " " + std::to_string(end - 1) + " "
                + std::to_string(unitsOf(true)) + " ";
        code = end + 1;
    }
    return text + "]";
}

Bytes TextFont::glyphs()
{
    Bytes map;
    map.reserve(2 * kCodes);
    for (unsigned code = 0; code < kCodes; ++code)
        put16(map, isWideCode(code) ? 2 : 1);
    return map;
}

Bytes TextFont::file()
{
    constexpr unsigned kGlyphs = 3; // the one for missing ones, a narrow and a wide one
    Bytes widths;
    for (const bool wide : {false, false, true}) {
        put16(widths, static_cast<std::uint32_t>(unitsOf(wide)));
        put16(widths, 0);
    }
    // empty glyphs end where they begin; a table without any byte would look like a missing one
    return fontFile({{"glyf", Bytes(1)},
                     {"head", headTable()},
                     {"hhea", heightsTable(kGlyphs)},
                     {"hmtx", widths},
                     {"loca", Bytes(2 * (kGlyphs + 1))},
                     {"maxp", maximaTable(kGlyphs)}});
}

} // namespace korv
