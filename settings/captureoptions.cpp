#include "settings/captureoptions.h"

namespace captureoptions {

namespace {

struct Colour
{
    int code;
    const char *key;
};

constexpr std::array<Colour, 3> kColours{{{0, "color"}, {1, "gray"}, {2, "lineart"}}};

} // namespace

QString colourName(int code)
{
    switch (code) {
    case 0:
        return QStringLiteral("彩色");
    case 1:
        return QStringLiteral("灰度");
    case 2:
        return QStringLiteral("黑白");
    default:
        return QStringLiteral("未知");
    }
}

std::vector<_tag_unit_cam_file_color_unit> colourList()
{
    std::vector<_tag_unit_cam_file_color_unit> list;
    list.reserve(kColours.size());
    for (const Colour &colour : kColours)
        list.push_back({colourName(colour.code), colour.code, QString::fromLatin1(colour.key)});
    return list;
}

QStringList fileTypes()
{
    return {QStringLiteral("jpg"), QStringLiteral("bmp"), QStringLiteral("pdf"),
            QStringLiteral("ofd"), QStringLiteral("png"), QStringLiteral("tiff")};
}

} // namespace captureoptions
