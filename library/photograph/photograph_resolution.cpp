#include "library/photograph/photograph_resolution.h"

#include "library/image/sheet_size.h"

namespace korv {

Resolution photographResolution(int width, int height, Motif motif, double scale)
{
    if (scale > 0) {
        const SheetSize measured{width / scale, height / scale};
        const SheetSize size = motif == Motif::Sheet ? sheetBySize(measured) : measured;
        return exactResolution(width, height, size.width, size.height);
    }
    if (motif == Motif::Sheet) {
        if (const auto sheet = sheetByShape(width, height))
            return exactResolution(width, height, sheet->width, sheet->height);
    }
    return effectiveResolution(width, height, {});
}

} // namespace korv
