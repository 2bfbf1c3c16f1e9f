#include "library/documents/pdf/srgb_profile.h"

#include "library/values/byte_order.h"

#include <array>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

// Little CMS makes the same profile (588 bytes, these are 520), but crashes while it does when memory
// runs out, and a conversion to PDF has to answer -ENOMEM then.
namespace korv {

namespace {

using bigendian::put16;
using bigendian::put32;

using Vector = std::array<double, 3>;
using Matrix = std::array<Vector, 3>; ///< rows

struct Chromaticity
{
    double x;
    double y;

    Vector xyz() const { return {x / y, 1, (1 - x - y) / y}; }
};

// IEC 61966-2-1, table 1
constexpr Chromaticity kRed = {0.64, 0.33};
constexpr Chromaticity kGreen = {0.30, 0.60};
constexpr Chromaticity kBlue = {0.15, 0.06};
constexpr Chromaticity kWhite = {0.3127, 0.3290};

// the profile connection space's white, D50 as ICC.1 7.2.16 rounds it
constexpr Vector kConnectionWhite = {0.9642, 1.0, 0.8249};

// Bradford's cone responses, which ICC.1 annex E recommends
constexpr Matrix kBradford = {
    {{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};

Vector product(const Matrix &matrix, const Vector &vector)
{
    Vector result{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t i = 0; i < 3; ++i)
            result[row] += matrix[row][i] * vector[i];
    }
    return result;
}

Matrix product(const Matrix &left, const Matrix &right)
{
    Matrix result{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            for (std::size_t i = 0; i < 3; ++i)
                result[row][column] += left[row][i] * right[i][column];
        }
    }
    return result;
}

Matrix inverse(const Matrix &m)
{
    Matrix cofactors{};
    for (std::size_t row = 0; row < 3; ++row) {
        const std::size_t r1 = (row + 1) % 3;
        const std::size_t r2 = (row + 2) % 3;
        for (std::size_t column = 0; column < 3; ++column) {
            const std::size_t c1 = (column + 1) % 3;
            const std::size_t c2 = (column + 2) % 3;
            cofactors[column][row] = m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
        }
    }
    const double determinant =
        m[0][0] * cofactors[0][0] + m[0][1] * cofactors[1][0] + m[0][2] * cofactors[2][0];
    for (Vector &row : cofactors) {
        for (double &value : row)
            value /= determinant;
    }
    return cofactors;
}

/// Columns: what red, green and blue at full strength are in XYZ under the screen's white.
Matrix primaries()
{
    Matrix columns{};
    const std::array<Vector, 3> colours = {kRed.xyz(), kGreen.xyz(), kBlue.xyz()};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t row = 0; row < 3; ++row)
            columns[row][i] = colours[i][row];
    }
    const Vector strength = product(inverse(columns), kWhite.xyz());
    for (Vector &row : columns) {
        for (std::size_t i = 0; i < 3; ++i)
            row[i] *= strength[i];
    }
    return columns;
}

/// From the screen's white to that of the connection space.
Matrix adaptation()
{
    const Vector from = product(kBradford, kWhite.xyz());
    const Vector to = product(kBradford, kConnectionWhite);
    Matrix scale{};
    for (std::size_t i = 0; i < 3; ++i)
        scale[i][i] = to[i] / from[i];
    return product(inverse(kBradford), product(scale, kBradford));
}

void putText(Bytes &to, const std::string &ascii)
{
    to.insert(to.end(), ascii.begin(), ascii.end());
}

/// s15Fixed16Number (ICC.1, 4.6)
void putFixed(Bytes &to, double value)
{
    put32(to, static_cast<std::uint32_t>(static_cast<std::int32_t>(std::lround(value * 65536))));
}

Bytes elementHead(const std::string &type)
{
    Bytes element;
    putText(element, type);
    put32(element, 0);
    return element;
}

Bytes xyzElement(const Vector &value)
{
    Bytes element = elementHead("XYZ ");
    for (const double part : value)
        putFixed(element, part);
    return element;
}

/// multiLocalizedUnicodeType with one English text
Bytes textElement(const std::string &ascii)
{
    Bytes element = elementHead("mluc");
    put32(element, 1);
    put32(element, 12);
    putText(element, "enUS");
    put32(element, static_cast<std::uint32_t>(2 * ascii.size()));
    put32(element, 28);
    for (const char letter : ascii)
        put16(element, static_cast<unsigned char>(letter));
    return element;
}

/// parametricCurveType, function 3: a power above a threshold, a line below it
Bytes curveElement()
{
    Bytes element = elementHead("para");
    put16(element, 3);
    put16(element, 0);
    for (const double parameter : {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045})
        putFixed(element, parameter);
    return element;
}

Bytes matrixElement(const Matrix &matrix)
{
    Bytes element = elementHead("sf32");
    for (const Vector &row : matrix) {
        for (const double value : row)
            putFixed(element, value);
    }
    return element;
}

constexpr std::size_t kHeader = 128;

Bytes header(std::size_t fileSize)
{
    Bytes bytes;
    put32(bytes, static_cast<std::uint32_t>(fileSize));
    put32(bytes, 0);
    put32(bytes, 0x04200000);
    putText(bytes, "mntrRGB XYZ ");
    for (const unsigned part : {2026U, 1U, 1U, 0U, 0U, 0U})
        put16(bytes, part);
    putText(bytes, "acsp");
    bytes.resize(68); // no platform, flags, device, attributes; perceptual intent
    for (const double part : kConnectionWhite)
        putFixed(bytes, part);
    bytes.resize(kHeader);
    return bytes;
}

} // namespace

Bytes srgbProfile()
{
    const Matrix toConnectionSpace = adaptation();
    const Matrix colours = product(toConnectionSpace, primaries());
    const auto column = [&](std::size_t i) {
        return Vector{colours[0][i], colours[1][i], colours[2][i]};
    };
    const std::vector<std::pair<std::string, Bytes>> tags = {
        {"desc", textElement("sRGB")},
        {"cprt", textElement("No copyright, use freely")},
        {"wtpt", xyzElement(kConnectionWhite)},
        {"chad", matrixElement(toConnectionSpace)},
        {"rXYZ", xyzElement(column(0))},
        {"gXYZ", xyzElement(column(1))},
        {"bXYZ", xyzElement(column(2))},
        {"rTRC", curveElement()},
        {"gTRC", {}}, // the three share one curve
        {"bTRC", {}},
    };
    Bytes table;
    put32(table, static_cast<std::uint32_t>(tags.size()));
    const std::size_t dataAt = kHeader + 4 + 12 * tags.size();
    Bytes data;
    std::size_t lastAt = 0;
    std::size_t lastSize = 0;
    for (const auto &[name, element] : tags) {
        if (!element.empty()) {
            lastAt = dataAt + data.size();
            lastSize = element.size();
            data.insert(data.end(), element.begin(), element.end());
            data.resize((data.size() + 3) / 4 * 4);
        }
        putText(table, name);
        put32(table, static_cast<std::uint32_t>(lastAt));
        put32(table, static_cast<std::uint32_t>(lastSize));
    }
    Bytes profile = header(dataAt + data.size());
    profile.insert(profile.end(), table.begin(), table.end());
    profile.insert(profile.end(), data.begin(), data.end());
    return profile;
}

} // namespace korv
