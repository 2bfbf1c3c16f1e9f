#include "library/jpeg/jpeg_structure.h"

#include "library/jpeg/jpeg_tables.h"

namespace korv::jpeg {

bool isWidelyReadable(const Structure &structure)
{
    const Info &info = structure.info;
    if (info.precision != 8 || !info.huffman || info.orientation != 1)
        return false;
    // RGB without Adobe's marker is known by its component names only, which few readers look at
    return info.colourModel == ColourModel::Gray || info.colourModel == ColourModel::YCbCr
        || (info.colourModel == ColourModel::Rgb && structure.hasAdobe);
}

bool isAsCoarseAs(const Structure &structure, int quality)
{
    // other encoders' tables have another shape; two in a hundred are no visible difference
    const auto coarseEnough = [](unsigned steps, unsigned wanted) {
        return std::uint64_t{steps} * 100 >= std::uint64_t{wanted} * 98;
    };
    return coarseEnough(structure.lumaSteps, standardLumaSteps(quality))
        && (structure.info.components != 3
            || coarseEnough(structure.chromaSteps, standardChromaSteps(quality)));
}

} // namespace korv::jpeg
