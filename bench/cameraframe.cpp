#include "bench/cameraframe.h"

#include <QFont>
#include <QImage>
#include <QPainter>

#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace {

constexpr int kQuality = 85;

QImage drawing(QSize size, int shift)
{
    QImage image(size, QImage::Format_RGB888);
    quint32 noise = 12345U + static_cast<quint32>(shift);
    for (int y = 0; y < size.height(); ++y) {
        uchar *row = image.scanLine(y);
        for (int x = 0; x < size.width(); ++x) {
            noise = noise * 1664525U + 1013904223U;
            const auto gray =
                static_cast<uchar>(216 + static_cast<int>(noise >> 29U) + 20 * x / size.width());
            row[3 * x] = gray;
            row[3 * x + 1] = gray;
            row[3 * x + 2] = static_cast<uchar>(gray - 6);
        }
    }
    QPainter painter(&image);
    QFont font = painter.font();
    font.setPixelSize(size.height() / 60);
    painter.setFont(font);
    for (int line = 2; line < 50; ++line)
        painter.drawText(size.width() / 12 + shift * 8, line * size.height() / 50,
                         QStringLiteral("The quick brown fox jumps over the lazy dog, %1 times; "
                                        "pack my box with five dozen jugs.")
                             .arg(line * 37));
    return image;
}

} // namespace

namespace cameraframe {

QByteArray page(QSize size, int shift)
{
    const QImage image = drawing(size, shift);
    jpeg_compress_struct info = {};
    jpeg_error_mgr errors = {};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char *bytes = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&info, &bytes, &length);
    info.image_width = static_cast<JDIMENSION>(size.width());
    info.image_height = static_cast<JDIMENSION>(size.height());
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, kQuality, TRUE);
    info.comp_info[0].h_samp_factor = 2;
    info.comp_info[0].v_samp_factor = 1;
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
        auto *row = const_cast<JSAMPROW>(image.constScanLine(static_cast<int>(info.next_scanline)));
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    const QByteArray frame(reinterpret_cast<const char *>(bytes), static_cast<int>(length));
    std::free(bytes);
    return frame;
}

} // namespace cameraframe
