#include "app/files/exportplan.h"

namespace exportplan {

Kind kindOf(const QString &format, bool multiPage)
{
    struct Row
    {
        QLatin1String format;
        bool canCombine = false;
    };
    static constexpr Row kRows[] = {
        {QLatin1String("jpg", 3), false}, {QLatin1String("bmp", 3), false},
        {QLatin1String("pdf", 3), true},  {QLatin1String("ofd", 3), true},
        {QLatin1String("png", 3), false}, {QLatin1String("tiff", 4), true},
    };
    for (const Row &row : kRows) {
        if (format == row.format)
            return multiPage && row.canCombine ? Kind::OneDocument : Kind::SingleFiles;
    }
    return Kind::Unsupported;
}

} // namespace exportplan
